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
#include <utils/Log.h>

namespace android {

BufferItemConsumer::BufferItemConsumer(const sp<IGraphicBufferConsumer>& consumer,
                                       uint64_t consumerUsage, int bufferCount, bool controlledByApp)
    : ConsumerBase(consumer, controlledByApp) {
    status_t err = mConsumer->setConsumerUsageBits(consumerUsage);
    LOG_ALWAYS_FATAL_IF(err != OK, "Failed to set consumer usage bits");
    if (bufferCount != DEFAULT_MAX_BUFFERS) {
        err = mConsumer->setMaxAcquiredBufferCount(bufferCount);
        LOG_ALWAYS_FATAL_IF(err != OK, "Failed to set max acquired buffer count to %d", bufferCount);
    }
}

BufferItemConsumer::~BufferItemConsumer() = default;

void BufferItemConsumer::setBufferFreedListener(const wp<BufferFreedListener>& listener) {
    Mutex::Autolock lock(mMutex);
    mBufferFreedListener = listener;
}

status_t BufferItemConsumer::acquireBuffer(BufferItem* item, nsecs_t presentWhen,
                                           bool waitForFence) {
    if (!item) return BAD_VALUE;
    Mutex::Autolock lock(mMutex);
    status_t err = acquireBufferLocked(item, presentWhen);
    if (err != OK) return err;
    if (waitForFence) {
        err = item->mFence->wait(-1);
        if (err != OK) return err;
    }
    item->mGraphicBuffer = mSlots[item->mSlot].mGraphicBuffer;
    return OK;
}

status_t BufferItemConsumer::releaseBuffer(const BufferItem& item, const sp<Fence>& releaseFence) {
    Mutex::Autolock lock(mMutex);
    addReleaseFenceLocked(item.mSlot, item.mGraphicBuffer, releaseFence);
    return releaseBufferLocked(item.mSlot, item.mGraphicBuffer, EGL_NO_DISPLAY, EGL_NO_SYNC_KHR);
}

void BufferItemConsumer::freeBufferLocked(int slotIndex) {
    sp<BufferFreedListener> listener = mBufferFreedListener.promote();
    if (listener != nullptr && mSlots[slotIndex].mGraphicBuffer != nullptr) {
        listener->onBufferFreed(mSlots[slotIndex].mGraphicBuffer);
    }
    ConsumerBase::freeBufferLocked(slotIndex);
}

}  // namespace android
