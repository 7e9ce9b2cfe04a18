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
#include <unistd.h>
#include <utils/String8.h>

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

void Layer::start() {
    mProducer = std::thread(&Layer::producerMain, this);
}

void Layer::stop() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mStopping) return;
        mStopping = true;
    }
    mWake.notify_all();
    // A producer waiting for a slot wakes up when its queue is abandoned, as an app's does.
    mQueue->hostBufferItemConsumer()->abandon();
    if (mProducer.joinable()) mProducer.join();
}

bool Layer::waitUntil(std::chrono::steady_clock::time_point when) {
    std::unique_lock<std::mutex> lock(mMutex);
    return !mWake.wait_until(lock, when, [this] { return mStopping; });
}

std::chrono::nanoseconds Layer::waitingFor() const {
    const int64_t since = mWaitingSince.load();
    if (since == 0) return std::chrono::nanoseconds(0);
    return std::chrono::steady_clock::now().time_since_epoch() - std::chrono::nanoseconds(since);
}

void Layer::syncNextFrame() {
    // The sync's owner (a window manager, for a resize) applies what the queue hands over.
    mQueue->syncNextTransaction([](SurfaceComposerClient::Transaction* t) {
        if (t == nullptr) return;
        t->apply();
        delete t;
    });
}

int Layer::dequeueSlot() {
    int slot = -1;
    mWaitingSince = std::chrono::steady_clock::now().time_since_epoch().count();
    const android::status_t result = mApp.dequeueBuffer(&slot);
    mWaitingSince = 0;
    return result == android::NO_ERROR ? slot : -1;
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
        // libgui's queueBuffer tells the consumer on the producer's thread.
        if (mApp.queueBuffer(slot, systemTime(SYSTEM_TIME_MONOTONIC)) == android::NO_ERROR) {
            ++mFramesQueued;
        }
        frameStart += mConfig.framePeriod;
        const auto now = std::chrono::steady_clock::now();
        if (frameStart < now) frameStart = now;  // a late frame does not make the next early
        if (!waitUntil(frameStart)) return;
    }
}

}  // namespace talvex::simulator
