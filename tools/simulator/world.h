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

#include <gui/SurfaceComposerClient.h>
#include <utils/StrongPointer.h>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <vector>

#include "compositor.h"
#include "compositor_service.h"
#include "layer.h"
#include "options.h"

namespace talvex::simulator {

// Everything one run plays with: the options, the seeded choices, the compositor and the live
// layers. Scenarios drive it from the simulator's main thread.
class World {
public:
    // Layers are made known to the compositor's `names` while they live.
    World(const Options& options, LayerNames& names);
    // Stops every producer, then the compositor, then destroys the layers.
    ~World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    const Options& options() const { return mOptions; }
    std::mt19937_64& random() { return mRandom; }
    Compositor& compositor() { return mCompositor; }
    std::chrono::nanoseconds framePeriod() const { return mFramePeriod; }

    // Creates the next app layer (names cycle through a few apps) and starts its producer.
    Layer& addLayer();
    // Destroys the layer at `index` as its app would, while the others go on; says so if
    // `announce`.
    void removeLayer(size_t index, bool announce = true);
    std::vector<std::unique_ptr<Layer>>& layers() { return mLayers; }

    // Waits until `pred` holds (looked at every few ms); a story's step may wait past the run's
    // end, up to `kStepGrace` (a slow, sanitized run). Returns `pred()`.
    bool waitFor(const std::function<bool()>& pred);
    static constexpr std::chrono::seconds kStepGrace{5};

    // Waits `delay`, or until the run's end; returns false if the run ended first.
    bool sleepFor(std::chrono::nanoseconds delay);
    // The run's end, from --seconds.
    std::chrono::steady_clock::time_point end() const { return mEnd; }

    // libgui's dump on request (e.g. from dumpsys): arms the layer's BLAST dump and dumps its
    // core with the core's lock held; returns once the queued BLAST dump has run.
    void requestDump(Layer& layer);

private:
    const Options mOptions;
    const std::chrono::nanoseconds mFramePeriod;
    std::mt19937_64 mRandom;
    const std::chrono::steady_clock::time_point mEnd;
    android::sp<android::SurfaceComposerClient> mClient;
    Compositor mCompositor;
    std::vector<std::unique_ptr<Layer>> mLayers;
    int mLayersMade = 0;
    LayerNames& mNames;
};

// The simulator's own line (tag "TalvexSimulator"), printf-style.
void say(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace talvex::simulator
