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

// A campaign: many random stories, each played in a process of its own (the library's singletons
// live as long as their process), its log read by talvex-explain's analyzer and scored against
// the story's truth.
#pragma once

#include <cstdio>

#include "options.h"

namespace talvex::simulator {

// Plays `options.campaign` random stories, seeds `options.seed` onwards, `options.jobs` at once,
// and writes the score of every kind of finding to `out`, with the seeds of the stories that
// missed or made one up. Returns kExitNothingToReport when every story scored clean, kExitReport
// when one did not, kExitFailed when a story could not be played or read.
int runCampaign(const Options& options, FILE* out);

}  // namespace talvex::simulator
