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

// Holds a reading of a story's log to what the story did: each kind of finding a correct reading
// must make, found or missed, and each one it made that the story gives no ground for.
#pragma once

#include <string>
#include <vector>

#include "dump_model.h"
#include "explain.h"
#include "truth.h"

namespace talvex::simulator {

struct KindScore {
    std::string kind;
    size_t expected = 0;
    size_t found = 0;
    std::vector<std::string> missed;    // expected, not found
    std::vector<std::string> invented;  // found with no ground in the story
};

struct Score {
    // One entry per scored kind, in the order of scoredKinds().
    std::vector<KindScore> kinds;
    bool clean() const;
};

// What is scored: the dumps themselves ("dump": each core and BLAST dump libgui wrote, read whole),
// the analyzer's finding kinds, and the size limiter ("limiter": its lines, and the default
// buffer size each core dump shows).
const std::vector<std::string>& scoredKinds();

// Scores `analysis`, read from the log of the story `truth` describes with `thresholds`. What the
// story must show follows the analyzer's rule of judging only the latest dump of each core, layer
// and process.
Score scoreStory(const Truth& truth, const explain::Analysis& analysis,
                 const explain::Thresholds& thresholds);

}  // namespace talvex::simulator
