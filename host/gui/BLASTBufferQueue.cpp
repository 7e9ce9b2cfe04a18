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

// For ScopedLockAssertion. gcc knows no thread-safety attributes, which libutils' headers (and
// so the models') make no-ops: this header must not turn them back on.
#include <android-base/thread_annotations.h>
#if !defined(__clang__)
#undef THREAD_ANNOTATION_ATTRIBUTE__
#define THREAD_ANNOTATION_ATTRIBUTE__(x)
#endif
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueConsumer.h>
#include <gui/BufferQueueCore.h>
#include <gui/BufferQueueProducer.h>
#include <utils/String8.h>

#include <algorithm>
#include <atomic>
#include <limits>

#ifdef TALVEX_LIBGUI_HOOKS
#include <future>
#endif
#ifdef TALVEX_LIBGUI_HOOKS
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#endif

namespace android {

#ifdef TALVEX_LIBGUI_HOOKS
using libgui_interface::hook::FrameStartStatus;
using libgui_interface::hook::FrameType;
using libgui_interface::hook::getBufferQueueHelper;
using libgui_interface::hook::getFrameRecordIns;
// Records a step of frame `frameNumber` of this queue's layer in the talvex frame record.
#define TALVEX_FRAME_EVENT(frameNumber, ...)                                                    \
    do {                                                                                        \
        if (mSurfaceControl != nullptr) {                                                       \
            getFrameRecordIns()->setLayerFrameEvent(mSurfaceControl->getLayerId(), frameNumber, \
                                                    __VA_ARGS__);                               \
        }                                                                                       \
    } while (0)
#else
#define TALVEX_FRAME_EVENT(frameNumber, ...)
#endif

// ---------------------------------------------------------------------------
// BLASTBufferItemConsumer

void BLASTBufferItemConsumer::onDisconnect() {
    Mutex::Autolock lock(mMutex);
    mPreviouslyConnected = mCurrentlyConnected;
    mCurrentlyConnected = false;
    if (mPreviouslyConnected) mDisconnectEvents.push(mCurrentFrameNumber);
}

void BLASTBufferItemConsumer::getConnectionEvents(uint64_t frameNumber, bool* needsDisconnect) {
    bool disconnect = false;
    Mutex::Autolock lock(mMutex);
    while (!mDisconnectEvents.empty() && mDisconnectEvents.front() <= frameNumber) {
        disconnect = true;
        mDisconnectEvents.pop();
    }
    if (needsDisconnect != nullptr) *needsDisconnect = disconnect;
}

void BLASTBufferItemConsumer::onSidebandStreamChanged() {}

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
    createBufferQueue(&mProducer, &mConsumer);
    // The producer is in this process: its dequeueBuffer() blocks until a slot is free.
    mProducer->setDequeueTimeout(std::numeric_limits<int64_t>::max());
    // A safe default; most producers set their own.
    mProducer->setMaxDequeuedBufferCount(2);
    mBufferItemConsumer = new BLASTBufferItemConsumer(
        mConsumer, GraphicBuffer::USAGE_HW_COMPOSER | GraphicBuffer::USAGE_HW_TEXTURE, 1, false,
        this);
    static std::atomic<uint32_t> nextId = 0;
    mProducerId = nextId++;
    mName = name + "#" + std::to_string(mProducerId);
    const std::string consumerName = mName + "(BLAST Consumer)" + std::to_string(mProducerId);
    mQueuedBufferTrace = "QueuedBuffer - " + mName + "BLAST#" + std::to_string(mProducerId);
    mBufferItemConsumer->setName(String8(consumerName.c_str()));
    mBufferItemConsumer->setFrameAvailableListener(this);

    // The compositor says how many buffers a layer may hold; the host compositor allows one.
    mBufferItemConsumer->setMaxAcquiredBufferCount(mMaxAcquiredBuffers);
    std::lock_guard<std::mutex> lock(mMutex);
    mCurrentMaxAcquiredBufferCount = mMaxAcquiredBuffers;
    mNumAcquired = 0;
    mNumFrameAvailable = 0;
}

BLASTBufferQueue::BLASTBufferQueue(const std::string& name, const sp<SurfaceControl>& surface,
                                   int width, int height, int32_t format)
    : BLASTBufferQueue(name) {
    update(surface, width, height, format);
}

BLASTBufferQueue::~BLASTBufferQueue() {
#ifdef TALVEX_LIBGUI_HOOKS
    // No dump may read this queue once its members go. Unregister it; a trigger that copied the
    // registration queues its dump with the core's lock held, so taking that lock (query does)
    // waits for it; then wait for the dumper thread to run every dump queued so far.
    getBufferQueueHelper()->clearRegisteredCallback(mCore.get());
    int talvexUnused = 0;
    mProducer->query(NATIVE_WINDOW_WIDTH, &talvexUnused);
    auto talvexDrained = std::make_shared<std::promise<void>>();
    std::future<void> talvexDone = talvexDrained->get_future();
    getFrameRecordIns()->pushTaskAndStart([talvexDrained] { talvexDrained->set_value(); });
    talvexDrained.reset();  // a dropped task breaks the promise, which ends the wait too
    talvexDone.wait();
    if (mSurfaceControl != nullptr) {
        getFrameRecordIns()->clearFrameContent(mSurfaceControl->getLayerId(), this);
    }
#endif
    // Held transactions still go to the compositor, and a pending sync still gets its callback.
    std::function<void(SurfaceComposerClient::Transaction*)> readyCallback;
    SurfaceComposerClient::Transaction* syncTransaction = nullptr;
    SurfaceComposerClient::Transaction t;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mPendingTransactions.empty()) return;
        mergePendingTransactions(&t, std::numeric_limits<uint64_t>::max());
        readyCallback = mTransactionReadyCallback;
        syncTransaction = mSyncTransaction;
    }
    t.apply(false, true);
    if (readyCallback) readyCallback(syncTransaction);
}

void BLASTBufferQueue::update(const sp<SurfaceControl>& surface, uint32_t width, uint32_t height,
                              int32_t format) {
    LOG_ALWAYS_FATAL_IF(surface == nullptr, "BLASTBufferQueue: mSurfaceControl must not be NULL");
    std::lock_guard<std::mutex> lock(mMutex);
    if (mFormat != format) {
        mFormat = format;
        mBufferItemConsumer->setDefaultBufferFormat(convertBufferFormat(format));
    }
    const bool surfaceControlChanged = !SurfaceControl::isSameSurface(mSurfaceControl, surface);
    bool applyTransaction = false;
#ifdef TALVEX_LIBGUI_HOOKS
    // A queue may be dumped once it has a layer: register its core with its first surface.
    if (mSurfaceControl == nullptr) {
        getBufferQueueHelper()->registerBBQDumpCallback(mCore.get(), this);
    }
#endif
    // Always take the new object: it carries the window manager's latest transform hint.
    mSurfaceControl = surface;
#ifdef TALVEX_LIBGUI_HOOKS
    getFrameRecordIns()->updateFrameAndGetContent(mSurfaceControl.get(), mName, this);
#endif
    SurfaceComposerClient::Transaction t;
    if (surfaceControlChanged) applyTransaction = true;
    mTransformHint = mSurfaceControl->getTransformHint();
    mBufferItemConsumer->setTransformHint(mTransformHint);

    const ui::Size newSize(width, height);
    if (mRequestedSize != newSize) {
        mRequestedSize.set(newSize);
#ifdef TALVEX_LIBGUI_HOOKS
        // Capped before the consumer takes it, so that no buffer is ever made at the size asked
        // for. The limiter compares with a copy of the request, not with mSize: it caps every
        // over-sized request, a repeated one too.
        ui::Size talvexCapped = mRequestedSize;
        getBufferQueueHelper()->resetBBQRequestSize(
            &mRequestedSize, &talvexCapped, static_cast<ConsumerBase*>(mBufferItemConsumer.get()),
            1, 1);
#endif
        mBufferItemConsumer->setDefaultBufferSize(mRequestedSize.width, mRequestedSize.height);
        // A buffer that scales can show the new size at once; a frozen one waits for a buffer
        // of that size.
        if (mLastBufferInfo.scalingMode != NATIVE_WINDOW_SCALING_MODE_FREEZE) {
            mSize = mRequestedSize;
            if (mUpdateDestinationFrame) applyTransaction = true;
        }
    }
    if (applyTransaction) t.apply(false, true);
}

namespace {

std::optional<SurfaceControlStats> findMatchingStat(const std::vector<SurfaceControlStats>& stats,
                                                    const sp<SurfaceControl>& sc) {
    for (const auto& stat : stats) {
        if (SurfaceControl::isSameSurface(sc, stat.surfaceControl)) return stat;
    }
    return std::nullopt;
}

// The queue stays alive until each callback it registered has come back (the incStrong at
// registration is balanced in the callback).
void transactionCommittedCallbackThunk(void* context, nsecs_t latchTime,
                                       const sp<Fence>& presentFence,
                                       const std::vector<SurfaceControlStats>& stats) {
    if (context == nullptr) return;
    sp<BLASTBufferQueue> bq = static_cast<BLASTBufferQueue*>(context);
    bq->transactionCommittedCallback(latchTime, presentFence, stats);
}

void transactionCallbackThunk(void* context, nsecs_t latchTime, const sp<Fence>& presentFence,
                              const std::vector<SurfaceControlStats>& stats) {
    if (context == nullptr) return;
    sp<BLASTBufferQueue> bq = static_cast<BLASTBufferQueue*>(context);
    bq->transactionCallback(latchTime, presentFence, stats);
}

// A release does not keep the queue alive: a queue that is gone has given its buffers back.
void releaseBufferCallbackThunk(wp<BLASTBufferQueue> context, const ReleaseCallbackId& id,
                                const sp<Fence>& releaseFence,
                                std::optional<uint32_t> currentMaxAcquiredBufferCount) {
    if (sp<BLASTBufferQueue> blastBufferQueue = context.promote()) {
        blastBufferQueue->releaseBufferCallback(id, releaseFence, currentMaxAcquiredBufferCount);
    }
}

ui::Size getBufferSize(const BufferItem& item) {
    uint32_t bufWidth = item.mGraphicBuffer->getWidth();
    uint32_t bufHeight = item.mGraphicBuffer->getHeight();
    if (item.mTransform & NATIVE_WINDOW_TRANSFORM_ROT_90) std::swap(bufWidth, bufHeight);
    return ui::Size(bufWidth, bufHeight);
}

}  // namespace

void BLASTBufferQueue::transactionCommittedCallback(nsecs_t /*latchTime*/,
                                                    const sp<Fence>& /*presentFence*/,
                                                    const std::vector<SurfaceControlStats>& stats) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (!mSurfaceControlsWithPendingCallback.empty()) {
        const sp<SurfaceControl> pendingSC = mSurfaceControlsWithPendingCallback.front();
        if (std::optional<SurfaceControlStats> stat = findMatchingStat(stats, pendingSC)) {
            const uint64_t currFrameNumber = stat->frameEventStats.frameNumber;
            // Frames held behind a sync go once no synced frame waits for its commit.
            mSyncedFrameNumbers.erase(currFrameNumber);
            TALVEX_FRAME_EVENT(currFrameNumber, FrameType::transactionCommittedCallback);
            if (mSyncedFrameNumbers.empty()) flushShadowQueue();
        }
    }
    decStrong(reinterpret_cast<void*>(transactionCommittedCallbackThunk));
}

void BLASTBufferQueue::transactionCallback(nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                                           const std::vector<SurfaceControlStats>& stats) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (!mSurfaceControlsWithPendingCallback.empty()) {
        const sp<SurfaceControl> pendingSC = mSurfaceControlsWithPendingCallback.front();
        mSurfaceControlsWithPendingCallback.pop();
        if (std::optional<SurfaceControlStats> statsOptional = findMatchingStat(stats, pendingSC)) {
            const SurfaceControlStats& stat = *statsOptional;
            TALVEX_FRAME_EVENT(stat.frameEventStats.frameNumber, FrameType::transactionCallback);
            if (stat.transformHint) {
                mTransformHint = *stat.transformHint;
                mBufferItemConsumer->setTransformHint(mTransformHint);
            }
            // A completed frame means every older submitted buffer is off screen: release those
            // whose own release has not come, so a lost release cannot hold a buffer.
            const uint64_t currFrameNumber = stat.frameEventStats.frameNumber;
            std::vector<ReleaseCallbackId> staleReleases;
            for (const auto& [key, value] : mSubmitted) {
                if (currFrameNumber > key.framenumber) staleReleases.push_back(key);
            }
            for (const auto& staleRelease : staleReleases) {
                releaseBufferCallbackLocked(
                    staleRelease,
                    stat.previousReleaseFence ? stat.previousReleaseFence : Fence::NO_FENCE,
                    stat.currentMaxAcquiredBufferCount, true /* fakeRelease */);
            }
        }
    }
    decStrong(reinterpret_cast<void*>(transactionCallbackThunk));
}

void BLASTBufferQueue::flushShadowQueue() {
    int numFramesToFlush = mNumFrameAvailable;
    while (numFramesToFlush > 0) {
        acquireNextBufferLocked(std::nullopt);
        numFramesToFlush--;
    }
}

void BLASTBufferQueue::releaseBufferCallback(const ReleaseCallbackId& id,
                                             const sp<Fence>& releaseFence,
                                             std::optional<uint32_t> currentMaxAcquiredBufferCount) {
    std::lock_guard<std::mutex> lock(mMutex);
    releaseBufferCallbackLocked(id, releaseFence, currentMaxAcquiredBufferCount,
                                false /* fakeRelease */);
}

void BLASTBufferQueue::releaseBufferCallbackLocked(
    const ReleaseCallbackId& id, const sp<Fence>& releaseFence,
    std::optional<uint32_t> currentMaxAcquiredBufferCount, bool fakeRelease) {
    // An EGL producer at a refresh rate below the display's keeps buffers back to keep its
    // latency; other producers get every buffer back at once.
    const auto it = mSubmitted.find(id);
    const bool isEGL = it != mSubmitted.end() && it->second.mApi == NATIVE_WINDOW_API_EGL;
    if (currentMaxAcquiredBufferCount) {
        mCurrentMaxAcquiredBufferCount = *currentMaxAcquiredBufferCount;
    }
    const uint32_t numPendingBuffersToHold =
        isEGL
            ? std::max(0, mMaxAcquiredBuffers - static_cast<int32_t>(mCurrentMaxAcquiredBufferCount))
            : 0;

    const ReleasedBuffer rb{id, releaseFence};
    if (std::find(mPendingRelease.begin(), mPendingRelease.end(), rb) == mPendingRelease.end()) {
        mPendingRelease.emplace_back(rb);
        TALVEX_FRAME_EVENT(id.framenumber, fakeRelease ? FrameType::FakeReleaseCallback
                                                       : FrameType::releaseBufferCallback);
    }

    while (mPendingRelease.size() > numPendingBuffersToHold) {
        const auto releasedBuffer = mPendingRelease.front();
        mPendingRelease.pop_front();
        releaseBuffer(releasedBuffer.callbackId, releasedBuffer.releaseFence);
        // While synced frames wait, onFrameAvailable() takes the buffers, into the sync.
        if (mSyncedFrameNumbers.empty()) acquireNextBufferLocked(std::nullopt);
    }
    mCallbackCV.notify_all();
}

void BLASTBufferQueue::releaseBuffer(const ReleaseCallbackId& callbackId,
                                     const sp<Fence>& releaseFence) {
    auto it = mSubmitted.find(callbackId);
    if (it == mSubmitted.end()) return;
    mNumAcquired--;
    TALVEX_FRAME_EVENT(callbackId.framenumber, FrameType::releaseBufferBBQ);
    mBufferItemConsumer->releaseBuffer(it->second, releaseFence);
    mSubmitted.erase(it);
    // A dropped buffer gets a release without a commit: it is no longer synced either.
    mSyncedFrameNumbers.erase(callbackId.framenumber);
}

status_t BLASTBufferQueue::acquireNextBufferLocked(
    const std::optional<SurfaceComposerClient::Transaction*> transaction) {
    if (mNumFrameAvailable == 0) return BufferQueue::NO_BUFFER_AVAILABLE;
    // The consumer may hold two buffers over the compositor's maximum.
    if (mNumAcquired >= (mMaxAcquiredBuffers + 2)) return BufferQueue::NO_BUFFER_AVAILABLE;
    if (mSurfaceControl == nullptr) return NAME_NOT_FOUND;

    SurfaceComposerClient::Transaction localTransaction;
    bool applyTransaction = true;
    SurfaceComposerClient::Transaction* t = &localTransaction;
    if (transaction) {
        t = *transaction;
        applyTransaction = false;
    }

    BufferItem bufferItem;
    const status_t status =
        mBufferItemConsumer->acquireBuffer(&bufferItem, 0 /* expectedPresent */, false);
    if (status != OK) return status;

    auto buffer = bufferItem.mGraphicBuffer;
    mNumFrameAvailable--;
    if (buffer == nullptr) {
        mBufferItemConsumer->releaseBuffer(bufferItem, Fence::NO_FENCE);
        return BAD_VALUE;
    }
    if (rejectBuffer(bufferItem)) {
        mBufferItemConsumer->releaseBuffer(bufferItem, Fence::NO_FENCE);
        return acquireNextBufferLocked(transaction);
    }

    mNumAcquired++;
    mLastAcquiredFrameNumber = bufferItem.mFrameNumber;
    TALVEX_FRAME_EVENT(bufferItem.mFrameNumber, FrameType::acquireNextBuffer);
    const ReleaseCallbackId releaseCallbackId(buffer->getId(), mLastAcquiredFrameNumber);
    mSubmitted[releaseCallbackId] = bufferItem;

    bool needsDisconnect = false;
    mBufferItemConsumer->getConnectionEvents(bufferItem.mFrameNumber, &needsDisconnect);

    // Stays alive until the completion comes back (transactionCallback() balances it).
    incStrong(reinterpret_cast<void*>(transactionCallbackThunk));

    // mSize follows the request once a buffer of that size arrives (or the buffer scales).
    if (mRequestedSize == getBufferSize(bufferItem) ||
        bufferItem.mScalingMode != NATIVE_WINDOW_SCALING_MODE_FREEZE) {
        mSize = mRequestedSize;
    }
    const Rect crop = computeCrop(bufferItem);
    mLastBufferInfo.update(true /* hasBuffer */, bufferItem.mGraphicBuffer->getWidth(),
                           bufferItem.mGraphicBuffer->getHeight(), bufferItem.mTransform,
                           bufferItem.mScalingMode, crop);

    const wp<BLASTBufferQueue> weakThis(this);
    auto releaseBufferCallback = [weakThis](const ReleaseCallbackId& id,
                                            const sp<Fence>& releaseFence,
                                            std::optional<uint32_t> currentMaxAcquiredBufferCount) {
        releaseBufferCallbackThunk(weakThis, id, releaseFence, currentMaxAcquiredBufferCount);
    };
    const sp<Fence> fence = bufferItem.mFence ? bufferItem.mFence : Fence::NO_FENCE;
    t->setBuffer(mSurfaceControl, buffer, fence, bufferItem.mFrameNumber, mProducerId,
                 releaseBufferCallback);
    t->addTransactionCompletedCallback(transactionCallbackThunk, static_cast<void*>(this));
    mSurfaceControlsWithPendingCallback.push(mSurfaceControl);

    {
        std::lock_guard<std::mutex> timestampLock(mTimestampMutex);
        mDequeueTimestamps.erase(buffer->getId());
    }

    mergePendingTransactions(t, bufferItem.mFrameNumber);
    if (applyTransaction) {
        // One way, on the queue's own token.
        t->apply(false, true);
        mAppliedLastTransaction = true;
        mLastAppliedFrameNumber = bufferItem.mFrameNumber;
        TALVEX_FRAME_EVENT(bufferItem.mFrameNumber, FrameType::apply);
    } else {
        mAppliedLastTransaction = false;
    }
    return OK;
}

Rect BLASTBufferQueue::computeCrop(const BufferItem& item) {
    // The host draws no pixels: a crop that scales down is not computed.
    return item.mCrop;
}

void BLASTBufferQueue::acquireAndReleaseBuffer() {
    BufferItem bufferItem;
    const status_t status =
        mBufferItemConsumer->acquireBuffer(&bufferItem, 0 /* expectedPresent */, false);
    if (status != OK) return;
    mNumFrameAvailable--;
    TALVEX_FRAME_EVENT(bufferItem.mFrameNumber, FrameType::acquireAndReleaseBuffer);
    mBufferItemConsumer->releaseBuffer(bufferItem, bufferItem.mFence);
}

void BLASTBufferQueue::onFrameAvailable(const BufferItem& item) {
    std::function<void(SurfaceComposerClient::Transaction*)> prevCallback = nullptr;
    SurfaceComposerClient::Transaction* prevTransaction = nullptr;
    {
        std::unique_lock<std::mutex> lock{mMutex};
        base::ScopedLockAssertion assumeLocked(mMutex);
        const bool waitForTransactionCallback = !mSyncedFrameNumbers.empty();
        const bool syncTransactionSet = mTransactionReadyCallback != nullptr;

        if (syncTransactionSet) {
            if (waitForTransactionCallback) {
                // A sync waits for the previous one's commit: drop the frames queued between
                // the two, so that the new sync takes the newest frame.
                while (mNumFrameAvailable > 0) acquireAndReleaseBuffer();
            } else {
                // The sync must take this very frame: wait until no older one is queued.
                while (mNumFrameAvailable > 0) {
                    ++mHostWaitsEntered;  // host only: see hostWaitsEntered()
                    mCallbackCV.wait(lock);
                }
            }
        }

        mNumFrameAvailable++;
        // Behind a pending sync commit, keep only the newest queued frame.
        if (waitForTransactionCallback && mNumFrameAvailable >= 2) acquireAndReleaseBuffer();
        TALVEX_FRAME_EVENT(item.mFrameNumber,
                           FrameStartStatus{syncTransactionSet, waitForTransactionCallback,
                                            mNumFrameAvailable, mNumAcquired, 0});
        TALVEX_FRAME_EVENT(item.mFrameNumber, FrameType::onFrameAvailable);

        if (syncTransactionSet) {
            // Marked synced before any wait, so a release meanwhile leaves the frame to the sync.
            mSyncedFrameNumbers.emplace(item.mFrameNumber);
            TALVEX_FRAME_EVENT(item.mFrameNumber, FrameType::syncNextTransaction);
            // A sync is promised a buffer: wait for one rather than hand it over empty.
            while (acquireNextBufferLocked(mSyncTransaction) == BufferQueue::NO_BUFFER_AVAILABLE) {
                ++mHostWaitsEntered;  // host only: see hostWaitsEntered()
                mCallbackCV.wait(lock);
            }
            // A commit callback tells when the synced frame reached the compositor.
            incStrong(reinterpret_cast<void*>(transactionCommittedCallbackThunk));
            mSyncTransaction->addTransactionCommittedCallback(transactionCommittedCallbackThunk,
                                                              static_cast<void*>(this));
            if (mAcquireSingleBuffer) {
                prevCallback = mTransactionReadyCallback;
                prevTransaction = mSyncTransaction;
                mTransactionReadyCallback = nullptr;
                mSyncTransaction = nullptr;
            }
        } else if (!waitForTransactionCallback) {
            acquireNextBufferLocked(std::nullopt);
        }
    }
    if (prevCallback) prevCallback(prevTransaction);
}

void BLASTBufferQueue::onFrameReplaced(const BufferItem& /*item*/) {
    // The replaced frame was never counted apart: nothing to do.
}

void BLASTBufferQueue::onFrameDequeued(const uint64_t bufferId) {
    std::lock_guard<std::mutex> lock(mTimestampMutex);
    mDequeueTimestamps[bufferId] = systemTime();
}

void BLASTBufferQueue::onFrameCancelled(const uint64_t bufferId) {
    std::lock_guard<std::mutex> lock(mTimestampMutex);
    mDequeueTimestamps.erase(bufferId);
}

bool BLASTBufferQueue::syncNextTransaction(
    std::function<void(SurfaceComposerClient::Transaction*)> callback, bool acquireSingleBuffer) {
    LOG_ALWAYS_FATAL_IF(!callback,
                        "BLASTBufferQueue: callback passed in to syncNextTransaction "
                        "must not be NULL");
    std::lock_guard<std::mutex> lock(mMutex);
    if (mTransactionReadyCallback) return false;
    mTransactionReadyCallback = callback;
    mSyncTransaction = new SurfaceComposerClient::Transaction();
    mAcquireSingleBuffer = acquireSingleBuffer;
    return true;
}

void BLASTBufferQueue::stopContinuousSyncTransaction() {
    std::function<void(SurfaceComposerClient::Transaction*)> prevCallback = nullptr;
    SurfaceComposerClient::Transaction* prevTransaction = nullptr;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (mAcquireSingleBuffer || !mTransactionReadyCallback) return;
        prevCallback = mTransactionReadyCallback;
        prevTransaction = mSyncTransaction;
        mTransactionReadyCallback = nullptr;
        mSyncTransaction = nullptr;
        mAcquireSingleBuffer = true;
    }
    if (prevCallback) prevCallback(prevTransaction);
}

void BLASTBufferQueue::clearSyncTransaction() {
    std::lock_guard<std::mutex> lock(mMutex);
    if (!mAcquireSingleBuffer) return;
    mTransactionReadyCallback = nullptr;
    mSyncTransaction = nullptr;
}

bool BLASTBufferQueue::rejectBuffer(const BufferItem& item) {
    // Only frozen buffers are rejected, and only if their size is neither the layer's nor the
    // requested one.
    if (item.mScalingMode != NATIVE_WINDOW_SCALING_MODE_FREEZE) return false;
    const ui::Size bufferSize = getBufferSize(item);
    if (mRequestedSize != mSize && mRequestedSize == bufferSize) return false;
    return mSize != bufferSize;
}

void BLASTBufferQueue::mergeWithNextTransaction(SurfaceComposerClient::Transaction* t,
                                                uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mLastAcquiredFrameNumber >= frameNumber) {
        // The frame is acquired already.
        t->apply();
    } else {
        mPendingTransactions.emplace_back(frameNumber, *t);
        // Cleared so that it cannot be applied elsewhere too.
        t->clear();
    }
}

void BLASTBufferQueue::applyPendingTransactions(uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    SurfaceComposerClient::Transaction t;
    mergePendingTransactions(&t, frameNumber);
    t.apply(false, true);
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

SurfaceComposerClient::Transaction* BLASTBufferQueue::gatherPendingTransactions(uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    SurfaceComposerClient::Transaction* t = new SurfaceComposerClient::Transaction();
    mergePendingTransactions(t, frameNumber);
    return t;
}

void BLASTBufferQueue::createBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                                         sp<IGraphicBufferConsumer>* outConsumer) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    mCore = core;
    *outProducer = new BufferQueueProducer(core, false /* consumerIsSurfaceFlinger */);
    sp<BufferQueueConsumer> consumer(new BufferQueueConsumer(core));
    consumer->setAllowExtraAcquire(true);
    *outConsumer = consumer;
}

PixelFormat BLASTBufferQueue::convertBufferFormat(PixelFormat& format) {
    switch (format) {
        case PIXEL_FORMAT_TRANSPARENT:
        case PIXEL_FORMAT_TRANSLUCENT:
            return PIXEL_FORMAT_RGBA_8888;
        case PIXEL_FORMAT_OPAQUE:
            return PIXEL_FORMAT_RGBX_8888;
        default:
            return format;
    }
}

uint32_t BLASTBufferQueue::getLastTransformHint() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mSurfaceControl != nullptr ? mSurfaceControl->getTransformHint() : 0;
}

uint64_t BLASTBufferQueue::getLastAcquiredFrameNum() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLastAcquiredFrameNumber;
}

bool BLASTBufferQueue::isSameSurfaceControl(const sp<SurfaceControl>& surfaceControl) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return SurfaceControl::isSameSurface(mSurfaceControl, surfaceControl);
}

// ---------------------------------------------------------------------------
// Host only

void BLASTBufferQueue::hostSetFrameCounts(int32_t numFrameAvailable, int32_t numAcquired) {
    std::lock_guard<std::mutex> lock(mMutex);
    mNumFrameAvailable = numFrameAvailable;
    mNumAcquired = numAcquired;
}

void BLASTBufferQueue::hostSetMaxAcquiredBuffers(int32_t maxAcquiredBuffers) {
    std::lock_guard<std::mutex> lock(mMutex);
    mMaxAcquiredBuffers = maxAcquiredBuffers;
    mCurrentMaxAcquiredBufferCount = maxAcquiredBuffers;
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

void BLASTBufferQueue::hostAddPendingTransaction(
    uint64_t frameNumber, const SurfaceComposerClient::Transaction& transaction) {
    std::lock_guard<std::mutex> lock(mMutex);
    mPendingTransactions.emplace_back(frameNumber, transaction);
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

uint64_t BLASTBufferQueue::hostWaitsEntered() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mHostWaitsEntered;
}

bool BLASTBufferQueue::hostQueueMayWait() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mTransactionReadyCallback != nullptr || !mSyncedFrameNumbers.empty();
}

void BLASTBufferQueue::hostWakeWaiters() {
    std::lock_guard<std::mutex> lock(mMutex);
    mCallbackCV.notify_all();
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
    for (const auto& [id, item] : mSubmitted) snap.submittedFrames.push_back(id.framenumber);
    std::sort(snap.submittedFrames.begin(), snap.submittedFrames.end());
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
