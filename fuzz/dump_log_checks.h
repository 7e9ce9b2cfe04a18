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

// Checks of the dump text as it reaches the log, for the hook-interface fuzzer: every dump
// opened is closed, in order, and none is nested in another.
#pragma once

#include <string>
#include <vector>

#include "support/log_capture.h"

namespace talvex::fuzz {

// Returns what is wrong with the core dumps among `lines` (each opened and closed, never
// nested: they run on the caller's thread only), or an empty string.
std::string checkCoreDumps(const std::vector<test::LogLine>& lines);

// Returns what is wrong with the BLAST dumps of the queue named `queueName` among `lines` (each
// whole, in order: start line, queue state, record, callbacks; `expected` of them), or an empty
// string.
std::string checkBlastDumps(const std::vector<test::LogLine>& lines, const std::string& queueName,
                            int expected);

}  // namespace talvex::fuzz
