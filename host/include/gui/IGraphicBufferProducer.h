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

// Host model of libgui's gui/IGraphicBufferProducer.h (Android 14): the producer's side of a
// buffer queue, in the shape libgui has without binder (see IProducerListener.h). Only the
// operations a host producer uses are declared; each has Android 14's signature.
#pragma once

#include <gui/FrameTimestamps.h>
#include <gui/IProducerListener.h>
#include <stdint.h>
#include <system/graphics.h>
#include <ui/BufferQueueDefs.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <ui/PixelFormat.h>
#include <ui/Rect.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

namespace android {

class IGraphicBufferProducer : public RefBase {
public:
    enum {
        BUFFER_NEEDS_REALLOCATION = BufferQueueDefs::BUFFER_NEEDS_REALLOCATION,
        RELEASE_ALL_BUFFERS = BufferQueueDefs::RELEASE_ALL_BUFFERS,
    };

    // Returns the buffer of a dequeued `slot` in `*buf`.
    virtual status_t requestBuffer(int slot, sp<GraphicBuffer>* buf) = 0;
    virtual status_t setMaxDequeuedBufferCount(int maxDequeuedBuffers) = 0;
    virtual status_t setAsyncMode(bool async) = 0;
    // Takes a free slot (waiting for one, see setDequeueTimeout()); returns it in `*slot`, with
    // BUFFER_NEEDS_REALLOCATION in the result when its buffer must be requested again.
    virtual status_t dequeueBuffer(int* slot, sp<Fence>* fence, uint32_t w, uint32_t h,
                                   PixelFormat format, uint64_t usage, uint64_t* outBufferAge,
                                   FrameEventHistoryDelta* outTimestamps) = 0;

    struct QueueBufferInput {
        inline QueueBufferInput(int64_t _timestamp, bool _isAutoTimestamp,
                                android_dataspace _dataSpace, const Rect& _crop, int _scalingMode,
                                uint32_t _transform, const sp<Fence>& _fence, uint32_t _sticky = 0,
                                bool _getFrameTimestamps = false, int _slot = -1)
            : timestamp(_timestamp),
              isAutoTimestamp(_isAutoTimestamp),
              dataSpace(_dataSpace),
              crop(_crop),
              scalingMode(_scalingMode),
              transform(_transform),
              stickyTransform(_sticky),
              fence(_fence),
              getFrameTimestamps(_getFrameTimestamps),
              slot(_slot) {}
        QueueBufferInput() = default;

        int64_t timestamp{0};
        int isAutoTimestamp{0};
        android_dataspace dataSpace{HAL_DATASPACE_UNKNOWN};
        Rect crop;
        int scalingMode{0};
        uint32_t transform{0};
        uint32_t stickyTransform{0};
        sp<Fence> fence;
        bool getFrameTimestamps{false};
        int slot{-1};
    };

    struct QueueBufferOutput {
        QueueBufferOutput() = default;
        QueueBufferOutput(QueueBufferOutput&& src) = default;
        QueueBufferOutput& operator=(QueueBufferOutput&& src) = default;
        QueueBufferOutput(const QueueBufferOutput& src) = delete;
        QueueBufferOutput& operator=(const QueueBufferOutput& src) = delete;

        uint32_t width{0};
        uint32_t height{0};
        uint32_t transformHint{0};
        uint32_t numPendingBuffers{0};
        uint64_t nextFrameNumber{0};
        FrameEventHistoryDelta frameTimestamps;
        bool bufferReplaced{false};
        int maxBufferCount{0};
        status_t result{NO_ERROR};
    };

    // Queues the dequeued `slot` for the consumer, which is told on this thread.
    virtual status_t queueBuffer(int slot, const QueueBufferInput& input,
                                 QueueBufferOutput* output) = 0;
    // Gives the dequeued `slot` back unused.
    virtual status_t cancelBuffer(int slot, const sp<Fence>& fence) = 0;
    virtual int query(int what, int* value) = 0;
    virtual status_t connect(const sp<IProducerListener>& listener, int api,
                             bool producerControlledByApp, QueueBufferOutput* output) = 0;

    enum class DisconnectMode { Api, AllLocal };
    virtual status_t disconnect(int api, DisconnectMode mode = DisconnectMode::Api) = 0;

    virtual String8 getConsumerName() const = 0;
    // How long dequeueBuffer() waits for a free slot: a negative value waits for ever.
    virtual status_t setDequeueTimeout(nsecs_t timeout) = 0;
    virtual status_t getUniqueId(uint64_t* outId) const = 0;
};

class BnGraphicBufferProducer : public IGraphicBufferProducer {};

}  // namespace android
