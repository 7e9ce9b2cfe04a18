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

#undef LOG_TAG
#define LOG_TAG "BLASTBufferQueue"

#include <gui/BLASTBufferQueue.h>
#include <utils/String8.h>

#include <algorithm>
#include <atomic>

namespace android {

// ---------------------------------------------------------------------------
// BLASTBufferItemConsumer

BLASTBufferItemConsumer::BLASTBufferItemConsumer(const sp<BufferQueueCore>& core,
                                                 uint64_t consumerUsage, int bufferCount,
                                                 bool controlledByApp, wp<BLASTBufferQueue> bbq)
    : BufferItemConsumer(core, consumerUsage, bufferCount, controlledByApp),
      mBLASTBufferQueue(std::move(bbq)) {}

void BLASTBufferItemConsumer::getConnectionEvents(uint64_t /*frameNumber*/, bool* needsDisconnect) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (needsDisconnect != nullptr) {
        *needsDisconnect = mPreviouslyConnected && !mCurrentlyConnected;
    }
    mPreviouslyConnected = mCurrentlyConnected;
}

void BLASTBufferItemConsumer::onDisconnect() {
    std::lock_guard<std::mutex> lock(mMutex);
    mPreviouslyConnected = mCurrentlyConnected;
    mCurrentlyConnected = false;
}

void BLASTBufferItemConsumer::hostOnConnect() {
    std::lock_guard<std::mutex> lock(mMutex);
    mPreviouslyConnected = mCurrentlyConnected;
    mCurrentlyConnected = true;
}

// ---------------------------------------------------------------------------
// BLASTBufferQueue

BLASTBufferQueue::BLASTBufferQueue(const std::string& name, bool updateDestinationFrame)
    : mSurfaceControl(nullptr),
      mSize(1, 1),
      mRequestedSize(mSize),
      mFormat(PIXEL_FORMAT_RGBA_8888),
      mTransactionReadyCallback(nullptr),
      mSyncTransaction(nullptr),
      mUpdateDestinationFrame(updateDestinationFrame) {
    mCore = new BufferQueueCore();
    mBufferItemConsumer = new BLASTBufferItemConsumer(
        mCore, GraphicBuffer::USAGE_HW_COMPOSER | GraphicBuffer::USAGE_HW_TEXTURE, 1, false, this);
    static std::atomic<uint32_t> nextId{0};
    mProducerId = nextId++;
    mName = name + "#" + std::to_string(mProducerId);
    auto consumerName = mName + "(BLAST Consumer)" + std::to_string(mProducerId);
    mQueuedBufferTrace = "QueuedBuffer - " + mName + "BLAST#" + std::to_string(mProducerId);
    mBufferItemConsumer->setName(String8(consumerName.c_str()));
    mBufferItemConsumer->setFrameAvailableListener(this);
    mBufferItemConsumer->setBufferFreedListener(this);
    // Safe default, most producers are expected to override this (as AOSP).
    mCore->hostSetMaxDequeuedBufferCount(2);

    // The compositor's answer to getMaxAcquiredBufferCount; 1 unless it says otherwise.
    mBufferItemConsumer->setMaxAcquiredBufferCount(mMaxAcquiredBuffers);
    mCurrentMaxAcquiredBufferCount = static_cast<uint32_t>(mMaxAcquiredBuffers);
    mNumAcquired = 0;
    mNumFrameAvailable = 0;
}

BLASTBufferQueue::~BLASTBufferQueue() {
    mBufferItemConsumer->abandon();
}

void BLASTBufferQueue::onFrameAvailable(const BufferItem& item) {
    std::function<void(SurfaceComposerClient::Transaction*)> prevCallback;
    SurfaceComposerClient::Transaction* prevTransaction = nullptr;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mNumFrameAvailable++;
        if (mHostPatchPoints != nullptr) {
            mHostPatchPoints->frameAvailableLocked(item.mFrameNumber,
                                                   static_cast<bool>(mTransactionReadyCallback),
                                                   mNumFrameAvailable, mNumAcquired);
        }
        if (!mTransactionReadyCallback) {
            acquireNextBufferLocked(nullptr);
            return;
        }
        // A sync is waiting for this frame: acquire it into the sync transaction.
        acquireNextBufferLocked(mSyncTransaction);
        if (mSyncTransaction != nullptr) mSyncedFrameNumbers.emplace(mLastAcquiredFrameNumber);
        if (mAcquireSingleBuffer) {
            prevCallback = std::move(mTransactionReadyCallback);
            prevTransaction = mSyncTransaction;
            mTransactionReadyCallback = nullptr;
            mSyncTransaction = nullptr;
        }
    }
    // Called without the lock: the callback may call back into the queue.
    if (prevCallback) prevCallback(prevTransaction);
}

bool BLASTBufferQueue::maxBuffersAcquired(bool includeExtraAcquire) const {
    const int maxAcquiredBuffers = mMaxAcquiredBuffers + (includeExtraAcquire ? 2 : 1);
    return mNumAcquired >= maxAcquiredBuffers;
}

void BLASTBufferQueue::acquireNextBufferLocked(SurfaceComposerClient::Transaction* transaction) {
    // With a transaction to fill, one more buffer may be held.
    const bool includeExtraAcquire = transaction != nullptr;
    if (mNumFrameAvailable == 0) return;
    if (maxBuffersAcquired(includeExtraAcquire)) {
        if (mHostPatchPoints != nullptr) mHostPatchPoints->cannotAcquireLocked(this);
        return;
    }
    if (mSurfaceControl == nullptr) return;

    SurfaceComposerClient::Transaction localTransaction;
    const bool applyTransaction = transaction == nullptr;
    SurfaceComposerClient::Transaction* t = applyTransaction ? &localTransaction : transaction;

    BufferItem bufferItem;
    if (mBufferItemConsumer->acquireBuffer(&bufferItem, 0, false) != NO_ERROR) return;
    mNumFrameAvailable--;
    sp<GraphicBuffer> buffer = bufferItem.mGraphicBuffer;
    if (buffer == nullptr) {
        mBufferItemConsumer->releaseBuffer(bufferItem, Fence::NO_FENCE);
        return;
    }
    if (rejectBuffer(bufferItem)) {
        mBufferItemConsumer->releaseBuffer(bufferItem, Fence::NO_FENCE);
        acquireNextBufferLocked(transaction);
        return;
    }

    mNumAcquired++;
    mLastAcquiredFrameNumber = bufferItem.mFrameNumber;
    const ReleaseCallbackId releaseCallbackId(buffer->getId(), mLastAcquiredFrameNumber);
    mSubmitted[releaseCallbackId] = bufferItem;
    if (mHostPatchPoints != nullptr)
        mHostPatchPoints->bufferAcquiredLocked(bufferItem.mFrameNumber);

    // The callbacks hold the queue weakly: a queue that goes away drops them (AOSP's
    // transaction thunk holds a strong reference instead).
    wp<BLASTBufferQueue> weak(this);
    t->setBuffer(mSurfaceControl, buffer, bufferItem.mFence, bufferItem.mFrameNumber, mProducerId,
                 [weak](const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
                        std::optional<uint32_t> currentMaxAcquiredBufferCount) {
                     if (sp<BLASTBufferQueue> bbq = weak.promote()) {
                         bbq->releaseBufferCallback(id, releaseFence, currentMaxAcquiredBufferCount);
                     }
                 });
    t->addTransactionCompletedCallback(
        [weak](void* /*context*/, nsecs_t latchTime, const sp<Fence>& presentFence,
               const std::vector<SurfaceControlStats>& stats) {
            if (sp<BLASTBufferQueue> bbq = weak.promote()) {
                bbq->transactionCallback(latchTime, presentFence, stats);
            }
        },
        this);
    mSurfaceControlsWithPendingCallback.push(mSurfaceControl);
    mergePendingTransactions(t, bufferItem.mFrameNumber);

    if (applyTransaction) {
        t->apply(false, true);
        mAppliedLastTransaction = true;
        mLastAppliedFrameNumber = bufferItem.mFrameNumber;
        if (mHostPatchPoints != nullptr) {
            mHostPatchPoints->transactionAppliedLocked(bufferItem.mFrameNumber);
        }
    } else {
        mAppliedLastTransaction = false;
    }
}

void BLASTBufferQueue::mergePendingTransactions(SurfaceComposerClient::Transaction* t,
                                                uint64_t frameNumber) {
    auto it = mPendingTransactions.begin();
    while (it != mPendingTransactions.end()) {
        if (std::get<0>(*it) <= frameNumber) {
            t->merge(std::move(std::get<1>(*it)));
            it = mPendingTransactions.erase(it);
        } else {
            ++it;
        }
    }
}

void BLASTBufferQueue::transactionCallback(nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                                           const std::vector<SurfaceControlStats>& stats) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mSurfaceControlsWithPendingCallback.empty()) return;
    sp<SurfaceControl> pendingSurfaceControl = mSurfaceControlsWithPendingCallback.front();
    mSurfaceControlsWithPendingCallback.pop();
    for (const auto& stat : stats) {
        if (!SurfaceControl::isSameSurface(pendingSurfaceControl, stat.surfaceControl)) continue;
        if (mHostPatchPoints != nullptr) {
            mHostPatchPoints->transactionCallbackLocked(stat.frameEventStats.frameNumber);
        }
        if (stat.transformHint) {
            pendingSurfaceControl->setTransformHint(*stat.transformHint);
        }
        // A completed frame means every older submitted buffer is off screen: release those
        // whose own release has not come (AOSP's fake release), so a lost release cannot hold
        // a buffer while frames keep completing.
        std::vector<ReleaseCallbackId> stale;
        for (const auto& [id, item] : mSubmitted) {
            if (id.framenumber < stat.frameEventStats.frameNumber) stale.push_back(id);
        }
        for (const ReleaseCallbackId& id : stale) {
            releaseBufferCallbackLocked(id, Fence::NO_FENCE, std::nullopt, /*fakeRelease=*/true);
        }
        break;
    }
}

void BLASTBufferQueue::releaseBufferCallback(const ReleaseCallbackId& id,
                                             const sp<Fence>& releaseFence,
                                             std::optional<uint32_t> currentMaxAcquiredBufferCount) {
    std::lock_guard<std::mutex> lock(mMutex);
    releaseBufferCallbackLocked(id, releaseFence, currentMaxAcquiredBufferCount,
                                /*fakeRelease=*/false);
}

void BLASTBufferQueue::releaseBufferCallbackLocked(
    const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
    std::optional<uint32_t> currentMaxAcquiredBufferCount, bool fakeRelease) {
    if (currentMaxAcquiredBufferCount) {
        mCurrentMaxAcquiredBufferCount = *currentMaxAcquiredBufferCount;
    }
    // Held back while the compositor may still latch an older buffer (AOSP's EGL case).
    const int32_t numPendingBuffersToHold = std::max<int32_t>(
        0, mMaxAcquiredBuffers - static_cast<int32_t>(mCurrentMaxAcquiredBufferCount));
    // Once per id: the compositor's release of a buffer already faked is not counted again.
    const bool known = std::any_of(mPendingRelease.begin(), mPendingRelease.end(),
                                   [&](const ReleasedBuffer& r) { return r.callbackId == id; });
    if (!known) {
        mPendingRelease.push_back(ReleasedBuffer{id, releaseFence});
        if (mHostPatchPoints != nullptr) {
            mHostPatchPoints->releaseBufferCallbackLocked(id.framenumber, fakeRelease);
        }
    }
    while (static_cast<int32_t>(mPendingRelease.size()) > numPendingBuffersToHold) {
        const ReleasedBuffer released = mPendingRelease.front();
        mPendingRelease.pop_front();
        releaseBuffer(released.callbackId, released.releaseFence);
    }
    if (!mTransactionReadyCallback) acquireNextBufferLocked(nullptr);
}

void BLASTBufferQueue::releaseBuffer(const ReleaseCallbackId& callbackId,
                                     const sp<Fence>& releaseFence) {
    auto it = mSubmitted.find(callbackId);
    if (it == mSubmitted.end()) return;
    mNumAcquired--;
    if (mHostPatchPoints != nullptr) mHostPatchPoints->bufferReleasedLocked(callbackId.framenumber);
    mBufferItemConsumer->releaseBuffer(it->second, releaseFence);
    mSubmitted.erase(it);
    mSyncedFrameNumbers.erase(callbackId.framenumber);
}

uint64_t BLASTBufferQueue::hostQueueNewFrame(int64_t timestamp) {
    const int slot = mCore->hostDequeueBuffer();
    if (slot == BufferQueueCore::INVALID_BUFFER_SLOT) return 0;
    if (mCore->hostQueueBuffer(slot, timestamp) != NO_ERROR) return 0;
    BufferItem item;
    item.mSlot = slot;
    item.mFrameNumber = mCore->hostSnapshot().slots[slot].mFrameNumber;
    item.mTimestamp = timestamp;
    mBufferItemConsumer->hostNotifyFrameAvailable(item);
    return item.mFrameNumber;
}

void BLASTBufferQueue::update(const sp<SurfaceControl>& surface, uint32_t width, uint32_t height,
                              int32_t format) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mFormat != format) {
        mFormat = format;
        mBufferItemConsumer->setDefaultBufferFormat(format);
    }
    const bool surfaceChanged = mSurfaceControl != surface;
    mSurfaceControl = surface;
    if (surfaceChanged && mHostPatchPoints != nullptr) {
        mHostPatchPoints->surfaceChangedLocked(this, surface);
    }
    const ui::Size newSize(width, height);
    if (mRequestedSize != newSize) {
        // mSize follows once a buffer of the new size is acquired (buffers are frozen).
        mRequestedSize.set(newSize);
        mBufferItemConsumer->setDefaultBufferSize(mRequestedSize.width, mRequestedSize.height);
        if (mHostPatchPoints != nullptr) {
            mHostPatchPoints->requestedSizeChangedLocked(&mRequestedSize, &mSize,
                                                         hostConsumerBase());
        }
    }
}

bool BLASTBufferQueue::rejectBuffer(const BufferItem& item) {
    if (item.mScalingMode != 0 /* NATIVE_WINDOW_SCALING_MODE_FREEZE */) {
        mSize = mRequestedSize;
        return false;
    }
    const ui::Size bufferSize(item.mGraphicBuffer->getWidth(), item.mGraphicBuffer->getHeight());
    if (mRequestedSize != mSize && mRequestedSize == bufferSize) {
        mSize = mRequestedSize;
        return false;
    }
    // A frozen buffer of another size than the layer's is dropped.
    return mSize != bufferSize;
}

void BLASTBufferQueue::mergeWithNextTransaction(SurfaceComposerClient::Transaction* t,
                                                uint64_t frameNumber) {
    if (t == nullptr) return;
    std::lock_guard<std::mutex> lock(mMutex);
    if (mLastAcquiredFrameNumber >= frameNumber) {
        // The frame is already acquired: apply at once, as AOSP does.
        t->apply();
    } else {
        mPendingTransactions.emplace_back(frameNumber, *t);
        t->clear();
    }
}

uint64_t BLASTBufferQueue::getLastAcquiredFrameNum() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastAcquiredFrameNumber;
}

void BLASTBufferQueue::hostSetPatchPoints(HostPatchPoints* points) {
    std::lock_guard<std::mutex> lock(mMutex);
    mHostPatchPoints = points;
}

void BLASTBufferQueue::hostSetSurfaceControl(const sp<SurfaceControl>& surfaceControl) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSurfaceControl = surfaceControl;
}

void BLASTBufferQueue::hostSetFrameCounts(int32_t numFrameAvailable, int32_t numAcquired) {
    std::lock_guard<std::mutex> lock(mMutex);
    mNumFrameAvailable = numFrameAvailable;
    mNumAcquired = numAcquired;
}

void BLASTBufferQueue::hostSetMaxAcquiredBuffers(int32_t maxAcquiredBuffers) {
    std::lock_guard<std::mutex> lock(mMutex);
    mMaxAcquiredBuffers = maxAcquiredBuffers;
}

void BLASTBufferQueue::hostSetCurrentMaxAcquiredBufferCount(uint32_t count) {
    std::lock_guard<std::mutex> lock(mMutex);
    mCurrentMaxAcquiredBufferCount = count;
}

void BLASTBufferQueue::hostAddSubmitted(const ReleaseCallbackId& id, const BufferItem& item) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSubmitted[id] = item;
}

void BLASTBufferQueue::hostAddPendingRelease(const ReleaseCallbackId& id,
                                             const sp<Fence>& releaseFence) {
    std::lock_guard<std::mutex> lock(mMutex);
    mPendingRelease.push_back(ReleasedBuffer{id, releaseFence});
}

void BLASTBufferQueue::hostSetTransactionReadyCallback(
    std::function<void(SurfaceComposerClient::Transaction*)> callback) {
    std::lock_guard<std::mutex> lock(mMutex);
    mTransactionReadyCallback = std::move(callback);
}

void BLASTBufferQueue::hostSetSyncTransaction(SurfaceComposerClient::Transaction* transaction) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSyncTransaction = transaction;
}

void BLASTBufferQueue::hostSetAcquireSingleBuffer(bool acquireSingleBuffer) {
    std::lock_guard<std::mutex> lock(mMutex);
    mAcquireSingleBuffer = acquireSingleBuffer;
}

void BLASTBufferQueue::hostAddPendingTransaction(
    uint64_t frameNumber, const SurfaceComposerClient::Transaction& transaction) {
    std::lock_guard<std::mutex> lock(mMutex);
    mPendingTransactions.emplace_back(frameNumber, transaction);
}

void BLASTBufferQueue::hostSetFrameNumbers(uint64_t lastAcquiredFrameNumber,
                                           uint64_t lastAppliedFrameNumber,
                                           bool appliedLastTransaction) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLastAcquiredFrameNumber = lastAcquiredFrameNumber;
    mLastAppliedFrameNumber = lastAppliedFrameNumber;
    mAppliedLastTransaction = appliedLastTransaction;
}

void BLASTBufferQueue::hostPushSurfaceControlWithPendingCallback(
    const sp<SurfaceControl>& surfaceControl) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSurfaceControlsWithPendingCallback.push(surfaceControl);
}

void BLASTBufferQueue::hostAddSyncedFrameNumber(uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    mSyncedFrameNumbers.insert(frameNumber);
}

BLASTBufferQueue::HostSnapshot BLASTBufferQueue::hostSnapshot() const {
    std::lock_guard<std::mutex> lock(mMutex);
    HostSnapshot snap;
    snap.surfaceControl = mSurfaceControl;
    snap.maxAcquiredBuffers = mMaxAcquiredBuffers;
    snap.numFrameAvailable = mNumFrameAvailable;
    snap.numAcquired = mNumAcquired;
    snap.currentMaxAcquiredBufferCount = mCurrentMaxAcquiredBufferCount;
    snap.submittedCount = mSubmitted.size();
    snap.pendingReleaseCount = mPendingRelease.size();
    snap.pendingTransactionCount = mPendingTransactions.size();
    snap.surfaceControlsWithPendingCallbackCount = mSurfaceControlsWithPendingCallback.size();
    snap.syncedFrameNumbers = mSyncedFrameNumbers;
    snap.size = mSize;
    snap.requestedSize = mRequestedSize;
    snap.format = mFormat;
    snap.hasTransactionReadyCallback = static_cast<bool>(mTransactionReadyCallback);
    snap.syncTransaction = mSyncTransaction;
    snap.acquireSingleBuffer = mAcquireSingleBuffer;
    snap.lastAcquiredFrameNumber = mLastAcquiredFrameNumber;
    snap.lastAppliedFrameNumber = mLastAppliedFrameNumber;
    snap.appliedLastTransaction = mAppliedLastTransaction;
    snap.updateDestinationFrame = mUpdateDestinationFrame;
    return snap;
}

}  // namespace android
