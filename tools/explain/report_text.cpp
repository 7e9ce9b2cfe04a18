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

#include <iomanip>

#include "explain.h"
#include "report.h"

namespace talvex::explain {
namespace {

std::string lineList(const std::vector<uint64_t>& lines) {
    std::string text;
    const size_t shown = std::min<size_t>(lines.size(), 8);
    for (size_t i = 0; i < shown; ++i) text += (i ? ", " : "") + std::to_string(lines[i]);
    if (lines.size() > shown) text += ", ... (" + std::to_string(lines.size()) + " lines)";
    return text;
}

}  // namespace

void writeTextReport(const Analysis& a, std::ostream& out) {
    out << "Read " << a.lines << " lines (" << a.format << "): " << a.coreDumps.size()
        << " core dumps, " << a.blastDumps.size() << " BLAST dumps, " << a.triggers.size()
        << " dump triggers, " << a.limiters.size() << " size limits, " << a.compositorLines.size()
        << " compositor requests.\n";
    if (a.findings.empty()) {
        out << "No findings.\n";
    } else {
        out << a.findings.size() << (a.findings.size() == 1 ? " finding:\n" : " findings:\n");
    }
    for (const Finding& f : a.findings) {
        out << "  [" << f.kind << "]";
        if (f.pid >= 0) out << " pid " << f.pid << ":";
        out << " " << f.summary << "\n";
        if (!f.evidence.empty()) out << "      lines " << lineList(f.evidence) << "\n";
    }
    if (a.latencies.empty()) return;
    out << "Step latencies (median / p90 / max):\n";
    for (const LayerLatency& l : a.latencies) {
        out << "  " << l.layer;
        if (l.pid >= 0) out << " (pid " << l.pid << ")";
        out << "\n";
        for (const StepLatency& s : l.steps) {
            out << "    " << std::left << std::setw(22) << (s.from + " -> " + s.to) << std::right
                << formatDuration(s.median) << " / " << formatDuration(s.p90) << " / "
                << formatDuration(s.max) << "  (" << s.samples << " frames)\n";
        }
    }
}

void writeWarnings(const Analysis& a, const std::string& input, std::ostream& out) {
    for (const Warning& w : a.warnings) {
        out << input;
        if (w.line) out << ":" << w.line;
        out << ": warning: " << w.text << "\n";
    }
}

}  // namespace talvex::explain
