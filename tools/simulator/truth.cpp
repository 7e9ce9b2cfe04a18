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

std::string Truth::json() const {
    using nlohmann::json;
    json j;
    j["version"] = 1;
    j["seed"] = seed;
    j["story"] = story;
    j["stuck_ms"] = stuckMs;
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
        json dump = {{"at_ns", d.atNs},    {"layer_id", d.layerId}, {"core", d.core},
                     {"reason", d.reason}, {"starved", d.starved},  {"layers", json::array()}};
        for (const DumpedLayer& l : d.layers) {
            dump["layers"].push_back({{"layer_id", l.layerId},
                                      {"unreturned_frames", l.unreturnedFrames},
                                      {"withheld_callbacks", l.withheldCallbacks}});
        }
        j["dumps"].push_back(dump);
    }
    return j.dump(1) + "\n";
}

}  // namespace talvex::simulator
