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

#include <android/log.h>
#include <gui/BufferQueueCore.h>
#include <unistd.h>
#include <utils/String8.h>

namespace talvex::simulator {

using android::BufferQueueCore;
using android::sp;
using android::SurfaceComposerClient;

constexpr std::chrono::milliseconds Layer::kDequeueTimeout;

namespace {
constexpr int kNativeWindowApiEgl = 1;  // NATIVE_WINDOW_API_EGL
}  // namespace

Layer::Layer(const sp<SurfaceComposerClient>& client, const LayerConfig& config)
    : mConfig(config),
      mSurface(client->createSurface(android::String8(config.surfaceName.c_str()), config.width,
                                     config.height, android::PIXEL_FORMAT_RGBA_8888)),
      mQueue(new android::BLASTBufferQueue(config.queueName)),
      mPatch(mSurface, mQueue, config.framePeriod.count()),
      mRandom(config.seed) {
    // The app's Surface connects as an EGL producer and renders ahead: up to three buffers in
    // its hands.
    mQueue->hostCore()->hostSetConnectedApi(kNativeWindowApiEgl, getpid());
    mQueue->hostBufferItemConsumer()->hostOnConnect();
    mQueue->hostCore()->hostSetMaxDequeuedBufferCount(3);
    mPatch.create(config.width, config.height);
}

Layer::~Layer() {
    stop();
    mPatch.destroy();
}

void Layer::start() {
    mProducer = std::thread(&Layer::producerMain, this);
}

void Layer::stop() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
    }
    mWake.notify_all();
    if (mProducer.joinable()) mProducer.join();
}

bool Layer::waitUntil(std::chrono::steady_clock::time_point when) {
    std::unique_lock<std::mutex> lock(mMutex);
    return !mWake.wait_until(lock, when, [this] { return mStopping; });
}

void Layer::syncNextFrame() {
    std::lock_guard<std::mutex> lock(mSyncMutex);
    if (mSyncTransaction != nullptr) return;  // one sync at a time
    mSyncTransaction = std::make_unique<SurfaceComposerClient::Transaction>();
    mQueue->hostSetSyncTransaction(mSyncTransaction.get());
    mQueue->hostSetTransactionReadyCallback([this](SurfaceComposerClient::Transaction* t) {
        // Runs on the producer's thread without the queue's lock: apply what the sync holds.
        std::lock_guard<std::mutex> syncLock(mSyncMutex);
        if (t != nullptr) {
            for (const auto& layer : t->hostLayers()) {
                if (layer.frameNumber) syncTransactionApplied(layerId(), *layer.frameNumber);
            }
            t->apply();
        }
        mSyncTransaction.reset();
    });
}

int Layer::dequeueSlot() {
    const sp<BufferQueueCore> core = mQueue->hostCore();
    auto deadline = std::chrono::steady_clock::now() + kDequeueTimeout;
    bool timedOut = false;
    for (;;) {
        const int slot = core->hostDequeueBuffer();
        if (slot != BufferQueueCore::INVALID_BUFFER_SLOT) {
            if (timedOut) mPatch.rearmDump();
            return slot;
        }
        const auto now = std::chrono::steady_clock::now();
        if (now >= deadline && !timedOut) {
            timedOut = true;
            __android_log_print(ANDROID_LOG_WARN, "TalvexSimulator",
                                "%s: dequeueBuffer timed out after %lld ms: no free slot; libgui "
                                "dumps the queue's state",
                                mQueue->hostName().c_str(),
                                static_cast<long long>(kDequeueTimeout.count()));
            mPatch.dequeueTimedOut();
            ++mDequeueTimeouts;
        }
        // The model's core has no dequeue condition to wait on: look again shortly.
        if (!waitUntil(now + std::chrono::milliseconds(2))) return -1;
    }
}

void Layer::queueSlot(int slot) {
    const sp<BufferQueueCore> core = mQueue->hostCore();
    const int64_t timestamp = systemTime(SYSTEM_TIME_MONOTONIC);
    if (core->hostQueueBuffer(slot, timestamp) != android::NO_ERROR) return;
    android::BufferItem item;
    item.mSlot = slot;
    item.mFrameNumber = core->hostSnapshot().slots[slot].mFrameNumber;
    item.mTimestamp = timestamp;
    ++mFramesQueued;
    // libgui's queueBuffer tells the consumer on the producer's thread.
    mQueue->hostBufferItemConsumer()->hostNotifyFrameAvailable(item);
}

void Layer::producerMain() {
    std::uniform_real_distribution<double> renderShare(0.3, 0.9);
    auto frameStart = std::chrono::steady_clock::now();
    for (;;) {
        const int slot = dequeueSlot();
        if (slot < 0) return;
        // Rendering takes part of the frame period, varying with the seed.
        const auto render = std::chrono::duration_cast<std::chrono::nanoseconds>(
            mConfig.framePeriod * renderShare(mRandom));
        if (!waitUntil(std::chrono::steady_clock::now() + render)) return;
        queueSlot(slot);
        frameStart += mConfig.framePeriod;
        const auto now = std::chrono::steady_clock::now();
        if (frameStart < now) frameStart = now;  // a late frame does not make the next early
        if (!waitUntil(frameStart)) return;
    }
}

}  // namespace talvex::simulator
