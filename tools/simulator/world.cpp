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

#include "world.h"

#include <android/log.h>

#include <cstdarg>
#include <thread>

#include "libgui_glue.h"

namespace talvex::simulator {
namespace {

struct AppLayer {
    const char* surfaceName;
    const char* queueName;
};

constexpr AppLayer kApps[] = {
    {"com.example.mail/com.example.mail.InboxActivity", "VRI[InboxActivity]"},
    {"com.example.video/com.example.video.PlayerActivity", "VRI[PlayerActivity]"},
    {"StatusBar", "VRI[StatusBar]"},
    {"com.example.maps/com.example.maps.MapActivity", "VRI[MapActivity]"},
};

}  // namespace

void say(const char* format, ...) {
    va_list args;
    va_start(args, format);
    __android_log_vprint(ANDROID_LOG_INFO, "TalvexSimulator", format, args);
    va_end(args);
}

World::World(const Options& options, LayerNames& names)
    : mOptions(options),
      mFramePeriod(std::chrono::nanoseconds(1000000000LL / options.fps)),
      mRandom(options.seed),
      mEnd(std::chrono::steady_clock::now() +
           std::chrono::duration_cast<std::chrono::steady_clock::duration>(
               std::chrono::duration<double>(options.seconds))),
      mClient(new android::SurfaceComposerClient()),
      mCompositor(mFramePeriod),
      mNames(names) {
    mCompositor.start();
}

World::~World() {
    for (auto& layer : mLayers) layer->stop();
    mCompositor.stop();
    while (!mLayers.empty()) removeLayer(mLayers.size() - 1, false);
}

Layer& World::addLayer() {
    const AppLayer& app = kApps[mLayersMade % (sizeof(kApps) / sizeof(kApps[0]))];
    LayerConfig config;
    config.surfaceName = std::string(app.surfaceName) + "#" + std::to_string(mLayersMade);
    config.queueName = app.queueName;
    config.framePeriod = mFramePeriod;
    config.seed = mOptions.seed * 1000003 + static_cast<uint64_t>(mLayersMade);
    ++mLayersMade;
    mLayers.push_back(std::make_unique<Layer>(mClient, config));
    Layer& layer = *mLayers.back();
    mNames.add(layer.surface()->getLayerStateHandle(), layer.surface()->getName());
    say("layer %d (%s) draws through %s at %d fps", layer.layerId(),
        layer.surface()->getName().c_str(), layer.queue()->hostName().c_str(), mOptions.fps);
    layer.start();
    return layer;
}

void World::removeLayer(size_t index, bool announce) {
    std::unique_ptr<Layer> layer = std::move(mLayers[index]);
    mLayers.erase(mLayers.begin() + static_cast<std::ptrdiff_t>(index));
    const int32_t id = layer->layerId();
    layer->stop();
    mCompositor.forgetLayer(id);
    // libgui's own wait for a queued dump is bounded; the layer must outlive any such dump.
    waitForDumperThread();
    mNames.remove(layer->surface()->getLayerStateHandle());
    // Another queue's dump may have read this layer's surface through the listener, holding a
    // strong reference, under that queue's lock. The reference count orders that read before
    // the surface goes, but libutils is not instrumented, so the race detector cannot see it:
    // passing through each queue's lock shows it the same order.
    for (const auto& other : mLayers) {
        std::lock_guard<std::mutex> passThrough(other->queue()->hostMutex());
    }
    layer.reset();
    if (announce) say("layer %d destroyed", id);
}

constexpr std::chrono::seconds World::kStepGrace;

bool World::waitFor(const std::function<bool()>& pred) {
    const auto deadline = mEnd + kStepGrace;
    while (!pred()) {
        if (std::chrono::steady_clock::now() >= deadline) return pred();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool World::sleepFor(std::chrono::nanoseconds delay) {
    const auto until = std::chrono::steady_clock::now() + delay;
    if (until > mEnd) {
        std::this_thread::sleep_until(mEnd);
        return false;
    }
    std::this_thread::sleep_until(until);
    return true;
}

void World::requestDump(Layer& layer) {
    // Whoever dumps the queue's consumer (ConsumerBase::dumpState) reaches libgui's patch, which
    // arms and dumps the queue; its BLAST part runs on the dumper thread.
    android::String8 ignored;
    layer.queue()->hostBufferItemConsumer()->dumpState(ignored);
    waitForDumperThread();
}

}  // namespace talvex::simulator
