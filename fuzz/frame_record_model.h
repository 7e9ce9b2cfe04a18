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

// A reference model of the frame record's store for the hook-interface fuzzer: the same calls
// applied to plain containers by the store's rules, rendered in the dump's layout with the
// times left out, so that the library's dump can be held against it after every call.
#pragma once

#include <libgui_interface/hook/FrameType.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace talvex::fuzz {

using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;

// What the record should hold; layer identity (SurfaceControl, names, handle) is given by the
// caller as it would read it from the SurfaceControl.
class FrameRecordModel {
public:
    struct Identity {
        const void* surfaceControl;
        const void* layerHandle;
        std::string surfaceControlName;
    };

    void update(int layerId, const Identity& identity, const std::string& name, const void* queue);
    void clear(int layerId, const void* queue);
    void start(int layerId, unsigned long frameNumber, const FrameStartStatus& status);
    void event(int layerId, unsigned long frameNumber, FrameType type);

    // Returns each layer's block of the dump, keyed by layer id, with every time left out:
    // events as "name(index) " and the start status without its startTime field.
    std::map<int, std::string> render() const;

private:
    struct Frame {
        FrameStartStatus status;
        std::vector<std::pair<FrameType, uint64_t>> events;
    };
    struct Layer {
        Identity identity;
        std::string name;
        const void* queue = nullptr;
        uint64_t eventCount = 0;
        std::map<unsigned long, Frame> normal;
        std::map<unsigned long, Frame> synced;
    };

    std::map<int, Layer> mLayers;
};

// Checks `dump` (one whole frame record dump) line by line: the header naming `programName`
// with the layer count, each layer's two lines and two section headings, frame lines whose time
// texts equal the reference rendering of their start and event times, and the trailer. Returns
// the layer blocks in `render()`'s form, or sets `error` and returns what it read so far.
std::map<int, std::string> readDump(const std::string& dump, const std::string& programName,
                                    std::string& error);

}  // namespace talvex::fuzz
