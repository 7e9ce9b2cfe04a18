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

// Host model of libgui's gui/BufferQueue.h (Android 14): makes a producer and a consumer that
// share one BufferQueueCore, and the listener that lets the queue tell a consumer of new frames
// without keeping it alive.
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferQueueDefs.h>
#include <gui/IConsumerListener.h>
#include <gui/IGraphicBufferConsumer.h>
#include <gui/IGraphicBufferProducer.h>

namespace android {

class BufferQueueCore;

class BufferQueue {
public:
    enum { NUM_BUFFER_SLOTS = BufferQueueDefs::NUM_BUFFER_SLOTS };
    enum { INVALID_BUFFER_SLOT = BufferItem::INVALID_BUFFER_SLOT };
    enum {
        NO_BUFFER_AVAILABLE = IGraphicBufferConsumer::NO_BUFFER_AVAILABLE,
        PRESENT_LATER = IGraphicBufferConsumer::PRESENT_LATER,
    };
    enum { MAX_MAX_ACQUIRED_BUFFERS = NUM_BUFFER_SLOTS - 2 };

    typedef ::android::ConsumerListener ConsumerListener;

    // Forwards every call to a consumer held weakly: the queue must not keep its consumer.
    class ProxyConsumerListener : public BnConsumerListener {
    public:
        explicit ProxyConsumerListener(const wp<ConsumerListener>& consumerListener);
        ~ProxyConsumerListener() override;
        void onDisconnect() override;
        void onFrameAvailable(const BufferItem& item) override;
        void onFrameReplaced(const BufferItem& item) override;
        void onBuffersReleased() override;
        void onSidebandStreamChanged() override;
        void onFrameDequeued(const uint64_t bufferId) override;
        void onFrameCancelled(const uint64_t bufferId) override;
        void onFrameDetached(const uint64_t bufferID) override;

    private:
        wp<ConsumerListener> mConsumerListener;
    };

    // A new core with its producer and consumer.
    static void createBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                                  sp<IGraphicBufferConsumer>* outConsumer,
                                  bool consumerIsSurfaceFlinger = false);

    BufferQueue() = delete;

    // ---- Host only (not in Android 14) ----
    // Same, and the core in `*outCore`, which libgui keeps only inside the two.
    static void hostCreateBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                                      sp<IGraphicBufferConsumer>* outConsumer,
                                      sp<BufferQueueCore>* outCore);
};

}  // namespace android
