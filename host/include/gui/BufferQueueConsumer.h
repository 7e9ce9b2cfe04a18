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

// Host model of libgui's gui/BufferQueueConsumer.h (Android 14): the consumer's side of a buffer
// queue (see BufferQueueProducer.h).
#pragma once

#include <gui/BufferQueueCore.h>
#include <gui/BufferQueueDefs.h>
#include <gui/IGraphicBufferConsumer.h>

namespace android {

class BufferQueueConsumer : public BnGraphicBufferConsumer {
public:
    explicit BufferQueueConsumer(const sp<BufferQueueCore>& core);
    ~BufferQueueConsumer() override;

    virtual status_t acquireBuffer(BufferItem* outBuffer, nsecs_t expectedPresent,
                                   uint64_t maxFrameNumber = 0) override;
    virtual status_t releaseBuffer(int slot, uint64_t frameNumber, const sp<Fence>& releaseFence,
                                   EGLDisplay display, EGLSyncKHR fence);
    virtual status_t connect(const sp<IConsumerListener>& consumerListener, bool controlledByApp);
    virtual status_t disconnect();
    virtual status_t getReleasedBuffers(uint64_t* outSlotMask) override;
    virtual status_t setDefaultBufferSize(uint32_t width, uint32_t height) override;
    virtual status_t setMaxAcquiredBufferCount(int maxAcquiredBuffers) override;
    status_t setConsumerName(const String8& name) override;
    virtual status_t setDefaultBufferFormat(PixelFormat defaultFormat) override;
    virtual status_t setConsumerUsageBits(uint64_t usage) override;
    virtual status_t setTransformHint(uint32_t hint) override;
    status_t dumpState(const String8& prefix, String8* outResult) const override;

    virtual status_t releaseBuffer(int buf, uint64_t frameNumber, EGLDisplay display,
                                   EGLSyncKHR fence, const sp<Fence>& releaseFence) override {
        return releaseBuffer(buf, frameNumber, releaseFence, display, fence);
    }
    virtual status_t consumerConnect(const sp<IConsumerListener>& consumer,
                                     bool controlledByApp) override {
        return connect(consumer, controlledByApp);
    }
    virtual status_t consumerDisconnect() override { return disconnect(); }

    // A buffer due more than this far from now is not held back for its time.
    constexpr static int MAX_REASONABLE_NSEC = 1'000'000'000ULL;  // 1 second

    // Lets the consumer hold one acquired buffer more than its maximum (a BLAST queue's).
    void setAllowExtraAcquire(bool allow);

private:
    sp<BufferQueueCore> mCore;
    // A reference to the core's slots.
    BufferQueueDefs::SlotsType& mSlots;
    String8 mConsumerName;
};

}  // namespace android
