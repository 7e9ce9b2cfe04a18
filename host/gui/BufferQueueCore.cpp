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

#define LOG_TAG "BufferQueueCore"

#include <gui/BufferQueueCore.h>
#include <inttypes.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace android {

namespace {

String8 getUniqueName() {
    static std::atomic<int32_t> counter{0};
    return String8::format("unnamed-%d-%d", getpid(), counter.fetch_add(1));
}

uint64_t getUniqueId() {
    static std::atomic<uint32_t> counter{0};
    return (static_cast<uint64_t>(getpid()) << 32) | counter.fetch_add(1);
}

}  // namespace

BufferQueueCore::BufferQueueCore()
    : mMutex(),
      mIsAbandoned(false),
      mConsumerControlledByApp(false),
      mConsumerName(getUniqueName()),
      mConsumerListener(),
      mConsumerUsageBits(0),
      mConsumerIsProtected(false),
      mConnectedApi(NO_CONNECTED_API),
      // Left unset by libgui until a producer connects; a fixed value keeps host logs
      // repeatable.
      mConnectedPid(-1),
      mLinkedToDeath(),
      mConnectedProducerListener(),
      mBufferReleasedCbEnabled(false),
      mSlots(),
      mQueue(),
      mFreeSlots(),
      mFreeBuffers(),
      mUnusedSlots(),
      mActiveBuffers(),
      mDequeueCondition(),
      mDequeueBufferCannotBlock(false),
      mQueueBufferCanDrop(false),
      mLegacyBufferDrop(true),
      mDefaultBufferFormat(PIXEL_FORMAT_RGBA_8888),
      mDefaultWidth(1),
      mDefaultHeight(1),
      mDefaultBufferDataSpace(HAL_DATASPACE_UNKNOWN),
      mMaxBufferCount(BufferQueueDefs::NUM_BUFFER_SLOTS),
      mMaxAcquiredBufferCount(1),
      mMaxDequeuedBufferCount(1),
      mBufferHasBeenQueued(false),
      mFrameCounter(0),
      mTransformHint(0),
      mIsAllocating(false),
      mIsAllocatingCondition(),
      mAllowAllocation(true),
      mBufferAge(0),
      mGenerationNumber(0),
      mAsyncMode(false),
      mSharedBufferMode(false),
      mAutoRefresh(false),
      mSharedBufferSlot(INVALID_BUFFER_SLOT),
      mLastQueuedSlot(INVALID_BUFFER_SLOT),
      mUniqueId(getUniqueId()),
      mAutoPrerotation(false),
      mTransformHintInUse(0) {
    const int numStartingBuffers = getMaxBufferCountLocked();
    for (int s = 0; s < numStartingBuffers; s++) {
        mFreeSlots.insert(s);
    }
    for (int s = numStartingBuffers; s < BufferQueueDefs::NUM_BUFFER_SLOTS; s++) {
        mUnusedSlots.push_front(s);
    }
}

BufferQueueCore::~BufferQueueCore() = default;

void BufferQueueCore::dumpState(const String8& prefix, String8* outResult) const {
    std::lock_guard<std::mutex> lock(mMutex);
    outResult->appendFormat(
        "%s- BufferQueue mMaxAcquiredBufferCount=%d mMaxDequeuedBufferCount=%d\n", prefix.c_str(),
        mMaxAcquiredBufferCount, mMaxDequeuedBufferCount);
    outResult->appendFormat("%s  mDequeueBufferCannotBlock=%d mAsyncMode=%d\n", prefix.c_str(),
                            mDequeueBufferCannotBlock, mAsyncMode);
    outResult->appendFormat("%s  mQueueBufferCanDrop=%d mLegacyBufferDrop=%d\n", prefix.c_str(),
                            mQueueBufferCanDrop, mLegacyBufferDrop);
    outResult->appendFormat("%s  default-size=[%dx%d] default-format=%d\n", prefix.c_str(),
                            mDefaultWidth, mDefaultHeight, mDefaultBufferFormat);
    outResult->appendFormat("%s  FIFO(%zu):\n", prefix.c_str(), mQueue.size());
    for (const BufferItem& item : mQueue) {
        outResult->appendFormat("%s    %02d frame=%" PRIu64 "\n", prefix.c_str(), item.mSlot,
                                item.mFrameNumber);
    }
    outResult->appendFormat("%s  Slots:\n", prefix.c_str());
    for (int s : mActiveBuffers) {
        outResult->appendFormat("%s   [%02d] state=%-8s frame=%" PRIu64 "\n", prefix.c_str(), s,
                                mSlots[s].mBufferState.string(), mSlots[s].mFrameNumber);
    }
}

int BufferQueueCore::getMinUndequeuedBufferCountLocked() const {
    if (mAsyncMode || mDequeueBufferCannotBlock) return mMaxAcquiredBufferCount + 1;
    return mMaxAcquiredBufferCount;
}

int BufferQueueCore::getMinMaxBufferCountLocked() const {
    return getMinUndequeuedBufferCountLocked() + 1;
}

int BufferQueueCore::getMaxBufferCountLocked(bool asyncMode, bool dequeueBufferCannotBlock,
                                             int maxBufferCount) const {
    const int maxCount = mMaxAcquiredBufferCount + mMaxDequeuedBufferCount +
                         ((asyncMode || dequeueBufferCannotBlock) ? 1 : 0);
    return std::min(maxBufferCount, maxCount);
}

int BufferQueueCore::getMaxBufferCountLocked() const {
    return getMaxBufferCountLocked(mAsyncMode, mDequeueBufferCannotBlock, mMaxBufferCount);
}

void BufferQueueCore::clearBufferSlotLocked(int slot) {
    BufferSlot& s = mSlots[slot];
    s.mGraphicBuffer.clear();
    s.mBufferState.reset();
    s.mRequestBufferCalled = false;
    s.mFrameNumber = 0;
    s.mAcquireCalled = false;
    s.mNeedsReallocation = true;
    s.mEglFence = EGL_NO_SYNC_KHR;
    s.mFence = Fence::NO_FENCE;
    s.mEglDisplay = EGL_NO_DISPLAY;
    if (mLastQueuedSlot == slot) mLastQueuedSlot = INVALID_BUFFER_SLOT;
}

void BufferQueueCore::freeAllBuffersLocked() {
    for (int s : mFreeSlots) clearBufferSlotLocked(s);
    for (int s : mFreeBuffers) {
        mFreeSlots.insert(s);
        clearBufferSlotLocked(s);
    }
    mFreeBuffers.clear();
    for (int s : mActiveBuffers) {
        mFreeSlots.insert(s);
        clearBufferSlotLocked(s);
    }
    mActiveBuffers.clear();
    for (BufferItem& item : mQueue) {
        // The consumer must not release what it never holds.
        item.mIsStale = true;
        item.mAcquireCalled = false;
    }
}

bool BufferQueueCore::adjustAvailableSlotsLocked(int delta) {
    if (delta >= 0) {
        if (static_cast<size_t>(delta) > mUnusedSlots.size()) return false;
        for (; delta > 0; delta--) {
            const int slot = mUnusedSlots.back();
            mUnusedSlots.pop_back();
            mFreeSlots.insert(slot);
        }
        return true;
    }
    if (static_cast<size_t>(-delta) > mFreeSlots.size() + mFreeBuffers.size()) return false;
    for (; delta < 0; delta++) {
        if (!mFreeSlots.empty()) {
            auto slot = mFreeSlots.begin();
            clearBufferSlotLocked(*slot);
            mUnusedSlots.push_back(*slot);
            mFreeSlots.erase(slot);
        } else {
            const int slot = mFreeBuffers.back();
            clearBufferSlotLocked(slot);
            mUnusedSlots.push_back(slot);
            mFreeBuffers.pop_back();
        }
    }
    return true;
}

void BufferQueueCore::waitWhileAllocatingLocked(std::unique_lock<std::mutex>& lock) const {
    while (mIsAllocating) mIsAllocatingCondition.wait(lock);
}

BufferQueueCore::HostSnapshot BufferQueueCore::hostSnapshot() const {
    std::lock_guard<std::mutex> lock(mMutex);
    HostSnapshot snap;
    snap.consumerName = mConsumerName.c_str();
    snap.uniqueId = mUniqueId;
    snap.connectedApi = mConnectedApi;
    snap.connectedPid = mConnectedPid;
    for (size_t i = 0; i < mQueue.size(); i++) snap.queue.push_back(mQueue[i]);
    snap.maxAcquiredBufferCount = mMaxAcquiredBufferCount;
    snap.maxDequeuedBufferCount = mMaxDequeuedBufferCount;
    snap.maxBufferCount = getMaxBufferCountLocked();
    snap.dequeueBufferCannotBlock = mDequeueBufferCannotBlock;
    snap.asyncMode = mAsyncMode;
    snap.defaultWidth = mDefaultWidth;
    snap.defaultHeight = mDefaultHeight;
    snap.defaultBufferFormat = mDefaultBufferFormat;
    snap.frameCounter = mFrameCounter;
    snap.slots.assign(std::begin(mSlots), std::end(mSlots));
    snap.freeSlots = mFreeSlots;
    snap.freeBuffers = mFreeBuffers;
    snap.activeBuffers = mActiveBuffers;
    snap.unusedSlots = mUnusedSlots;
    return snap;
}

void BufferQueueCore::hostDropDequeuedBuffer(int slot) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mSlots[slot].mBufferState.isDequeued()) mSlots[slot].mGraphicBuffer.clear();
}

uint64_t BufferQueueCore::hostWaitsEntered() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mHostWaitsEntered;
}

bool BufferQueueCore::hostDequeueWouldWait() const {
    std::lock_guard<std::mutex> lock(mMutex);
    // waitForFreeSlotThenRelock()'s decision, for a dequeue of the producer's next frame.
    if (mIsAbandoned) return false;
    int dequeued = 0;
    for (int s : mActiveBuffers) {
        if (mSlots[s].mBufferState.isDequeued()) ++dequeued;
    }
    if (mBufferHasBeenQueued && dequeued >= mMaxDequeuedBufferCount) return false;
    if (mQueue.size() > static_cast<size_t>(getMaxBufferCountLocked())) return true;
    if (mSharedBufferMode && mSharedBufferSlot != INVALID_BUFFER_SLOT) return false;
    if (!mFreeBuffers.empty()) return false;
    if (mAllowAllocation && !mFreeSlots.empty()) return false;
    return !(mDequeueBufferCannotBlock || mAsyncMode);
}

void BufferQueueCore::hostWakeWaiters() {
    std::lock_guard<std::mutex> lock(mMutex);
    mDequeueCondition.notify_all();
}

bool BufferQueueCore::hostCheckSlotInvariant(std::string* whyNot) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return hostCheckSlotInvariantLocked(whyNot);
}

bool BufferQueueCore::hostCheckSlotInvariantLocked(std::string* whyNot) const {
    auto fail = [whyNot](int slot, const char* what) {
        if (whyNot != nullptr) *whyNot = "slot " + std::to_string(slot) + ": " + what;
        return false;
    };
    int seen[BufferQueueDefs::NUM_BUFFER_SLOTS] = {};
    for (int s : mFreeSlots) {
        if (s < 0 || s >= BufferQueueDefs::NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mFreeSlots but not FREE");
        if (mSlots[s].mGraphicBuffer != nullptr) return fail(s, "in mFreeSlots with a buffer");
    }
    for (int s : mFreeBuffers) {
        if (s < 0 || s >= BufferQueueDefs::NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mFreeBuffers but not FREE");
        if (mSlots[s].mGraphicBuffer == nullptr) return fail(s, "in mFreeBuffers without buffer");
    }
    for (int s : mActiveBuffers) {
        if (s < 0 || s >= BufferQueueDefs::NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        const BufferState& state = mSlots[s].mBufferState;
        if (state.isFree() && !state.isShared()) return fail(s, "in mActiveBuffers but FREE");
    }
    for (int s : mUnusedSlots) {
        if (s < 0 || s >= BufferQueueDefs::NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mUnusedSlots but not FREE");
        if (mSlots[s].mGraphicBuffer != nullptr) return fail(s, "in mUnusedSlots with a buffer");
    }
    for (int s = 0; s < BufferQueueDefs::NUM_BUFFER_SLOTS; s++) {
        if (seen[s] != 1) return fail(s, seen[s] == 0 ? "in no set" : "in several sets");
    }
    for (size_t i = 0; i < mQueue.size(); i++) {
        const int s = mQueue[i].mSlot;
        if (s < 0 || s >= BufferQueueDefs::NUM_BUFFER_SLOTS || !mSlots[s].mBufferState.isQueued()) {
            return fail(s, "in mQueue but not QUEUED");
        }
    }
    const int available = BufferQueueDefs::NUM_BUFFER_SLOTS - static_cast<int>(mUnusedSlots.size());
    if (available != getMaxBufferCountLocked()) {
        if (whyNot != nullptr) {
            *whyNot = std::to_string(available) + " slots available, max buffer count " +
                      std::to_string(getMaxBufferCountLocked());
        }
        return false;
    }
    return true;
}

}  // namespace android
