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

#include "layer.h"

#include <utils/String8.h>

#include <algorithm>
#include <chrono>
#include <utility>

#include "sim_clock.h"

namespace talvex::simulator {

using android::sp;
using android::SurfaceComposerClient;

Layer::Layer(const sp<SurfaceComposerClient>& client, const LayerConfig& config)
    : mConfig(config),
      mSurface(client->createSurface(android::String8(config.surfaceName.c_str()), config.width,
                                     config.height, android::PIXEL_FORMAT_RGBA_8888)),
      mQueue(new android::BLASTBufferQueue(config.queueName)),
      mApp(mQueue->getIGraphicBufferProducer()),
      mRandom(config.seed) {
    // The app's Surface connects as an EGL producer and renders ahead: up to three buffers in
    // its hands.
    mApp.connect(NATIVE_WINDOW_API_EGL);
    mQueue->getIGraphicBufferProducer()->setMaxDequeuedBufferCount(3);
    mQueue->update(mSurface, config.width, config.height, android::PIXEL_FORMAT_RGBA_8888);
}

Layer::~Layer() {
    stop();
}

void Layer::stop() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mStopping) return;
        mStopping = true;
    }
    *mAlive = false;
    mWake.notify_all();
    // A producer waiting for a slot wakes up when its queue is abandoned, as an app's does.
    mQueue->hostBufferItemConsumer()->abandon();
    if (mProducer.joinable()) mProducer.join();
    if (mAppThread != nullptr) {
        mAppThread->nudge();
        mAppThread.reset();
    }
    mThen = nullptr;
    mWaitingSince = 0;
}

void Layer::syncNextFrame() {
    mQueue->syncNextTransaction([](SurfaceComposerClient::Transaction* t) {
        if (t == nullptr) return;
        t->apply();
        delete t;
    });
}

void Layer::holdTransactionUntil(uint64_t frameNumber) {
    SurfaceComposerClient::Transaction t;
    mQueue->mergeWithNextTransaction(&t, frameNumber);
}

// ---- Simulated time ----

void Layer::startSimulated(EventLoop& loop) {
    mLoop = &loop;
    later(SimClock::now(), [this] { beginFrame(); });
}

void Layer::later(nsecs_t time, std::function<void()> action) {
    std::weak_ptr<bool> alive = mAlive;
    mLoop->at(time, [alive, action = std::move(action)] {
        if (auto ok = alive.lock(); ok && *ok) action();
    });
}

void Layer::onApp(std::function<void()> call, std::function<void()> then) {
    if (mAppThread == nullptr) mAppThread = std::make_unique<AppThread>(mQueue);
    mAppThread->run(std::move(call));
    if (!mAppThread->waiting()) {
        then();
        return;
    }
    mThen = std::move(then);
}

void Layer::settle() {
    if (mAppThread == nullptr || !mAppThread->waiting()) return;
    mAppThread->nudge();
    if (mAppThread->waiting()) return;
    std::function<void()> then = std::move(mThen);
    mThen = nullptr;
    if (then) then();
}

void Layer::beginFrame() {
    mFrameStart = SimClock::now();
    if (!mQueue->hostCore()->hostDequeueWouldWait()) {
        int slot = -1;
        const android::status_t status = mApp.dequeueBuffer(&slot);
        dequeued(status, slot);
        return;
    }
    // No slot: the app waits in libgui, where the patch looks again at its stall bound.
    const nsecs_t since = SimClock::now();
    mWaitingSince = since;
    later(since + kStallBound, [] {});
    onApp([this] { mCallStatus = mApp.dequeueBuffer(&mCallSlot); },
          [this] { dequeued(mCallStatus, mCallSlot); });
}

void Layer::dequeued(android::status_t status, int slot) {
    mWaitingSince = 0;
    if (status != android::NO_ERROR) return;  // the queue is abandoned: the layer goes
    // Rendering takes part of the frame period, varying with the seed.
    std::uniform_real_distribution<double> renderShare(0.3, 0.9);
    const nsecs_t render =
        static_cast<nsecs_t>(static_cast<double>(mConfig.framePeriod) * renderShare(mRandom));
    later(SimClock::now() + render, [this, slot] { queueFrame(slot); });
}

void Layer::queueFrame(int slot) {
    const int64_t timestamp = SimClock::now();
    if (!mQueue->hostQueueMayWait()) {
        queued(mApp.queueBuffer(slot, timestamp));
        return;
    }
    // A sync is set or pending: queueing may wait in libgui for the sync's buffer.
    onApp([this, slot, timestamp] { mCallStatus = mApp.queueBuffer(slot, timestamp); },
          [this] { queued(mCallStatus); });
}

void Layer::queued(android::status_t status) {
    if (status == android::NO_ERROR) ++mFramesQueued;
    // A late frame does not make the next one early.
    later(std::max(mFrameStart + mConfig.framePeriod, SimClock::now()), [this] { beginFrame(); });
}

// ---- Real time ----

void Layer::start() {
    mProducer = std::thread(&Layer::producerMain, this);
}

bool Layer::waitUntil(nsecs_t when) {
    std::unique_lock<std::mutex> lock(mMutex);
    const auto until = std::chrono::steady_clock::now() +
                       std::chrono::nanoseconds(std::max<nsecs_t>(0, when - SimClock::now()));
    return !mWake.wait_until(lock, until, [this] { return mStopping; });
}

void Layer::producerMain() {
    std::uniform_real_distribution<double> renderShare(0.3, 0.9);
    nsecs_t frameStart = SimClock::now();
    for (;;) {
        int slot = -1;
        mWaitingSince = SimClock::now();
        const android::status_t status = mApp.dequeueBuffer(&slot);
        mWaitingSince = 0;
        if (status != android::NO_ERROR) return;
        const nsecs_t render =
            static_cast<nsecs_t>(static_cast<double>(mConfig.framePeriod) * renderShare(mRandom));
        if (!waitUntil(SimClock::now() + render)) return;
        // libgui's queueBuffer tells the consumer on the producer's thread.
        if (mApp.queueBuffer(slot, SimClock::now()) == android::NO_ERROR) ++mFramesQueued;
        frameStart += mConfig.framePeriod;
        frameStart = std::max(frameStart, SimClock::now());  // a late frame does not hurry the next
        if (!waitUntil(frameStart)) return;
    }
}

}  // namespace talvex::simulator
