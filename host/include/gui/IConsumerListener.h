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

// Host model of libgui's gui/IConsumerListener.h (Android 14): what a consumer is told by its
// queue, in the shape libgui has without binder (see IProducerListener.h).
#pragma once

#include <stdint.h>
#include <utils/RefBase.h>

namespace android {

class BufferItem;
class FrameEventHistoryDelta;
struct NewFrameEventsEntry;

class ConsumerListener : public virtual RefBase {
public:
    ConsumerListener() {}
    virtual ~ConsumerListener();

    // The producer disconnected.
    virtual void onDisconnect() {}
    virtual void onFrameDequeued(const uint64_t) {}
    virtual void onFrameCancelled(const uint64_t) {}
    virtual void onFrameDetached(const uint64_t) {}
    // A frame joined the queue; called on the producer's thread, without the queue's lock.
    virtual void onFrameAvailable(const BufferItem& item) = 0;
    // The last queued frame was replaced by a newer one (droppable buffers).
    virtual void onFrameReplaced(const BufferItem& /*item*/) {}
    virtual void onBuffersReleased() = 0;
    virtual void onSidebandStreamChanged() = 0;
    virtual void addAndGetFrameTimestamps(const NewFrameEventsEntry* /*newTimestamps*/,
                                          FrameEventHistoryDelta* /*outDelta*/) {}
};

class IConsumerListener : public ConsumerListener {};

class BnConsumerListener : public IConsumerListener {};

}  // namespace android
