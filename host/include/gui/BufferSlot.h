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

// Host model of AOSP libgui's gui/BufferSlot.h (Android 14/15): the state of one buffer queue
// slot, counted per owner as AOSP does (several dequeues/acquires only in shared-buffer mode).
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <utils/StrongPointer.h>

namespace android {

// Who owns a slot's buffer: FREE (the queue), DEQUEUED (the producer), QUEUED (waiting for the
// consumer), ACQUIRED (the consumer); SHARED in shared-buffer mode.
struct BufferState {
    BufferState() : mDequeueCount(0), mQueueCount(0), mAcquireCount(0), mShared(false) {}

    uint32_t mDequeueCount;
    uint32_t mQueueCount;
    uint32_t mAcquireCount;
    bool mShared;

    // Returns true if no one but the queue owns the buffer.
    inline bool isFree() const { return !isAcquired() && !isDequeued() && !isQueued(); }
    inline bool isDequeued() const { return mDequeueCount > 0; }
    inline bool isQueued() const { return mQueueCount > 0; }
    inline bool isAcquired() const { return mAcquireCount > 0; }
    inline bool isShared() const { return mShared; }

    inline void reset() { *this = BufferState(); }

    // Returns "SHARED", "FREE", "ACQUIRED", "DEQUEUED", "QUEUED" (tested in that order) or
    // "UNKNOWN".
    const char* string() const;

    inline void dequeue() { mDequeueCount++; }
    inline void detachProducer() {
        if (mDequeueCount > 0) mDequeueCount--;
    }
    inline void attachProducer() { mDequeueCount++; }
    inline void queue() {
        if (mDequeueCount > 0) mDequeueCount--;
        mQueueCount++;
    }
    inline void cancel() {
        if (mDequeueCount > 0) mDequeueCount--;
    }
    inline void freeQueued() {
        if (mQueueCount > 0) mQueueCount--;
    }
    inline void acquire() {
        if (mQueueCount > 0) mQueueCount--;
        mAcquireCount++;
    }
    inline void acquireNotInQueue() { mAcquireCount++; }
    inline void release() {
        if (mAcquireCount > 0) mAcquireCount--;
    }
    inline void detachConsumer() {
        if (mAcquireCount > 0) mAcquireCount--;
    }
    inline void attachConsumer() { mAcquireCount++; }
};

// One slot of a buffer queue: its buffer (null until allocated), state and last frame number.
struct BufferSlot {
    BufferSlot()
        : mGraphicBuffer(nullptr),
          mBufferState(),
          mRequestBufferCalled(false),
          mEglDisplay(EGL_NO_DISPLAY),
          mFrameNumber(0),
          mEglFence(EGL_NO_SYNC_KHR),
          mFence(Fence::NO_FENCE),
          mAcquireCalled(false),
          mNeedsReallocation(false) {}

    sp<GraphicBuffer> mGraphicBuffer;
    BufferState mBufferState;
    // Whether the producer has asked for the buffer (requestBuffer).
    bool mRequestBufferCalled;
    EGLDisplay mEglDisplay;
    // The number of the frame last queued in this slot.
    uint64_t mFrameNumber;
    EGLSyncKHR mEglFence;
    // The fence to wait on before the current owner may use the buffer.
    sp<Fence> mFence;
    // Whether the consumer has seen this buffer since it was allocated.
    bool mAcquireCalled;
    // Whether the buffer must be reallocated before its next use.
    bool mNeedsReallocation;
};

}  // namespace android
