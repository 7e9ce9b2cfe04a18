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

#pragma once

#include <gui/BLASTBufferQueue.h>
#include <gui/SurfaceComposerClient.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "compositor.h"
#include "compositor_service.h"
#include "event_loop.h"
#include "layer.h"
#include "options.h"
#include "truth.h"

namespace talvex::simulator {

// Everything one run plays with: the options, the seeded choices, the compositor, the live
// layers and the clock, in simulated time (the default: events on the simulator's own loop, run
// on this thread) or in real time (--realtime: producer and vsync threads). Scenarios drive it
// from the simulator's main thread. It keeps the run's truth: the faults injected through it and
// what each dump libgui wrote must show.
class World {
public:
    // How long a story's step may wait past the run's end (a slow, sanitized real-time run).
    static constexpr nsecs_t kStepGrace = 5000000000LL;

    // Layers are made known to the compositor's `names` while they live.
    World(const Options& options, LayerNames& names);
    // Stops every app, then the compositor, then destroys the layers.
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const Options& options() const { return mOptions; }
    std::mt19937_64& random() { return mRandom; }
    Compositor& compositor() { return mCompositor; }
    nsecs_t framePeriod() const { return mFramePeriod; }
    nsecs_t end() const { return mEnd; }

    // Creates the next app layer (names cycle through a few apps), drawing at `fps` (0: the
    // run's), and starts its app.
    Layer& addLayer(int fps = 0);
    // Destroys the layer at `index` as its app would, while the others go on; says so if
    // `announce`.
    void removeLayer(size_t index, bool announce = true);
    std::vector<std::unique_ptr<Layer>>& layers() { return mLayers; }

    // Lets the world run until `pred` holds; a step may wait past the run's end, up to
    // kStepGrace. Returns `pred()`.
    bool waitFor(const std::function<bool()>& pred);
    // Lets the world run for `delay`, or until the run's end; returns false if it ended first.
    bool sleepFor(nsecs_t delay);

    // The story's faults, each noted in the truth.
    // The compositor stops latching `layer`'s buffers; returns the first frame it holds.
    uint64_t stopLatching(Layer& layer);
    // The compositor never delivers the completion of `layer`'s frame `frameNumber`.
    void loseCompletion(Layer& layer, uint64_t frameNumber);
    // `layer`'s app asks for `width` x `height` buffers.
    void requestSize(Layer& layer, uint32_t width, uint32_t height);
    // `layer`'s next frame goes into a sync transaction.
    void syncNextFrame(Layer& layer);
    // A transaction waits in `layer`'s queue for its frame `frameNumber`.
    void holdTransaction(Layer& layer, uint64_t frameNumber);
    // libgui's dump on request (ConsumerBase::dumpState()): arms the layer's queue and dumps it;
    // returns once its BLAST part has run.
    void requestDump(Layer& layer);

    // How many dumps of `layer`'s queue libgui wrote so far.
    int dumpsOf(const Layer& layer) const;
    Truth& truth() { return mTruth; }

private:
    void afterEvent();
    // Notes every core dump logged since the last look in the truth, `reason` for those the
    // simulator asked for, "stall" for the others (libgui's patch).
    void catchDumps(const char* reason);
    void scheduleVsync(nsecs_t at);
    Truth::Layer* truthOf(int32_t layerId);
    // What a dump must show of layer `id`, whose queue is `queue` (null: gone).
    Truth::DumpedLayer dumpedLayer(int32_t id, android::BLASTBufferQueue* queue);

    const Options mOptions;
    const nsecs_t mFramePeriod;
    const bool mSimulated;
    std::mt19937_64 mRandom;
    nsecs_t mEnd = 0;
    EventLoop mLoop;
    android::sp<android::SurfaceComposerClient> mClient;
    Compositor mCompositor;
    std::vector<std::unique_ptr<Layer>> mLayers;
    std::vector<std::pair<int32_t, android::wp<android::BLASTBufferQueue>>> mGoneLayers;
    int mLayersMade = 0;
    LayerNames& mNames;
    Truth mTruth;
    std::map<int32_t, std::array<int32_t, 2>> mBufferSizes;  // by layer: what its buffers must be
    size_t mDumpsSeen = 0;
};

// The simulator's own line (tag "TalvexSimulator"), printf-style.
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace talvex::simulator
