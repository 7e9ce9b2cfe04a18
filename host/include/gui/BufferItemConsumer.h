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

// Host model of libgui's gui/BufferItemConsumer.h (Android 14): a consumer that hands out whole
// BufferItems.
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferQueue.h>
#include <gui/ConsumerBase.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <utils/Errors.h>
#include <utils/Timers.h>

namespace android {

class BufferItemConsumer : public ConsumerBase {
public:
    typedef ConsumerBase::FrameAvailableListener FrameAvailableListener;

    // Told when the consumer drops a buffer.
    struct BufferFreedListener : public virtual RefBase {
        virtual void onBufferFreed(const wp<GraphicBuffer>& graphicBuffer) = 0;
    };

    enum { DEFAULT_MAX_BUFFERS = -1 };
    enum { INVALID_BUFFER_SLOT = BufferQueue::INVALID_BUFFER_SLOT };
    enum { NO_BUFFER_AVAILABLE = BufferQueue::NO_BUFFER_AVAILABLE };

    // Consumes from `consumer` with `consumerUsage`; `bufferCount` other than
    // DEFAULT_MAX_BUFFERS sets the queue's max acquired buffer count.
    BufferItemConsumer(const sp<IGraphicBufferConsumer>& consumer, uint64_t consumerUsage,
                       int bufferCount = DEFAULT_MAX_BUFFERS, bool controlledByApp = false);
    ~BufferItemConsumer() override;

    void setBufferFreedListener(const wp<BufferFreedListener>& listener);

    // Acquires the next queued buffer into `item`. Returns NO_BUFFER_AVAILABLE if none.
    status_t acquireBuffer(BufferItem* item, nsecs_t presentWhen, bool waitForFence = true);
    // Releases `item`'s buffer back to the queue, to be reused once `releaseFence` signals.
    status_t releaseBuffer(const BufferItem& item, const sp<Fence>& releaseFence = Fence::NO_FENCE);

private:
    void freeBufferLocked(int slotIndex) override;

    wp<BufferFreedListener> mBufferFreedListener;
};

}  // namespace android
