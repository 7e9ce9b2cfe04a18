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

// How talvex-explain and talvex_simulator end: a code means the same in both, so a script can
// treat either tool alike.
#pragma once

namespace talvex {

enum ExitCode : int {
    // Ran; nothing to report.
    kExitNothingToReport = 0,
    // Ran; something to report: talvex-explain's findings, a campaign's missed or false finding.
    kExitReport = 1,
    // The input or the run failed: an input that could not be read, a story that could not run,
    // an output file that could not be written.
    kExitFailed = 2,
    // Bad command line; nothing was run.
    kExitUsage = 3,
};

}  // namespace talvex
