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

// The analyzer's outputs: the text report people read, and the files written on request.
#pragma once

#include <ostream>
#include <string>

#include "dump_model.h"

namespace talvex::explain {

// The summary, the findings and the step latencies, for a terminal.
void writeTextReport(const Analysis& analysis, std::ostream& out);

// "<input>:<line>: warning: <text>" per warning.
void writeWarnings(const Analysis& analysis, const std::string& input, std::ostream& out);

// The structured data and findings as JSON (docs/explain-json.md), with its schema version.
void writeJson(const Analysis& analysis, std::ostream& out);

// Chrome Trace Event JSON: a process per pid, a track per layer, a slice per frame.
void writeTrace(const Analysis& analysis, std::ostream& out);

// One self-contained HTML page: per-layer timelines and the findings beside them.
void writeHtml(const Analysis& analysis, const std::string& title, std::ostream& out);

// The version of the JSON layout; raised when a field changes meaning or goes away.
inline constexpr int kJsonSchemaVersion = 1;

}  // namespace talvex::explain
