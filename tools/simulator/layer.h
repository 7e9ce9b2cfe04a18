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
#include <utils/Timers.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>

#include "app_thread.h"
#include "event_loop.h"

namespace talvex::simulator {

// What a layer is and how its app draws.
struct LayerConfig {
    std::string surfaceName;  // the compositor's layer name
    std::string queueName;    // the BLAST queue's name (libgui appends "#<producer id>")
    uint32_t width = 1080;
    uint32_t height = 2400;
    nsecs_t framePeriod = 16666667;
    uint64_t seed = 1;
};

// One app layer: a SurfaceControl with its BLASTBufferQueue (libgui's patch built in), whose app
// draws frames at the layer's rate through the queue's producer as an EGL app's Surface does:
// dequeue (waiting for a free slot, as on a phone), render, queue. In simulated time the frames
// are events of the simulator's loop, and a call that waits inside libgui runs on the layer's
// AppThread; in real time a producer thread draws.
class Layer {
public:
    // libgui's patch dumps a producer that waits this long for a slot (kTalvexStallBound).
    static constexpr nsecs_t kStallBound = 1000000000;

    Layer(const android::sp<android::SurfaceComposerClient>& client, const LayerConfig& config);
    // Stops the app; the queue goes when its last reference does.
    ~Layer();
    Layer(const Layer&) = delete;
    Layer& operator=(const Layer&) = delete;

    // Real time: starts the producer thread.
    void start();
    // Simulated time: the app draws on `loop`, its first frame now.
    void startSimulated(EventLoop& loop);
    // Simulated time: the app draws no more frames (a call waiting inside libgui still ends
    // when it can).
    void quiesce() { *mAlive = false; }
    // Stops the app: a dequeue waiting for a slot returns as the queue is abandoned.
    void stop();
    // Simulated time: lets a call waiting inside libgui look at the world again (after any
    // event); the frame goes on if the call returned.
    void settle();

    int32_t layerId() const { return mSurface->getLayerId(); }
    const android::sp<android::SurfaceControl>& surface() const { return mSurface; }
    const android::sp<android::BLASTBufferQueue>& queue() const { return mQueue; }
    const LayerConfig& config() const { return mConfig; }
    // Frames queued so far.
    uint64_t framesQueued() const { return mFramesQueued.load(); }
    // When the app began to wait for a free slot (0 if it does not).
    nsecs_t waitingSince() const { return mWaitingSince.load(); }

    // Asks for a sync of the next frame, as a window manager does for a resize: the frame goes
    // into a transaction of its own, which its owner applies when libgui hands it over.
    void syncNextFrame();
    // Holds a transaction back until frame `frameNumber` is acquired, as a caller of
    // mergeWithNextTransaction() does.
    void holdTransactionUntil(uint64_t frameNumber);

private:
    // Simulated time: the steps of one frame.
    void beginFrame();
    void dequeued(android::status_t status, int slot);
    void queueFrame(int slot);
    void queued(android::status_t status);
    // Runs `call` on the app thread; `then` runs on the simulator's thread once it returns.
    void onApp(std::function<void()> call, std::function<void()> then);
    // Runs `action` at `time` unless the layer is gone by then.
    void later(nsecs_t time, std::function<void()> action);

    // Real time.
    void producerMain();
    bool waitUntil(nsecs_t when);

    const LayerConfig mConfig;
    android::sp<android::SurfaceControl> mSurface;
    android::sp<android::BLASTBufferQueue> mQueue;
    android::HostSurface mApp;
    std::mt19937_64 mRandom;
    std::atomic<uint64_t> mFramesQueued{0};
    std::atomic<nsecs_t> mWaitingSince{0};

    // Simulated time.
    EventLoop* mLoop = nullptr;
    std::shared_ptr<bool> mAlive = std::make_shared<bool>(true);
    std::unique_ptr<AppThread> mAppThread;
    std::function<void()> mThen;  // what follows the call waiting on the app thread
    nsecs_t mFrameStart = 0;
    android::status_t mCallStatus = android::NO_ERROR;  // the app thread's call's result
    int mCallSlot = -1;

    // Real time.
    std::mutex mMutex;
    std::condition_variable mWake;
    bool mStopping = false;  // guarded by mMutex
    std::thread mProducer;
};

}  // namespace talvex::simulator
