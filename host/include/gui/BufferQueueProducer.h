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

// Host model of libgui's gui/BufferQueueProducer.h (Android 14): the producer's side of a buffer
// queue, working on the BufferQueueCore it shares with its BufferQueueConsumer. Declarations as
// Android 14's for what is modelled; the producer's work on the core follows libgui's rules
// (slot choice, limits, waiting for a free slot, droppable buffers, the consumer's listener).
#pragma once

#include <gui/BufferQueueCore.h>
#include <gui/BufferQueueDefs.h>
#include <gui/IGraphicBufferProducer.h>

#include <condition_variable>
#include <mutex>

namespace android {

class BufferQueueProducer : public BnGraphicBufferProducer {
public:
    explicit BufferQueueProducer(const sp<BufferQueueCore>& core,
                                 bool consumerIsSurfaceFlinger = false);
    ~BufferQueueProducer() override;

    virtual status_t requestBuffer(int slot, sp<GraphicBuffer>* buf) override;
    virtual status_t setMaxDequeuedBufferCount(int maxDequeuedBuffers) override;
    virtual status_t setAsyncMode(bool async) override;
    virtual status_t dequeueBuffer(int* outSlot, sp<Fence>* outFence, uint32_t width,
                                   uint32_t height, PixelFormat format, uint64_t usage,
                                   uint64_t* outBufferAge,
                                   FrameEventHistoryDelta* outTimestamps) override;
    virtual status_t queueBuffer(int slot, const QueueBufferInput& input,
                                 QueueBufferOutput* output) override;
    virtual status_t cancelBuffer(int slot, const sp<Fence>& fence) override;
    virtual int query(int what, int* outValue) override;
    virtual status_t connect(const sp<IProducerListener>& listener, int api,
                             bool producerControlledByApp, QueueBufferOutput* output) override;
    virtual status_t disconnect(int api, DisconnectMode mode = DisconnectMode::Api) override;
    virtual String8 getConsumerName() const override;
    virtual status_t setDequeueTimeout(nsecs_t timeout) override;
    virtual status_t getUniqueId(uint64_t* outId) const override;

protected:
    // Also returns the queue's resulting buffer count in `*maxBufferCount`.
    status_t setMaxDequeuedBufferCount(int maxDequeuedBuffers, int* maxBufferCount);

private:
    // Takes the oldest free buffer, or INVALID_BUFFER_SLOT.
    int getFreeBufferLocked() const;
    // Takes the lowest free slot (no buffer), or INVALID_BUFFER_SLOT.
    int getFreeSlotLocked() const;

    enum class FreeSlotCaller {
        Dequeue,
        Attach,
    };
    // Waits, with the core's lock in `lock`, until a slot may be dequeued; returns it in
    // `*found`. Returns TIMED_OUT after mDequeueTimeout (when not negative), WOULD_BLOCK when the
    // queue may not block, INVALID_OPERATION when too many buffers are dequeued, NO_INIT once
    // abandoned.
    status_t waitForFreeSlotThenRelock(FreeSlotCaller caller, std::unique_lock<std::mutex>& lock,
                                       int* found) const;

    sp<BufferQueueCore> mCore;
    // A reference to the core's slots.
    BufferQueueDefs::SlotsType& mSlots;
    String8 mConsumerName;
    uint32_t mStickyTransform;
    bool mConsumerIsSurfaceFlinger;
    sp<Fence> mLastQueueBufferFence;
    Rect mLastQueuedCrop;
    uint32_t mLastQueuedTransform;
    // Keeps the consumer's frame callbacks in queue order when producers race.
    std::mutex mCallbackMutex;
    int mNextCallbackTicket;     // guarded by mCore->mMutex
    int mCurrentCallbackTicket;  // guarded by mCallbackMutex
    std::condition_variable mCallbackCondition;
    nsecs_t mDequeueTimeout;
    bool mDequeueWaitingForAllocation;
    std::condition_variable mDequeueWaitingForAllocationCondition;
};

}  // namespace android
