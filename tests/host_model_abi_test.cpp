// The host models carry AOSP 14/15's member names, types and access (aosp-reference.md), and the
// one-line libgui patch `friend class TalvexBufferQueueHelper;` is all the library needs to read
// them. Checked at compile time from a stand-in friend; this binary does not link the library.
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferItem.h>
#include <gui/BufferQueueCore.h>
#include <gui/BufferSlot.h>
#include <gui/ConsumerBase.h>
#include <gui/ITransactionCompletedListener.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <ui/GraphicBuffer.h>
#include <ui/PixelFormat.h>
#include <ui/Size.h>
#include <utils/Mutex.h>
#include <utils/String8.h>

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

#define EXPECT_MEMBER_TYPE(Class, member, ...) \
    static_assert(std::is_same_v<decltype(Class::member), __VA_ARGS__>, #Class "::" #member)

namespace android {

// Stands in for the library's class of the same name, the friend the libgui patch names.
class TalvexBufferQueueHelper {
public:
    static void checkBufferQueueCore() {
        EXPECT_MEMBER_TYPE(BufferQueueCore, mMutex, std::mutex);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mConsumerName, String8);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mUniqueId, const uint64_t);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mConnectedApi, int);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mConnectedPid, pid_t);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mQueue, Vector<BufferItem>);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mMaxAcquiredBufferCount, int);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mMaxDequeuedBufferCount, int);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mDequeueBufferCannotBlock, bool);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mAsyncMode, bool);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mDefaultWidth, uint32_t);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mDefaultHeight, uint32_t);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mDefaultBufferFormat, PixelFormat);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mFrameCounter, uint64_t);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mSlots, BufferSlot[64]);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mFreeSlots, std::set<int>);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mActiveBuffers, std::set<int>);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mFreeBuffers, std::list<int>);
        EXPECT_MEMBER_TYPE(BufferQueueCore, mUnusedSlots, std::list<int>);
        static_assert(BufferQueueDefs::NUM_BUFFER_SLOTS == 64);
        static_assert(std::is_base_of_v<RefBase, BufferQueueCore>);
    }

    static void checkSlots() {
        EXPECT_MEMBER_TYPE(BufferState, mDequeueCount, uint32_t);
        EXPECT_MEMBER_TYPE(BufferState, mQueueCount, uint32_t);
        EXPECT_MEMBER_TYPE(BufferState, mAcquireCount, uint32_t);
        EXPECT_MEMBER_TYPE(BufferState, mShared, bool);
        static_assert(
            std::is_same_v<decltype(std::declval<const BufferState&>().string()), const char*>);
        EXPECT_MEMBER_TYPE(BufferSlot, mGraphicBuffer, sp<GraphicBuffer>);
        EXPECT_MEMBER_TYPE(BufferSlot, mBufferState, BufferState);
        EXPECT_MEMBER_TYPE(BufferSlot, mFrameNumber, uint64_t);
        EXPECT_MEMBER_TYPE(BufferItem, mFrameNumber, uint64_t);
        EXPECT_MEMBER_TYPE(BufferItem, mSlot, int);
        EXPECT_MEMBER_TYPE(BufferItem, mApi, int);
        EXPECT_MEMBER_TYPE(GraphicBuffer, width, int);
        EXPECT_MEMBER_TYPE(GraphicBuffer, height, int);
        EXPECT_MEMBER_TYPE(GraphicBuffer, stride, int);
        EXPECT_MEMBER_TYPE(GraphicBuffer, format, int);
        EXPECT_MEMBER_TYPE(GraphicBuffer, handle, const native_handle_t*);
        static_assert(
            std::is_same_v<decltype(std::declval<const GraphicBuffer&>().getId()), uint64_t>);
    }

    static void checkBlastBufferQueue() {
        using PendingTransactions =
            std::vector<std::tuple<uint64_t, SurfaceComposerClient::Transaction>>;
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mName, std::string);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mQueuedBufferTrace, std::string);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mSurfaceControl, sp<SurfaceControl>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mMutex, std::mutex);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mMaxAcquiredBuffers, int32_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mNumFrameAvailable, int32_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mNumAcquired, int32_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mProducerId, uint32_t);
        EXPECT_MEMBER_TYPE(
            BLASTBufferQueue, mSubmitted,
            std::unordered_map<ReleaseCallbackId, BufferItem, ReleaseBufferCallbackIdHash>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mPendingRelease,
                           std::deque<BLASTBufferQueue::ReleasedBuffer>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue::ReleasedBuffer, callbackId, ReleaseCallbackId);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue::ReleasedBuffer, releaseFence, sp<Fence>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mSize, ui::Size);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mRequestedSize, ui::Size);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mTransactionReadyCallback,
                           std::function<void(SurfaceComposerClient::Transaction*)>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mSyncTransaction, SurfaceComposerClient::Transaction*);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mPendingTransactions, PendingTransactions);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mLastAcquiredFrameNumber, uint64_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mLastAppliedFrameNumber, uint64_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mAcquireSingleBuffer, bool);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mAppliedLastTransaction, bool);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mSurfaceControlsWithPendingCallback,
                           std::queue<sp<SurfaceControl>>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mCurrentMaxAcquiredBufferCount, uint32_t);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mSyncedFrameNumbers, std::unordered_set<uint64_t>);
        EXPECT_MEMBER_TYPE(BLASTBufferQueue, mBufferItemConsumer, sp<BLASTBufferItemConsumer>);
        static_assert(std::is_base_of_v<ConsumerBase, BLASTBufferItemConsumer>);
        EXPECT_MEMBER_TYPE(ui::Size, width, int32_t);
        EXPECT_MEMBER_TYPE(ui::Size, height, int32_t);
    }

    static void checkListener() {
        using Listener = TransactionCompletedListener;
        EXPECT_MEMBER_TYPE(Listener, mMutex, std::mutex);
        EXPECT_MEMBER_TYPE(
            Listener, mCallbacks,
            std::unordered_map<CallbackId, Listener::CallbackTranslation, CallbackIdHash>);
        EXPECT_MEMBER_TYPE(
            Listener, mReleaseBufferCallbacks,
            std::unordered_map<ReleaseCallbackId, ReleaseBufferCallback, ReleaseBufferCallbackIdHash>);
        EXPECT_MEMBER_TYPE(Listener::CallbackTranslation, callbackFunction,
                           TransactionCompletedCallback);
        EXPECT_MEMBER_TYPE(
            Listener::CallbackTranslation, surfaceControls,
            std::unordered_map<sp<IBinder>, sp<SurfaceControl>, SurfaceComposerClient::IBinderHash>);
        static_assert(std::is_same_v<decltype(Listener::getInstance()), sp<Listener>>);
        EXPECT_MEMBER_TYPE(CallbackId, id, int64_t);
        EXPECT_MEMBER_TYPE(CallbackId, type, CallbackId::Type);
        static_assert(std::is_same_v<std::underlying_type_t<CallbackId::Type>, int32_t>);
        static_assert(static_cast<int32_t>(CallbackId::Type::ON_COMPLETE) == 0);
        static_assert(static_cast<int32_t>(CallbackId::Type::ON_COMMIT) == 1);
        EXPECT_MEMBER_TYPE(ReleaseCallbackId, bufferId, uint64_t);
        EXPECT_MEMBER_TYPE(ReleaseCallbackId, framenumber, uint64_t);
        static_assert(std::is_same_v<ReleaseBufferCallback,
                                     std::function<void(const ReleaseCallbackId&, const sp<Fence>&,
                                                        std::optional<uint32_t>)>>);
    }

    static void checkSurfaceControlAndConsumer() {
        const SurfaceControl* control = nullptr;
        static_assert(std::is_same_v<decltype(control->getLayerId()), int32_t>);
        static_assert(std::is_same_v<decltype(control->getName()), const std::string&>);
        static_assert(std::is_same_v<decltype(control->getLayerStateHandle()), sp<IBinder>>);
        static_assert(std::is_same_v<decltype(control->getHandle()), sp<IBinder>>);
        static_assert(std::is_same_v<decltype(&ConsumerBase::setDefaultBufferSize),
                                     status_t (ConsumerBase::*)(uint32_t, uint32_t)>);
    }
};

}  // namespace android

namespace {

// The checks are static_asserts; this only makes the binary a test that ctest runs.
TEST(HostModelAbi, MembersMatchAosp) {
    android::TalvexBufferQueueHelper::checkBufferQueueCore();
    android::TalvexBufferQueueHelper::checkSlots();
    android::TalvexBufferQueueHelper::checkBlastBufferQueue();
    android::TalvexBufferQueueHelper::checkListener();
    android::TalvexBufferQueueHelper::checkSurfaceControlAndConsumer();
    EXPECT_STREQ("FREE", android::BufferState().string());
}

}  // namespace
