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

// Host model of AOSP libgui's gui/ConsumerBase.h (Android 14/15): the base of buffer consumers.
// AOSP's ConsumerBase talks to its queue through IGraphicBufferConsumer; the model holds the
// BufferQueueCore directly and drives it through the core's host-only section.
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferQueueCore.h>
#include <stdint.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/Mutex.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>

#include <utility>
#include <vector>

namespace android {

class ConsumerBase : public virtual RefBase {
public:
    // Told when a new frame is queued.
    struct FrameAvailableListener : public virtual RefBase {
        virtual void onFrameAvailable(const BufferItem& item) = 0;
        virtual void onFrameReplaced(const BufferItem& /*item*/) {}
    };

    ~ConsumerBase() override;

    ConsumerBase(const ConsumerBase&) = delete;
    ConsumerBase& operator=(const ConsumerBase&) = delete;

    // Stops the consumer; later calls fail with NO_INIT.
    void abandon();
    bool isAbandoned();

    // Names the consumer and its queue (the core's mConsumerName).
    void setName(const String8& name);
    void setFrameAvailableListener(const wp<FrameAvailableListener>& listener);

    // Sets the size of buffers dequeued without a size. Returns NO_INIT once abandoned,
    // BAD_VALUE for a zero dimension, else NO_ERROR.
    status_t setDefaultBufferSize(uint32_t width, uint32_t height);
    status_t setDefaultBufferFormat(PixelFormat defaultFormat);
    status_t setMaxAcquiredBufferCount(int maxAcquiredBuffers);

    // ---- HOST-ONLY (not in AOSP) ----
    // Every (width, height) given to setDefaultBufferSize, in call order, whatever the result.
    std::vector<std::pair<uint32_t, uint32_t>> hostDefaultBufferSizeCalls() const;
    // The queue this consumer consumes from.
    sp<BufferQueueCore> hostCore() const { return mCore; }
    // Tells the frame-available listener about `item`, as the queue does on each queue.
    void hostNotifyFrameAvailable(const BufferItem& item);

protected:
    // Consumes from `core`. AOSP takes an IGraphicBufferConsumer here.
    explicit ConsumerBase(const sp<BufferQueueCore>& core, bool controlledByApp = false);

    // Acquires the next queued buffer into `item`; NO_BUFFER_AVAILABLE (2, as
    // IGraphicBufferConsumer) if none can be acquired.
    virtual status_t acquireBufferLocked(BufferItem* item, nsecs_t presentWhen,
                                         uint64_t maxFrameNumber = 0);
    // Releases the buffer of `slot` for frame `frameNumber` back to the queue.
    virtual status_t releaseBufferLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                         uint64_t frameNumber);

    enum { NO_BUFFER_AVAILABLE = 2 };

    // The slots' buffers as the consumer last saw them (AOSP's mSlots of ConsumerBase).
    struct Slot {
        sp<GraphicBuffer> mGraphicBuffer;
        sp<Fence> mFence;
        uint64_t mFrameNumber = 0;
    };
    Slot mSlots[BufferQueueDefs::NUM_BUFFER_SLOTS];

    bool mAbandoned;
    String8 mName;
    wp<FrameAvailableListener> mFrameAvailableListener;
    // Stands in for AOSP's sp<IGraphicBufferConsumer> mConsumer.
    sp<BufferQueueCore> mCore;
    mutable Mutex mMutex;

private:
    std::vector<std::pair<uint32_t, uint32_t>> mHostDefaultBufferSizeCalls;
};

}  // namespace android
