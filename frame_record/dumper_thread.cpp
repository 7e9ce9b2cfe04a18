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

// The dumper thread: one background worker per frame record.
#include <android/log.h>
#include <pthread.h>

#include <chrono>
#include <future>
#include <memory>

#include "frame_record/TalvexFrameRecord.h"

namespace android {

namespace {

// The bound of `ensureTaskFinish`.
constexpr std::chrono::milliseconds kEnsureTaskFinishTimeout{100};

}  // namespace

void TalvexFrameRecord::pushTaskAndStart(std::function<void()>&& task) {
    mDumperThread.pushTaskAndStart(std::move(task));
}

void TalvexFrameRecord::ensureTaskFinish() {
    mDumperThread.ensureTaskFinish();
}

TalvexFrameRecord::DumperThread::DumperThread() : mRunning(false) {}

TalvexFrameRecord::DumperThread::~DumperThread() {
    // The worker raises mRunning itself as its first act; let it do so first, or it would
    // overwrite the false below and never leave its loop.
    if (mThread.joinable()) {
        while (!mRunning.load(std::memory_order_acquire)) std::this_thread::yield();
    }
    mRunning.store(false, std::memory_order_release);
    // An empty critical section: the worker is then either before its predicate test (and sees
    // false) or already waiting (and gets the notification), so the wake-up cannot be lost.
    { std::lock_guard<std::mutex> lock(mLock); }
    mCondition.notify_one();
    if (mThread.joinable()) mThread.join();
}

void TalvexFrameRecord::DumperThread::pushTaskAndStart(std::function<void()>&& task) {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (!mThread.joinable()) {
            mThread = std::thread(&DumperThread::threadMain, this);
        }
        mTaskQueue.push_back(std::move(task));
    }
    // Notified after unlocking, so the woken worker does not block on a held lock.
    mCondition.notify_one();
}

void TalvexFrameRecord::DumperThread::ensureTaskFinish() {
    {
        std::lock_guard<std::mutex> lock(mLock);
        if (!mThread.joinable()) return;  // nothing was ever pushed
    }
    // Shared, so a marker that runs after the timeout still has a promise to fulfil.
    auto promise = std::make_shared<std::promise<void>>();
    std::future<void> done = promise->get_future();
    pushTaskAndStart([promise] { promise->set_value(); });
    if (done.wait_for(kEnsureTaskFinishTimeout) != std::future_status::ready) {
        __android_log_print(ANDROID_LOG_DEBUG, nullptr,
                            "Talvex-Graphics:TalvexFrameRecord DumperThread wait 100ms timeout, "
                            "not wait");
    }
}

void TalvexFrameRecord::DumperThread::threadMain() {
    mRunning.store(true, std::memory_order_release);

    // The creator stores the handle in mThread under mLock; reading it under mLock too makes the
    // read wait for that store instead of racing with it.
    std::thread::native_handle_type self;
    {
        std::lock_guard<std::mutex> lock(mLock);
        self = mThread.native_handle();
    }
    pthread_setname_np(self, "TFRDumperThread");

    std::deque<std::function<void()>> batch;
    while (mRunning.load(std::memory_order_acquire)) {
        {
            // The whole queue is handed over at once: the lock is held only for the move.
            std::lock_guard<std::mutex> lock(mLock);
            batch = std::move(mTaskQueue);
            mTaskQueue = std::deque<std::function<void()>>();
        }
        while (!batch.empty()) {
            if (batch.front()) batch.front()();
            batch.pop_front();
        }
        std::unique_lock<std::mutex> lock(mLock);
        mCondition.wait(lock, [this] {
            // Called by `wait` with `lock` held; the analysis cannot follow a std::unique_lock.
            base::ScopedLockAssertion held(mLock);
            return !mRunning.load(std::memory_order_acquire) || !mTaskQueue.empty();
        });
    }
}

}  // namespace android
