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
#include <gui/HostSurface.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <utils/StrongPointer.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>

namespace talvex::simulator {

// What a layer is and how its app draws.
struct LayerConfig {
    std::string surfaceName;  // the compositor's layer name
    std::string queueName;    // the BLAST queue's name (libgui appends "#<producer id>")
    uint32_t width = 1080;
    uint32_t height = 2400;
    std::chrono::nanoseconds framePeriod{16666667};
    uint64_t seed = 1;
};

// One app layer: a SurfaceControl with its BLASTBufferQueue (libgui's patch built in), and a
// producer thread that renders frames at the layer's rate through the queue's producer as an EGL
// app's Surface does (dequeue, render, queue). A dequeue with no free slot waits, as on a phone;
// the patch dumps the queue once the wait outlasts its stall bound.
class Layer {
public:
    Layer(const android::sp<android::SurfaceComposerClient>& client, const LayerConfig& config);
    // Stops the producer and destroys the queue as libgui does.
    ~Layer();
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    // Starts the producer thread.
    void start();
    // Stops and joins the producer thread.
    void stop();

    int32_t layerId() const { return mSurface->getLayerId(); }
    const android::sp<android::SurfaceControl>& surface() const { return mSurface; }
    const android::sp<android::BLASTBufferQueue>& queue() const { return mQueue; }
    // Frames queued so far.
    uint64_t framesQueued() const { return mFramesQueued.load(); }
    // How long the producer has been waiting for a free slot (0 if it is not waiting).
    std::chrono::nanoseconds waitingFor() const;

    // Asks for a sync of the next frame, as a window manager does for a resize: the frame goes
    // into a transaction of its own that is applied when libgui hands it over.
    void syncNextFrame();

private:
    void producerMain();
    // Waits until `when` or stop; returns false on stop.
    bool waitUntil(std::chrono::steady_clock::time_point when);
    // Dequeues a slot, waiting for one; returns -1 on stop.
    int dequeueSlot();

    const LayerConfig mConfig;
    android::sp<android::SurfaceControl> mSurface;
    android::sp<android::BLASTBufferQueue> mQueue;
    android::HostSurface mApp;
    std::mt19937_64 mRandom;

    std::mutex mMutex;
    std::condition_variable mWake;
    bool mStopping = false;  // guarded by mMutex
    std::thread mProducer;
    std::atomic<uint64_t> mFramesQueued{0};
    // When the producer began waiting for a slot (steady clock, ns), or 0.
    std::atomic<int64_t> mWaitingSince{0};
};

}  // namespace talvex::simulator
