/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

// The analyzer's entry points: text in, the rebuilt dumps and the findings out.
#pragma once

#include <cstdint>
#include <string_view>

#include "dump_model.h"

namespace talvex::explain {

struct Thresholds {
    int64_t stuckFrameNs = 100'000'000;       // unreleased this long before the dump: stuck
    int64_t pendingCallbackNs = 100'000'000;  // pending this long: an old callback
};

// Adds the findings and per-layer step latencies to what the parser rebuilt.
void addFindings(Analysis& analysis, const Thresholds& thresholds);

// Reads a whole log held in memory (any format and encoding) and explains it.
Analysis explainText(std::string_view text, const Thresholds& thresholds = {});

// `to - from` in ns, held at the int64 limits rather than overflowing (the times come from a
// log and may be anything).
int64_t elapsed(int64_t from, int64_t to);

// "1503.2 ms" for a duration in ns.
std::string formatDuration(int64_t ns);

}  // namespace talvex::explain
