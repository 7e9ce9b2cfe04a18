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

// One self-contained page: inline CSS and SVG, no script, no network (a CSP forbids it).
#include <algorithm>
#include <cinttypes>

#include "explain.h"
#include "report.h"
#include "timeline.h"

namespace talvex::explain {
namespace {

constexpr double kWidth = 960;  // px of the time axis
constexpr int kLaneHeight = 18;

std::string escape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            default:
                out += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
        }
    }
    return out;
}

std::string number(double v) {
    char text[32];
    snprintf(text, sizeof(text), "%.1f", v);
    return text;
}

constexpr const char* kStyle = R"(
body{font:14px/1.4 system-ui,sans-serif;margin:16px;color:#222;display:flex;gap:24px}
main{flex:3;min-width:0}aside{flex:1;min-width:280px}
h1{font-size:20px}h2{font-size:16px;margin:20px 0 6px}
.layer-row{display:flex;align-items:flex-start;border-top:1px solid #ddd;padding:4px 0}
.layer-name{width:220px;flex:none;font-family:monospace;font-size:12px;word-break:break-all}
svg{background:#fafafa}
rect.frame{fill:#8ab4f8;stroke:#3367d6;stroke-width:.5}
rect.frame.stuck{fill:#f28b82;stroke:#c5221f;stroke-width:1.5}
rect.wait{fill:#fce8e6;stroke:#c5221f;stroke-width:.5;stroke-dasharray:3 2}
line.dump{stroke:#5f6368;stroke-width:1;stroke-dasharray:2 2}
line.step{stroke:#202124;stroke-width:1}
rect.callback{fill:#fdd663}rect.callback.old{fill:#f28b82;stroke:#c5221f}
.finding{border-left:4px solid #c5221f;padding:4px 8px;margin:6px 0;background:#fce8e6;
overflow-wrap:anywhere}
.kind{font-weight:bold;font-family:monospace}.lines{color:#555;font-size:12px}
.warning{color:#8a5300;font-size:12px}table{border-collapse:collapse;font-size:12px}
td,th{padding:2px 6px;border-bottom:1px solid #eee;text-align:right}td:first-child{text-align:left}
)";

void writeProcess(const TimelineProcess& p, std::ostream& out) {
    const double span = static_cast<double>(std::max<int64_t>(elapsed(p.begin, p.end), 1));
    auto x = [&](int64_t t) { return kWidth * static_cast<double>(elapsed(p.begin, t)) / span; };
    out << "<h2>" << escape(p.name) << "</h2>\n<p class=\"lines\">"
        << formatDuration(elapsed(p.begin, p.end)) << " shown</p>\n";
    for (const TimelineLayer& layer : p.layers) {
        const size_t height = std::max<size_t>(layer.lanes.size(), 1) * kLaneHeight;
        out << "<div class=\"layer-row\" data-layer=\"" << layer.id
            << "\"><div class=\"layer-name\">" << escape(layer.label) << "</div><svg width=\""
            << kWidth << "\" height=\"" << height << "\" role=\"img\">";
        for (size_t lane = 0; lane < layer.lanes.size(); ++lane) {
            const int y = static_cast<int>(lane) * kLaneHeight + 2;
            for (const TimelineFrame& f : layer.lanes[lane]) {
                const double left = x(f.start);
                const double width = std::max(x(f.end) - left, 2.0);
                out << "<rect class=\"frame" << (f.stuck ? " stuck" : "") << "\" x=\""
                    << number(left) << "\" y=\"" << y << "\" width=\"" << number(width)
                    << "\" height=\"" << kLaneHeight - 4 << "\"><title>frame " << f.frame->number
                    << (f.stuck ? " stuck after " + escape(f.lastStep) : "") << " (line "
                    << f.frame->line << ")</title></rect>";
                if (f.waitUntil) {
                    // The wait after its last step, up to the dump that still saw it.
                    out << "<rect class=\"wait\" x=\"" << number(left + width) << "\" y=\"" << y
                        << "\" width=\"" << number(std::max(x(f.waitUntil) - left - width, 0.0))
                        << "\" height=\"" << kLaneHeight - 4 << "\"><title>frame "
                        << f.frame->number << " waiting after " << escape(f.lastStep) << " for "
                        << formatDuration(elapsed(f.end, f.waitUntil))
                        << " until the dump</title></rect>";
                }
                for (const FrameEvent& e : f.frame->events) {
                    const std::string ex = number(x(e.time));
                    out << "<line class=\"step\" x1=\"" << ex << "\" x2=\"" << ex << "\" y1=\"" << y
                        << "\" y2=\"" << y + kLaneHeight - 4 << "\"><title>"
                        << frameTypeName(e.type) << "</title></line>";
                }
            }
        }
        for (const auto& [time, line] : p.dumps) {
            const std::string dx = number(x(time));
            out << "<line class=\"dump\" x1=\"" << dx << "\" x2=\"" << dx << "\" y1=\"0\" y2=\""
                << height << "\"><title>dump at line " << line << "</title></line>";
        }
        out << "</svg></div>\n";
    }
    if (p.callbacks.empty()) return;
    const size_t height = p.callbacks.size() * 8 + 4;
    out << "<div class=\"layer-row callbacks\"><div class=\"layer-name\">pending callbacks</div>"
        << "<svg width=\"" << kWidth << "\" height=\"" << height << "\" role=\"img\">";
    for (size_t i = 0; i < p.callbacks.size(); ++i) {
        const TimelineCallback& c = p.callbacks[i];
        const double left = x(c.callback->addTime);
        out << "<rect class=\"callback" << (c.old ? " old" : "") << "\" x=\"" << number(left)
            << "\" y=\"" << i * 8 + 2 << "\" width=\"" << number(std::max(x(c.until) - left, 2.0))
            << "\" height=\"6\"><title>callback " << c.callback->id << " pending for "
            << formatDuration(elapsed(c.callback->addTime, c.until)) << "</title></rect>";
    }
    out << "</svg></div>\n";
}

}  // namespace

void writeHtml(const Analysis& a, const std::string& title, std::ostream& out) {
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n"
        << "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
           "style-src 'unsafe-inline'\">\n"
        << "<title>talvex-explain: " << escape(title) << "</title>\n<style>" << kStyle
        << "</style></head>\n<body><main>\n<h1>Frames of " << escape(title) << "</h1>\n"
        << "<p>" << a.lines << " lines, " << a.coreDumps.size() << " core dumps, "
        << a.blastDumps.size()
        << " BLAST dumps. Red frames are stuck, their wait up to the dump dashed; dotted lines "
           "are dumps; red callbacks are old.</p>\n";
    const Timeline timeline = buildTimeline(a);
    for (const TimelineProcess& p : timeline.processes) writeProcess(p, out);
    if (!a.latencies.empty()) {
        out << "<h2>Step latencies</h2>\n<table><tr><th>layer</th><th>step</th><th>median</th>"
               "<th>p90</th><th>max</th><th>frames</th></tr>\n";
        for (const LayerLatency& l : a.latencies) {
            for (const StepLatency& s : l.steps) {
                out << "<tr><td>" << escape(l.layer) << "</td><td>" << s.from << " &rarr; " << s.to
                    << "</td><td>" << formatDuration(s.median) << "</td><td>"
                    << formatDuration(s.p90) << "</td><td>" << formatDuration(s.max) << "</td><td>"
                    << s.samples << "</td></tr>\n";
            }
        }
        out << "</table>\n";
    }
    out << "</main>\n<aside><h2>Findings (" << a.findings.size() << ")</h2>\n";
    for (const Finding& f : a.findings) {
        out << "<div class=\"finding\"><span class=\"kind\">" << escape(f.kind) << "</span> "
            << escape(f.summary) << "<div class=\"lines\">lines";
        for (uint64_t line : f.evidence) out << " " << line;
        out << "</div></div>\n";
    }
    if (!a.warnings.empty()) out << "<h2>Warnings</h2>\n";
    for (const Warning& w : a.warnings) {
        out << "<div class=\"warning\">line " << w.line << ": " << escape(w.text) << "</div>\n";
    }
    out << "</aside></body></html>\n";
}

}  // namespace talvex::explain
