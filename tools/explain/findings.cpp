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

// What a graphics engineer would otherwise work out by hand from the dumps.
#include <algorithm>
#include <cinttypes>
#include <map>
#include <set>
#include <tuple>

#include "dump_parser.h"
#include "explain.h"
#include "line_reader.h"
#include "timeline.h"

namespace talvex::explain {
namespace {

// Steps after which a frame's buffer is back with the producer.
bool isRelease(int type) {
    return type == 2 || type == 7 || type == 8 || type == 9;
}

Finding makeFinding(const char* kind, int pid, std::string layer = {}) {
    Finding f;
    f.kind = kind;
    f.pid = pid;
    f.layer = std::move(layer);
    return f;
}

// For each key, the index of the last dump that holds it: a later dump of the same process
// shows the same record further on, so only the latest view is judged. A dump cut short only
// counts when no whole one holds the key: it must not hide what a whole dump showed.
template <typename Key, typename KeyOf>
std::map<Key, size_t> latestDumps(const std::vector<BlastDump>& dumps, KeyOf keyOf) {
    std::map<Key, size_t> latest, latestWhole;
    for (size_t i = 0; i < dumps.size(); ++i) {
        for (const Key& key : keyOf(dumps[i])) {
            latest[key] = i;
            if (dumps[i].complete) latestWhole[key] = i;
        }
    }
    for (const auto& [key, index] : latestWhole) latest[key] = index;
    return latest;
}

void producerStarved(Analysis& a) {
    // A queue dumped again shows its slots as they are now: only its latest dump is judged.
    std::map<std::tuple<int, uint64_t, std::string>, const CoreDump*> latest;
    for (const CoreDump& dump : a.coreDumps) {
        if (dump.complete) latest[{dump.origin.pid, dump.uniqueId, dump.name}] = &dump;
    }
    for (const CoreDump& dump : a.coreDumps) {
        // A dump cut short may have lost its free slots: no claim from it.
        if (!dump.complete || latest[{dump.origin.pid, dump.uniqueId, dump.name}] != &dump) {
            continue;
        }
        std::map<std::string, int> held;
        Finding f = makeFinding("producer-starved", dump.origin.pid, dump.name);
        bool anyFree = false;
        for (const SlotState& slot : dump.slots) {
            if (slot.group != SlotState::Group::kActive) {
                anyFree = true;
                break;
            }
            ++held[slot.state];
            f.frames.push_back(slot.frame);
            f.evidence.push_back(slot.line);
        }
        if (anyFree) continue;
        std::string states;
        for (const auto& [state, count] : held) {
            states += (states.empty() ? "" : ", ") + std::to_string(count) + " " + state;
        }
        f.summary = "queue \"" + dump.name + "\": no free slot, the producer cannot dequeue (" +
                    std::to_string(dump.slots.size()) + " held: " + states + "; max dequeued " +
                    std::to_string(dump.maxDequeued) + ", max acquired " +
                    std::to_string(dump.maxAcquired) + ")";
        a.findings.push_back(std::move(f));
    }
}

using LayerKey = std::pair<int, int>;  // pid, layer id

void stuckFrames(Analysis& a, const Thresholds& t) {
    const auto latest = latestDumps<LayerKey>(a.blastDumps, [](const BlastDump& d) {
        std::vector<LayerKey> keys;
        if (d.record) {
            for (const auto& layer : d.record->layers) keys.emplace_back(d.origin.pid, layer.id);
        }
        return keys;
    });
    for (const auto& [key, index] : latest) {
        const BlastDump& dump = a.blastDumps[index];
        const int64_t now = dump.dumpTime();
        for (const FrameRecordLayer& layer : dump.record->layers) {
            if (layer.id != key.second) continue;
            Finding f = makeFinding("stuck-frames", key.first, layerLabel(layer));
            std::string frames;
            for (const FrameRecordFrame& frame : layer.frames) {
                const bool released = !frame.events.empty() && isRelease(frame.events.back().type);
                if (released || frame.cut) continue;  // a cut frame's later steps are unknown
                const int64_t last =
                    frame.events.empty() ? frame.startTime : frame.events.back().time;
                const bool known = now != 0 && last != 0;
                if (known && elapsed(last, now) < t.stuckFrameNs) continue;
                const std::string step =
                    frame.events.empty() ? "its start" : frameTypeName(frame.events.back().type);
                frames +=
                    (frames.empty() ? "" : "; ") + std::string("frame ") +
                    std::to_string(frame.number) + " stuck after " + step + " for " +
                    (known ? formatDuration(elapsed(last, now)) : std::string("an unknown time"));
                f.frames.push_back(frame.number);
                f.evidence.push_back(frame.line);
            }
            if (f.frames.empty()) continue;
            f.summary = f.layer + ": " + std::to_string(f.frames.size()) +
                        (f.frames.size() == 1 ? " frame" : " frames") + " not released: " + frames;
            a.findings.push_back(std::move(f));
        }
    }
}

void oldCallbacks(Analysis& a, const Thresholds& t) {
    const auto latest = latestDumps<int>(a.blastDumps, [](const BlastDump& d) {
        return d.listener ? std::vector<int>{d.origin.pid} : std::vector<int>{};
    });
    for (const auto& [pid, index] : latest) {
        const ListenerState& l = *a.blastDumps[index].listener;
        // A listener block cut before its end line has no time of its own: the dump's start is
        // a moment earlier.
        const int64_t now = l.now ? l.now : a.blastDumps[index].nowTime;
        std::map<std::string, Finding> byLayer;
        for (const PendingCallback& cb : l.callbacks) {
            if (cb.addTime == 0 || now == 0 || elapsed(cb.addTime, now) < t.pendingCallbackNs) {
                continue;
            }
            std::string layer;
            for (const LayerRef& s : cb.surfaces) layer += (layer.empty() ? "" : ", ") + s.name;
            if (layer.empty()) layer = cb.cut ? "(surfaces cut short)" : "(no surface)";
            Finding& f =
                byLayer.try_emplace(layer, makeFinding("old-callbacks", pid, layer)).first->second;
            f.summary += (f.summary.empty() ? "" : "; ") + std::string("callback ") +
                         std::to_string(cb.id) + (cb.onComplete ? " (complete)" : " (commit)") +
                         " pending for " + formatDuration(elapsed(cb.addTime, now));
            f.callbacks.push_back(cb.id);
            f.evidence.push_back(cb.line);
        }
        for (auto& [layer, f] : byLayer) {
            f.summary = "\"" + layer + "\": transaction callbacks never came back: " + f.summary;
            a.findings.push_back(std::move(f));
        }
    }
}

// When the dump's frame record last saw `frame` of queue `queue` move (0 when it holds none).
int64_t lastStepTime(const BlastDump& dump, const std::string& queue, uint64_t frame) {
    if (!dump.record) return 0;
    for (const FrameRecordLayer& layer : dump.record->layers) {
        if (layer.queueName != queue) continue;
        for (const FrameRecordFrame& f : layer.frames) {
            if (f.number == frame) return f.events.empty() ? f.startTime : f.events.back().time;
        }
    }
    return 0;
}

void unreleasedBuffers(Analysis& a, const Thresholds& t) {
    const auto latest =
        latestDumps<std::pair<int, std::string>>(a.blastDumps, [](const BlastDump& d) {
            return d.hasBlast && d.listener
                       ? std::vector<std::pair<int, std::string>>{{d.origin.pid, d.queueName}}
                       : std::vector<std::pair<int, std::string>>{};
        });
    for (const auto& [key, index] : latest) {
        const BlastDump& dump = a.blastDumps[index];
        // Without the whole release list (cut dump, cut line) a missing callback proves nothing.
        const ListenerState& l = *dump.listener;
        if (l.releaseLine == 0 || l.releases.size() < l.declaredReleases) continue;
        Finding f = makeFinding("unreleased-buffers", key.first, dump.blast.name);
        std::string list;
        for (const SubmittedBuffer& s : dump.blast.submitted) {
            const auto& releases = dump.listener->releases;
            const bool hasCallback =
                std::any_of(releases.begin(), releases.end(),
                            [&](const ReleaseCallback& r) { return r.id == s.id; });
            if (hasCallback) continue;
            // A release on its way (taken from the listener, waiting for the queue's lock the
            // dump holds) looks the same for a moment: only a frame quiet for as long as a stuck
            // one counts.
            const int64_t last = lastStepTime(dump, dump.blast.name, s.frame);
            if (last != 0 && dump.dumpTime() != 0 &&
                elapsed(last, dump.dumpTime()) < t.stuckFrameNs) {
                continue;
            }
            list += (list.empty() ? "" : ", ") + std::string("frame ") + std::to_string(s.frame) +
                    " (slot " + std::to_string(s.slot) + ", buffer " +
                    (s.id.invalid ? std::string("INVALID_ID") : std::to_string(s.id.bufferId)) + ")";
            f.frames.push_back(s.frame);
            f.evidence.push_back(s.line);
        }
        if (f.frames.empty()) continue;
        if (dump.listener->releaseLine) f.evidence.push_back(dump.listener->releaseLine);
        f.summary = "queue \"" + dump.blast.name + "\": submitted with no release callback: " + list;
        a.findings.push_back(std::move(f));
    }
}

void compositorUnreachable(Analysis& a) {
    std::map<int, Finding> byPid;
    for (const CompositorLine& l : a.compositorLines) {
        if (l.kind == CompositorLine::Kind::kSent) continue;
        Finding& f =
            byPid.try_emplace(l.origin.pid, makeFinding("compositor-unreachable", l.origin.pid))
                .first->second;
        f.evidence.push_back(l.origin.firstLine);
        f.summary = std::string("the layer was not named to the compositor: ") +
                    (l.kind == CompositorLine::Kind::kNoServiceManager
                         ? "no service manager"
                         : "the compositor service is not registered") +
                    " (" + std::to_string(f.evidence.size()) + " times)";
    }
    for (auto& [pid, f] : byPid) a.findings.push_back(std::move(f));
}

// The nearest-rank percentile of sorted samples.
int64_t percentile(const std::vector<int64_t>& sorted, int p) {
    const size_t rank = (sorted.size() * static_cast<size_t>(p) + 99) / 100;
    return sorted[rank == 0 ? 0 : rank - 1];
}

void stepLatencies(Analysis& a) {
    // available -> acquire -> apply -> commit -> complete -> release; each step is the first
    // event of any of its kinds.
    static const std::vector<std::pair<const char*, std::vector<int>>> kSteps = {
        {"available", {0}}, {"acquire", {1, 2}},  {"apply", {11}},
        {"commit", {6, 3}}, {"complete", {5, 4}}, {"release", {7, 8, 9}},
    };
    const auto latest = latestDumps<LayerKey>(a.blastDumps, [](const BlastDump& d) {
        std::vector<LayerKey> keys;
        if (d.record) {
            for (const auto& layer : d.record->layers) keys.emplace_back(d.origin.pid, layer.id);
        }
        return keys;
    });
    for (const auto& [key, index] : latest) {
        for (const FrameRecordLayer& layer : a.blastDumps[index].record->layers) {
            if (layer.id != key.second) continue;
            // Each frame's time of each step, then from each step it took to the next one it
            // took: a normal frame has no commit step (only on-commit callbacks make one), and
            // its apply leads straight to its completion.
            std::map<std::pair<size_t, size_t>, std::vector<int64_t>> samples;
            for (const FrameRecordFrame& frame : layer.frames) {
                std::vector<int64_t> at(kSteps.size(), 0);
                for (const FrameEvent& e : frame.events) {
                    for (size_t s = 0; s < kSteps.size(); ++s) {
                        const auto& kinds = kSteps[s].second;
                        if (!at[s] && std::count(kinds.begin(), kinds.end(), e.type))
                            at[s] = e.time;
                    }
                }
                for (size_t from = 0, to = 1; to < kSteps.size(); ++to) {
                    if (!at[to]) continue;
                    if (at[from] && at[to] >= at[from]) {
                        samples[{from, to}].push_back(elapsed(at[from], at[to]));
                    }
                    from = to;
                }
            }
            LayerLatency out{key.first, layerLabel(layer), {}};
            for (auto& [steps, times] : samples) {
                std::sort(times.begin(), times.end());
                out.steps.push_back({kSteps[steps.first].first, kSteps[steps.second].first,
                                     times.size(), percentile(times, 50), percentile(times, 90),
                                     times.back()});
            }
            if (!out.steps.empty()) a.latencies.push_back(std::move(out));
        }
    }
}

}  // namespace

int64_t elapsed(int64_t from, int64_t to) {
    int64_t d = 0;
    if (!__builtin_sub_overflow(to, from, &d)) return d;
    return to > from ? INT64_MAX : INT64_MIN;
}

std::string formatDuration(int64_t ns) {
    char text[32];
    snprintf(text, sizeof(text), "%.1f ms", static_cast<double>(ns) / 1e6);
    return text;
}

void addFindings(Analysis& analysis, const Thresholds& thresholds) {
    producerStarved(analysis);
    stuckFrames(analysis, thresholds);
    oldCallbacks(analysis, thresholds);
    unreleasedBuffers(analysis, thresholds);
    compositorUnreachable(analysis);
    stepLatencies(analysis);
}

Analysis explainText(std::string_view text, const Thresholds& thresholds) {
    DumpParser parser;
    LineReader reader([&](std::string_view line, size_t dropped) { parser.addLine(line, dropped); });
    reader.add(text.data(), text.size());
    reader.finish();
    Analysis analysis = parser.finish();
    addFindings(analysis, thresholds);
    return analysis;
}

}  // namespace talvex::explain
