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

#define LOG_TAG "ConsumerBase"

#include <gui/ConsumerBase.h>

namespace android {

ConsumerBase::ConsumerBase(const sp<BufferQueueCore>& core, bool /*controlledByApp*/)
    : mAbandoned(false), mCore(core) {}

ConsumerBase::~ConsumerBase() = default;

void ConsumerBase::abandon() {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return;
    mAbandoned = true;
    for (Slot& slot : mSlots) slot = Slot();
    mCore.clear();
}

bool ConsumerBase::isAbandoned() {
    Mutex::Autolock lock(mMutex);
    return mAbandoned;
}

void ConsumerBase::setName(const String8& name) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return;
    mName = name;
    mCore->hostSetConsumerName(name);
}

void ConsumerBase::setFrameAvailableListener(const wp<FrameAvailableListener>& listener) {
    Mutex::Autolock lock(mMutex);
    mFrameAvailableListener = listener;
}

status_t ConsumerBase::setDefaultBufferSize(uint32_t width, uint32_t height) {
    Mutex::Autolock lock(mMutex);
    mHostDefaultBufferSizeCalls.emplace_back(width, height);
    if (mAbandoned) return NO_INIT;
    return mCore->hostSetDefaultBufferSize(width, height);
}

status_t ConsumerBase::setDefaultBufferFormat(PixelFormat defaultFormat) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    mCore->hostSetDefaultBufferFormat(defaultFormat);
    return NO_ERROR;
}

status_t ConsumerBase::setMaxAcquiredBufferCount(int maxAcquiredBuffers) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    return mCore->hostSetMaxAcquiredBufferCount(maxAcquiredBuffers);
}

std::vector<std::pair<uint32_t, uint32_t>> ConsumerBase::hostDefaultBufferSizeCalls() const {
    Mutex::Autolock lock(mMutex);
    return mHostDefaultBufferSizeCalls;
}

void ConsumerBase::hostNotifyFrameAvailable(const BufferItem& item) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameAvailable(item);
}

status_t ConsumerBase::acquireBufferLocked(BufferItem* item, nsecs_t /*presentWhen*/,
                                           uint64_t /*maxFrameNumber*/) {
    if (mAbandoned) return NO_INIT;
    if (!mCore->hostAcquireBuffer(item)) return NO_BUFFER_AVAILABLE;
    Slot& slot = mSlots[item->mSlot];
    if (item->mGraphicBuffer != nullptr) slot.mGraphicBuffer = item->mGraphicBuffer;
    slot.mFrameNumber = item->mFrameNumber;
    slot.mFence = item->mFence;
    return NO_ERROR;
}

status_t ConsumerBase::releaseBufferLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                           uint64_t frameNumber) {
    if (mAbandoned) return NO_INIT;
    if (slot < 0 || slot >= BufferQueueDefs::NUM_BUFFER_SLOTS) return BAD_VALUE;
    // A buffer the consumer no longer knows in this slot is stale: nothing to release.
    if (graphicBuffer != nullptr && mSlots[slot].mGraphicBuffer != graphicBuffer) return OK;
    status_t err = mCore->hostReleaseBuffer(slot, frameNumber);
    mSlots[slot].mFence = Fence::NO_FENCE;
    return err;
}

}  // namespace android
