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

// Host only (not in Android 14): the producer's end of a buffer queue as an app's Surface drives
// it (connect, dequeue with the buffer request that follows an allocation, queue, cancel), for
// host programs that draw into a queue without a Surface.
#pragma once

#include <gui/IGraphicBufferProducer.h>
#include <stdint.h>
#include <system/window.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

namespace android {

class HostSurface {
public:
    explicit HostSurface(const sp<IGraphicBufferProducer>& producer) : mProducer(producer) {}

    // Connects as `api` (NATIVE_WINDOW_API_*). Returns the producer's status.
    status_t connect(int api = NATIVE_WINDOW_API_EGL, bool producerControlledByApp = false);
    status_t disconnect(int api = NATIVE_WINDOW_API_EGL);
    // Dequeues a slot of the default size and format into `*slot` (waiting as the queue's
    // dequeue timeout says), fetching its buffer when it was allocated anew. Returns the
    // producer's status, with the reallocation flag masked out.
    status_t dequeueBuffer(int* slot);
    // Queues `slot` with `timestamp` (0: the queue stamps it). Sets `*frameNumber`, if given, to
    // the frame number the buffer got.
    status_t queueBuffer(int slot, int64_t timestamp = 0, uint64_t* frameNumber = nullptr,
                         int scalingMode = NATIVE_WINDOW_SCALING_MODE_SCALE_TO_WINDOW);
    status_t cancelBuffer(int slot);

    const sp<IGraphicBufferProducer>& producer() const { return mProducer; }

private:
    const sp<IGraphicBufferProducer> mProducer;
};

}  // namespace android
