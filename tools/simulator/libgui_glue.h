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
#include <gui/SurfaceControl.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <atomic>
#include <cstdint>
#include <vector>

namespace talvex::simulator {

// libgui's side of the library: every call libgui makes into libgui_talvex_utils.so, made at
// the place libgui makes it and only through the hook getters. A `PatchedQueue` rides on one
// BLASTBufferQueue (its patch points run inside the queue under the queue's lock); the free
// functions stand where the producer and the TransactionCompletedListener make their calls.
class PatchedQueue : public android::BLASTBufferQueue::HostPatchPoints {
public:
    // `framePeriod` is how often the compositor latches: a queue that got no buffer back for
    // longer than that, twice over, is stalled.
    PatchedQueue(const android::sp<android::SurfaceControl>& surface,
                 const android::sp<android::BLASTBufferQueue>& queue, nsecs_t framePeriod);
    PatchedQueue(const PatchedQueue&) = delete;
    PatchedQueue& operator=(const PatchedQueue&) = delete;

    // The queue's creation: registers its dump and points it at its surface with `width` x
    // `height`, which records the layer (updateFrameAndGetContent) and caps the size.
    void create(uint32_t width, uint32_t height);
    // The queue goes away: its registration, pending dump and record go with it.
    void destroy();

    // The producer's dequeueBuffer timed out: dumps the core with its lock held; returns once
    // the BLAST dump that queues has run.
    void dequeueTimedOut();
    // A dump on request (e.g. from dumpsys): arms the BLAST dump and dumps the core with its
    // lock held; returns once the BLAST dump has run.
    void dumpOnRequest();
    // Frames flow again after a dump: re-arms the queue's one-shot BLAST dump.
    void rearmDump();

    // Patch points, called by the queue with its lock held.
    void surfaceChangedLocked(android::BLASTBufferQueue* bbq,
                              const android::sp<android::SurfaceControl>& surface) override;
    void requestedSizeChangedLocked(android::ui::Size* requestedSize, android::ui::Size* size,
                                    android::ConsumerBase* consumer) override;
    void frameAvailableLocked(uint64_t frameNumber, bool syncing, int32_t numFrameAvailable,
                              int32_t numAcquired) override;
    void bufferAcquiredLocked(uint64_t frameNumber) override;
    void cannotAcquireLocked(android::BLASTBufferQueue* bbq) override;
    void transactionAppliedLocked(uint64_t frameNumber) override;
    void transactionCallbackLocked(uint64_t frameNumber) override;
    void releaseBufferCallbackLocked(uint64_t frameNumber, bool fake) override;
    void bufferReleasedLocked(uint64_t frameNumber) override;

    // How many BLAST-side dumps (cannot acquire) this queue asked for.
    int blastDumps() const { return mBlastDumps.load(); }

private:
    const android::sp<android::SurfaceControl> mSurface;
    const android::sp<android::BLASTBufferQueue> mQueue;
    const int32_t mLayerId;
    const nsecs_t mFramePeriod;
    // Guarded by the queue's lock: when a buffer last came back, and whether this stall was
    // dumped already (one BLAST-side dump per stall).
    nsecs_t mLastReleaseTime = 0;
    bool mBlastDumpedSinceRelease = false;
    std::atomic<int> mBlastDumps{0};
};

// Returns once every task handed to the frame record's dumper thread so far has run (at most
// ten seconds).
void waitForDumperThread();

// The TransactionCompletedListener's part: times every callback id it registers and forgets
// it when a report takes it out, under the listener's lock, and records each frame's commit and
// completion as the listener builds the stats for a callback, before that callback runs. Call
// once before any queue exists.
void patchTransactionCompletedListener();

// A sync transaction is applied by whoever asked for it, carrying `frameNumber` of `layerId`.
void syncTransactionApplied(int32_t layerId, uint64_t frameNumber);

}  // namespace talvex::simulator
