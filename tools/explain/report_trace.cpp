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

// Chrome Trace Event JSON, as ui.perfetto.dev and chrome://tracing read it.
#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "explain.h"
#include "report.h"
#include "timeline.h"

namespace talvex::explain {

using nlohmann::json;

namespace {

double micros(int64_t ns) {
    return static_cast<double>(ns) / 1000.0;
}

}  // namespace

void writeTrace(const Analysis& a, std::ostream& out) {
    json events = json::array();
    const Timeline timeline = buildTimeline(a);
    int nextTid = 1;
    for (const TimelineProcess& process : timeline.processes) {
        const int pid = std::max(process.pid, 0);
        events.push_back({{"ph", "M"},
                          {"name", "process_name"},
                          {"pid", pid},
                          {"tid", 0},
                          {"args", {{"name", process.name}}}});
        for (const TimelineLayer& layer : process.layers) {
            for (size_t lane = 0; lane < layer.lanes.size(); ++lane) {
                const int tid = nextTid++;
                std::string name = layer.label;
                if (lane) name += " (" + std::to_string(lane + 1) + ")";
                events.push_back({{"ph", "M"},
                                  {"name", "thread_name"},
                                  {"pid", pid},
                                  {"tid", tid},
                                  {"args", {{"name", name}}}});
                for (const TimelineFrame& f : layer.lanes[lane]) {
                    json args = {{"frame", f.frame->number},
                                 {"synced", f.frame->synced},
                                 {"line", f.frame->line}};
                    if (f.stuck) args["stuck_after"] = f.lastStep;
                    events.push_back({{"ph", "X"},
                                      {"name", "frame " + std::to_string(f.frame->number)},
                                      {"cat", f.stuck ? "frame,stuck" : "frame"},
                                      {"pid", pid},
                                      {"tid", tid},
                                      {"ts", micros(f.start)},
                                      {"dur", micros(elapsed(f.start, f.end))},
                                      {"args", args}});
                    if (f.waitUntil) {
                        // Its wait after the last step, up to the dump that still saw it.
                        events.push_back({{"ph", "X"},
                                          {"name", "frame " + std::to_string(f.frame->number) +
                                                       " waiting after " + f.lastStep},
                                          {"cat", "frame,waiting"},
                                          {"pid", pid},
                                          {"tid", tid},
                                          {"ts", micros(f.end)},
                                          {"dur", micros(elapsed(f.end, f.waitUntil))},
                                          {"args", {{"frame", f.frame->number}}}});
                    }
                    for (const FrameEvent& e : f.frame->events) {
                        events.push_back({{"ph", "i"},
                                          {"s", "t"},
                                          {"name", frameTypeName(e.type)},
                                          {"cat", "step"},
                                          {"pid", pid},
                                          {"tid", tid},
                                          {"ts", micros(e.time)},
                                          {"args", {{"frame", f.frame->number}}}});
                    }
                }
            }
        }
        for (const TimelineCallback& c : process.callbacks) {
            const std::string id = std::to_string(pid) + ":" + std::to_string(c.callback->id);
            const std::string name = "callback " + std::to_string(c.callback->id) +
                                     (c.callback->onComplete ? " (complete)" : " (commit)");
            events.push_back({{"ph", "b"},
                              {"name", name},
                              {"cat", "callback"},
                              {"id", id},
                              {"pid", pid},
                              {"tid", 0},
                              {"ts", micros(c.callback->addTime)},
                              {"args", {{"line", c.callback->line}, {"old", c.old}}}});
            events.push_back({{"ph", "e"},
                              {"name", name},
                              {"cat", "callback"},
                              {"id", id},
                              {"pid", pid},
                              {"tid", 0},
                              {"ts", micros(c.until)}});
        }
    }
    json trace = {{"traceEvents", events}, {"displayTimeUnit", "ms"}};
    out << trace.dump(-1, ' ', false, json::error_handler_t::replace) << "\n";
}

}  // namespace talvex::explain
