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

#include "truth.h"

#include <nlohmann/json.hpp>

namespace talvex::simulator {

namespace {

constexpr int kVersion = 2;

}  // namespace

std::string Truth::json() const {
    using nlohmann::json;
    json j;
    j["version"] = kVersion;
    j["seed"] = seed;
    j["story"] = story;
    j["layers"] = json::array();
    for (const Layer& l : layers) {
        j["layers"].push_back({{"layer_id", l.layerId},
                               {"surface", l.surface},
                               {"queue", l.queue},
                               {"core", l.core},
                               {"created_ns", l.createdNs},
                               {"destroyed_ns", l.destroyedNs}});
    }
    j["faults"] = json::array();
    for (const Fault& f : faults) {
        json fault = {
            {"kind", f.kind}, {"layer_id", f.layerId}, {"at_ns", f.atNs}, {"frame", f.frame}};
        if (f.kind == "oversize") {
            fault["requested"] = {f.requested[0], f.requested[1]};
            fault["capped"] = {f.capped[0], f.capped[1]};
        }
        j["faults"].push_back(fault);
    }
    j["dumps"] = json::array();
    for (const Dump& d : dumps) {
        json dump = {{"at_ns", d.atNs},
                     {"layer_id", d.layerId},
                     {"core", d.core},
                     {"reason", d.reason},
                     {"starved", d.starved},
                     {"layers", json::array()},
                     {"buffer_size", {d.bufferSize[0], d.bufferSize[1]}}};
        for (const DumpedLayer& l : d.layers) {
            json frames = json::array();
            for (const Frame& f : l.unreturnedFrames) {
                frames.push_back({{"frame", f.frame}, {"since_ns", f.sinceNs}});
            }
            json callbacks = json::array();
            for (const Callback& c : l.withheldCallbacks) {
                callbacks.push_back({{"id", c.id}, {"since_ns", c.sinceNs}});
            }
            dump["layers"].push_back({{"layer_id", l.layerId},
                                      {"alive", l.alive},
                                      {"recorded", l.recorded},
                                      {"unreturned_frames", frames},
                                      {"withheld_callbacks", callbacks}});
        }
        j["dumps"].push_back(dump);
    }
    return j.dump(1) + "\n";
}

bool Truth::fromJson(const std::string& text, Truth* truth, std::string* error) {
    using nlohmann::json;
    const json j = json::parse(text, nullptr, /*allow_exceptions=*/false);
    if (j.is_discarded()) {
        *error = "not JSON";
        return false;
    }
    try {
        if (j.at("version").get<int>() != kVersion) {
            *error = "truth version " + j.at("version").dump() + ", not " + std::to_string(kVersion);
            return false;
        }
        Truth t;
        t.seed = j.at("seed").get<uint64_t>();
        t.story = j.at("story").get<std::string>();
        for (const json& l : j.at("layers")) {
            t.layers.push_back({l.at("layer_id").get<int32_t>(), l.at("surface").get<std::string>(),
                                l.at("queue").get<std::string>(), l.at("core").get<std::string>(),
                                l.at("created_ns").get<nsecs_t>(),
                                l.at("destroyed_ns").get<nsecs_t>()});
        }
        for (const json& f : j.at("faults")) {
            Fault fault;
            fault.kind = f.at("kind").get<std::string>();
            fault.layerId = f.at("layer_id").get<int32_t>();
            fault.atNs = f.at("at_ns").get<nsecs_t>();
            fault.frame = f.at("frame").get<uint64_t>();
            if (f.contains("requested")) {
                for (int i = 0; i < 2; ++i) {
                    fault.requested[i] = f.at("requested").at(i).get<int32_t>();
                    fault.capped[i] = f.at("capped").at(i).get<int32_t>();
                }
            }
            t.faults.push_back(fault);
        }
        for (const json& d : j.at("dumps")) {
            Dump dump;
            dump.atNs = d.at("at_ns").get<nsecs_t>();
            dump.layerId = d.at("layer_id").get<int32_t>();
            dump.core = d.at("core").get<std::string>();
            dump.reason = d.at("reason").get<std::string>();
            dump.starved = d.at("starved").get<bool>();
            for (int i = 0; i < 2; ++i)
                dump.bufferSize[i] = d.at("buffer_size").at(i).get<int32_t>();
            for (const json& l : d.at("layers")) {
                DumpedLayer layer;
                layer.layerId = l.at("layer_id").get<int32_t>();
                layer.alive = l.at("alive").get<bool>();
                layer.recorded = l.at("recorded").get<bool>();
                for (const json& f : l.at("unreturned_frames")) {
                    layer.unreturnedFrames.push_back(
                        {f.at("frame").get<uint64_t>(), f.at("since_ns").get<nsecs_t>()});
                }
                for (const json& c : l.at("withheld_callbacks")) {
                    layer.withheldCallbacks.push_back(
                        {c.at("id").get<int64_t>(), c.at("since_ns").get<nsecs_t>()});
                }
                dump.layers.push_back(std::move(layer));
            }
            t.dumps.push_back(std::move(dump));
        }
        *truth = std::move(t);
        return true;
    } catch (const json::exception& e) {
        *error = e.what();
        return false;
    }
}

}  // namespace talvex::simulator
