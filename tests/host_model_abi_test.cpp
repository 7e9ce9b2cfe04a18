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

// The members the library reads through libgui's one-line patch `friend class
// TalvexBufferQueueHelper;` carry AOSP 14/15's names, types and access in the host models, so the
// same source builds in both worlds. Checked at compile time from a stand-in friend; this binary
// links no library code.
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/ConsumerBase.h>
#include <gui/SurfaceComposerClient.h>

#include <deque>
#include <functional>
#include <list>
#include <mutex>
#include <queue>
#include <set>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#define CHECK_MEMBER(Class, member, ...) \
    static_assert(std::is_same_v<decltype(Class::member), __VA_ARGS__>, #Class "::" #member)

namespace android {

// Stands in for the library's class of the same name, the friend the libgui patch names.
class TalvexBufferQueueHelper {
public:
    // What the core state dump reads.
    static void core() {
        CHECK_MEMBER(BufferQueueCore, mMutex, std::mutex);
        CHECK_MEMBER(BufferQueueCore, mConsumerName, String8);
        CHECK_MEMBER(BufferQueueCore, mUniqueId, const uint64_t);
        CHECK_MEMBER(BufferQueueCore, mConnectedApi, int);
        CHECK_MEMBER(BufferQueueCore, mConnectedPid, pid_t);
        CHECK_MEMBER(BufferQueueCore, mQueue, Vector<BufferItem>);
        CHECK_MEMBER(BufferQueueCore, mMaxAcquiredBufferCount, int);
        CHECK_MEMBER(BufferQueueCore, mMaxDequeuedBufferCount, int);
        CHECK_MEMBER(BufferQueueCore, mDequeueBufferCannotBlock, bool);
        CHECK_MEMBER(BufferQueueCore, mAsyncMode, bool);
        CHECK_MEMBER(BufferQueueCore, mDefaultWidth, uint32_t);
        CHECK_MEMBER(BufferQueueCore, mDefaultHeight, uint32_t);
        CHECK_MEMBER(BufferQueueCore, mDefaultBufferFormat, PixelFormat);
        CHECK_MEMBER(BufferQueueCore, mFrameCounter, uint64_t);
        CHECK_MEMBER(BufferQueueCore, mSlots, BufferSlot[64]);
        CHECK_MEMBER(BufferQueueCore, mActiveBuffers, std::set<int>);
        CHECK_MEMBER(BufferQueueCore, mFreeBuffers, std::list<int>);
        CHECK_MEMBER(BufferQueueCore, mFreeSlots, std::set<int>);
        CHECK_MEMBER(BufferSlot, mGraphicBuffer, sp<GraphicBuffer>);
        CHECK_MEMBER(BufferSlot, mBufferState, BufferState);
        CHECK_MEMBER(BufferSlot, mFrameNumber, uint64_t);
        CHECK_MEMBER(BufferState, mAcquireCount, uint32_t);
        static_assert(std::is_same_v<decltype(BufferState().string()), const char*>);
        CHECK_MEMBER(GraphicBuffer, width, int);
        CHECK_MEMBER(GraphicBuffer, height, int);
        CHECK_MEMBER(GraphicBuffer, stride, int);
        CHECK_MEMBER(GraphicBuffer, format, int);
        CHECK_MEMBER(GraphicBuffer, handle, const native_handle_t*);
        static_assert(std::is_same_v<decltype(std::declval<GraphicBuffer&>().getId()), uint64_t>);
    }

    // What the registry and the BLAST state dump read.
    static void blast() {
        using Transaction = SurfaceComposerClient::Transaction;
        CHECK_MEMBER(BLASTBufferQueue, mMutex, std::mutex);
        CHECK_MEMBER(BLASTBufferQueue, mName, std::string);
        CHECK_MEMBER(BLASTBufferQueue, mQueuedBufferTrace, std::string);
        CHECK_MEMBER(BLASTBufferQueue, mSurfaceControl, sp<SurfaceControl>);
        CHECK_MEMBER(BLASTBufferQueue, mMaxAcquiredBuffers, int32_t);
        CHECK_MEMBER(BLASTBufferQueue, mNumFrameAvailable, int32_t);
        CHECK_MEMBER(BLASTBufferQueue, mNumAcquired, int32_t);
        CHECK_MEMBER(BLASTBufferQueue, mProducerId, uint32_t);
        CHECK_MEMBER(BLASTBufferQueue, mCurrentMaxAcquiredBufferCount, uint32_t);
        CHECK_MEMBER(BLASTBufferQueue, mSubmitted,
                     std::unordered_map<ReleaseCallbackId, BufferItem, ReleaseBufferCallbackIdHash>);
        CHECK_MEMBER(BufferItem, mFrameNumber, uint64_t);
        CHECK_MEMBER(BufferItem, mApi, int);
        CHECK_MEMBER(BufferItem, mSlot, int);
        CHECK_MEMBER(BLASTBufferQueue, mPendingRelease,
                     std::deque<BLASTBufferQueue::ReleasedBuffer>);
        CHECK_MEMBER(BLASTBufferQueue::ReleasedBuffer, callbackId, ReleaseCallbackId);
        CHECK_MEMBER(BLASTBufferQueue, mTransactionReadyCallback, std::function<void(Transaction*)>);
        CHECK_MEMBER(BLASTBufferQueue, mSyncTransaction, Transaction*);
        CHECK_MEMBER(BLASTBufferQueue, mAcquireSingleBuffer, bool);
        CHECK_MEMBER(BLASTBufferQueue, mPendingTransactions,
                     std::vector<std::tuple<uint64_t, Transaction>>);
        CHECK_MEMBER(BLASTBufferQueue, mLastAcquiredFrameNumber, uint64_t);
        CHECK_MEMBER(BLASTBufferQueue, mLastAppliedFrameNumber, uint64_t);
        CHECK_MEMBER(BLASTBufferQueue, mAppliedLastTransaction, bool);
        CHECK_MEMBER(BLASTBufferQueue, mSurfaceControlsWithPendingCallback,
                     std::queue<sp<SurfaceControl>>);
        CHECK_MEMBER(BLASTBufferQueue, mSyncedFrameNumbers, std::unordered_set<uint64_t>);
        static_assert(std::is_same_v<decltype(&ConsumerBase::setDefaultBufferSize),
                                     status_t (ConsumerBase::*)(uint32_t, uint32_t)>);
    }

    // What the listener callback dump reads.
    static void listener() {
        using Listener = TransactionCompletedListener;
        CHECK_MEMBER(Listener, mMutex, std::mutex);
        CHECK_MEMBER(Listener, mCallbacks,
                     std::unordered_map<CallbackId, Listener::CallbackTranslation, CallbackIdHash>);
        CHECK_MEMBER(
            Listener, mReleaseBufferCallbacks,
            std::unordered_map<ReleaseCallbackId, ReleaseBufferCallback, ReleaseBufferCallbackIdHash>);
        CHECK_MEMBER(Listener::CallbackTranslation, callbackFunction, TransactionCompletedCallback);
        CHECK_MEMBER(
            Listener::CallbackTranslation, surfaceControls,
            std::unordered_map<sp<IBinder>, sp<SurfaceControl>, SurfaceComposerClient::IBinderHash>);
        CHECK_MEMBER(CallbackId, id, int64_t);
        CHECK_MEMBER(CallbackId, type, CallbackId::Type);
        static_assert(static_cast<int32_t>(CallbackId::Type::ON_COMPLETE) == 0);
        static_assert(
            std::is_same_v<decltype(std::declval<SurfaceControl&>().getName()), const std::string&>);
    }
};

}  // namespace android

namespace {

// The checks are static_asserts; this only makes the binary a test that ctest runs.
TEST(HostModelAbi, MembersTheLibraryReadsMatchAosp) {
    android::TalvexBufferQueueHelper::core();
    android::TalvexBufferQueueHelper::blast();
    android::TalvexBufferQueueHelper::listener();
}

}  // namespace
