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

#include <gui/SurfaceComposerClient.h>
#include <utils/Timers.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <set>
#include <thread>
#include <utility>
#include <vector>

namespace talvex::simulator {

// The compositor's client-facing half: receives every applied transaction and, once per vsync,
// commits it, completes its callbacks through the process's TransactionCompletedListener and
// releases the buffer each newly latched one replaces. Scenarios make it misbehave per layer.
class Compositor {
public:
    explicit Compositor(nsecs_t vsyncPeriod);
    ~Compositor();
    Compositor(const Compositor&) = delete;
    Compositor& operator=(const Compositor&) = delete;

    // Starts receiving transactions; in real time also a vsync thread, else the simulator calls
    // vsync() at each vsync.
    void start(bool realTime);
    // Stops the vsync thread (joined) and stops receiving transactions.
    void stop();
    // One vsync: commits and completes what was applied since the last, and releases what the
    // newly latched buffers replace.
    void vsync();

    // From now on no buffer of `layerId` is latched (as when its acquire fence never signals):
    // its transactions wait, uncompleted, and the buffer on screen is never released. Returns
    // the frame number of that buffer, the first one held (0 if none yet).
    uint64_t stopLatching(int32_t layerId);
    // The completion of `layerId`'s frame `frameNumber` is never delivered.
    void loseCompletion(int32_t layerId, uint64_t frameNumber);
    // Forgets layer `layerId`, which is going away: drops what the compositor holds of it,
    // completes the callbacks of its transactions not yet composited, and returns once no vsync
    // that may still touch it is running, so the layer's last reference goes on the caller's
    // thread.
    void forgetLayer(int32_t layerId);
    // Returns how many completions were lost so far.
    int lostCompletions();
    // The callback ids of `layerId`'s transactions the compositor holds or whose completion it
    // lost (the ones that never come back), each with when their transaction arrived.
    std::vector<std::pair<int64_t, nsecs_t>> withheldCallbacks(int32_t layerId);
    // When `layerId`'s frame `frameNumber` last moved here (its transaction arrived, or it was
    // latched); 0 if it never came or its buffer went back.
    nsecs_t frameSeen(int32_t layerId, uint64_t frameNumber);

private:
    void receive(const android::SurfaceComposerClient::Transaction& transaction);
    void threadMain();
    void composite(const android::SurfaceComposerClient::Transaction& transaction);

    const nsecs_t mVsyncPeriod;
    std::mutex mMutex;
    std::condition_variable mWake;
    std::condition_variable mBatchDone;
    bool mRunning = false;
    bool mInBatch = false;  // guarded by mMutex
    uint64_t mBatches = 0;  // batches done; guarded by mMutex
    std::vector<android::SurfaceComposerClient::Transaction> mIncoming;  // guarded by mMutex
    std::set<int32_t> mHeldLayers;                                       // guarded by mMutex
    std::vector<android::SurfaceComposerClient::Transaction> mHeld;      // guarded by mMutex
    // Layers forgotten, and what they applied since: forgetLayer() answers it, not the vsync.
    std::set<int32_t> mGoneLayers;  // guarded by mMutex
    std::vector<android::SurfaceComposerClient::Transaction> mGoneTransactions;  // by mMutex
    std::set<std::pair<int32_t, uint64_t>> mLostCompletions;  // guarded by mMutex
    int mLostCount = 0;                                       // guarded by mMutex
    std::map<int32_t, std::vector<int64_t>> mLostCallbacks;   // guarded by mMutex
    std::map<int32_t, std::pair<uint64_t, android::ReleaseCallbackId>> mLatched;  // by mMutex
    std::map<std::pair<int32_t, uint64_t>, nsecs_t> mFrameSeen;  // guarded by mMutex
    std::map<int64_t, nsecs_t> mCallbackArrived;                 // guarded by mMutex
    std::thread mThread;
};

}  // namespace talvex::simulator
