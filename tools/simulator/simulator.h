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

namespace talvex::simulator {

// Plays libgui around libgui_talvex_utils.so as the command line asks (see --help) and writes
// every log line of the process to `out` (and to --out's file) in logcat's threadtime format.
// Returns the exit code: 0 on success, 2 on a usage error (message on stderr), 1 if the run
// could not be set up. Runs once per process: the library's singletons live with it.
int runSimulator(int argc, const char* const* argv, FILE* out);

}  // namespace talvex::simulator
