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

// What a story did, as the simulator knows it: its layers, the faults it injected and, for each
// dump libgui wrote, what a correct reading of that dump must find. Written beside the log
// (--truth FILE) for a scorer to hold the log's reader to; the log itself gains nothing from it.
#pragma once

#include <utils/Timers.h>

#include <cstdint>
#include <string>
#include <vector>

namespace talvex::simulator {

struct Truth {
    struct Layer {
        int32_t layerId = 0;
        std::string surface;  // the compositor's layer name
        std::string queue;    // the BLAST queue's name
        std::string core;     // the core's consumer name, as its dump's lines name it
        nsecs_t createdNs = 0;
        nsecs_t destroyedNs = 0;  // 0 while it lives
    };
    // A fault or event the story injected.
    struct Fault {
        std::string
            kind;  // "stop-latching", "lose-completion", "oversize", "sync", "hold-transaction"
        int32_t layerId = 0;
        nsecs_t atNs = 0;
        uint64_t frame = 0;  // the first held frame, the lost or synced one, the held-for one
        int32_t requested[2] = {0, 0};  // oversize: the size asked for
        int32_t capped[2] = {0, 0};     // oversize: the size libgui's patch should cap it to
    };
    // One layer as a dump found it. `sinceNs` is when the frame last moved (the app queued it,
    // the compositor received or latched it) or when the compositor received the callback's
    // transaction: what a reader of the dump can tell its age from.
    struct Frame {
        uint64_t frame = 0;
        nsecs_t sinceNs = 0;
    };
    struct Callback {
        int64_t id = 0;
        nsecs_t sinceNs = 0;
    };
    struct DumpedLayer {
        int32_t layerId = 0;
        bool alive = true;  // false: destroyed by its app
        // Its BLAST queue lives (a gone layer's may, while a callback holds it): the frame
        // record lists it.
        bool recorded = true;
        // Frames whose buffer had not come back to the app: with the compositor or queued.
        std::vector<Frame> unreturnedFrames;
        // Pending callbacks the compositor never answers (held or lost).
        std::vector<Callback> withheldCallbacks;
    };
    // A dump libgui wrote: its core at once, then the BLAST queue, frame record and listener.
    struct Dump {
        nsecs_t atNs = 0;
        int32_t layerId = 0;
        std::string core;
        std::string reason;    // "stall" (libgui's patch, a starved producer) or "request"
        bool starved = false;  // no slot free for the producer: its next dequeue would wait
        // The core's default buffer size: the app's last request, capped as the device needs.
        int32_t bufferSize[2] = {0, 0};
        std::vector<DumpedLayer> layers;  // every layer alive then
    };

    uint64_t seed = 0;
    std::string story;
    std::vector<Layer> layers;
    std::vector<Fault> faults;
    std::vector<Dump> dumps;

    // The truth as JSON text.
    std::string json() const;
    // Reads what json() wrote; false with a reason in `error` for anything else.
    static bool fromJson(const std::string& text, Truth* truth, std::string* error);
};

}  // namespace talvex::simulator
