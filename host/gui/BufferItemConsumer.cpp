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
