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
#include <string>
#include <vector>

namespace talvex::simulator {

// Routes every liblog and libbase line of the process to `out` in logcat's threadtime format
// ("MM-DD HH:MM:SS.mmm  PID  TID P TAG: text"), the form the dump tools read. DEBUG included.
// Each line also goes to `copy` when it is not null. Call it while no other thread logs.
// Times come from the simulator's clock (a fixed date plus the monotonic time, in simulated
// time); thread ids are numbered from the process id in the order threads first log, so that
// a story in simulated time writes the same log on every run.
void logToLogcatFormat(FILE* out, FILE* copy = nullptr);

// The core dumps logged so far, as the names their lines give (in order), for the simulator to
// see a dump that libgui's patch asked for. Safe from any thread.
std::vector<std::string> coreDumpsLogged();

// Lines logged after this (during unload) print the program name as their tag: liblog's default
// tag, which they carry, may already be destroyed by then.
void stopReadingTags();

}  // namespace talvex::simulator
