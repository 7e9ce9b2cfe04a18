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

#include "libgui_glue.h"

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

// One app layer: a SurfaceControl with its BLASTBufferQueue (and BufferQueueCore), the libgui
// patch riding on the queue, and a producer thread that renders frames at the layer's rate
// (dequeue, render, queue). A dequeue that finds no slot waits up to `kDequeueTimeout` before
// libgui dumps the core; the producer then keeps waiting for a slot.
class Layer {
public:
    static constexpr std::chrono::milliseconds kDequeueTimeout{500};

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
    PatchedQueue& patch() { return mPatch; }
    // Frames queued so far, and dequeue timeouts so far.
    uint64_t framesQueued() const { return mFramesQueued.load(); }
    int dequeueTimeouts() const { return mDequeueTimeouts.load(); }

    // Asks for a sync of the next frame, as a window manager does for a resize: the frame goes
    // into a transaction of its own that is applied when libgui hands it over.
    void syncNextFrame();

private:
    void producerMain();
    // Waits until `when` or stop; returns false on stop.
    bool waitUntil(std::chrono::steady_clock::time_point when);
    // Dequeues a slot, waiting for one; returns -1 on stop.
    int dequeueSlot();
    void queueSlot(int slot);

    const LayerConfig mConfig;
    android::sp<android::SurfaceControl> mSurface;
    android::sp<android::BLASTBufferQueue> mQueue;
    PatchedQueue mPatch;
    std::mt19937_64 mRandom;

    std::mutex mMutex;
    std::condition_variable mWake;
    bool mStopping = false;  // guarded by mMutex
    std::thread mProducer;
    std::atomic<uint64_t> mFramesQueued{0};
    std::atomic<int> mDequeueTimeouts{0};

    // The sync in progress (owned here: the queue keeps only its address).
    std::mutex mSyncMutex;
    std::unique_ptr<android::SurfaceComposerClient::Transaction> mSyncTransaction;
};

}  // namespace talvex::simulator
