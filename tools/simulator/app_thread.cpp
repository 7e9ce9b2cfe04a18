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

#include "app_thread.h"

#include <utility>

namespace talvex::simulator {

AppThread::AppThread(const android::sp<android::BLASTBufferQueue>& queue)
    : mQueue(queue), mCore(queue->hostCore()), mThread(&AppThread::threadMain, this) {}

AppThread::~AppThread() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mStopping = true;
    }
    mWake.notify_all();
    mThread.join();
}

uint64_t AppThread::waitsEntered() const {
    return mCore->hostWaitsEntered() + mQueue->hostWaitsEntered();
}

void AppThread::run(std::function<void()> call) {
    const uint64_t entered = waitsEntered();
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mCall = std::move(call);
        mRunning = true;
    }
    mWake.notify_all();
    settle(entered);
}

bool AppThread::waiting() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mRunning;
}

void AppThread::nudge() {
    if (!waiting()) return;
    const uint64_t entered = waitsEntered();
    mCore->hostWakeWaiters();
    mQueue->hostWakeWaiters();
    settle(entered);
}

void AppThread::settle(uint64_t entered) {
    // Both counts are read under the lock their wait releases: a count past `entered` means the
    // call has let go of that lock, so it is in its wait.
    for (;;) {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            if (!mRunning) return;
        }
        if (waitsEntered() != entered) return;
        std::this_thread::yield();
    }
}

void AppThread::threadMain() {
    std::unique_lock<std::mutex> lock(mMutex);
    for (;;) {
        mWake.wait(lock, [this] { return mStopping || mCall != nullptr; });
        if (mCall == nullptr) return;
        std::function<void()> call = std::move(mCall);
        mCall = nullptr;
        lock.unlock();
        call();
        lock.lock();
        mRunning = false;
    }
}

}  // namespace talvex::simulator
