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

#define LOG_TAG "BufferItemConsumer"

#include <gui/BufferItemConsumer.h>

namespace android {

BufferItemConsumer::BufferItemConsumer(const sp<BufferQueueCore>& core, uint64_t /*consumerUsage*/,
                                       int bufferCount, bool controlledByApp)
    : ConsumerBase(core, controlledByApp) {
    if (bufferCount != DEFAULT_MAX_BUFFERS) {
        mCore->hostSetMaxAcquiredBufferCount(bufferCount);
    }
}

BufferItemConsumer::~BufferItemConsumer() = default;

void BufferItemConsumer::setBufferFreedListener(const wp<BufferFreedListener>& listener) {
    Mutex::Autolock lock(mMutex);
    mBufferFreedListener = listener;
}

status_t BufferItemConsumer::acquireBuffer(BufferItem* item, nsecs_t presentWhen,
                                           bool waitForFence) {
    if (item == nullptr) return BAD_VALUE;
    Mutex::Autolock lock(mMutex);
    status_t err = acquireBufferLocked(item, presentWhen);
    if (err != NO_ERROR) return err;
    if (waitForFence && item->mFence != nullptr) {
        err = item->mFence->wait(1000);
        if (err != NO_ERROR) return err;
    }
    item->mGraphicBuffer = mSlots[item->mSlot].mGraphicBuffer;
    return NO_ERROR;
}

status_t BufferItemConsumer::releaseBuffer(const BufferItem& item,
                                           const sp<Fence>& /*releaseFence*/) {
    Mutex::Autolock lock(mMutex);
    return releaseBufferLocked(item.mSlot, item.mGraphicBuffer, item.mFrameNumber);
}

}  // namespace android
