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
// up surfaces, BLAST queues and buffer queue cores the same way.

#include <binder/Binder.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferItem.h>
#include <gui/BufferQueueCore.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <ui/PixelFormat.h>
#include <utils/StrongPointer.h>

#include <algorithm>
#include <string>
#include <vector>

namespace talvex::test {

// Returns a SurfaceControl for layer `layerId` named `name`, with a fresh BBinder as its handle.
inline android::sp<android::SurfaceControl> makeSurfaceControl(int32_t layerId,
                                                               const std::string& name) {
    using namespace android;
    sp<SurfaceComposerClient> client(new SurfaceComposerClient());
    sp<IBinder> handle(new BBinder());
    return sp<SurfaceControl>(new SurfaceControl(client, handle, layerId, name));
}

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

// The state a buffer of makeCoreWithBuffers ends in.
enum class HostBuffer { kFree, kDequeued, kQueued, kAcquired };

// Returns a core whose slot i holds a buffer in `states[i]`, reached through AOSP's transitions
// (kFree: dequeued then cancelled, so in mFreeBuffers). Frame numbers follow queue order,
// acquired buffers first. Limits are raised as needed. Fails the test if a step fails.
inline android::sp<android::BufferQueueCore> makeCoreWithBuffers(
    const std::vector<HostBuffer>& states) {
    using namespace android;
    sp<BufferQueueCore> core(new BufferQueueCore());
    const int total = static_cast<int>(states.size());
    const int acquired =
        static_cast<int>(std::count(states.begin(), states.end(), HostBuffer::kAcquired));
    EXPECT_EQ(NO_ERROR, core->hostSetMaxAcquiredBufferCount(std::max(1, acquired)));
    EXPECT_EQ(NO_ERROR, core->hostSetMaxDequeuedBufferCount(std::max(1, total)));
    for (int i = 0; i < total; i++) {
        EXPECT_EQ(i, core->hostDequeueBuffer()) << "dequeue of slot " << i;
    }
    // Acquired buffers are queued first so that acquire pops exactly them.
    for (int i = 0; i < total; i++) {
        if (states[i] == HostBuffer::kAcquired) {
            EXPECT_EQ(NO_ERROR, core->hostQueueBuffer(i));
        }
    }
    for (int i = 0; i < acquired; i++) {
        EXPECT_TRUE(core->hostAcquireBuffer(nullptr)) << "acquire " << i;
    }
    for (int i = 0; i < total; i++) {
        if (states[i] == HostBuffer::kQueued) {
            EXPECT_EQ(NO_ERROR, core->hostQueueBuffer(i));
        } else if (states[i] == HostBuffer::kFree) {
            EXPECT_EQ(NO_ERROR, core->hostCancelBuffer(i));
        }
    }
    return core;
}

}  // namespace talvex::test
