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
#include <unistd.h>

#include <algorithm>
#include <atomic>

namespace android {

namespace {
// IGraphicBufferConsumer::STALE_BUFFER_SLOT.
constexpr status_t kStaleBufferSlot = 1;
}  // namespace

String8 BufferQueueCore::getUniqueName() {
    static std::atomic<int32_t> counter{0};
    return String8::format("unnamed-%d-%d", getpid(), counter.fetch_add(1));
}

uint64_t BufferQueueCore::getUniqueId() {
    static std::atomic<uint32_t> counter{0};
    return (static_cast<uint64_t>(getpid()) << 32) | counter.fetch_add(1);
}

BufferQueueCore::BufferQueueCore()
    : mIsAbandoned(false),
      mConsumerControlledByApp(false),
      mConsumerName(getUniqueName()),
      mConsumerUsageBits(0),
      mConsumerIsProtected(false),
      mConnectedApi(NO_CONNECTED_API),
      mConnectedPid(-1),
      mBufferReleasedCbEnabled(false),
      mSlots(),
      mQueue(),
      mFreeSlots(),
      mFreeBuffers(),
      mUnusedSlots(),
      mActiveBuffers(),
      mDequeueBufferCannotBlock(false),
      mQueueBufferCanDrop(false),
      mLegacyBufferDrop(true),
      mDefaultBufferFormat(PIXEL_FORMAT_RGBA_8888),
      mDefaultWidth(1),
      mDefaultHeight(1),
      mMaxBufferCount(NUM_BUFFER_SLOTS),
      mMaxAcquiredBufferCount(1),
      mMaxDequeuedBufferCount(1),
      mBufferHasBeenQueued(false),
      mFrameCounter(0),
      mTransformHint(0),
      mIsAllocating(false),
      mAllowAllocation(true),
      mBufferAge(0),
      mGenerationNumber(0),
      mAsyncMode(false),
      mSharedBufferMode(false),
      mAutoRefresh(false),
      mSharedBufferSlot(INVALID_BUFFER_SLOT),
      mLastQueuedSlot(INVALID_BUFFER_SLOT),
      mUniqueId(getUniqueId()) {
    const int numStartingBuffers = getMaxBufferCountLocked();
    for (int s = 0; s < numStartingBuffers; s++) {
        mFreeSlots.insert(s);
    }
    for (int s = numStartingBuffers; s < NUM_BUFFER_SLOTS; s++) {
        mUnusedSlots.push_front(s);
    }
}

BufferQueueCore::~BufferQueueCore() = default;

int BufferQueueCore::getMinUndequeuedBufferCountLocked() const {
    if (mSharedBufferMode) return 0;
    if (mAsyncMode || mDequeueBufferCannotBlock) return mMaxAcquiredBufferCount + 1;
    return mMaxAcquiredBufferCount;
}

int BufferQueueCore::getMaxBufferCountLocked(bool asyncMode, bool dequeueBufferCannotBlock,
                                             int maxBufferCount) const {
    int maxCount = mMaxAcquiredBufferCount + mMaxDequeuedBufferCount +
                   ((asyncMode || dequeueBufferCannotBlock) ? 1 : 0);
    return std::min(maxBufferCount, maxCount);
}

int BufferQueueCore::getMaxBufferCountLocked() const {
    return getMaxBufferCountLocked(mAsyncMode, mDequeueBufferCannotBlock, mMaxBufferCount);
}

void BufferQueueCore::clearBufferSlotLocked(int slot) {
    mSlots[slot].mGraphicBuffer.clear();
    mSlots[slot].mBufferState.reset();
    mSlots[slot].mRequestBufferCalled = false;
    mSlots[slot].mFrameNumber = 0;
    mSlots[slot].mAcquireCalled = false;
    mSlots[slot].mNeedsReallocation = true;
    mSlots[slot].mFence = Fence::NO_FENCE;
}

bool BufferQueueCore::adjustAvailableSlotsLocked(int delta) {
    if (delta >= 0) {
        if (static_cast<size_t>(delta) > mUnusedSlots.size()) return false;
        for (; delta > 0; delta--) {
            int slot = mUnusedSlots.back();
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
            int slot = mFreeBuffers.back();
            clearBufferSlotLocked(slot);
            mUnusedSlots.push_back(slot);
            mFreeBuffers.pop_back();
        }
    }
    return true;
}

int BufferQueueCore::countActiveLocked(bool (BufferState::*predicate)() const) const {
    return static_cast<int>(std::count_if(mActiveBuffers.begin(), mActiveBuffers.end(), [&](int s) {
        return (mSlots[s].mBufferState.*predicate)();
    }));
}

status_t BufferQueueCore::setLimitsLocked(int maxAcquired, int maxDequeued, bool async,
                                          bool cannotBlock) {
    if (maxAcquired < 1 || maxAcquired > MAX_MAX_ACQUIRED_BUFFERS || maxDequeued < 1) {
        return BAD_VALUE;
    }
    const int newMax = maxAcquired + maxDequeued + ((async || cannotBlock) ? 1 : 0);
    if (newMax > mMaxBufferCount) return BAD_VALUE;
    if (countActiveLocked(&BufferState::isDequeued) > maxDequeued) return BAD_VALUE;
    if (countActiveLocked(&BufferState::isAcquired) > maxAcquired + 1) return BAD_VALUE;
    if (!adjustAvailableSlotsLocked(newMax - getMaxBufferCountLocked())) return BAD_VALUE;
    mMaxAcquiredBufferCount = maxAcquired;
    mMaxDequeuedBufferCount = maxDequeued;
    mAsyncMode = async;
    mDequeueBufferCannotBlock = cannotBlock;
    return NO_ERROR;
}

int BufferQueueCore::hostDequeueBuffer(bool allocate) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mIsAbandoned) return INVALID_BUFFER_SLOT;
    if (countActiveLocked(&BufferState::isDequeued) >= mMaxDequeuedBufferCount) {
        return INVALID_BUFFER_SLOT;
    }
    int slot;
    if (!mFreeBuffers.empty()) {
        slot = mFreeBuffers.front();
        mFreeBuffers.pop_front();
    } else if (!mFreeSlots.empty()) {
        slot = *mFreeSlots.begin();
        mFreeSlots.erase(mFreeSlots.begin());
    } else {
        return INVALID_BUFFER_SLOT;
    }
    mActiveBuffers.insert(slot);
    BufferSlot& s = mSlots[slot];
    s.mBufferState.dequeue();
    s.mFence = Fence::NO_FENCE;
    const sp<GraphicBuffer>& buffer = s.mGraphicBuffer;
    const bool mismatch =
        buffer == nullptr || buffer->needsReallocation(mDefaultWidth, mDefaultHeight,
                                                       mDefaultBufferFormat, 1, mConsumerUsageBits);
    if (mismatch && allocate) {
        s.mGraphicBuffer = new GraphicBuffer(mDefaultWidth, mDefaultHeight, mDefaultBufferFormat, 1,
                                             mConsumerUsageBits, mConsumerName.c_str());
        s.mRequestBufferCalled = false;
        s.mAcquireCalled = false;
        s.mNeedsReallocation = false;
        s.mFrameNumber = 0;
    } else if (mismatch) {
        s.mGraphicBuffer.clear();
    }
    return slot;
}

status_t BufferQueueCore::hostQueueBuffer(int slot, int64_t timestamp) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (slot < 0 || slot >= NUM_BUFFER_SLOTS) return BAD_VALUE;
    BufferSlot& s = mSlots[slot];
    if (!s.mBufferState.isDequeued() || s.mGraphicBuffer == nullptr) return BAD_VALUE;

    s.mFrameNumber = ++mFrameCounter;
    s.mBufferState.queue();
    mBufferHasBeenQueued = true;
    mLastQueuedSlot = slot;

    BufferItem item;
    item.mGraphicBuffer = s.mGraphicBuffer;
    item.mFence = s.mFence;
    item.mTimestamp = timestamp;
    item.mIsAutoTimestamp = timestamp == 0;
    item.mFrameNumber = s.mFrameNumber;
    item.mSlot = slot;
    item.mAcquireCalled = s.mAcquireCalled;
    item.mApi = mConnectedApi;
    item.mIsDroppable = !mSharedBufferMode && (mAsyncMode || mDequeueBufferCannotBlock);

    if (!mQueue.isEmpty() && mQueue[mQueue.size() - 1].mIsDroppable) {
        // The last queued buffer is replaced; its slot goes back to the free buffers.
        const int dropped = mQueue[mQueue.size() - 1].mSlot;
        mSlots[dropped].mBufferState.freeQueued();
        if (!mSlots[dropped].mBufferState.isShared() && mSlots[dropped].mBufferState.isFree()) {
            mActiveBuffers.erase(dropped);
            mFreeBuffers.push_back(dropped);
        }
        mQueue.editItemAt(mQueue.size() - 1) = item;
    } else {
        mQueue.push_back(item);
    }
    return NO_ERROR;
}

status_t BufferQueueCore::hostCancelBuffer(int slot) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (slot < 0 || slot >= NUM_BUFFER_SLOTS) return BAD_VALUE;
    BufferSlot& s = mSlots[slot];
    if (!s.mBufferState.isDequeued()) return BAD_VALUE;
    s.mBufferState.cancel();
    if (!s.mBufferState.isShared() && s.mBufferState.isFree()) {
        mActiveBuffers.erase(slot);
        if (s.mGraphicBuffer != nullptr) {
            mFreeBuffers.push_back(slot);
        } else {
            mFreeSlots.insert(slot);
        }
    }
    return NO_ERROR;
}

bool BufferQueueCore::hostAcquireBuffer(BufferItem* outItem) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mQueue.isEmpty()) return false;
    if (countActiveLocked(&BufferState::isAcquired) >= mMaxAcquiredBufferCount + 1) return false;
    BufferItem item = mQueue[0];
    mQueue.removeAt(0);
    BufferSlot& s = mSlots[item.mSlot];
    s.mBufferState.acquire();
    // The consumer already holds the buffer if it acquired this slot before.
    if (s.mAcquireCalled) item.mGraphicBuffer.clear();
    s.mAcquireCalled = true;
    item.mQueuedBuffer = true;
    if (outItem != nullptr) *outItem = item;
    return true;
}

status_t BufferQueueCore::hostReleaseBuffer(int slot, uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (slot < 0 || slot >= NUM_BUFFER_SLOTS) return BAD_VALUE;
    BufferSlot& s = mSlots[slot];
    if (frameNumber != s.mFrameNumber && !s.mBufferState.isShared()) return kStaleBufferSlot;
    if (!s.mBufferState.isAcquired()) return BAD_VALUE;
    s.mBufferState.release();
    if (!s.mBufferState.isShared() && s.mBufferState.isFree()) {
        mActiveBuffers.erase(slot);
        mFreeBuffers.push_back(slot);
    }
    return NO_ERROR;
}

status_t BufferQueueCore::hostMarkShared(int slot) {
    std::lock_guard<std::mutex> lock(mMutex);
    if (mActiveBuffers.count(slot) == 0) return BAD_VALUE;
    mSlots[slot].mBufferState.mShared = true;
    mSharedBufferMode = true;
    mSharedBufferSlot = slot;
    return NO_ERROR;
}

void BufferQueueCore::hostSetConsumerName(const String8& name) {
    std::lock_guard<std::mutex> lock(mMutex);
    mConsumerName = name;
}

void BufferQueueCore::hostSetConnectedApi(int api, pid_t pid) {
    std::lock_guard<std::mutex> lock(mMutex);
    mConnectedApi = api;
    mConnectedPid = pid;
}

status_t BufferQueueCore::hostSetMaxAcquiredBufferCount(int maxAcquiredBuffers) {
    std::lock_guard<std::mutex> lock(mMutex);
    return setLimitsLocked(maxAcquiredBuffers, mMaxDequeuedBufferCount, mAsyncMode,
                           mDequeueBufferCannotBlock);
}

status_t BufferQueueCore::hostSetMaxDequeuedBufferCount(int maxDequeuedBuffers) {
    std::lock_guard<std::mutex> lock(mMutex);
    return setLimitsLocked(mMaxAcquiredBufferCount, maxDequeuedBuffers, mAsyncMode,
                           mDequeueBufferCannotBlock);
}

status_t BufferQueueCore::hostSetAsyncMode(bool async) {
    std::lock_guard<std::mutex> lock(mMutex);
    return setLimitsLocked(mMaxAcquiredBufferCount, mMaxDequeuedBufferCount, async,
                           mDequeueBufferCannotBlock);
}

status_t BufferQueueCore::hostSetDequeueBufferCannotBlock(bool cannotBlock) {
    std::lock_guard<std::mutex> lock(mMutex);
    return setLimitsLocked(mMaxAcquiredBufferCount, mMaxDequeuedBufferCount, mAsyncMode,
                           cannotBlock);
}

status_t BufferQueueCore::hostSetDefaultBufferSize(uint32_t width, uint32_t height) {
    if (width == 0 || height == 0) return BAD_VALUE;
    std::lock_guard<std::mutex> lock(mMutex);
    mDefaultWidth = width;
    mDefaultHeight = height;
    return NO_ERROR;
}

void BufferQueueCore::hostSetDefaultBufferFormat(PixelFormat format) {
    std::lock_guard<std::mutex> lock(mMutex);
    mDefaultBufferFormat = format;
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

bool BufferQueueCore::hostCheckSlotInvariant(std::string* whyNot) const {
    std::lock_guard<std::mutex> lock(mMutex);
    return checkSlotInvariantLocked(whyNot);
}

bool BufferQueueCore::checkSlotInvariantLocked(std::string* whyNot) const {
    auto fail = [whyNot](int slot, const char* what) {
        if (whyNot != nullptr) *whyNot = "slot " + std::to_string(slot) + ": " + what;
        return false;
    };
    int seen[NUM_BUFFER_SLOTS] = {};
    for (int s : mFreeSlots) {
        if (s < 0 || s >= NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mFreeSlots but not FREE");
        if (mSlots[s].mGraphicBuffer != nullptr) return fail(s, "in mFreeSlots with a buffer");
    }
    for (int s : mFreeBuffers) {
        if (s < 0 || s >= NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mFreeBuffers but not FREE");
        if (mSlots[s].mGraphicBuffer == nullptr) return fail(s, "in mFreeBuffers without buffer");
    }
    for (int s : mActiveBuffers) {
        if (s < 0 || s >= NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        const BufferState& state = mSlots[s].mBufferState;
        if (state.isFree() && !state.isShared()) return fail(s, "in mActiveBuffers but FREE");
    }
    for (int s : mUnusedSlots) {
        if (s < 0 || s >= NUM_BUFFER_SLOTS) return fail(s, "out of range");
        seen[s]++;
        if (!mSlots[s].mBufferState.isFree()) return fail(s, "in mUnusedSlots but not FREE");
        if (mSlots[s].mGraphicBuffer != nullptr) return fail(s, "in mUnusedSlots with a buffer");
    }
    for (int s = 0; s < NUM_BUFFER_SLOTS; s++) {
        if (seen[s] != 1) return fail(s, seen[s] == 0 ? "in no set" : "in several sets");
    }
    for (size_t i = 0; i < mQueue.size(); i++) {
        const int s = mQueue[i].mSlot;
        if (s < 0 || s >= NUM_BUFFER_SLOTS || !mSlots[s].mBufferState.isQueued()) {
            return fail(s, "in mQueue but not QUEUED");
        }
    }
    const int available = NUM_BUFFER_SLOTS - static_cast<int>(mUnusedSlots.size());
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
