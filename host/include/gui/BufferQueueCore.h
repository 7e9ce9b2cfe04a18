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

// Host model of libgui's gui/BufferQueueCore.h (Android 14): the state a buffer queue's producer
// and consumer share. Every member is private, with Android 14's name and type, and reached by
// BufferQueueProducer and BufferQueueConsumer as in libgui. Each slot number is in exactly one
// of mFreeSlots, mFreeBuffers, mActiveBuffers and mUnusedSlots, and the slots outside
// mUnusedSlots number getMaxBufferCountLocked().
#pragma once

#include <gui/BufferItem.h>
#include <gui/BufferQueueDefs.h>
#include <gui/BufferSlot.h>
#include <gui/IConsumerListener.h>
#include <gui/IProducerListener.h>
#include <stdint.h>
#include <sys/types.h>
#include <system/graphics.h>
#include <ui/PixelFormat.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Vector.h>

#include <condition_variable>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace android {

class BufferQueueCore : public virtual RefBase {
    friend class BufferQueueProducer;
    friend class BufferQueueConsumer;

public:
    enum { INVALID_BUFFER_SLOT = BufferItem::INVALID_BUFFER_SLOT };
    enum { MAX_MAX_ACQUIRED_BUFFERS = BufferQueueDefs::NUM_BUFFER_SLOTS - 2 };
    enum {
        CURRENTLY_CONNECTED_API = -1,
        NO_CONNECTED_API = 0,
    };

    typedef Vector<BufferItem> Fifo;

    // An empty queue: no buffers, slots 0..getMaxBufferCountLocked()-1 free, the rest unused.
    BufferQueueCore();
    virtual ~BufferQueueCore();

private:
    // Reads the core for its dumps (libgui_talvex_utils).
    friend class TalvexBufferQueueHelper;

    // Appends a summary of the queue to `*outResult`, each line behind `prefix`; takes mMutex.
    void dumpState(const String8& prefix, String8* outResult) const;

    int getMinUndequeuedBufferCountLocked() const;
    int getMinMaxBufferCountLocked() const;
    int getMaxBufferCountLocked() const;
    int getMaxBufferCountLocked(bool asyncMode, bool dequeueBufferCannotBlock,
                                int maxBufferCount) const;
    // Forgets `slot`'s buffer and state.
    void clearBufferSlotLocked(int slot);
    // Drops every buffer: every slot outside mUnusedSlots becomes a free slot.
    void freeAllBuffersLocked();
    // Moves `delta` slots from mUnusedSlots to mFreeSlots (delta > 0) or from the free sets to
    // mUnusedSlots (delta < 0, dropping their buffers). Returns false, changing nothing, if
    // there are not enough.
    bool adjustAvailableSlotsLocked(int delta);
    // Waits while a dequeue allocates a buffer outside the lock.
    void waitWhileAllocatingLocked(std::unique_lock<std::mutex>& lock) const;

    mutable std::mutex mMutex;
    bool mIsAbandoned;
    bool mConsumerControlledByApp;
    String8 mConsumerName;
    sp<IConsumerListener> mConsumerListener;
    uint64_t mConsumerUsageBits;
    bool mConsumerIsProtected;
    int mConnectedApi;
    pid_t mConnectedPid;
    sp<IProducerListener> mLinkedToDeath;
    sp<IProducerListener> mConnectedProducerListener;
    bool mBufferReleasedCbEnabled;
    BufferQueueDefs::SlotsType mSlots;
    Fifo mQueue;
    std::set<int> mFreeSlots;
    std::list<int> mFreeBuffers;
    std::list<int> mUnusedSlots;
    std::set<int> mActiveBuffers;
    // Told whenever a slot may have become free (release, cancel, a new limit).
    mutable std::condition_variable mDequeueCondition;
    bool mDequeueBufferCannotBlock;
    bool mQueueBufferCanDrop;
    bool mLegacyBufferDrop;
    PixelFormat mDefaultBufferFormat;
    uint32_t mDefaultWidth;
    uint32_t mDefaultHeight;
    android_dataspace mDefaultBufferDataSpace;
    int mMaxBufferCount;
    int mMaxAcquiredBufferCount;
    int mMaxDequeuedBufferCount;
    bool mBufferHasBeenQueued;
    uint64_t mFrameCounter;
    uint32_t mTransformHint;
    bool mIsAllocating;
    mutable std::condition_variable mIsAllocatingCondition;
    bool mAllowAllocation;
    uint64_t mBufferAge;
    uint32_t mGenerationNumber;
    bool mAsyncMode;
    bool mSharedBufferMode;
    bool mAutoRefresh;
    int mSharedBufferSlot;
    int mLastQueuedSlot;
    const uint64_t mUniqueId;
    bool mAutoPrerotation;
    uint32_t mTransformHintInUse;
    // Set by a BLAST queue's consumer: it may hold one more buffer than the maximum.
    bool mAllowExtraAcquire = false;

    // ---- Host only (not in Android 14) ----
public:
    // The core's lock, for callers that must hold it (as libgui does around a core dump).
    std::mutex& hostMutex() const { return mMutex; }

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
    // `whyNot` when given. Takes mMutex.
    bool hostCheckSlotInvariant(std::string* whyNot = nullptr) const;
    // Drops the buffer of a dequeued `slot`, as between libgui's dequeue and its allocation.
    void hostDropDequeuedBuffer(int slot);

    // For a driver that must know when a producer waits inside libgui (a simulation in its own
    // time): how many times a dequeue began to wait for a slot (counted under mMutex, which the
    // wait releases), whether a dequeue now would wait, and a wake-up of every waiting dequeue
    // (the condition's spurious wake-up, which libgui tolerates).
    uint64_t hostWaitsEntered() const;
    bool hostDequeueWouldWait() const;
    void hostWakeWaiters();

private:
    bool hostCheckSlotInvariantLocked(std::string* whyNot) const;

    uint64_t mHostWaitsEntered = 0;  // guarded by mMutex
};

}  // namespace android
