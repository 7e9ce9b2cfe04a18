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

#define LOG_TAG "BufferQueueProducer"

#include <gui/BufferQueueProducer.h>
#include <system/window.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

#ifdef TALVEX_LIBGUI_HOOKS
#include <libgui_interface/hook/IBufferQueueHelper.h>

#include <limits>
#endif

namespace android {

namespace {
// Every buffer of a host queue has a single layer.
constexpr uint32_t kLayerCount = 1;
// A hundred years: longer than any wait, short enough that now + it fits in the clock.
constexpr nsecs_t kHostLongestWait = 100LL * 365 * 24 * 3600 * 1000000000LL;
}  // namespace

#ifdef TALVEX_LIBGUI_HOOKS
using libgui_interface::hook::getBufferQueueHelper;

// A producer that finds no free slot for this long is starved, not paced by its consumer (which
// holds it back a frame or two): its queue is dumped, once per wait.
static constexpr nsecs_t kTalvexStallBound = 1000000000;  // 1 s

// Called with the core's lock in `lock` while a dequeue finds no free slot. Dumps the queue once
// the wait has lasted kTalvexStallBound. A wait that would outlast the bound (a BLAST queue's
// producer waits without end) first waits only until it and returns true, so that the caller
// looks for a slot again, as after any wake-up.
static bool talvexWatchStallLocked(BufferQueueCore* core, std::condition_variable& dequeueCondition,
                                   std::unique_lock<std::mutex>& lock, nsecs_t dequeueTimeout,
                                   nsecs_t* waitStart, bool* dumped) {
    const nsecs_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    if (*waitStart == 0) *waitStart = now;
    if (*dumped) return false;
    const nsecs_t left = *waitStart + kTalvexStallBound - now;
    if (left <= 0) {
        // A stall dumps in full, whatever dumped the queue before it.
        *dumped = true;
        getBufferQueueHelper()->setBBQDumpFlag(core, true);
        getBufferQueueHelper()->dumpBQAllFrameState(core);
        return false;
    }
    if (dequeueTimeout >= 0 && dequeueTimeout <= left) return false;
    dequeueCondition.wait_for(lock, std::chrono::nanoseconds(left));
    return true;
}
#endif

BufferQueueProducer::BufferQueueProducer(const sp<BufferQueueCore>& core,
                                         bool consumerIsSurfaceFlinger)
    : mCore(core),
      mSlots(core->mSlots),
      mConsumerName(),
      mStickyTransform(0),
      mConsumerIsSurfaceFlinger(consumerIsSurfaceFlinger),
      mLastQueueBufferFence(Fence::NO_FENCE),
      mLastQueuedTransform(0),
      mCallbackMutex(),
      mNextCallbackTicket(0),
      mCurrentCallbackTicket(0),
      mCallbackCondition(),
      mDequeueTimeout(-1),
      mDequeueWaitingForAllocation(false) {}

BufferQueueProducer::~BufferQueueProducer() = default;

status_t BufferQueueProducer::requestBuffer(int slot, sp<GraphicBuffer>* buf) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    if (mCore->mIsAbandoned) return NO_INIT;
    if (mCore->mConnectedApi == BufferQueueCore::NO_CONNECTED_API) return NO_INIT;
    if (slot < 0 || slot >= BufferQueueDefs::NUM_BUFFER_SLOTS) return BAD_VALUE;
    if (!mSlots[slot].mBufferState.isDequeued()) return BAD_VALUE;
    mSlots[slot].mRequestBufferCalled = true;
    *buf = mSlots[slot].mGraphicBuffer;
    return NO_ERROR;
}

status_t BufferQueueProducer::setMaxDequeuedBufferCount(int maxDequeuedBuffers) {
    int maxBufferCount;
    return setMaxDequeuedBufferCount(maxDequeuedBuffers, &maxBufferCount);
}

status_t BufferQueueProducer::setMaxDequeuedBufferCount(int maxDequeuedBuffers,
                                                        int* maxBufferCount) {
    sp<IConsumerListener> listener;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        mCore->waitWhileAllocatingLocked(lock);
        if (mCore->mIsAbandoned) return NO_INIT;
        *maxBufferCount = mCore->getMaxBufferCountLocked();
        if (maxDequeuedBuffers == mCore->mMaxDequeuedBufferCount) return NO_ERROR;

        int dequeuedCount = 0;
        for (int s : mCore->mActiveBuffers) {
            if (mSlots[s].mBufferState.isDequeued()) dequeuedCount++;
        }
        if (dequeuedCount > maxDequeuedBuffers) return BAD_VALUE;

        const int bufferCount = mCore->getMinUndequeuedBufferCountLocked() + maxDequeuedBuffers;
        if (bufferCount > BufferQueueDefs::NUM_BUFFER_SLOTS) return BAD_VALUE;
        if (bufferCount < mCore->getMinMaxBufferCountLocked()) return BAD_VALUE;
        if (bufferCount > mCore->mMaxBufferCount) return BAD_VALUE;

        const int delta = maxDequeuedBuffers - mCore->mMaxDequeuedBufferCount;
        if (!mCore->adjustAvailableSlotsLocked(delta)) return BAD_VALUE;
        mCore->mMaxDequeuedBufferCount = maxDequeuedBuffers;
        *maxBufferCount = mCore->getMaxBufferCountLocked();
        if (delta < 0) listener = mCore->mConsumerListener;
        mCore->mDequeueCondition.notify_all();
    }
    if (listener != nullptr) listener->onBuffersReleased();
    return NO_ERROR;
}

status_t BufferQueueProducer::setAsyncMode(bool async) {
    sp<IConsumerListener> listener;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        mCore->waitWhileAllocatingLocked(lock);
        if (mCore->mIsAbandoned) return NO_INIT;
        if (async == mCore->mAsyncMode) return NO_ERROR;
        if (mCore->mMaxAcquiredBufferCount + mCore->mMaxDequeuedBufferCount +
                (async || mCore->mDequeueBufferCannotBlock ? 1 : 0) >
            mCore->mMaxBufferCount) {
            return BAD_VALUE;
        }
        const int delta = mCore->getMaxBufferCountLocked(async, mCore->mDequeueBufferCannotBlock,
                                                         mCore->mMaxBufferCount) -
                          mCore->getMaxBufferCountLocked();
        if (!mCore->adjustAvailableSlotsLocked(delta)) return BAD_VALUE;
        mCore->mAsyncMode = async;
        mCore->mDequeueCondition.notify_all();
        if (delta < 0) listener = mCore->mConsumerListener;
    }
    if (listener != nullptr) listener->onBuffersReleased();
    return NO_ERROR;
}

int BufferQueueProducer::getFreeBufferLocked() const {
    if (mCore->mFreeBuffers.empty()) return BufferQueueCore::INVALID_BUFFER_SLOT;
    const int slot = mCore->mFreeBuffers.front();
    mCore->mFreeBuffers.pop_front();
    return slot;
}

int BufferQueueProducer::getFreeSlotLocked() const {
    if (mCore->mFreeSlots.empty()) return BufferQueueCore::INVALID_BUFFER_SLOT;
    const int slot = *mCore->mFreeSlots.begin();
    mCore->mFreeSlots.erase(slot);
    return slot;
}

status_t BufferQueueProducer::waitForFreeSlotThenRelock(FreeSlotCaller caller,
                                                        std::unique_lock<std::mutex>& lock,
                                                        int* found) const {
#ifdef TALVEX_LIBGUI_HOOKS
    nsecs_t talvexWaitStart = 0;
    bool talvexDumped = false;
#endif
    bool tryAgain = true;
    while (tryAgain) {
        if (mCore->mIsAbandoned) return NO_INIT;

        int dequeuedCount = 0;
        int acquiredCount = 0;
        for (int s : mCore->mActiveBuffers) {
            if (mSlots[s].mBufferState.isDequeued()) ++dequeuedCount;
            if (mSlots[s].mBufferState.isAcquired()) ++acquiredCount;
        }
        // Once a buffer has been queued, the producer may not hold more than its maximum.
        if (mCore->mBufferHasBeenQueued && dequeuedCount >= mCore->mMaxDequeuedBufferCount) {
            return INVALID_OPERATION;
        }

        *found = BufferQueueCore::INVALID_BUFFER_SLOT;
        // After a quick disconnect and reconnect the queue may hold more buffers than slots:
        // wait for the consumer to drain it.
        const bool tooManyBuffers =
            mCore->mQueue.size() > static_cast<size_t>(mCore->getMaxBufferCountLocked());
        if (!tooManyBuffers) {
            if (mCore->mSharedBufferMode &&
                mCore->mSharedBufferSlot != BufferQueueCore::INVALID_BUFFER_SLOT) {
                *found = mCore->mSharedBufferSlot;
            } else if (caller == FreeSlotCaller::Dequeue) {
                // A dequeue prefers a slot that already has a buffer.
                const int slot = getFreeBufferLocked();
                if (slot != BufferQueueCore::INVALID_BUFFER_SLOT) {
                    *found = slot;
                } else if (mCore->mAllowAllocation) {
                    *found = getFreeSlotLocked();
                }
            } else {
                const int slot = getFreeSlotLocked();
                *found = slot != BufferQueueCore::INVALID_BUFFER_SLOT ? slot : getFreeBufferLocked();
            }
        }

        tryAgain = *found == BufferQueueCore::INVALID_BUFFER_SLOT || tooManyBuffers;
        if (tryAgain) {
            // A queue that may not block says so, unless the consumer holds an extra buffer
            // for a moment (an atomic acquire and release).
            if ((mCore->mDequeueBufferCannotBlock || mCore->mAsyncMode) &&
                acquiredCount <= mCore->mMaxAcquiredBufferCount) {
                return WOULD_BLOCK;
            }
            ++mCore->mHostWaitsEntered;  // host only: see BufferQueueCore::hostWaitsEntered()
#ifdef TALVEX_LIBGUI_HOOKS
            if (talvexWatchStallLocked(mCore.get(), mCore->mDequeueCondition, lock, mDequeueTimeout,
                                       &talvexWaitStart, &talvexDumped)) {
                continue;
            }
#endif
            if (mDequeueTimeout >= 0) {
                // Host only: libstdc++ overflows the deadline of a wait as long as a BLAST
                // queue's (INT64_MAX ns) and returns at once; libc++, a device's, clamps it.
                const std::cv_status result = mCore->mDequeueCondition.wait_for(
                    lock, std::chrono::nanoseconds(std::min(mDequeueTimeout, kHostLongestWait)));
                if (result == std::cv_status::timeout) return TIMED_OUT;
            } else {
                mCore->mDequeueCondition.wait(lock);
            }
        }
    }
    return NO_ERROR;
}

status_t BufferQueueProducer::dequeueBuffer(int* outSlot, sp<Fence>* outFence, uint32_t width,
                                            uint32_t height, PixelFormat format, uint64_t usage,
                                            uint64_t* outBufferAge,
                                            FrameEventHistoryDelta* /*outTimestamps*/) {
    {
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        mConsumerName = mCore->mConsumerName;
        if (mCore->mIsAbandoned) return NO_INIT;
        if (mCore->mConnectedApi == BufferQueueCore::NO_CONNECTED_API) return NO_INIT;
    }
    if ((width && !height) || (!width && height)) return BAD_VALUE;

    status_t returnFlags = NO_ERROR;
    bool attachedByConsumer = false;
    sp<IConsumerListener> listener;
    bool callOnFrameDequeued = false;
    uint64_t bufferId = 0;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        if (mCore->mFreeBuffers.empty() && mCore->mIsAllocating) {
            mDequeueWaitingForAllocation = true;
            mCore->waitWhileAllocatingLocked(lock);
            mDequeueWaitingForAllocation = false;
            mDequeueWaitingForAllocationCondition.notify_all();
        }
        if (format == 0) format = mCore->mDefaultBufferFormat;
        usage |= mCore->mConsumerUsageBits;
        if (!width && !height) {
            width = mCore->mDefaultWidth;
            height = mCore->mDefaultHeight;
        }

        int found = BufferItem::INVALID_BUFFER_SLOT;
        while (found == BufferItem::INVALID_BUFFER_SLOT) {
            const status_t status = waitForFreeSlotThenRelock(FreeSlotCaller::Dequeue, lock, &found);
            if (status != NO_ERROR) return status;
            if (found == BufferQueueCore::INVALID_BUFFER_SLOT) return -EBUSY;
            const sp<GraphicBuffer>& buffer(mSlots[found].mGraphicBuffer);
            // Without allocation, a buffer of the wrong shape goes and the search goes on.
            if (!mCore->mAllowAllocation &&
                buffer->needsReallocation(width, height, format, kLayerCount, usage)) {
                if (mCore->mSharedBufferSlot == found) return BAD_VALUE;
                mCore->mFreeSlots.insert(found);
                mCore->clearBufferSlotLocked(found);
                found = BufferItem::INVALID_BUFFER_SLOT;
            }
        }

        const sp<GraphicBuffer>& buffer(mSlots[found].mGraphicBuffer);
        if (mCore->mSharedBufferSlot == found &&
            buffer->needsReallocation(width, height, format, kLayerCount, usage)) {
            return BAD_VALUE;
        }
        if (mCore->mSharedBufferSlot != found) mCore->mActiveBuffers.insert(found);
        *outSlot = found;

        attachedByConsumer = mSlots[found].mNeedsReallocation;
        mSlots[found].mNeedsReallocation = false;
        mSlots[found].mBufferState.dequeue();

        if (buffer == nullptr ||
            buffer->needsReallocation(width, height, format, kLayerCount, usage)) {
            mSlots[found].mAcquireCalled = false;
            mSlots[found].mGraphicBuffer = nullptr;
            mSlots[found].mRequestBufferCalled = false;
            mSlots[found].mEglDisplay = EGL_NO_DISPLAY;
            mSlots[found].mEglFence = EGL_NO_SYNC_KHR;
            mSlots[found].mFence = Fence::NO_FENCE;
            mCore->mBufferAge = 0;
            mCore->mIsAllocating = true;
            returnFlags |= BUFFER_NEEDS_REALLOCATION;
        } else {
            mCore->mBufferAge = mCore->mFrameCounter + 1 - mSlots[found].mFrameNumber;
        }

        *outFence = (mCore->mSharedBufferMode && mCore->mSharedBufferSlot == found)
                        ? Fence::NO_FENCE
                        : mSlots[found].mFence;
        mSlots[found].mEglFence = EGL_NO_SYNC_KHR;
        mSlots[found].mFence = Fence::NO_FENCE;

        if (mCore->mSharedBufferMode &&
            mCore->mSharedBufferSlot == BufferQueueCore::INVALID_BUFFER_SLOT) {
            mCore->mSharedBufferSlot = found;
            mSlots[found].mBufferState.mShared = true;
        }
        if (!(returnFlags & BUFFER_NEEDS_REALLOCATION)) {
            callOnFrameDequeued = true;
            bufferId = mSlots[*outSlot].mGraphicBuffer->getId();
        }
        listener = mCore->mConsumerListener;
    }

    if (returnFlags & BUFFER_NEEDS_REALLOCATION) {
        // Allocated outside the lock, as libgui does: other dequeues wait for it.
        sp<GraphicBuffer> graphicBuffer =
            new GraphicBuffer(width, height, format, kLayerCount, usage, mConsumerName.c_str());
        const status_t error = graphicBuffer->initCheck();
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        if (error == NO_ERROR && !mCore->mIsAbandoned) {
            mSlots[*outSlot].mGraphicBuffer = graphicBuffer;
            callOnFrameDequeued = true;
            bufferId = graphicBuffer->getId();
        }
        mCore->mIsAllocating = false;
        mCore->mIsAllocatingCondition.notify_all();
        if (error != NO_ERROR || mCore->mIsAbandoned) {
            mCore->mFreeSlots.insert(*outSlot);
            mCore->clearBufferSlotLocked(*outSlot);
            return error != NO_ERROR ? error : NO_INIT;
        }
    }

    if (listener != nullptr && callOnFrameDequeued) listener->onFrameDequeued(bufferId);
    if (attachedByConsumer) returnFlags |= BUFFER_NEEDS_REALLOCATION;
    if (outBufferAge != nullptr) *outBufferAge = mCore->mBufferAge;
    return returnFlags;
}

status_t BufferQueueProducer::queueBuffer(int slot, const QueueBufferInput& input,
                                          QueueBufferOutput* output) {
    const sp<Fence>& acquireFence = input.fence;
    if (acquireFence == nullptr) return BAD_VALUE;
    switch (input.scalingMode) {
        case NATIVE_WINDOW_SCALING_MODE_FREEZE:
        case NATIVE_WINDOW_SCALING_MODE_SCALE_TO_WINDOW:
        case NATIVE_WINDOW_SCALING_MODE_SCALE_CROP:
        case NATIVE_WINDOW_SCALING_MODE_NO_SCALE_CROP:
            break;
        default:
            return BAD_VALUE;
    }

    sp<IConsumerListener> frameAvailableListener;
    sp<IConsumerListener> frameReplacedListener;
    int callbackTicket = 0;
    BufferItem item;
    {
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        if (mCore->mIsAbandoned) return NO_INIT;
        if (mCore->mConnectedApi == BufferQueueCore::NO_CONNECTED_API) return NO_INIT;
        if (slot < 0 || slot >= BufferQueueDefs::NUM_BUFFER_SLOTS) return BAD_VALUE;
        if (!mSlots[slot].mBufferState.isDequeued()) return BAD_VALUE;
        if (!mSlots[slot].mRequestBufferCalled) return BAD_VALUE;

        if (mCore->mSharedBufferMode &&
            mCore->mSharedBufferSlot == BufferQueueCore::INVALID_BUFFER_SLOT) {
            mCore->mSharedBufferSlot = slot;
            mSlots[slot].mBufferState.mShared = true;
        }

        const sp<GraphicBuffer>& graphicBuffer(mSlots[slot].mGraphicBuffer);
        const Rect bufferRect(graphicBuffer->getWidth(), graphicBuffer->getHeight());
        // The crop must lie within the buffer.
        const Rect crop = input.crop;
        Rect croppedRect(Rect::EMPTY_RECT);
        crop.intersect(bufferRect, &croppedRect);
        if (croppedRect != crop) return BAD_VALUE;
        const android_dataspace dataSpace = input.dataSpace == HAL_DATASPACE_UNKNOWN
                                                ? mCore->mDefaultBufferDataSpace
                                                : input.dataSpace;

        mSlots[slot].mFence = acquireFence;
        mSlots[slot].mBufferState.queue();
        const uint64_t currentFrameNumber = ++mCore->mFrameCounter;
        mSlots[slot].mFrameNumber = currentFrameNumber;

        item.mAcquireCalled = mSlots[slot].mAcquireCalled;
        item.mGraphicBuffer = mSlots[slot].mGraphicBuffer;
        item.mCrop = crop;
        item.mTransform =
            input.transform & ~static_cast<uint32_t>(NATIVE_WINDOW_TRANSFORM_INVERSE_DISPLAY);
        item.mTransformToDisplayInverse =
            (input.transform & NATIVE_WINDOW_TRANSFORM_INVERSE_DISPLAY) != 0;
        item.mScalingMode = static_cast<uint32_t>(input.scalingMode);
        item.mTimestamp = input.timestamp;
        item.mIsAutoTimestamp = input.isAutoTimestamp;
        item.mDataSpace = dataSpace;
        item.mFrameNumber = currentFrameNumber;
        item.mSlot = slot;
        item.mFence = acquireFence;
        item.mIsDroppable = mCore->mAsyncMode ||
                            (mConsumerIsSurfaceFlinger && mCore->mQueueBufferCanDrop) ||
                            (mCore->mLegacyBufferDrop && mCore->mQueueBufferCanDrop) ||
                            (mCore->mSharedBufferMode && mCore->mSharedBufferSlot == slot);
        item.mQueuedBuffer = true;
        item.mAutoRefresh = mCore->mSharedBufferMode && mCore->mAutoRefresh;
        item.mApi = mCore->mConnectedApi;
        mStickyTransform = input.stickyTransform;

        output->bufferReplaced = false;
        if (mCore->mQueue.empty()) {
            mCore->mQueue.push_back(item);
            frameAvailableListener = mCore->mConsumerListener;
        } else {
            const BufferItem& last = mCore->mQueue.itemAt(mCore->mQueue.size() - 1);
            if (last.mIsDroppable) {
                // The newer buffer replaces the droppable last one, whose slot becomes free.
                if (!last.mIsStale) {
                    mSlots[last.mSlot].mBufferState.freeQueued();
                    if (!mCore->mSharedBufferMode && mSlots[last.mSlot].mBufferState.isFree()) {
                        mSlots[last.mSlot].mBufferState.mShared = false;
                    }
                    if (!mSlots[last.mSlot].mBufferState.isShared()) {
                        mCore->mActiveBuffers.erase(last.mSlot);
                        mCore->mFreeBuffers.push_back(last.mSlot);
                        output->bufferReplaced = true;
                    }
                }
                mCore->mQueue.editItemAt(mCore->mQueue.size() - 1) = item;
                frameReplacedListener = mCore->mConsumerListener;
            } else {
                mCore->mQueue.push_back(item);
                frameAvailableListener = mCore->mConsumerListener;
            }
        }

        mCore->mBufferHasBeenQueued = true;
        mCore->mDequeueCondition.notify_all();
        mCore->mLastQueuedSlot = slot;

        output->width = mCore->mDefaultWidth;
        output->height = mCore->mDefaultHeight;
        output->transformHint = mCore->mTransformHintInUse = mCore->mTransformHint;
        output->numPendingBuffers = static_cast<uint32_t>(mCore->mQueue.size());
        output->nextFrameNumber = mCore->mFrameCounter + 1;
        callbackTicket = mNextCallbackTicket++;
    }

    // Only the compositor gets the buffer itself; other consumers look it up by slot.
    if (!mConsumerIsSurfaceFlinger) item.mGraphicBuffer.clear();

    {
        // Tell the consumer in queue order, outside the core's lock.
        std::unique_lock<std::mutex> lock(mCallbackMutex);
        while (callbackTicket != mCurrentCallbackTicket) mCallbackCondition.wait(lock);
        if (frameAvailableListener != nullptr) {
            frameAvailableListener->onFrameAvailable(item);
        } else if (frameReplacedListener != nullptr) {
            frameReplacedListener->onFrameReplaced(item);
        }
        mLastQueueBufferFence = acquireFence;
        mLastQueuedCrop = item.mCrop;
        mLastQueuedTransform = item.mTransform;
        ++mCurrentCallbackTicket;
        mCallbackCondition.notify_all();
    }
    return NO_ERROR;
}

status_t BufferQueueProducer::cancelBuffer(int slot, const sp<Fence>& fence) {
    sp<IConsumerListener> listener;
    bool callOnFrameCancelled = false;
    uint64_t bufferId = 0;
    {
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        if (mCore->mIsAbandoned) return NO_INIT;
        if (mCore->mConnectedApi == BufferQueueCore::NO_CONNECTED_API) return NO_INIT;
        if (mCore->mSharedBufferMode) return BAD_VALUE;
        if (slot < 0 || slot >= BufferQueueDefs::NUM_BUFFER_SLOTS) return BAD_VALUE;
        if (!mSlots[slot].mBufferState.isDequeued()) return BAD_VALUE;
        if (fence == nullptr) return BAD_VALUE;

        mSlots[slot].mBufferState.cancel();
        if (!mCore->mSharedBufferMode && mSlots[slot].mBufferState.isFree()) {
            mSlots[slot].mBufferState.mShared = false;
        }
        if (!mSlots[slot].mBufferState.isShared()) {
            mCore->mActiveBuffers.erase(slot);
            mCore->mFreeBuffers.push_back(slot);
        }
        if (mSlots[slot].mGraphicBuffer != nullptr) {
            callOnFrameCancelled = true;
            bufferId = mSlots[slot].mGraphicBuffer->getId();
        }
        mSlots[slot].mFence = fence;
        mCore->mDequeueCondition.notify_all();
        listener = mCore->mConsumerListener;
    }
    if (listener != nullptr && callOnFrameCancelled) listener->onFrameCancelled(bufferId);
    return NO_ERROR;
}

int BufferQueueProducer::query(int what, int* outValue) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    if (outValue == nullptr) return BAD_VALUE;
    if (mCore->mIsAbandoned) return NO_INIT;
    switch (what) {
        case NATIVE_WINDOW_WIDTH:
            *outValue = static_cast<int>(mCore->mDefaultWidth);
            return NO_ERROR;
        case NATIVE_WINDOW_HEIGHT:
            *outValue = static_cast<int>(mCore->mDefaultHeight);
            return NO_ERROR;
        case NATIVE_WINDOW_FORMAT:
            *outValue = mCore->mDefaultBufferFormat;
            return NO_ERROR;
        default:
            return BAD_VALUE;
    }
}

status_t BufferQueueProducer::connect(const sp<IProducerListener>& listener, int api,
                                      bool producerControlledByApp, QueueBufferOutput* output) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mConsumerName = mCore->mConsumerName;
    if (mCore->mIsAbandoned) return NO_INIT;
    if (mCore->mConsumerListener == nullptr) return NO_INIT;
    if (output == nullptr) return BAD_VALUE;
    if (mCore->mConnectedApi != BufferQueueCore::NO_CONNECTED_API) return BAD_VALUE;

    const int delta =
        mCore->getMaxBufferCountLocked(
            mCore->mAsyncMode,
            mDequeueTimeout < 0 ? mCore->mConsumerControlledByApp && producerControlledByApp : false,
            mCore->mMaxBufferCount) -
        mCore->getMaxBufferCountLocked();
    if (!mCore->adjustAvailableSlotsLocked(delta)) return BAD_VALUE;

    status_t status = NO_ERROR;
    switch (api) {
        case NATIVE_WINDOW_API_EGL:
        case NATIVE_WINDOW_API_CPU:
        case NATIVE_WINDOW_API_MEDIA:
        case NATIVE_WINDOW_API_CAMERA:
            mCore->mConnectedApi = api;
            output->width = mCore->mDefaultWidth;
            output->height = mCore->mDefaultHeight;
            output->transformHint = mCore->mTransformHintInUse = mCore->mTransformHint;
            output->numPendingBuffers = static_cast<uint32_t>(mCore->mQueue.size());
            output->nextFrameNumber = mCore->mFrameCounter + 1;
            output->bufferReplaced = false;
            output->maxBufferCount = mCore->mMaxBufferCount;
            if (listener != nullptr) {
                mCore->mConnectedProducerListener = listener;
                mCore->mBufferReleasedCbEnabled = listener->needsReleaseNotify();
            }
            break;
        default:
            status = BAD_VALUE;
            break;
    }
    // Producer and consumer share the process on the host.
    mCore->mConnectedPid = getpid();
    mCore->mBufferHasBeenQueued = false;
    mCore->mDequeueBufferCannotBlock = false;
    mCore->mQueueBufferCanDrop = false;
    mCore->mLegacyBufferDrop = true;
    if (mCore->mConsumerControlledByApp && producerControlledByApp) {
        mCore->mDequeueBufferCannotBlock = mDequeueTimeout < 0;
        mCore->mQueueBufferCanDrop = mDequeueTimeout <= 0;
    }
    mCore->mAllowAllocation = true;
    return status;
}

status_t BufferQueueProducer::disconnect(int api, DisconnectMode mode) {
    status_t status = NO_ERROR;
    sp<IConsumerListener> listener;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        if (mode == DisconnectMode::AllLocal) {
            if (getpid() != mCore->mConnectedPid) return NO_ERROR;
            api = BufferQueueCore::CURRENTLY_CONNECTED_API;
        }
        mCore->waitWhileAllocatingLocked(lock);
        if (mCore->mIsAbandoned) return NO_ERROR;
        if (api == BufferQueueCore::CURRENTLY_CONNECTED_API) {
            api = mCore->mConnectedApi;
            if (api == BufferQueueCore::NO_CONNECTED_API) return NO_ERROR;
        }
        switch (api) {
            case NATIVE_WINDOW_API_EGL:
            case NATIVE_WINDOW_API_CPU:
            case NATIVE_WINDOW_API_MEDIA:
            case NATIVE_WINDOW_API_CAMERA:
                if (mCore->mConnectedApi == api) {
                    mCore->freeAllBuffersLocked();
                    mCore->mSharedBufferSlot = BufferQueueCore::INVALID_BUFFER_SLOT;
                    mCore->mLinkedToDeath = nullptr;
                    mCore->mConnectedProducerListener = nullptr;
                    mCore->mConnectedApi = BufferQueueCore::NO_CONNECTED_API;
                    mCore->mConnectedPid = -1;
                    mCore->mDequeueCondition.notify_all();
                    mCore->mAutoPrerotation = false;
                    listener = mCore->mConsumerListener;
                } else if (mCore->mConnectedApi == BufferQueueCore::NO_CONNECTED_API) {
                    status = NO_INIT;
                } else {
                    status = BAD_VALUE;
                }
                break;
            default:
                status = BAD_VALUE;
                break;
        }
    }
    if (listener != nullptr) {
        listener->onBuffersReleased();
        listener->onDisconnect();
    }
    return status;
}

String8 BufferQueueProducer::getConsumerName() const {
    return mConsumerName;
}

status_t BufferQueueProducer::setDequeueTimeout(nsecs_t timeout) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    const bool dequeueBufferCannotBlock = timeout >= 0 ? false : mCore->mDequeueBufferCannotBlock;
    const int delta = mCore->getMaxBufferCountLocked(mCore->mAsyncMode, dequeueBufferCannotBlock,
                                                     mCore->mMaxBufferCount) -
                      mCore->getMaxBufferCountLocked();
    if (!mCore->adjustAvailableSlotsLocked(delta)) return BAD_VALUE;
    mDequeueTimeout = timeout;
    mCore->mDequeueBufferCannotBlock = dequeueBufferCannotBlock;
    if (timeout > 0) mCore->mQueueBufferCanDrop = false;
    return NO_ERROR;
}

status_t BufferQueueProducer::getUniqueId(uint64_t* outId) const {
    *outId = mCore->mUniqueId;
    return NO_ERROR;
}

}  // namespace android
