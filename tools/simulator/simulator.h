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

#include <cstdio>

#include "options.h"

namespace talvex::simulator {

// Plays libgui around libgui_talvex_utils.so as the command line asks (see --help) and writes
// every log line of the process to `out` (and to --out's file) in logcat's threadtime format;
// a campaign (--campaign N) plays its stories in child processes and writes its score to `out`.
// Returns an ExitCode (tools/exit_codes.h): 0 ran; 1 a campaign missed a finding or made one
// up; 2 the run could not be set up or an output file could not be written; 3 bad command line
// (message on stderr). Plays once per process: the library's singletons live with it.
int runSimulator(int argc, const char* const* argv, FILE* out);

// Plays the one story `options` names, as runSimulator() does after reading the command line.
int playStory(const Options& options, FILE* out);

}  // namespace talvex::simulator
