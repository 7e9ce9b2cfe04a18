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

#define LOG_TAG "BufferQueueConsumer"

#include <gui/BufferQueueConsumer.h>

#ifdef TALVEX_LIBGUI_HOOKS
#include <libgui_interface/hook/IBufferQueueHelper.h>
#endif

namespace android {

#ifdef TALVEX_LIBGUI_HOOKS
using libgui_interface::hook::getBufferQueueHelper;
#endif

BufferQueueConsumer::BufferQueueConsumer(const sp<BufferQueueCore>& core)
    : mCore(core), mSlots(core->mSlots), mConsumerName() {}

BufferQueueConsumer::~BufferQueueConsumer() = default;

status_t BufferQueueConsumer::acquireBuffer(BufferItem* outBuffer, nsecs_t expectedPresent,
                                            uint64_t maxFrameNumber) {
    int numDroppedBuffers = 0;
    sp<IProducerListener> listener;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        int numAcquiredBuffers = 0;
        for (int s : mCore->mActiveBuffers) {
            if (mSlots[s].mBufferState.isAcquired()) ++numAcquiredBuffers;
        }
        // One buffer over the maximum is always allowed; a BLAST queue's consumer may take one
        // more still.
        const bool acquireNonDroppableBuffer =
            mCore->mAllowExtraAcquire && numAcquiredBuffers == mCore->mMaxAcquiredBufferCount + 1;
        if (numAcquiredBuffers >= mCore->mMaxAcquiredBufferCount + 1 && !acquireNonDroppableBuffer) {
            return INVALID_OPERATION;
        }
        if (mCore->mQueue.empty()) return NO_BUFFER_AVAILABLE;

        BufferQueueCore::Fifo::iterator front(mCore->mQueue.begin());
        if (expectedPresent != 0) {
            // Drop the buffers whose successors are due already.
            while (mCore->mQueue.size() > 1 && !mCore->mQueue[0].mIsAutoTimestamp) {
                const BufferItem& next(mCore->mQueue[1]);
                if (maxFrameNumber && next.mFrameNumber > maxFrameNumber) break;
                const nsecs_t desiredPresent = next.mTimestamp;
                if (desiredPresent < expectedPresent - MAX_REASONABLE_NSEC ||
                    desiredPresent > expectedPresent) {
                    break;
                }
                if (!front->mIsStale) {
                    mSlots[front->mSlot].mBufferState.freeQueued();
                    if (!mCore->mSharedBufferMode && mSlots[front->mSlot].mBufferState.isFree()) {
                        mSlots[front->mSlot].mBufferState.mShared = false;
                    }
                    if (!mSlots[front->mSlot].mBufferState.isShared()) {
                        mCore->mActiveBuffers.erase(front->mSlot);
                        mCore->mFreeBuffers.push_back(front->mSlot);
                    }
                    if (mCore->mBufferReleasedCbEnabled) {
                        listener = mCore->mConnectedProducerListener;
                    }
                    ++numDroppedBuffers;
                }
                mCore->mQueue.erase(front);
                front = mCore->mQueue.begin();
            }
            const nsecs_t desiredPresent = front->mTimestamp;
            const bool bufferIsDue = desiredPresent <= expectedPresent ||
                                     desiredPresent > expectedPresent + MAX_REASONABLE_NSEC;
            const bool consumerIsReady =
                maxFrameNumber > 0 ? front->mFrameNumber <= maxFrameNumber : true;
            if (!bufferIsDue || !consumerIsReady) return PRESENT_LATER;
        }

        const int slot = front->mSlot;
        *outBuffer = *front;
        if (!outBuffer->mIsStale) {
            mSlots[slot].mAcquireCalled = true;
            mSlots[slot].mBufferState.acquire();
            mSlots[slot].mFence = Fence::NO_FENCE;
        }
        // The consumer holds the buffer already from an earlier acquire of the slot.
        if (outBuffer->mAcquireCalled) outBuffer->mGraphicBuffer = nullptr;
        mCore->mQueue.erase(front);
        mCore->mDequeueCondition.notify_all();
    }
    if (listener != nullptr) {
        for (int i = 0; i < numDroppedBuffers; ++i) listener->onBufferReleased();
    }
    return NO_ERROR;
}

status_t BufferQueueConsumer::releaseBuffer(int slot, uint64_t frameNumber,
                                            const sp<Fence>& releaseFence, EGLDisplay eglDisplay,
                                            EGLSyncKHR eglFence) {
    if (slot < 0 || slot >= BufferQueueDefs::NUM_BUFFER_SLOTS || releaseFence == nullptr) {
        return BAD_VALUE;
    }
    sp<IProducerListener> listener;
    {
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        // The slot was reused since: what the consumer released is gone already.
        if (frameNumber != mSlots[slot].mFrameNumber && !mSlots[slot].mBufferState.isShared()) {
            return STALE_BUFFER_SLOT;
        }
        if (!mSlots[slot].mBufferState.isAcquired()) return BAD_VALUE;
        mSlots[slot].mEglDisplay = eglDisplay;
        mSlots[slot].mEglFence = eglFence;
        mSlots[slot].mFence = releaseFence;
        mSlots[slot].mBufferState.release();
        if (!mCore->mSharedBufferMode && mSlots[slot].mBufferState.isFree()) {
            mSlots[slot].mBufferState.mShared = false;
        }
        if (!mSlots[slot].mBufferState.isShared()) {
            mCore->mActiveBuffers.erase(slot);
            mCore->mFreeBuffers.push_back(slot);
        }
        if (mCore->mBufferReleasedCbEnabled) listener = mCore->mConnectedProducerListener;
        mCore->mDequeueCondition.notify_all();
    }
    if (listener != nullptr) listener->onBufferReleased();
    return NO_ERROR;
}

status_t BufferQueueConsumer::connect(const sp<IConsumerListener>& consumerListener,
                                      bool controlledByApp) {
    if (consumerListener == nullptr) return BAD_VALUE;
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    if (mCore->mIsAbandoned) return NO_INIT;
    mCore->mConsumerListener = consumerListener;
    mCore->mConsumerControlledByApp = controlledByApp;
    return NO_ERROR;
}

status_t BufferQueueConsumer::disconnect() {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    if (mCore->mConsumerListener == nullptr) return BAD_VALUE;
    mCore->mIsAbandoned = true;
    mCore->mConsumerListener = nullptr;
    mCore->mQueue.clear();
    mCore->freeAllBuffersLocked();
    mCore->mSharedBufferSlot = BufferQueueCore::INVALID_BUFFER_SLOT;
    mCore->mDequeueCondition.notify_all();
    return NO_ERROR;
}

status_t BufferQueueConsumer::getReleasedBuffers(uint64_t* outSlotMask) {
    if (outSlotMask == nullptr) return BAD_VALUE;
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    if (mCore->mIsAbandoned) return NO_INIT;
    uint64_t mask = 0;
    for (int s = 0; s < BufferQueueDefs::NUM_BUFFER_SLOTS; ++s) {
        if (!mSlots[s].mAcquireCalled) mask |= (1ULL << s);
    }
    // A queued buffer acquired before comes back without its buffer: the consumer keeps it.
    for (const BufferItem& item : mCore->mQueue) {
        if (item.mAcquireCalled) mask &= ~(1ULL << item.mSlot);
    }
    *outSlotMask = mask;
    return NO_ERROR;
}

status_t BufferQueueConsumer::setDefaultBufferSize(uint32_t width, uint32_t height) {
    if (width == 0 || height == 0) return BAD_VALUE;
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mDefaultWidth = width;
    mCore->mDefaultHeight = height;
    return NO_ERROR;
}

status_t BufferQueueConsumer::setMaxAcquiredBufferCount(int maxAcquiredBuffers) {
    if (maxAcquiredBuffers < 1 || maxAcquiredBuffers > BufferQueueCore::MAX_MAX_ACQUIRED_BUFFERS) {
        return BAD_VALUE;
    }
    sp<IConsumerListener> listener;
    {
        std::unique_lock<std::mutex> lock(mCore->mMutex);
        mCore->waitWhileAllocatingLocked(lock);
        if (mCore->mIsAbandoned) return NO_INIT;
        if (maxAcquiredBuffers == mCore->mMaxAcquiredBufferCount) return NO_ERROR;
        int acquiredCount = 0;
        for (int slot : mCore->mActiveBuffers) {
            if (mSlots[slot].mBufferState.isAcquired()) acquiredCount++;
        }
        if (acquiredCount > maxAcquiredBuffers) return BAD_VALUE;
        if (maxAcquiredBuffers + mCore->mMaxDequeuedBufferCount +
                (mCore->mAsyncMode || mCore->mDequeueBufferCannotBlock ? 1 : 0) >
            mCore->mMaxBufferCount) {
            return BAD_VALUE;
        }
        const int delta = maxAcquiredBuffers - mCore->mMaxAcquiredBufferCount;
        if (!mCore->adjustAvailableSlotsLocked(delta)) return BAD_VALUE;
        mCore->mMaxAcquiredBufferCount = maxAcquiredBuffers;
        if (delta < 0 && mCore->mBufferReleasedCbEnabled) listener = mCore->mConsumerListener;
    }
    if (listener != nullptr) listener->onBuffersReleased();
    return NO_ERROR;
}

status_t BufferQueueConsumer::setConsumerName(const String8& name) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mConsumerName = name;
    mConsumerName = name;
    return NO_ERROR;
}

status_t BufferQueueConsumer::setDefaultBufferFormat(PixelFormat defaultFormat) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mDefaultBufferFormat = defaultFormat;
    return NO_ERROR;
}

status_t BufferQueueConsumer::setConsumerUsageBits(uint64_t usage) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mConsumerUsageBits = usage;
    return NO_ERROR;
}

status_t BufferQueueConsumer::setTransformHint(uint32_t hint) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mTransformHint = hint;
    return NO_ERROR;
}

status_t BufferQueueConsumer::dumpState(const String8& prefix, String8* outResult) const {
    // libgui checks the caller's permission first; on the host every caller may dump.
#ifdef TALVEX_LIBGUI_HOOKS
    {
        // A dump on request dumps the BLAST queue too: re-arm it, then dump with the core's
        // lock held, released before mCore->dumpState() takes it again.
        std::lock_guard<std::mutex> lock(mCore->mMutex);
        getBufferQueueHelper()->setBBQDumpFlag(mCore.get(), true);
        getBufferQueueHelper()->dumpBQAllFrameState(mCore.get());
    }
#endif
    mCore->dumpState(prefix, outResult);
    return NO_ERROR;
}

void BufferQueueConsumer::setAllowExtraAcquire(bool allow) {
    std::lock_guard<std::mutex> lock(mCore->mMutex);
    mCore->mAllowExtraAcquire = allow;
}

}  // namespace android
