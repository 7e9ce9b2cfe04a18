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

#include "scorer.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iterator>
#include <map>
#include <set>
#include <utility>

namespace talvex::simulator {
namespace {

using Items = std::multiset<std::string>;

std::string frameItem(int32_t layerId, uint64_t frame) {
    return "layer " + std::to_string(layerId) + " frame " + std::to_string(frame);
}

std::string callbackItem(const std::string& surface, int64_t id) {
    return "\"" + surface + "\" callback " + std::to_string(id);
}

std::string sizeItem(int32_t width, int32_t cappedWidth, int32_t height, int32_t cappedHeight) {
    return "width " + std::to_string(width) + "->" + std::to_string(cappedWidth) + " height " +
           std::to_string(height) + "->" + std::to_string(cappedHeight);
}

std::string bufferSizeItem(const std::string& core, int32_t width, int32_t height) {
    return "core \"" + core + "\" buffers " + std::to_string(width) + "x" + std::to_string(height);
}

// Old enough for the reader to call it stuck; a time the story never learnt counts as old, as
// the analyzer counts a step with no time.
bool oldAt(nsecs_t since, nsecs_t at, int64_t threshold) {
    return since == 0 || at - since >= threshold;
}

// The layer id a stuck-frames finding names: its label reads `layer <id> "<surface>"`.
bool labelledLayer(const std::string& label, int32_t* id) {
    return sscanf(label.c_str(), "layer %" SCNd32, id) == 1;
}

const Truth::Layer* layerOf(const Truth& truth, int32_t layerId) {
    for (const Truth::Layer& layer : truth.layers) {
        if (layer.layerId == layerId) return &layer;
    }
    return nullptr;
}

void compare(KindScore& score, const Items& expected, const Items& found) {
    score.expected = expected.size();
    score.found = found.size();
    std::set_difference(expected.begin(), expected.end(), found.begin(), found.end(),
                        std::back_inserter(score.missed));
    std::set_difference(found.begin(), found.end(), expected.begin(), expected.end(),
                        std::back_inserter(score.invented));
}

}  // namespace

bool Score::clean() const {
    return std::all_of(kinds.begin(), kinds.end(),
                       [](const KindScore& k) { return k.missed.empty() && k.invented.empty(); });
}

const std::vector<std::string>& scoredKinds() {
    static const std::vector<std::string> kinds = {
        "dump",          "producer-starved",   "stuck-frames",
        "old-callbacks", "unreleased-buffers", "compositor-unreachable",
        "limiter"};
    return kinds;
}

Score scoreStory(const Truth& truth, const explain::Analysis& analysis,
                 const explain::Thresholds& thresholds) {
    std::map<std::string, std::pair<Items, Items>> items;  // kind: expected, found

    // Every dump, core and BLAST part, read whole.
    for (const Truth::Dump& dump : truth.dumps) {
        items["dump"].first.insert("core \"" + dump.core + "\"");
        items["limiter"].first.insert(
            bufferSizeItem(dump.core, dump.bufferSize[0], dump.bufferSize[1]));
        if (const Truth::Layer* layer = layerOf(truth, dump.layerId)) {
            items["dump"].first.insert("BLAST \"" + layer->queue + "\"");
        }
    }
    for (const explain::CoreDump& dump : analysis.coreDumps) {
        if (!dump.complete) continue;
        items["dump"].second.insert("core \"" + dump.name + "\"");
        items["limiter"].second.insert(
            bufferSizeItem(dump.name, dump.defaultWidth, dump.defaultHeight));
    }
    for (const explain::BlastDump& dump : analysis.blastDumps) {
        if (dump.complete) items["dump"].second.insert("BLAST \"" + dump.queueName + "\"");
    }

    // Judged on the latest dump of each core, of each layer, and of the process.
    std::map<std::string, bool> starvedByCore;
    std::map<int32_t, std::pair<nsecs_t, const Truth::DumpedLayer*>> latestByLayer;
    for (const Truth::Dump& dump : truth.dumps) {
        starvedByCore[dump.core] = dump.starved;
        for (const Truth::DumpedLayer& layer : dump.layers) {
            if (layer.recorded) latestByLayer[layer.layerId] = {dump.atNs, &layer};
        }
    }
    for (const auto& [core, starved] : starvedByCore) {
        if (starved) items["producer-starved"].first.insert("queue \"" + core + "\"");
    }
    for (const auto& [layerId, latest] : latestByLayer) {
        const auto& [at, layer] = latest;
        for (const Truth::Frame& frame : layer->unreturnedFrames) {
            if (oldAt(frame.sinceNs, at, thresholds.stuckFrameNs)) {
                items["stuck-frames"].first.insert(frameItem(layerId, frame.frame));
            }
        }
    }
    if (!truth.dumps.empty()) {
        const Truth::Dump& last = truth.dumps.back();
        for (const Truth::DumpedLayer& layer : last.layers) {
            const Truth::Layer* known = layerOf(truth, layer.layerId);
            const std::string surface = known != nullptr ? known->surface : "(unknown layer)";
            for (const Truth::Callback& callback : layer.withheldCallbacks) {
                if (oldAt(callback.sinceNs, last.atNs, thresholds.pendingCallbackNs)) {
                    items["old-callbacks"].first.insert(callbackItem(surface, callback.id));
                }
            }
        }
    }
    for (const Truth::Fault& fault : truth.faults) {
        if (fault.kind != "oversize") continue;
        if (fault.capped[0] == fault.requested[0] && fault.capped[1] == fault.requested[1]) {
            continue;
        }
        items["limiter"].first.insert(
            sizeItem(fault.requested[0], fault.capped[0], fault.requested[1], fault.capped[1]));
    }
    for (const explain::LimiterLine& line : analysis.limiters) {
        items["limiter"].second.insert(
            sizeItem(line.width, line.cappedWidth, line.height, line.cappedHeight));
    }

    for (const explain::Finding& finding : analysis.findings) {
        Items& found = items[finding.kind].second;
        if (finding.kind == "producer-starved") {
            found.insert("queue \"" + finding.layer + "\"");
        } else if (finding.kind == "stuck-frames") {
            int32_t layerId = 0;
            if (!labelledLayer(finding.layer, &layerId)) {
                found.insert("unlabelled layer " + finding.layer);
                continue;
            }
            for (const uint64_t frame : finding.frames) found.insert(frameItem(layerId, frame));
        } else if (finding.kind == "old-callbacks") {
            for (const int64_t id : finding.callbacks) {
                found.insert(callbackItem(finding.layer, id));
            }
        } else {
            // The story never makes these: each one is made up.
            std::string item = finding.layer;
            for (const uint64_t frame : finding.frames) item += " frame " + std::to_string(frame);
            found.insert(item.empty() ? finding.summary : item);
        }
    }

    Score score;
    for (const std::string& kind : scoredKinds()) {
        KindScore k;
        k.kind = kind;
        compare(k, items[kind].first, items[kind].second);
        score.kinds.push_back(std::move(k));
    }
    return score;
}

}  // namespace talvex::simulator
