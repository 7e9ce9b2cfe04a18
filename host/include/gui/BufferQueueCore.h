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

// Host model of AOSP libgui's gui/BufferQueueCore.h (Android 14/15): the state shared by a
// buffer queue's producer and consumer. Every data member is private with AOSP's name and type;
// libgui's producer and consumer classes are not modelled, so a clearly marked host-only public
// section drives the core through the same transitions (dequeue, queue, acquire, release,
// cancel, limits) keeping AOSP's slot invariant: each slot is in exactly one of mFreeSlots,
// mFreeBuffers, mActiveBuffers, mUnusedSlots, and the slots outside mUnusedSlots number exactly
// getMaxBufferCountLocked().
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferQueueDefs.h>
#include <gui/BufferSlot.h>
#include <stdint.h>
#include <sys/types.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include <list>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace android {

class BufferQueueCore : public virtual RefBase {
public:
    enum { INVALID_BUFFER_SLOT = BufferItem::INVALID_BUFFER_SLOT };
    enum { MAX_MAX_ACQUIRED_BUFFERS = BufferQueueDefs::NUM_BUFFER_SLOTS - 2 };
    enum { NUM_BUFFER_SLOTS = BufferQueueDefs::NUM_BUFFER_SLOTS };
    enum { NO_CONNECTED_API = 0, CURRENTLY_CONNECTED_API = -1 };

    typedef Vector<BufferItem> Fifo;

    // An empty queue: no buffers, slots 0..getMaxBufferCountLocked()-1 free, the rest unused.
    BufferQueueCore();
    ~BufferQueueCore() override;

    BufferQueueCore(const BufferQueueCore&) = delete;
    BufferQueueCore& operator=(const BufferQueueCore&) = delete;

    // ---- HOST-ONLY (not in AOSP): what BufferQueueProducer/BufferQueueConsumer do ----
    // Each takes mMutex (not recursive: never call with hostMutex() held).

    // Producer dequeueBuffer: takes the oldest free buffer, else the lowest free slot, and makes
    // it DEQUEUED. A slot without a buffer, or whose buffer does not match the default size and
    // format, gets a new GraphicBuffer unless `allocate` is false (then the slot stays without
    // a buffer, as between AOSP's dequeue and its allocation). Returns the slot, or
    // INVALID_BUFFER_SLOT when mMaxDequeuedBufferCount buffers are already dequeued or no slot
    // is available.
    int hostDequeueBuffer(bool allocate = true);
    // Producer queueBuffer: `slot` must be DEQUEUED with a buffer. Its frame number becomes
    // ++mFrameCounter, it becomes QUEUED and a BufferItem joins mQueue (replacing a droppable
    // last item in async mode, whose slot becomes a free buffer). Returns BAD_VALUE otherwise.
    status_t hostQueueBuffer(int slot, int64_t timestamp = 0);
    // Producer cancelBuffer: a DEQUEUED `slot` becomes FREE (a free buffer, or a free slot if it
    // has no buffer). Returns BAD_VALUE otherwise.
    status_t hostCancelBuffer(int slot);
    // Consumer acquireBuffer: pops the front of mQueue into `outItem` and makes its slot
    // ACQUIRED. Returns false if the queue is empty or mMaxAcquiredBufferCount + 1 buffers are
    // already acquired (AOSP's one extra).
    bool hostAcquireBuffer(BufferItem* outItem);
    // Consumer releaseBuffer: an ACQUIRED `slot` whose frame is `frameNumber` becomes FREE (a
    // free buffer). Returns BAD_VALUE for a slot that is not acquired, STALE_BUFFER_SLOT (1)
    // for another frame number.
    status_t hostReleaseBuffer(int slot, uint64_t frameNumber);
    // Marks an active `slot` SHARED (shared-buffer mode). Returns BAD_VALUE otherwise.
    status_t hostMarkShared(int slot);

    // Setters of the consumer's and producer's configuration.
    void hostSetConsumerName(const String8& name);
    void hostSetConnectedApi(int api, pid_t pid);
    // These change how many slots are available, moving slots between mUnusedSlots and the free
    // sets as AOSP does. Return BAD_VALUE (changing nothing) if the new limits are out of range,
    // below what is in use, or need more free slots than there are.
    status_t hostSetMaxAcquiredBufferCount(int maxAcquiredBuffers);
    status_t hostSetMaxDequeuedBufferCount(int maxDequeuedBuffers);
    status_t hostSetAsyncMode(bool async);
    status_t hostSetDequeueBufferCannotBlock(bool cannotBlock);
    // Returns BAD_VALUE for a zero dimension, as AOSP's consumer does.
    status_t hostSetDefaultBufferSize(uint32_t width, uint32_t height);
    void hostSetDefaultBufferFormat(PixelFormat format);

    // A copy of the core's state, taken under mMutex.
    struct HostSnapshot {
        std::string consumerName;
        uint64_t uniqueId = 0;
        int connectedApi = 0;
        pid_t connectedPid = 0;
        std::vector<BufferItem> queue;
        int maxAcquiredBufferCount = 0;
        int maxDequeuedBufferCount = 0;
        int maxBufferCount = 0;
        bool dequeueBufferCannotBlock = false;
        bool asyncMode = false;
        uint32_t defaultWidth = 0;
        uint32_t defaultHeight = 0;
        PixelFormat defaultBufferFormat = 0;
        uint64_t frameCounter = 0;
        std::vector<BufferSlot> slots;  // NUM_BUFFER_SLOTS entries
        std::set<int> freeSlots;
        std::list<int> freeBuffers;
        std::set<int> activeBuffers;
        std::list<int> unusedSlots;
    };
    HostSnapshot hostSnapshot() const;

    // Returns true if the slot invariant holds; otherwise false, with the first violation in
    // `whyNot` when given.
    bool hostCheckSlotInvariant(std::string* whyNot = nullptr) const;

    // The core's lock, for callers that must hold it (as libgui does around a core dump).
    std::mutex& hostMutex() const { return mMutex; }

private:
    friend class TalvexBufferQueueHelper;

    // Returns "unnamed-<pid>-<n>", n counting from 0 in the process.
    static String8 getUniqueName();
    // Returns (pid << 32) | a per-process counter.
    static uint64_t getUniqueId();

    int getMinUndequeuedBufferCountLocked() const;
    int getMaxBufferCountLocked() const;
    int getMaxBufferCountLocked(bool asyncMode, bool dequeueBufferCannotBlock,
                                int maxBufferCount) const;
    // Moves `delta` slots from mUnusedSlots to mFreeSlots (delta > 0) or from the free sets to
    // mUnusedSlots (delta < 0, dropping their buffers). Returns false, changing nothing, if
    // there are not enough.
    bool adjustAvailableSlotsLocked(int delta);
    void clearBufferSlotLocked(int slot);
    status_t setLimitsLocked(int maxAcquired, int maxDequeued, bool async, bool cannotBlock);
    bool checkSlotInvariantLocked(std::string* whyNot) const;
    int countActiveLocked(bool (BufferState::*predicate)() const) const;

    mutable std::mutex mMutex;
    bool mIsAbandoned;
    bool mConsumerControlledByApp;
    String8 mConsumerName;
    uint64_t mConsumerUsageBits;
    bool mConsumerIsProtected;
    int mConnectedApi;
    pid_t mConnectedPid;
    bool mBufferReleasedCbEnabled;
    BufferQueueDefs::SlotsType mSlots;
    Fifo mQueue;
    std::set<int> mFreeSlots;
    std::list<int> mFreeBuffers;
    std::list<int> mUnusedSlots;
    std::set<int> mActiveBuffers;
    bool mDequeueBufferCannotBlock;
    bool mQueueBufferCanDrop;
    bool mLegacyBufferDrop;
    PixelFormat mDefaultBufferFormat;
    uint32_t mDefaultWidth;
    uint32_t mDefaultHeight;
    int mMaxBufferCount;
    int mMaxAcquiredBufferCount;
    int mMaxDequeuedBufferCount;
    bool mBufferHasBeenQueued;
    uint64_t mFrameCounter;
    uint32_t mTransformHint;
    bool mIsAllocating;
    bool mAllowAllocation;
    uint64_t mBufferAge;
    uint32_t mGenerationNumber;
    bool mAsyncMode;
    bool mSharedBufferMode;
    bool mAutoRefresh;
    int mSharedBufferSlot;
    int mLastQueuedSlot;
    const uint64_t mUniqueId;
};

}  // namespace android
