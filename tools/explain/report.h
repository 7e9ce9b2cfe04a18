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
