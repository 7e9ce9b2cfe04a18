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

// Host model of libgui's gui/BLASTBufferQueue.h (Android 14): the client-side adapter that turns
// a producer's queued buffers into transactions for the compositor. The mirrored part has
// Android 14's members, signatures and locking annotations; the queue plays Android 14's frame
// flow (acquire limits, sync transactions, commit and completion callbacks, fake releases, held
// transactions) on the host models of the buffer queue and the transaction listener. What only a
// host needs (test setters, readers) is in the block marked host only, at the end of the class.
#pragma once

#include <binder/Binder.h>
#include <gui/BufferItem.h>
#include <gui/BufferItemConsumer.h>
#include <gui/BufferQueueCore.h>
#include <gui/IGraphicBufferConsumer.h>
#include <gui/IGraphicBufferProducer.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <system/window.h>
#include <ui/Fence.h>
#include <ui/PixelFormat.h>
#include <ui/Rect.h>
#include <ui/Size.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/StrongPointer.h>

#include <condition_variable>
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
class BufferItemConsumer;
class BufferQueueCore;

class BLASTBufferItemConsumer : public BufferItemConsumer {
public:
    BLASTBufferItemConsumer(const sp<IGraphicBufferConsumer>& consumer, uint64_t consumerUsage,
                            int bufferCount, bool controlledByApp, wp<BLASTBufferQueue> bbq)
        : BufferItemConsumer(consumer, consumerUsage, bufferCount, controlledByApp),
          mBLASTBufferQueue(std::move(bbq)),
          mCurrentlyConnected(false),
          mPreviouslyConnected(false) {}

    void onDisconnect() override EXCLUDES(mMutex);
    // Sets `*needsDisconnect` if the producer disconnected at or before `frameNumber`.
    void getConnectionEvents(uint64_t frameNumber, bool* needsDisconnect) EXCLUDES(mMutex);

protected:
    void onSidebandStreamChanged() override EXCLUDES(mMutex);

private:
    const wp<BLASTBufferQueue> mBLASTBufferQueue;

    uint64_t mCurrentFrameNumber GUARDED_BY(mMutex) = 0;

    Mutex mMutex;
    std::queue<uint64_t> mDisconnectEvents GUARDED_BY(mMutex);
    bool mCurrentlyConnected GUARDED_BY(mMutex);
    bool mPreviouslyConnected GUARDED_BY(mMutex);
};

class BLASTBufferQueue : public ConsumerBase::FrameAvailableListener {
public:
    // A queue named `name` + "#" + its producer id, with its own buffer queue.
    BLASTBufferQueue(const std::string& name, bool updateDestinationFrame = true);
    BLASTBufferQueue(const std::string& name, const sp<SurfaceControl>& surface, int width,
                     int height, int32_t format);

    // The producer side of the queue (what a Surface draws into).
    sp<IGraphicBufferProducer> getIGraphicBufferProducer() const { return mProducer; }
    bool isSameSurfaceControl(const sp<SurfaceControl>& surfaceControl) const;

    void onFrameReplaced(const BufferItem& item) override;
    // A frame was queued: counts it and, unless a sync or the acquire limit holds it back,
    // acquires it into a transaction and applies it.
    void onFrameAvailable(const BufferItem& item) override;
    void onFrameDequeued(const uint64_t) override;
    void onFrameCancelled(const uint64_t) override;

    // The compositor committed a sync transaction of this queue.
    void transactionCommittedCallback(nsecs_t latchTime, const sp<Fence>& presentFence,
                                      const std::vector<SurfaceControlStats>& stats);
    // The compositor completed a transaction of this queue: fakes the release of every older
    // submitted buffer.
    virtual void transactionCallback(nsecs_t latchTime, const sp<Fence>& presentFence,
                                     const std::vector<SurfaceControlStats>& stats);
    // The compositor released the buffer of `id`.
    void releaseBufferCallback(const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
                               std::optional<uint32_t> currentMaxAcquiredBufferCount);
    void releaseBufferCallbackLocked(const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
                                     std::optional<uint32_t> currentMaxAcquiredBufferCount,
                                     bool fakeRelease) REQUIRES(mMutex);
    // The next frame (or frames) go into a transaction handed to `callback` instead of being
    // applied. Returns false if a sync is pending already.
    bool syncNextTransaction(std::function<void(SurfaceComposerClient::Transaction*)> callback,
                             bool acquireSingleBuffer = true);
    void stopContinuousSyncTransaction();
    void clearSyncTransaction();

    // Holds `t` back until frame `frameNumber` is applied (or applies it now if that frame was
    // acquired already); `t` is cleared.
    void mergeWithNextTransaction(SurfaceComposerClient::Transaction* t, uint64_t frameNumber);
    void applyPendingTransactions(uint64_t frameNumber);
    SurfaceComposerClient::Transaction* gatherPendingTransactions(uint64_t frameNumber);

    // Points the queue at `surface` with a requested size and format.
    void update(const sp<SurfaceControl>& surface, uint32_t width, uint32_t height, int32_t format);

    uint32_t getLastTransformHint() const;
    uint64_t getLastAcquiredFrameNum();

    virtual ~BLASTBufferQueue();

private:
    friend class BLASTBufferQueueHelper;
    friend class BBQBufferQueueProducer;
    // Reads the queue for its dumps (libgui_talvex_utils).
    friend class TalvexBufferQueueHelper;

    // can't be copied
    BLASTBufferQueue& operator=(const BLASTBufferQueue& rhs);
    BLASTBufferQueue(const BLASTBufferQueue& rhs);
    void createBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                           sp<IGraphicBufferConsumer>* outConsumer);

    status_t acquireNextBufferLocked(
        const std::optional<SurfaceComposerClient::Transaction*> transaction) REQUIRES(mMutex);
    Rect computeCrop(const BufferItem& item) REQUIRES(mMutex);
    // Return true if we need to reject the buffer based on the scaling mode and the buffer size.
    bool rejectBuffer(const BufferItem& item) REQUIRES(mMutex);
    static PixelFormat convertBufferFormat(PixelFormat& format);
    void mergePendingTransactions(SurfaceComposerClient::Transaction* t, uint64_t frameNumber)
        REQUIRES(mMutex);

    void flushShadowQueue() REQUIRES(mMutex);
    void acquireAndReleaseBuffer() REQUIRES(mMutex);
    void releaseBuffer(const ReleaseCallbackId& callbackId, const sp<Fence>& releaseFence)
        REQUIRES(mMutex);

    std::string mName;
    // The queued buffer count's trace name.
    std::string mQueuedBufferTrace;
    sp<SurfaceControl> mSurfaceControl GUARDED_BY(mMutex);

    mutable std::mutex mMutex;
    std::condition_variable mCallbackCV;

    // BufferQueue internally allows 1 more than the max to be acquired.
    int32_t mMaxAcquiredBuffers = 1;

    int32_t mNumFrameAvailable GUARDED_BY(mMutex) = 0;
    int32_t mNumAcquired GUARDED_BY(mMutex) = 0;

    // Tells apart the producers that used the same SurfaceControl.
    uint32_t mProducerId = 0;

    // Buffers submitted to the compositor and not yet released, by release callback id.
    std::unordered_map<ReleaseCallbackId, BufferItem, ReleaseBufferCallbackIdHash> mSubmitted
        GUARDED_BY(mMutex);

    // Released buffers not yet given back to the buffer queue.
    struct ReleasedBuffer {
        ReleaseCallbackId callbackId;
        sp<Fence> releaseFence;
        bool operator==(const ReleasedBuffer& rhs) const {
            // Only the id: two callbacks with different fences must not count twice.
            return rhs.callbackId == callbackId;
        }
    };
    std::deque<ReleasedBuffer> mPendingRelease GUARDED_BY(mMutex);

    ui::Size mSize GUARDED_BY(mMutex);
    ui::Size mRequestedSize GUARDED_BY(mMutex);
    int32_t mFormat GUARDED_BY(mMutex);

    struct BufferInfo {
        bool hasBuffer = false;
        uint32_t width;
        uint32_t height;
        uint32_t transform;
        // Whether a size change waits for a buffer of the new size.
        uint32_t scalingMode = NATIVE_WINDOW_SCALING_MODE_SCALE_TO_WINDOW;
        Rect crop;

        void update(bool hasBuffer, uint32_t width, uint32_t height, uint32_t transform,
                    uint32_t scalingMode, const Rect& crop) {
            this->hasBuffer = hasBuffer;
            this->width = width;
            this->height = height;
            this->transform = transform;
            this->scalingMode = scalingMode;
            this->crop = !crop.isEmpty() ? crop : Rect(width, height);
        }
    };
    // The last acquired buffer's shape.
    BufferInfo mLastBufferInfo GUARDED_BY(mMutex);

    uint32_t mTransformHint GUARDED_BY(mMutex);

    sp<IGraphicBufferConsumer> mConsumer;
    sp<IGraphicBufferProducer> mProducer;
    sp<BLASTBufferItemConsumer> mBufferItemConsumer;
    // The core shared by mProducer and mConsumer: the talvex helper's dumps are keyed by it.
    sp<BufferQueueCore> mCore;

    std::function<void(SurfaceComposerClient::Transaction*)> mTransactionReadyCallback
        GUARDED_BY(mMutex);
    SurfaceComposerClient::Transaction* mSyncTransaction GUARDED_BY(mMutex);
    std::vector<std::tuple<uint64_t /* framenumber */, SurfaceComposerClient::Transaction>>
        mPendingTransactions GUARDED_BY(mMutex);

    // Tracks the last acquired frame number
    uint64_t mLastAcquiredFrameNumber GUARDED_BY(mMutex) = 0;

    // The token this queue's own transactions are applied on.
    const sp<IBinder> mApplyToken GUARDED_BY(mMutex) = sp<IBinder>(new BBinder());

    // Guards mDequeueTimestamps: onFrameDequeued() may not take mMutex.
    std::mutex mTimestampMutex;
    // When the producer dequeued each buffer, by buffer id.
    std::unordered_map<uint64_t /* bufferId */, nsecs_t> mDequeueTimestamps
        GUARDED_BY(mTimestampMutex);

    // Surfaces whose transaction callbacks have not all arrived yet.
    std::queue<sp<SurfaceControl>> mSurfaceControlsWithPendingCallback GUARDED_BY(mMutex);

    uint32_t mCurrentMaxAcquiredBufferCount GUARDED_BY(mMutex);

    // Whether a sync takes one buffer and ends, or goes on until stopped.
    bool mAcquireSingleBuffer GUARDED_BY(mMutex) = true;

    // Whether the queue sets the destination frame of its surface itself.
    bool mUpdateDestinationFrame GUARDED_BY(mMutex) = true;

    // Whether the last transaction was applied by the queue itself (one way, on its token).
    bool mAppliedLastTransaction GUARDED_BY(mMutex) = false;
    uint64_t mLastAppliedFrameNumber GUARDED_BY(mMutex) = 0;

    // Frame numbers taken into a sync whose commit has not come back.
    std::unordered_set<uint64_t> mSyncedFrameNumbers GUARDED_BY(mMutex);

    // ---- Host only (not in Android 14) ----
public:
    // The queue's buffer queue core.
    sp<BufferQueueCore> hostCore() const { return mCore; }
    // Readers of the fixed identity.
    const std::string& hostName() const { return mName; }
    const std::string& hostQueuedBufferTrace() const { return mQueuedBufferTrace; }
    uint32_t hostProducerId() const { return mProducerId; }
    sp<BLASTBufferItemConsumer> hostBufferItemConsumer() const { return mBufferItemConsumer; }
    // The queue's lock, for callers that must hold it (as libgui does around a BLAST dump).
    std::mutex& hostMutex() const RETURN_CAPABILITY(mMutex) { return mMutex; }

    // Test setters; each takes mMutex (not recursive: never call with hostMutex() held).
    void hostSetFrameCounts(int32_t numFrameAvailable, int32_t numAcquired) EXCLUDES(mMutex);
    void hostSetMaxAcquiredBuffers(int32_t maxAcquiredBuffers) EXCLUDES(mMutex);
    void hostAddSubmitted(const ReleaseCallbackId& id, const BufferItem& item) EXCLUDES(mMutex);
    void hostAddPendingRelease(const ReleaseCallbackId& id, const sp<Fence>& releaseFence)
        EXCLUDES(mMutex);
    void hostAddPendingTransaction(uint64_t frameNumber,
                                   const SurfaceComposerClient::Transaction& transaction)
        EXCLUDES(mMutex);
    void hostPushSurfaceControlWithPendingCallback(const sp<SurfaceControl>& surfaceControl)
        EXCLUDES(mMutex);
    void hostAddSyncedFrameNumber(uint64_t frameNumber) EXCLUDES(mMutex);

    // A copy of the state, taken under mMutex.
    struct HostSnapshot {
        sp<SurfaceControl> surfaceControl;
        int32_t maxAcquiredBuffers = 0;
        int32_t numFrameAvailable = 0;
        int32_t numAcquired = 0;
        uint32_t currentMaxAcquiredBufferCount = 0;
        size_t submittedCount = 0;
        std::vector<uint64_t> submittedFrames;  // ascending
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
    HostSnapshot hostSnapshot() const EXCLUDES(mMutex);

    // For a driver that must know when a producer waits inside the queue (a sync's waits in
    // onFrameAvailable()): how many times such a wait began (counted under mMutex, which the
    // wait releases), whether queueing a frame may wait now (a sync is set or pending), and a
    // wake-up of every such wait (a spurious one, which the queue tolerates).
    uint64_t hostWaitsEntered() const EXCLUDES(mMutex);
    bool hostQueueMayWait() const EXCLUDES(mMutex);
    void hostWakeWaiters() EXCLUDES(mMutex);

private:
    uint64_t mHostWaitsEntered GUARDED_BY(mMutex) = 0;
};

}  // namespace android
