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

#define LOG_TAG "BufferQueue"

#include <gui/BufferQueue.h>
#include <gui/BufferQueueConsumer.h>
#include <gui/BufferQueueCore.h>
#include <gui/BufferQueueProducer.h>

namespace android {

ConsumerListener::~ConsumerListener() = default;
ProducerListener::~ProducerListener() = default;

BufferQueue::ProxyConsumerListener::ProxyConsumerListener(
    const wp<ConsumerListener>& consumerListener)
    : mConsumerListener(consumerListener) {}

BufferQueue::ProxyConsumerListener::~ProxyConsumerListener() = default;

void BufferQueue::ProxyConsumerListener::onDisconnect() {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) listener->onDisconnect();
}

void BufferQueue::ProxyConsumerListener::onFrameAvailable(const BufferItem& item) {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onFrameAvailable(item);
    }
}

void BufferQueue::ProxyConsumerListener::onFrameReplaced(const BufferItem& item) {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onFrameReplaced(item);
    }
}

void BufferQueue::ProxyConsumerListener::onBuffersReleased() {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) listener->onBuffersReleased();
}

void BufferQueue::ProxyConsumerListener::onSidebandStreamChanged() {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onSidebandStreamChanged();
    }
}

void BufferQueue::ProxyConsumerListener::onFrameDequeued(const uint64_t bufferId) {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onFrameDequeued(bufferId);
    }
}

void BufferQueue::ProxyConsumerListener::onFrameCancelled(const uint64_t bufferId) {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onFrameCancelled(bufferId);
    }
}

void BufferQueue::ProxyConsumerListener::onFrameDetached(const uint64_t bufferId) {
    if (sp<ConsumerListener> listener = mConsumerListener.promote()) {
        listener->onFrameDetached(bufferId);
    }
}

void BufferQueue::createBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                                    sp<IGraphicBufferConsumer>* outConsumer,
                                    bool consumerIsSurfaceFlinger) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    *outProducer = new BufferQueueProducer(core, consumerIsSurfaceFlinger);
    *outConsumer = new BufferQueueConsumer(core);
}

void BufferQueue::hostCreateBufferQueue(sp<IGraphicBufferProducer>* outProducer,
                                        sp<IGraphicBufferConsumer>* outConsumer,
                                        sp<BufferQueueCore>* outCore) {
    *outCore = new BufferQueueCore();
    *outProducer = new BufferQueueProducer(*outCore);
    *outConsumer = new BufferQueueConsumer(*outCore);
}

}  // namespace android
