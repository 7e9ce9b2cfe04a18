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

// An app's render thread, for a story in simulated time. A producer call into libgui may wait
// there (a dequeue with no free slot, a frame queued into a sync): such a call runs on this
// thread, and the simulator's own thread goes on only once the call has returned or waits inside
// libgui, so that nothing runs behind the simulator's back and the clock stands still while
// the call runs. Waiting is seen through the host libgui's count of waits begun, which it keeps
// under the lock the wait releases.
#pragma once

#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <utils/StrongPointer.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

namespace talvex::simulator {

class AppThread {
public:
    explicit AppThread(const android::sp<android::BLASTBufferQueue>& queue);
    // Joins the thread; a call still waiting must be ended first (abandon its queue, nudge()).
    ~AppThread();
    AppThread(const AppThread&) = delete;
    AppThread& operator=(const AppThread&) = delete;

    // Runs `call` on the thread; returns once it has returned or waits inside libgui.
    void run(std::function<void()> call);
    // Whether a call is still waiting inside libgui.
    bool waiting();
    // Wakes a waiting call for another look at the world (a spurious wake-up, which libgui
    // tolerates); returns once it has returned or waits again.
    void nudge();

private:
    uint64_t waitsEntered() const;
    // Returns once the call has returned or a wait began after `entered` waits.
    void settle(uint64_t entered);
    void threadMain();

    const android::sp<android::BLASTBufferQueue> mQueue;
    const android::sp<android::BufferQueueCore> mCore;
    std::mutex mMutex;
    std::condition_variable mWake;
    std::function<void()> mCall;  // guarded by mMutex
    bool mRunning = false;        // guarded by mMutex: a call has started and not returned
    bool mStopping = false;       // guarded by mMutex
    std::thread mThread;
};

}  // namespace talvex::simulator
