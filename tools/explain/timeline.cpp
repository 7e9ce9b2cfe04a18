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

#include "timeline.h"

#include <algorithm>
#include <map>

namespace talvex::explain {
namespace {

bool findingNames(const Analysis& a, const char* kind, int pid, const std::string& layer,
                  uint64_t frame) {
    for (const Finding& f : a.findings) {
        if (f.kind == kind && f.pid == pid && f.layer == layer &&
            std::count(f.frames.begin(), f.frames.end(), frame)) {
            return true;
        }
    }
    return false;
}

bool evidenceHolds(const Analysis& a, const char* kind, uint64_t line) {
    for (const Finding& f : a.findings) {
        if (f.kind == kind && std::count(f.evidence.begin(), f.evidence.end(), line)) return true;
    }
    return false;
}

void widen(TimelineProcess& p, int64_t t) {
    if (t <= 0) return;
    p.begin = p.begin ? std::min(p.begin, t) : t;
    p.end = std::max(p.end, t);
}

}  // namespace

std::string layerLabel(const FrameRecordLayer& layer) {
    const std::string& name =
        layer.surfaceControlName.empty() ? layer.queueName : layer.surfaceControlName;
    return "layer " + std::to_string(layer.id) + " \"" + name + "\"";
}

Timeline buildTimeline(const Analysis& a) {
    struct LayerFrames {
        const FrameRecordLayer* layer = nullptr;
        // A later dump's view wins; each frame with the time of the dump that showed it.
        std::map<uint64_t, std::pair<const FrameRecordFrame*, int64_t>> frames;
    };
    struct ProcessData {
        std::string program;
        std::map<int, LayerFrames> layers;
        const BlastDump* lastListener = nullptr;
        std::vector<std::pair<int64_t, uint64_t>> dumps;
    };
    std::map<int, ProcessData> byPid;
    for (const BlastDump& dump : a.blastDumps) {
        ProcessData& p = byPid[dump.origin.pid];
        if (dump.listener) p.lastListener = &dump;
        if (dump.dumpTime() > 0) p.dumps.emplace_back(dump.dumpTime(), dump.origin.firstLine);
        if (!dump.record) continue;
        p.program = dump.record->program;
        for (const FrameRecordLayer& layer : dump.record->layers) {
            LayerFrames& lf = p.layers[layer.id];
            lf.layer = &layer;
            for (const FrameRecordFrame& frame : layer.frames) {
                lf.frames[frame.number] = {&frame, dump.dumpTime()};
            }
        }
    }
    Timeline timeline;
    for (const auto& [pid, data] : byPid) {
        TimelineProcess process;
        process.pid = pid;
        process.name = (data.program.empty() ? std::string("process") : data.program) +
                       (pid >= 0 ? " (pid " + std::to_string(pid) + ")" : "");
        for (const auto& [id, lf] : data.layers) {
            TimelineLayer layer{id, layerLabel(*lf.layer), {}};
            std::vector<TimelineFrame> frames;
            for (const auto& [number, seen] : lf.frames) {
                const auto& [frame, dumpTime] = seen;
                TimelineFrame f;
                f.frame = frame;
                f.start = frame->startTime;
                f.end = frame->startTime;
                for (const FrameEvent& e : frame->events) {
                    if (!f.start || (e.time && e.time < f.start)) f.start = e.time;
                    f.end = std::max(f.end, e.time);
                }
                if (!f.start) continue;  // nothing to place in time
                f.lastStep =
                    frame->events.empty() ? "start" : frameTypeName(frame->events.back().type);
                f.stuck = findingNames(a, "stuck-frames", pid, layer.label, number);
                if (f.stuck && dumpTime > f.end) f.waitUntil = dumpTime;
                widen(process, f.start);
                widen(process, f.extent());
                frames.push_back(std::move(f));
            }
            std::sort(
                frames.begin(), frames.end(),
                [](const TimelineFrame& l, const TimelineFrame& r) { return l.start < r.start; });
            for (TimelineFrame& f : frames) {
                auto lane =
                    std::find_if(layer.lanes.begin(), layer.lanes.end(),
                                 [&](const auto& l) { return l.back().extent() <= f.start; });
                if (lane == layer.lanes.end()) {
                    layer.lanes.emplace_back();
                    lane = layer.lanes.end() - 1;
                }
                lane->push_back(std::move(f));
            }
            process.layers.push_back(std::move(layer));
        }
        if (data.lastListener) {
            const ListenerState& l = *data.lastListener->listener;
            for (const PendingCallback& cb : l.callbacks) {
                if (!cb.addTime || !l.now || l.now < cb.addTime) continue;
                process.callbacks.push_back(
                    {&cb, l.now, evidenceHolds(a, "old-callbacks", cb.line)});
                widen(process, cb.addTime);
                widen(process, l.now);
            }
        }
        // Only the dumps within what is drawn: an earlier dump far back would squeeze the rest.
        for (const auto& [time, line] : data.dumps) {
            if (time >= process.begin && time <= process.end)
                process.dumps.emplace_back(time, line);
        }
        timeline.processes.push_back(std::move(process));
    }
    return timeline;
}

}  // namespace talvex::explain
