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

// Host model of AOSP libgui's gui/BLASTBufferQueue.h (Android 14/15): the client-side adapter
// that turns a producer's queued buffers into transactions for the compositor. Every data
// member is private with AOSP's name and type. AOSP's frame flow (acquire, transaction,
// release callbacks) needs a compositor; the model keeps the bookkeeping and offers a clearly
// marked host-only section so tests and a simulator can put a queue in any state.
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferItemConsumer.h>
#include <gui/BufferQueueCore.h>
#include <gui/ITransactionCompletedListener.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <ui/PixelFormat.h>
#include <ui/Size.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <queue>
#include <string>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace android {

class BLASTBufferQueue;

// The BLAST queue's consumer: a BufferItemConsumer that knows its queue.
class BLASTBufferItemConsumer : public BufferItemConsumer {
public:
    BLASTBufferItemConsumer(const sp<BufferQueueCore>& core, uint64_t consumerUsage,
                            int bufferCount, bool controlledByApp, wp<BLASTBufferQueue> bbq);

    // Sets `*needsDisconnect` if a producer was connected before and is not now.
    void getConnectionEvents(uint64_t frameNumber, bool* needsDisconnect);
    void onDisconnect();
    // HOST-ONLY: a producer connected.
    void hostOnConnect();

private:
    const wp<BLASTBufferQueue> mBLASTBufferQueue;
    std::mutex mMutex;
    bool mCurrentlyConnected = false;
    bool mPreviouslyConnected = false;
};

class BLASTBufferQueue : public ConsumerBase::FrameAvailableListener,
                         public BufferItemConsumer::BufferFreedListener {
public:
    // A queue named `name` + "#" + its producer id, with its own BufferQueueCore and consumer.
    BLASTBufferQueue(const std::string& name, bool updateDestinationFrame = true);
    ~BLASTBufferQueue() override;

    BLASTBufferQueue(const BLASTBufferQueue&) = delete;
    BLASTBufferQueue& operator=(const BLASTBufferQueue&) = delete;

    // A frame was queued: counts it and, unless the queue holds as many buffers as the
    // compositor allows, acquires it and applies a transaction that carries it.
    void onFrameAvailable(const BufferItem& item) override;
    void onFrameReplaced(const BufferItem& item) override { onFrameAvailable(item); }
    void onBufferFreed(const wp<GraphicBuffer>& /*graphicBuffer*/) override {}

    // Points the queue at `surface` with a requested size and format; a changed size becomes
    // the consumer's default buffer size, and mSize once a buffer of that size is acquired.
    void update(const sp<SurfaceControl>& surface, uint32_t width, uint32_t height, int32_t format);
    // Holds `t` back until frame `frameNumber` is applied (copied into mPendingTransactions;
    // `t` is cleared).
    void mergeWithNextTransaction(SurfaceComposerClient::Transaction* t, uint64_t frameNumber);
    uint64_t getLastAcquiredFrameNum();

    // The compositor's report that a transaction carrying this queue's buffer completed.
    void transactionCallback(nsecs_t latchTime, const sp<Fence>& presentFence,
                             const std::vector<SurfaceControlStats>& stats);
    // The compositor released the buffer of `id`: it goes back to the queue (through
    // mPendingRelease) and the next available frame, if any, is acquired.
    void releaseBufferCallback(const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
                               std::optional<uint32_t> currentMaxAcquiredBufferCount);

    // ---- HOST-ONLY (not in AOSP) ----
    // The places where a vendor patch of libgui calls out of the queue, for a host program that
    // plays that patch. Each is called with mMutex held (the lock the patched code holds there)
    // and must not call back into this queue. The defaults do nothing.
    struct HostPatchPoints {
        virtual ~HostPatchPoints() = default;
        // update() set `mSurfaceControl` to `surface` (a new queue's first surface, or another).
        virtual void surfaceChangedLocked(BLASTBufferQueue* /*bbq*/,
                                          const sp<SurfaceControl>& /*surface*/) {}
        // update() took a new requested size; `requestedSize`, `size` and `consumer` are the
        // queue's mRequestedSize, mSize and consumer.
        virtual void requestedSizeChangedLocked(ui::Size* /*requestedSize*/, ui::Size* /*size*/,
                                                ConsumerBase* /*consumer*/) {}
        // onFrameAvailable() counted frame `frameNumber`; `syncing` is true if it goes into a sync.
        virtual void frameAvailableLocked(uint64_t /*frameNumber*/, bool /*syncing*/,
                                          int32_t /*numFrameAvailable*/, int32_t /*numAcquired*/) {}
        // acquireNextBufferLocked() acquired `frameNumber` into a transaction.
        virtual void bufferAcquiredLocked(uint64_t /*frameNumber*/) {}
        // acquireNextBufferLocked() found frames available but as many buffers acquired as the
        // compositor allows.
        virtual void cannotAcquireLocked(BLASTBufferQueue* /*bbq*/) {}
        // acquireNextBufferLocked() applied the transaction carrying `frameNumber`.
        virtual void transactionAppliedLocked(uint64_t /*frameNumber*/) {}
        // transactionCallback() received the completion of `frameNumber`.
        virtual void transactionCallbackLocked(uint64_t /*frameNumber*/) {}
        // releaseBufferCallbackLocked() was told the buffer of `frameNumber` is released: by the
        // compositor, or (`fake`) by transactionCallback() for a frame older than a completed one.
        virtual void releaseBufferCallbackLocked(uint64_t /*frameNumber*/, bool /*fake*/) {}
        // releaseBuffer() gave the buffer of `frameNumber` back to the queue.
        virtual void bufferReleasedLocked(uint64_t /*frameNumber*/) {}
    };
    // Sets the patch points (null: none); `points` must outlive its use here. Takes mMutex, so
    // once it returns no earlier patch point is running.
    void hostSetPatchPoints(HostPatchPoints* points);
    // The queue's consumer as the ConsumerBase libgui passes around.
    ConsumerBase* hostConsumerBase() const { return mBufferItemConsumer.get(); }

    // The producer side (AOSP's Surface): dequeues a buffer, queues it with `timestamp` and
    // tells the consumer, which runs onFrameAvailable(). Returns the queued frame number, or 0
    // if no buffer could be dequeued.
    uint64_t hostQueueNewFrame(int64_t timestamp = 0);

    // Readers of the fixed identity.
    const std::string& hostName() const { return mName; }
    const std::string& hostQueuedBufferTrace() const { return mQueuedBufferTrace; }
    uint32_t hostProducerId() const { return mProducerId; }
    // The queue's core and consumer.
    sp<BufferQueueCore> hostCore() const { return mCore; }
    sp<BLASTBufferItemConsumer> hostBufferItemConsumer() const { return mBufferItemConsumer; }
    // The queue's lock, for callers that must hold it (as libgui does around a BLAST dump).
    std::mutex& hostMutex() const { return mMutex; }
    // Addresses of mRequestedSize and mSize (guarded by hostMutex()), as libgui passes them.
    ui::Size* hostRequestedSizeLocked() { return &mRequestedSize; }
    ui::Size* hostSizeLocked() { return &mSize; }

    // Setters; each takes mMutex (not recursive: never call with hostMutex() held).
    void hostSetSurfaceControl(const sp<SurfaceControl>& surfaceControl);
    void hostSetFrameCounts(int32_t numFrameAvailable, int32_t numAcquired);
    void hostSetMaxAcquiredBuffers(int32_t maxAcquiredBuffers);
    void hostSetCurrentMaxAcquiredBufferCount(uint32_t count);
    void hostAddSubmitted(const ReleaseCallbackId& id, const BufferItem& item);
    void hostAddPendingRelease(const ReleaseCallbackId& id, const sp<Fence>& releaseFence);
    void hostSetTransactionReadyCallback(
        std::function<void(SurfaceComposerClient::Transaction*)> callback);
    // `transaction` stays owned by the caller and must outlive its use here.
    void hostSetSyncTransaction(SurfaceComposerClient::Transaction* transaction);
    void hostSetAcquireSingleBuffer(bool acquireSingleBuffer);
    void hostAddPendingTransaction(uint64_t frameNumber,
                                   const SurfaceComposerClient::Transaction& transaction);
    void hostSetFrameNumbers(uint64_t lastAcquiredFrameNumber, uint64_t lastAppliedFrameNumber,
                             bool appliedLastTransaction);
    void hostPushSurfaceControlWithPendingCallback(const sp<SurfaceControl>& surfaceControl);
    void hostAddSyncedFrameNumber(uint64_t frameNumber);

    // A copy of the state, taken under mMutex.
    struct HostSnapshot {
        sp<SurfaceControl> surfaceControl;
        int32_t maxAcquiredBuffers = 0;
        int32_t numFrameAvailable = 0;
        int32_t numAcquired = 0;
        uint32_t currentMaxAcquiredBufferCount = 0;
        size_t submittedCount = 0;
        size_t pendingReleaseCount = 0;
        size_t pendingTransactionCount = 0;
        size_t surfaceControlsWithPendingCallbackCount = 0;
        std::unordered_set<uint64_t> syncedFrameNumbers;
        ui::Size size;
        ui::Size requestedSize;
        int32_t format = 0;
        bool hasTransactionReadyCallback = false;
        SurfaceComposerClient::Transaction* syncTransaction = nullptr;
        bool acquireSingleBuffer = false;
        uint64_t lastAcquiredFrameNumber = 0;
        uint64_t lastAppliedFrameNumber = 0;
        bool appliedLastTransaction = false;
        bool updateDestinationFrame = false;
    };
    HostSnapshot hostSnapshot() const;

private:
    friend class TalvexBufferQueueHelper;

    // Returns true if no more buffers may be acquired (AOSP allows one extra while a release is
    // pending, two with `includeExtraAcquire`).
    bool maxBuffersAcquired(bool includeExtraAcquire) const;
    void acquireNextBufferLocked(SurfaceComposerClient::Transaction* transaction);
    // Returns true if `item` must be dropped: a frozen buffer whose size is neither the layer's
    // nor the requested one. Adopts the requested size when the buffer has it.
    bool rejectBuffer(const BufferItem& item);
    void releaseBufferCallbackLocked(const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
                                     std::optional<uint32_t> currentMaxAcquiredBufferCount,
                                     bool fakeRelease);
    void releaseBuffer(const ReleaseCallbackId& callbackId, const sp<Fence>& releaseFence);
    void mergePendingTransactions(SurfaceComposerClient::Transaction* t, uint64_t frameNumber);

    // A buffer the compositor released, waiting to go back to the queue.
    struct ReleasedBuffer {
        ReleaseCallbackId callbackId;
        sp<Fence> releaseFence;
        bool operator==(const ReleasedBuffer& rhs) const {
            // Only compare Id so if we somehow got two callbacks with different fences we
            // don't decrement mNumAcquired too far.
            return rhs.callbackId == callbackId;
        }
    };

    std::string mName;
    // Represents the queued buffer count from buffer queue, pre-BLAST.
    std::string mQueuedBufferTrace;
    sp<SurfaceControl> mSurfaceControl;

    mutable std::mutex mMutex;

    // The max number of buffers the compositor lets this queue hold acquired.
    int32_t mMaxAcquiredBuffers = 1;
    int32_t mNumFrameAvailable = 0;
    int32_t mNumAcquired = 0;

    // Buffers submitted to the compositor and not yet released, by release callback id.
    std::unordered_map<ReleaseCallbackId, BufferItem, ReleaseBufferCallbackIdHash> mSubmitted;
    std::deque<ReleasedBuffer> mPendingRelease;

    ui::Size mSize;
    ui::Size mRequestedSize;
    int32_t mFormat;

    // Stands in for AOSP's mProducer/mConsumer (IGraphicBufferProducer/Consumer of one core).
    sp<BufferQueueCore> mCore;
    sp<BLASTBufferItemConsumer> mBufferItemConsumer;

    std::function<void(SurfaceComposerClient::Transaction*)> mTransactionReadyCallback;
    SurfaceComposerClient::Transaction* mSyncTransaction = nullptr;
    std::vector<std::tuple<uint64_t /* framenumber */, SurfaceComposerClient::Transaction>>
        mPendingTransactions;

    uint64_t mLastAcquiredFrameNumber = 0;
    bool mUpdateDestinationFrame = true;
    bool mAcquireSingleBuffer = true;
    uint64_t mLastAppliedFrameNumber = 0;
    bool mAppliedLastTransaction = false;

    // Surfaces whose transaction callbacks have not all arrived yet.
    std::queue<sp<SurfaceControl>> mSurfaceControlsWithPendingCallback;

    uint32_t mCurrentMaxAcquiredBufferCount = 0;
    // Frame numbers taken into a sync transaction.
    std::unordered_set<uint64_t> mSyncedFrameNumbers;

    uint32_t mProducerId = 0;

    // HOST-ONLY: see HostPatchPoints; guarded by mMutex.
    HostPatchPoints* mHostPatchPoints = nullptr;
};

}  // namespace android
