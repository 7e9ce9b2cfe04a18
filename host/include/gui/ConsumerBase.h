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

// Host model of libgui's gui/ConsumerBase.h (Android 14): the base of buffer consumers. It
// connects to its queue through IGraphicBufferConsumer with a proxy listener, tracks the buffers
// it holds per slot and tells its FrameAvailableListener of new frames.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <gui/BufferItem.h>
#include <gui/BufferQueueDefs.h>
#include <gui/IConsumerListener.h>
#include <gui/IGraphicBufferConsumer.h>
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

class ConsumerBase : public virtual RefBase, protected ConsumerListener {
public:
    struct FrameAvailableListener : public virtual RefBase {
        // A frame joined the queue; called on the producer's thread.
        virtual void onFrameAvailable(const BufferItem& item) = 0;
        virtual void onFrameReplaced(const BufferItem& /* item */) {}
        virtual void onFrameDequeued(const uint64_t) {}
        virtual void onFrameCancelled(const uint64_t) {}
        virtual void onFrameDetached(const uint64_t) {}
    };

    ~ConsumerBase() override;

    // Disconnects from the queue and drops every buffer; later calls fail with NO_INIT.
    void abandon();
    bool isAbandoned();
    // Names the consumer and its queue (the core's mConsumerName).
    void setName(const String8& name);
    void dumpState(String8& result) const;
    void dumpState(String8& result, const char* prefix) const;
    void setFrameAvailableListener(const wp<FrameAvailableListener>& listener);
    // Sets the size of buffers dequeued without a size. Returns NO_INIT once abandoned,
    // BAD_VALUE for a zero dimension, else NO_ERROR.
    status_t setDefaultBufferSize(uint32_t width, uint32_t height);
    status_t setDefaultBufferFormat(PixelFormat defaultFormat);
    status_t setConsumerUsageBits(uint64_t usage);
    status_t setTransformHint(uint32_t hint);
    status_t setMaxAcquiredBufferCount(int maxAcquiredBuffers);

private:
    ConsumerBase(const ConsumerBase&);
    void operator=(const ConsumerBase&);

protected:
    explicit ConsumerBase(const sp<IGraphicBufferConsumer>& consumer, bool controlledByApp = false);

    // The last strong reference going abandons the queue.
    virtual void onLastStrongRef(const void* id) override;

    // What the queue tells the consumer (through the proxy listener).
    virtual void onFrameAvailable(const BufferItem& item) override;
    virtual void onFrameReplaced(const BufferItem& item) override;
    virtual void onFrameDequeued(const uint64_t bufferId) override;
    virtual void onFrameCancelled(const uint64_t bufferId) override;
    virtual void onFrameDetached(const uint64_t bufferId) override;
    virtual void onBuffersReleased() override;
    virtual void onSidebandStreamChanged() override;

    virtual void freeBufferLocked(int slotIndex);
    virtual void abandonLocked();
    virtual void dumpLocked(String8& result, const char* prefix) const;
    virtual status_t acquireBufferLocked(BufferItem* item, nsecs_t presentWhen,
                                         uint64_t maxFrameNumber = 0);
    virtual status_t releaseBufferLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                         EGLDisplay display = EGL_NO_DISPLAY,
                                         EGLSyncKHR eglFence = EGL_NO_SYNC_KHR);
    // Returns whether the consumer still holds `graphicBuffer` in `slot`.
    bool stillTracking(int slot, const sp<GraphicBuffer> graphicBuffer);
    status_t addReleaseFence(int slot, const sp<GraphicBuffer> graphicBuffer,
                             const sp<Fence>& fence);
    status_t addReleaseFenceLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                   const sp<Fence>& fence);

    // The slots' buffers as the consumer last saw them.
    struct Slot {
        sp<GraphicBuffer> mGraphicBuffer;
        sp<Fence> mFence;
        uint64_t mFrameNumber;
    };
    Slot mSlots[BufferQueueDefs::NUM_BUFFER_SLOTS];

    bool mAbandoned;
    String8 mName;
    Mutex mFrameAvailableMutex;
    wp<FrameAvailableListener> mFrameAvailableListener;
    sp<IGraphicBufferConsumer> mConsumer;
    sp<Fence> mPrevFinalReleaseFence;
    mutable Mutex mMutex;

    // ---- Host only (not in Android 14) ----
public:
    // Every (width, height) given to setDefaultBufferSize, in call order, whatever the result.
    std::vector<std::pair<uint32_t, uint32_t>> hostDefaultBufferSizeCalls() const;

private:
    std::vector<std::pair<uint32_t, uint32_t>> mHostDefaultBufferSizeCalls;  // guarded by mMutex
};

}  // namespace android
