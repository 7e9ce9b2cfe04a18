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

// Host model of libgui's gui/IGraphicBufferConsumer.h (Android 14): the consumer's side of a
// buffer queue, in the shape libgui has without binder (see IProducerListener.h). Only the
// operations a host consumer uses are declared; each has Android 14's signature.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <gui/BufferItem.h>
#include <gui/IConsumerListener.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

namespace android {

class IGraphicBufferConsumer : public RefBase {
public:
    enum {
        // releaseBuffer(): the slot holds another frame now; drop what was held of the buffer.
        STALE_BUFFER_SLOT = 1,
        // acquireBuffer(): nothing is queued.
        NO_BUFFER_AVAILABLE,
        // acquireBuffer(): the next buffer is not due yet.
        PRESENT_LATER,
    };

    // Takes the next queued buffer into `*buffer`.
    virtual status_t acquireBuffer(BufferItem* buffer, nsecs_t presentWhen,
                                   uint64_t maxFrameNumber = 0) = 0;
    // Gives the acquired buffer of `buf` (frame `frameNumber`) back to the queue.
    virtual status_t releaseBuffer(int buf, uint64_t frameNumber, EGLDisplay display,
                                   EGLSyncKHR fence, const sp<Fence>& releaseFence) = 0;
    status_t releaseBuffer(int buf, uint64_t frameNumber, const sp<Fence>& releaseFence) {
        return releaseBuffer(buf, frameNumber, EGL_NO_DISPLAY, EGL_NO_SYNC_KHR, releaseFence);
    }
    virtual status_t consumerConnect(const sp<IConsumerListener>& consumer,
                                     bool controlledByApp) = 0;
    virtual status_t consumerDisconnect() = 0;
    // Sets in `*slotMask` the slots whose buffers the consumer must forget.
    virtual status_t getReleasedBuffers(uint64_t* slotMask) = 0;
    virtual status_t setDefaultBufferSize(uint32_t w, uint32_t h) = 0;
    virtual status_t setMaxAcquiredBufferCount(int maxAcquiredBuffers) = 0;
    virtual status_t setConsumerName(const String8& name) = 0;
    virtual status_t setDefaultBufferFormat(PixelFormat defaultFormat) = 0;
    virtual status_t setConsumerUsageBits(uint64_t usage) = 0;
    virtual status_t setTransformHint(uint32_t hint) = 0;
    virtual status_t dumpState(const String8& prefix, String8* outResult) const = 0;
};

class BnGraphicBufferConsumer : public IGraphicBufferConsumer {};

}  // namespace android
