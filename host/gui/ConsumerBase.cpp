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

#include <gui/BufferQueue.h>
#include <gui/ConsumerBase.h>
#include <unistd.h>

#include <atomic>

namespace android {

namespace {
int32_t createProcessUniqueId() {
    static std::atomic<int32_t> globalCounter{0};
    return globalCounter.fetch_add(1);
}
}  // namespace

ConsumerBase::ConsumerBase(const sp<IGraphicBufferConsumer>& bufferQueue, bool controlledByApp)
    : mAbandoned(false), mConsumer(bufferQueue), mPrevFinalReleaseFence(Fence::NO_FENCE) {
    mName = String8::format("unnamed-%d-%d", getpid(), createProcessUniqueId());
    // The queue holds the consumer weakly, through a proxy.
    wp<ConsumerListener> listener = static_cast<ConsumerListener*>(this);
    sp<IConsumerListener> proxy = new BufferQueue::ProxyConsumerListener(listener);
    if (mConsumer->consumerConnect(proxy, controlledByApp) == NO_ERROR) {
        mConsumer->setConsumerName(mName);
    }
}

ConsumerBase::~ConsumerBase() {
    // onLastStrongRef() abandons the queue; a consumer never held strongly does it here.
    Mutex::Autolock lock(mMutex);
    if (!mAbandoned) abandonLocked();
}

void ConsumerBase::onLastStrongRef(const void* /*id*/) {
    abandon();
}

void ConsumerBase::freeBufferLocked(int slotIndex) {
    mSlots[slotIndex].mGraphicBuffer = nullptr;
    mSlots[slotIndex].mFence = Fence::NO_FENCE;
    mSlots[slotIndex].mFrameNumber = 0;
}

void ConsumerBase::onFrameAvailable(const BufferItem& item) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mFrameAvailableMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameAvailable(item);
}

void ConsumerBase::onFrameReplaced(const BufferItem& item) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mFrameAvailableMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameReplaced(item);
}

void ConsumerBase::onFrameDequeued(const uint64_t bufferId) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mFrameAvailableMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameDequeued(bufferId);
}

void ConsumerBase::onFrameCancelled(const uint64_t bufferId) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mFrameAvailableMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameCancelled(bufferId);
}

void ConsumerBase::onFrameDetached(const uint64_t bufferId) {
    sp<FrameAvailableListener> listener;
    {
        Mutex::Autolock lock(mFrameAvailableMutex);
        listener = mFrameAvailableListener.promote();
    }
    if (listener != nullptr) listener->onFrameDetached(bufferId);
}

void ConsumerBase::onBuffersReleased() {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return;
    uint64_t mask = 0;
    mConsumer->getReleasedBuffers(&mask);
    for (int i = 0; i < BufferQueue::NUM_BUFFER_SLOTS; i++) {
        if (mask & (1ULL << i)) freeBufferLocked(i);
    }
}

void ConsumerBase::onSidebandStreamChanged() {}

void ConsumerBase::abandon() {
    Mutex::Autolock lock(mMutex);
    if (!mAbandoned) {
        abandonLocked();
        mAbandoned = true;
    }
}

void ConsumerBase::abandonLocked() {
    if (mAbandoned) return;
    for (int i = 0; i < BufferQueue::NUM_BUFFER_SLOTS; i++) freeBufferLocked(i);
    mConsumer->consumerDisconnect();
    mConsumer.clear();
}

bool ConsumerBase::isAbandoned() {
    Mutex::Autolock lock(mMutex);
    return mAbandoned;
}

void ConsumerBase::setName(const String8& name) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return;
    mName = name;
    mConsumer->setConsumerName(name);
}

void ConsumerBase::setFrameAvailableListener(const wp<FrameAvailableListener>& listener) {
    Mutex::Autolock lock(mFrameAvailableMutex);
    mFrameAvailableListener = listener;
}

status_t ConsumerBase::setDefaultBufferSize(uint32_t width, uint32_t height) {
    Mutex::Autolock lock(mMutex);
    mHostDefaultBufferSizeCalls.emplace_back(width, height);
    if (mAbandoned) return NO_INIT;
    return mConsumer->setDefaultBufferSize(width, height);
}

status_t ConsumerBase::setDefaultBufferFormat(PixelFormat defaultFormat) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    return mConsumer->setDefaultBufferFormat(defaultFormat);
}

status_t ConsumerBase::setConsumerUsageBits(uint64_t usage) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    return mConsumer->setConsumerUsageBits(usage);
}

status_t ConsumerBase::setTransformHint(uint32_t hint) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    return mConsumer->setTransformHint(hint);
}

status_t ConsumerBase::setMaxAcquiredBufferCount(int maxAcquiredBuffers) {
    Mutex::Autolock lock(mMutex);
    if (mAbandoned) return NO_INIT;
    return mConsumer->setMaxAcquiredBufferCount(maxAcquiredBuffers);
}

void ConsumerBase::dumpState(String8& result) const {
    dumpState(result, "");
}

void ConsumerBase::dumpState(String8& result, const char* prefix) const {
    Mutex::Autolock lock(mMutex);
    dumpLocked(result, prefix);
}

void ConsumerBase::dumpLocked(String8& result, const char* prefix) const {
    result.appendFormat("%smAbandoned=%d\n", prefix, int(mAbandoned));
    if (!mAbandoned) {
        String8 state;
        mConsumer->dumpState(String8(prefix), &state);
        result.append(state);
    }
}

status_t ConsumerBase::acquireBufferLocked(BufferItem* item, nsecs_t presentWhen,
                                           uint64_t maxFrameNumber) {
    if (mAbandoned) return NO_INIT;
    const status_t err = mConsumer->acquireBuffer(item, presentWhen, maxFrameNumber);
    if (err != NO_ERROR) return err;
    if (item->mGraphicBuffer != nullptr) {
        if (mSlots[item->mSlot].mGraphicBuffer != nullptr) freeBufferLocked(item->mSlot);
        mSlots[item->mSlot].mGraphicBuffer = item->mGraphicBuffer;
    }
    mSlots[item->mSlot].mFrameNumber = item->mFrameNumber;
    mSlots[item->mSlot].mFence = item->mFence;
    return OK;
}

status_t ConsumerBase::addReleaseFence(int slot, const sp<GraphicBuffer> graphicBuffer,
                                       const sp<Fence>& fence) {
    Mutex::Autolock lock(mMutex);
    return addReleaseFenceLocked(slot, graphicBuffer, fence);
}

status_t ConsumerBase::addReleaseFenceLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                             const sp<Fence>& fence) {
    if (!stillTracking(slot, graphicBuffer)) return OK;
    // The host has no fence merging: the newest fence that may still be pending wins.
    if (mSlots[slot].mFence == nullptr || fence->getStatus() == Fence::Status::Unsignaled) {
        mSlots[slot].mFence = fence;
    }
    return OK;
}

status_t ConsumerBase::releaseBufferLocked(int slot, const sp<GraphicBuffer> graphicBuffer,
                                           EGLDisplay display, EGLSyncKHR eglFence) {
    if (mAbandoned) return NO_INIT;
    if (!stillTracking(slot, graphicBuffer)) return OK;
    const status_t err = mConsumer->releaseBuffer(slot, mSlots[slot].mFrameNumber, display,
                                                  eglFence, mSlots[slot].mFence);
    if (err == IGraphicBufferConsumer::STALE_BUFFER_SLOT) freeBufferLocked(slot);
    mPrevFinalReleaseFence = mSlots[slot].mFence;
    mSlots[slot].mFence = Fence::NO_FENCE;
    return err;
}

bool ConsumerBase::stillTracking(int slot, const sp<GraphicBuffer> graphicBuffer) {
    if (slot < 0 || slot >= BufferQueue::NUM_BUFFER_SLOTS) return false;
    return mSlots[slot].mGraphicBuffer != nullptr && graphicBuffer != nullptr &&
           mSlots[slot].mGraphicBuffer->handle == graphicBuffer->handle;
}

std::vector<std::pair<uint32_t, uint32_t>> ConsumerBase::hostDefaultBufferSizeCalls() const {
    Mutex::Autolock lock(mMutex);
    return mHostDefaultBufferSizeCalls;
}

}  // namespace android
