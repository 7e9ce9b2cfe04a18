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

#pragma once

#include <cstdint>
#include <string>

namespace talvex::simulator {

// What one run plays, from the command line.
struct Options {
    std::string scenario = "release-stall";
    int layers = 2;
    int fps = 60;
    double seconds = 3.0;
    uint64_t seed = 1;
    std::string buildType = "userdebug";
    std::string outPath;    // empty: stdout only
    std::string truthPath;  // empty: the run's ground truth is not written
    bool realtime = false;  // wall-clock threads instead of simulated time
    int campaign = 0;       // random stories drawn from `seed`; 0: one story, `scenario`
    int jobs = 2;           // campaign stories run at once
    double stuckMs = 100;   // a campaign scores stuck frames against this, as talvex-explain does
};

enum class ParseResult { kRun, kHelp, kError };

// Reads `--name=value` or `--name value` arguments into `options`. Returns kHelp for --help,
// kError with a one-line reason in `error` for anything unknown, missing, out of range or
// combined with an option it does not go with.
ParseResult parseOptions(int argc, const char* const* argv, Options* options, std::string* error);

// The --help text.
const char* usageText();

}  // namespace talvex::simulator
