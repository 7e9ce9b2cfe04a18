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

// The frames and callbacks of the dumps laid out in time, per process and layer, for the trace
// and the HTML page. Points into the Analysis it was built from.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dump_model.h"

namespace talvex::explain {

struct TimelineFrame {
    const FrameRecordFrame* frame = nullptr;
    int64_t start = 0, end = 0;  // its start, its last event (monotonic ns)
    bool stuck = false;          // named by a stuck-frames finding
    int64_t waitUntil = 0;       // a stuck frame: the dump that still saw it waiting, else 0
    std::string lastStep;
    // Where the frame's place on its track ends: a stuck frame's wait is drawn too.
    int64_t extent() const { return std::max(end, waitUntil); }
};

struct TimelineLayer {
    int id = 0;
    std::string label;
    // Frames that overlap in time go to separate lanes, so each lane nests properly.
    std::vector<std::vector<TimelineFrame>> lanes;
};

struct TimelineCallback {
    const PendingCallback* callback = nullptr;
    int64_t until = 0;  // the dump that still saw it pending
    bool old = false;   // named by an old-callbacks finding
};

struct TimelineProcess {
    int pid = -1;
    std::string name;
    std::vector<TimelineLayer> layers;
    std::vector<TimelineCallback> callbacks;
    std::vector<std::pair<int64_t, uint64_t>> dumps;  // each BLAST dump's time and first line
    int64_t begin = 0, end = 0;                       // the span of everything above
};

struct Timeline {
    std::vector<TimelineProcess> processes;
};

Timeline buildTimeline(const Analysis& analysis);

// `layer 5 "name"`, how findings and timelines name a frame record layer.
std::string layerLabel(const FrameRecordLayer& layer);

}  // namespace talvex::explain
