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

#pragma once

// Builders of host libgui objects (tests link talvex_host_gui), so tests across the project set
// up surfaces, BLAST queues and buffer queues the same way.

#include <binder/Binder.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferItem.h>
#include <gui/BufferItemConsumer.h>
#include <gui/BufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/HostSurface.h>
#include <gui/IGraphicBufferConsumer.h>
#include <gui/IGraphicBufferProducer.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <ui/PixelFormat.h>
#include <utils/StrongPointer.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/surface_objects.h"

namespace talvex::test {

// Returns a BLASTBufferQueue named `name` (its mName becomes `name` + "#" + producer id) whose
// surface is `surfaceControl`, updated to `width` x `height` RGBA_8888 as libgui's users do.
inline android::sp<android::BLASTBufferQueue> makeBlastBufferQueue(
    const std::string& name, const android::sp<android::SurfaceControl>& surfaceControl,
    uint32_t width = 64, uint32_t height = 32) {
    using namespace android;
    sp<BLASTBufferQueue> bbq(new BLASTBufferQueue(name));
    bbq->update(surfaceControl, width, height, PIXEL_FORMAT_RGBA_8888);
    return bbq;
}

// Same, with a fresh surface for layer `layerId` named `name`.
inline android::sp<android::BLASTBufferQueue> makeBlastBufferQueue(const std::string& name,
                                                                   int32_t layerId) {
    return makeBlastBufferQueue(name, makeSurfaceControl(layerId, name));
}

// A bare buffer queue: its core, with a producer connected as an EGL app's Surface and a
// BufferItemConsumer, driven as they would drive it. A dequeue that finds no slot fails at once
// (TIMED_OUT) instead of waiting.
struct HostQueue {
    HostQueue() {
        using namespace android;
        BufferQueue::hostCreateBufferQueue(&producer, &consumer, &core);
        itemConsumer = new BufferItemConsumer(consumer, 0);
        surface = std::make_unique<HostSurface>(producer);
        EXPECT_EQ(NO_ERROR, surface->connect());
        EXPECT_EQ(NO_ERROR, producer->setDequeueTimeout(0));
    }
    // Returns the dequeued slot, or -1.
    int dequeue() {
        int slot = -1;
        return surface->dequeueBuffer(&slot) == android::NO_ERROR ? slot : -1;
    }
    android::status_t queue(int slot) { return surface->queueBuffer(slot); }
    android::status_t cancel(int slot) { return surface->cancelBuffer(slot); }
    // Acquires the next queued buffer into `item` (may be null).
    android::status_t acquire(android::BufferItem* item = nullptr) {
        android::BufferItem local;
        return itemConsumer->acquireBuffer(item != nullptr ? item : &local, 0, false);
    }
    // Releases the acquired buffer of `slot`, which carries frame `frameNumber`.
    android::status_t release(int slot, uint64_t frameNumber) {
        return consumer->releaseBuffer(slot, frameNumber, android::Fence::NO_FENCE);
    }

    android::sp<android::BufferQueueCore> core;
    android::sp<android::IGraphicBufferProducer> producer;
    android::sp<android::IGraphicBufferConsumer> consumer;
    android::sp<android::BufferItemConsumer> itemConsumer;
    std::unique_ptr<android::HostSurface> surface;
};

}  // namespace talvex::test
