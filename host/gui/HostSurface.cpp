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

#include <gui/HostSurface.h>

namespace android {

status_t HostSurface::connect(int api, bool producerControlledByApp) {
    IGraphicBufferProducer::QueueBufferOutput output;
    return mProducer->connect(nullptr, api, producerControlledByApp, &output);
}

status_t HostSurface::disconnect(int api) {
    return mProducer->disconnect(api);
}

status_t HostSurface::dequeueBuffer(int* slot) {
    sp<Fence> fence;
    const status_t result = mProducer->dequeueBuffer(slot, &fence, 0, 0, 0, 0, nullptr, nullptr);
    if (result < 0) return result;
    if (result & IGraphicBufferProducer::BUFFER_NEEDS_REALLOCATION) {
        sp<GraphicBuffer> buffer;
        const status_t requested = mProducer->requestBuffer(*slot, &buffer);
        if (requested != NO_ERROR) return requested;
    }
    return NO_ERROR;
}

status_t HostSurface::queueBuffer(int slot, int64_t timestamp, uint64_t* frameNumber,
                                  int scalingMode) {
    const IGraphicBufferProducer::QueueBufferInput input(
        timestamp, timestamp == 0, HAL_DATASPACE_UNKNOWN, Rect(), scalingMode, 0, Fence::NO_FENCE);
    IGraphicBufferProducer::QueueBufferOutput output;
    const status_t result = mProducer->queueBuffer(slot, input, &output);
    if (result == NO_ERROR && frameNumber != nullptr) *frameNumber = output.nextFrameNumber - 1;
    return result;
}

status_t HostSurface::cancelBuffer(int slot) {
    return mProducer->cancelBuffer(slot, Fence::NO_FENCE);
}

}  // namespace android
