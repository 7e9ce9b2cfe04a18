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

#include <android-base/properties.h>
#include <android/log.h>
#include <gui/BufferQueueCore.h>

#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <thread>

#include "dumper_wait.h"
#include "logcat_sink.h"
#include "sim_clock.h"

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

// Real time: sleeps until the simulator's clock (the machine's then) reaches `time`.
void sleepUntil(nsecs_t time) {
    const nsecs_t left = time - SimClock::now();
    if (left > 0) std::this_thread::sleep_for(std::chrono::nanoseconds(left));
}

}  // namespace

void say(const char* format, ...) {
    va_list args;
    va_start(args, format);
    __android_log_vprint(ANDROID_LOG_INFO, "TalvexSimulator", format, args);
    va_end(args);
}

World::World(const Options& options, LayerNames& names)
    : mOptions(options),
      mFramePeriod(1000000000LL / options.fps),
      mSimulated(!options.realtime),
      mRandom(options.seed),
      mClient(new android::SurfaceComposerClient()),
      mCompositor(mFramePeriod),
      mNames(names) {
    mEnd = SimClock::now() + static_cast<nsecs_t>(options.seconds * 1e9);
    mTruth.seed = options.seed;
    mTruth.story = options.scenario;
    mCompositor.start(!mSimulated);
    if (mSimulated) scheduleVsync(SimClock::now() + mFramePeriod);
}

World::~World() {
    for (auto& layer : mLayers) {
        if (mSimulated) {
            layer->quiesce();
        } else {
            layer->stop();
        }
    }
    mCompositor.stop();
    while (!mLayers.empty()) removeLayer(mLayers.size() - 1, false);
}

void World::scheduleVsync(nsecs_t at) {
    mLoop.at(at, [this, at] {
        mCompositor.vsync();
        scheduleVsync(at + mFramePeriod);
    });
}

Layer& World::addLayer(int fps) {
    const AppLayer& app = kApps[mLayersMade % (sizeof(kApps) / sizeof(kApps[0]))];
    LayerConfig config;
    config.surfaceName = std::string(app.surfaceName) + "#" + std::to_string(mLayersMade);
    config.queueName = app.queueName;
    config.framePeriod = 1000000000LL / (fps > 0 ? fps : mOptions.fps);
    config.seed = mOptions.seed * 1000003 + static_cast<uint64_t>(mLayersMade);
    ++mLayersMade;
    mLayers.push_back(std::make_unique<Layer>(mClient, config));
    Layer& layer = *mLayers.back();
    mNames.add(layer.surface()->getLayerStateHandle(), layer.surface()->getName());
    Truth::Layer truth;
    truth.layerId = layer.layerId();
    truth.surface = layer.surface()->getName();
    truth.queue = layer.queue()->hostName();
    truth.core = layer.queue()->hostCore()->hostSnapshot().consumerName;
    truth.createdNs = SimClock::now();
    mTruth.layers.push_back(truth);
    mBufferSizes[layer.layerId()] = {static_cast<int32_t>(config.width),
                                     static_cast<int32_t>(config.height)};
    say("layer %d (%s) draws through %s at %d fps", layer.layerId(),
        layer.surface()->getName().c_str(), layer.queue()->hostName().c_str(),
        static_cast<int>(1000000000LL / config.framePeriod));
    if (mSimulated) {
        layer.startSimulated(mLoop);
    } else {
        layer.start();
    }
    return layer;
}

void World::removeLayer(size_t index, bool announce) {
    std::unique_ptr<Layer> layer = std::move(mLayers[index]);
    mLayers.erase(mLayers.begin() + static_cast<std::ptrdiff_t>(index));
    const int32_t id = layer->layerId();
    if (mSimulated) {
        // No new frame; the compositor gives back what it holds, which lets a call waiting
        // inside libgui (a sync) go on; then the app stops.
        layer->quiesce();
        mCompositor.forgetLayer(id);
        layer->settle();
        layer->stop();
    } else {
        layer->stop();
        mCompositor.forgetLayer(id);
    }
    // libgui's own wait for a queued dump is its destructor's; a dump queued before must not
    // read the layer's surface after the names go.
    waitForDumperThread();
    mNames.remove(layer->surface()->getLayerStateHandle());
    if (!mSimulated) {
        // Another queue's dump may have read this layer's surface through the listener, holding
        // a strong reference, under that queue's lock. The reference count orders that read
        // before the surface goes, but libutils is not instrumented, so the race detector
        // cannot see it: passing through each queue's lock shows it the same order.
        for (const auto& other : mLayers) {
            std::lock_guard<std::mutex> passThrough(other->queue()->hostMutex());
        }
    }
    const android::wp<android::BLASTBufferQueue> queue = layer->queue();
    layer.reset();
    if (Truth::Layer* truth = truthOf(id)) truth->destroyedNs = SimClock::now();
    mGoneLayers.emplace_back(id, queue);
    if (announce) say("layer %d destroyed", id);
}

Truth::Layer* World::truthOf(int32_t layerId) {
    for (Truth::Layer& layer : mTruth.layers) {
        if (layer.layerId == layerId) return &layer;
    }
    return nullptr;
}

void World::afterEvent() {
    for (auto& layer : mLayers) layer->settle();
    catchDumps("stall");
}

bool World::waitFor(const std::function<bool()>& pred) {
    const nsecs_t deadline = mEnd + kStepGrace;
    while (!pred()) {
        if (mSimulated) {
            const nsecs_t next = mLoop.next();
            if (next < 0 || next > deadline) {
                SimClock::advanceTo(deadline);
                return pred();
            }
            mLoop.runNext();
            afterEvent();
        } else {
            if (SimClock::now() >= deadline) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            catchDumps("stall");
        }
    }
    return pred();
}

bool World::sleepFor(nsecs_t delay) {
    const nsecs_t target = std::min(SimClock::now() + delay, mEnd);
    if (mSimulated) {
        while (mLoop.next() >= 0 && mLoop.next() <= target) {
            mLoop.runNext();
            afterEvent();
        }
        SimClock::advanceTo(target);
    } else {
        while (SimClock::now() < target) {
            sleepUntil(std::min(target, SimClock::now() + 20000000));
            catchDumps("stall");
        }
    }
    return target < mEnd;
}

uint64_t World::stopLatching(Layer& layer) {
    const uint64_t first = mCompositor.stopLatching(layer.layerId());
    Truth::Fault fault;
    fault.kind = "stop-latching";
    fault.layerId = layer.layerId();
    fault.atNs = SimClock::now();
    fault.frame = first;
    mTruth.faults.push_back(fault);
    return first;
}

void World::loseCompletion(Layer& layer, uint64_t frameNumber) {
    mCompositor.loseCompletion(layer.layerId(), frameNumber);
    Truth::Fault fault;
    fault.kind = "lose-completion";
    fault.layerId = layer.layerId();
    fault.atNs = SimClock::now();
    fault.frame = frameNumber;
    mTruth.faults.push_back(fault);
}

void World::requestSize(Layer& layer, uint32_t width, uint32_t height) {
    Truth::Fault fault;
    fault.kind = "oversize";
    fault.layerId = layer.layerId();
    fault.atNs = SimClock::now();
    fault.requested[0] = static_cast<int32_t>(width);
    fault.requested[1] = static_cast<int32_t>(height);
    // libgui's patch caps each side at 4000 when the property asks and one side is over.
    const bool cap = android::base::GetProperty("debug.graphics.unsupport4K", "0") == "1" &&
                     (width > 4000 || height > 4000);
    fault.capped[0] = cap ? std::min<int32_t>(fault.requested[0], 4000) : fault.requested[0];
    fault.capped[1] = cap ? std::min<int32_t>(fault.requested[1], 4000) : fault.requested[1];
    mTruth.faults.push_back(fault);
    mBufferSizes[layer.layerId()] = {fault.capped[0], fault.capped[1]};
    layer.queue()->update(layer.surface(), width, height, android::PIXEL_FORMAT_RGBA_8888);
}

void World::syncNextFrame(Layer& layer) {
    Truth::Fault fault;
    fault.kind = "sync";
    fault.layerId = layer.layerId();
    fault.atNs = SimClock::now();
    fault.frame = layer.queue()->hostCore()->hostSnapshot().frameCounter + 1;
    mTruth.faults.push_back(fault);
    layer.syncNextFrame();
}

void World::holdTransaction(Layer& layer, uint64_t frameNumber) {
    Truth::Fault fault;
    fault.kind = "hold-transaction";
    fault.layerId = layer.layerId();
    fault.atNs = SimClock::now();
    fault.frame = frameNumber;
    mTruth.faults.push_back(fault);
    layer.holdTransactionUntil(frameNumber);
}

void World::requestDump(Layer& layer) {
    android::String8 ignored;
    layer.queue()->hostBufferItemConsumer()->dumpState(ignored);
    catchDumps("request");
}

int World::dumpsOf(const Layer& layer) const {
    return static_cast<int>(
        std::count_if(mTruth.dumps.begin(), mTruth.dumps.end(),
                      [&layer](const Truth::Dump& d) { return d.layerId == layer.layerId(); }));
}

Truth::DumpedLayer World::dumpedLayer(int32_t id, android::BLASTBufferQueue* queue) {
    Truth::DumpedLayer dumped;
    dumped.layerId = id;
    if (queue != nullptr) {
        // With the compositor: since it received or latched the frame.
        for (const uint64_t frame : queue->hostSnapshot().submittedFrames) {
            dumped.unreturnedFrames.push_back({frame, mCompositor.frameSeen(id, frame)});
        }
        // Queued: since the app queued it, the time it gave.
        for (const auto& item : queue->hostCore()->hostSnapshot().queue) {
            dumped.unreturnedFrames.push_back({item.mFrameNumber, item.mTimestamp});
        }
        std::sort(dumped.unreturnedFrames.begin(), dumped.unreturnedFrames.end(),
                  [](const Truth::Frame& a, const Truth::Frame& b) { return a.frame < b.frame; });
    }
    for (const auto& [callback, since] : mCompositor.withheldCallbacks(id)) {
        dumped.withheldCallbacks.push_back({callback, since});
    }
    return dumped;
}

void World::catchDumps(const char* reason) {
    const std::vector<std::string> dumps = coreDumpsLogged();
    if (dumps.size() == mDumpsSeen) return;
    // Their BLAST parts run on the dumper thread: the truth is what they show.
    waitForDumperThread();
    for (size_t i = mDumpsSeen; i < dumps.size(); ++i) {
        Truth::Dump dump;
        dump.atNs = SimClock::now();
        dump.core = dumps[i];
        dump.reason = reason;
        for (const Truth::Layer& l : mTruth.layers) {
            if (l.core == dumps[i] && l.destroyedNs == 0) dump.layerId = l.layerId;
        }
        for (const auto& layer : mLayers) {
            const int32_t id = layer->layerId();
            // Starved: the producer's next dequeue would wait (it may be waiting already).
            if (id == dump.layerId) {
                dump.starved = layer->queue()->hostCore()->hostDequeueWouldWait();
                dump.bufferSize[0] = mBufferSizes[id][0];
                dump.bufferSize[1] = mBufferSizes[id][1];
            }
            dump.layers.push_back(dumpedLayer(id, layer->queue().get()));
        }
        // A gone layer's queue lives on while a callback holds it (a lost completion's does,
        // for ever): the record still lists it.
        for (const auto& [id, weakQueue] : mGoneLayers) {
            const android::sp<android::BLASTBufferQueue> queue = weakQueue.promote();
            Truth::DumpedLayer dumped = dumpedLayer(id, queue.get());
            dumped.alive = false;
            dumped.recorded = queue != nullptr;
            if (dumped.recorded || !dumped.withheldCallbacks.empty()) dump.layers.push_back(dumped);
        }
        mTruth.dumps.push_back(dump);
    }
    mDumpsSeen = dumps.size();
}

}  // namespace talvex::simulator
