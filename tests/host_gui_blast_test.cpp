// Tests of the host models of SurfaceControl, the transaction callback types, the
// TransactionCompletedListener, Transaction, ConsumerBase and BLASTBufferQueue.

#include <binder/Binder.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferItemConsumer.h>
#include <gui/ITransactionCompletedListener.h>
#include <gui/SurfaceComposerClient.h>
#include <gui/SurfaceControl.h>
#include <unistd.h>
#include <utils/String8.h>

#include <climits>
#include <optional>
#include <string>
#include <vector>

#include "support/host_objects.h"

namespace talvex::test {
namespace {

using android::BLASTBufferQueue;
using android::CallbackId;
using android::Fence;
using android::GraphicBuffer;
using android::IBinder;
using android::ReleaseCallbackId;
using android::sp;
using android::SurfaceComposerClient;
using android::SurfaceControl;
using android::TransactionCompletedListener;
using Transaction = android::SurfaceComposerClient::Transaction;

// ---- SurfaceControl ----

TEST(HostSurfaceControl, GettersReturnConstructionValues) {
    sp<SurfaceComposerClient> client(new SurfaceComposerClient());
    sp<IBinder> handle(new android::BBinder());
    sp<SurfaceControl> sc(new SurfaceControl(client, handle, 42, "layer42", 10, 20,
                                             android::PIXEL_FORMAT_RGBA_8888, 0, 4));
    EXPECT_EQ(42, sc->getLayerId());
    EXPECT_EQ("layer42", sc->getName());
    EXPECT_EQ(handle, sc->getHandle());
    EXPECT_EQ(handle, sc->getLayerStateHandle());
    EXPECT_EQ(client, sc->getClient());
    EXPECT_EQ(10u, sc->hostWidth());
    EXPECT_EQ(4u, sc->hostCreateFlags());
    EXPECT_TRUE(SurfaceControl::isValid(sc));
}

TEST(HostSurfaceControl, LayerStateHandleFollowsBbqChild) {
    sp<SurfaceControl> parent = makeSurfaceControl(1, "parent");
    sp<SurfaceControl> child = makeSurfaceControl(2, "child");
    parent->hostSetBbqChild(child);
    EXPECT_EQ(child->getHandle(), parent->getLayerStateHandle());
    EXPECT_NE(parent->getHandle(), parent->getLayerStateHandle());
}

TEST(HostSurfaceControl, MakeSurfaceControlGivesFreshHandles) {
    sp<SurfaceControl> a = makeSurfaceControl(7, "a");
    sp<SurfaceControl> b = makeSurfaceControl(7, "b");
    ASSERT_NE(nullptr, a->getHandle().get());
    EXPECT_NE(a->getHandle(), b->getHandle());
    EXPECT_FALSE(SurfaceControl::isSameSurface(a, b));
    EXPECT_TRUE(SurfaceControl::isSameSurface(a, sp<SurfaceControl>(new SurfaceControl(a))));
}

TEST(HostSurfaceComposerClient, CreateSurfaceNumbersLayers) {
    sp<SurfaceComposerClient> client(new SurfaceComposerClient());
    sp<SurfaceControl> a = client->createSurface(android::String8("a"), 1, 1, 1);
    sp<SurfaceControl> b = client->createSurface(android::String8("b"), 1, 1, 1);
    EXPECT_GT(a->getLayerId(), 0);
    EXPECT_EQ(a->getLayerId() + 1, b->getLayerId());
    EXPECT_EQ("b", b->getName());
    EXPECT_NE(a->getHandle(), b->getHandle());
}

// ---- Callback id types ----

TEST(HostReleaseCallbackId, ToString) {
    EXPECT_EQ("INVALID_ID", ReleaseCallbackId::INVALID_ID.to_string());
    EXPECT_EQ("INVALID_ID", ReleaseCallbackId(0, 0).to_string());
    EXPECT_EQ("bufferId:5 framenumber:7", ReleaseCallbackId(5, 7).to_string());
    EXPECT_EQ("bufferId:0 framenumber:1", ReleaseCallbackId(0, 1).to_string());
    EXPECT_EQ("bufferId:18446744073709551615 framenumber:0",
              ReleaseCallbackId(UINT64_MAX, 0).to_string());
}

TEST(HostReleaseCallbackId, HashIsBufferIdHash) {
    android::ReleaseBufferCallbackIdHash hash;
    EXPECT_EQ(std::hash<uint64_t>()(5), hash(ReleaseCallbackId(5, 1)));
    EXPECT_EQ(hash(ReleaseCallbackId(5, 1)), hash(ReleaseCallbackId(5, 2)));
    EXPECT_NE(ReleaseCallbackId(5, 1), ReleaseCallbackId(5, 2));
}

TEST(HostCallbackId, EqualityOnIdAndTypeHashOnId) {
    CallbackId complete(3, CallbackId::Type::ON_COMPLETE);
    CallbackId commit(3, CallbackId::Type::ON_COMMIT);
    EXPECT_NE(complete, commit);
    EXPECT_EQ(complete, CallbackId(3, CallbackId::Type::ON_COMPLETE));
    EXPECT_EQ(android::CallbackIdHash()(complete), android::CallbackIdHash()(commit));
    EXPECT_EQ(0, static_cast<int32_t>(CallbackId::Type::ON_COMPLETE));
    EXPECT_EQ(1, static_cast<int32_t>(CallbackId::Type::ON_COMMIT));
}

TEST(HostIBinderHash, HashesRawPointer) {
    sp<IBinder> binder(new android::BBinder());
    EXPECT_EQ(std::hash<IBinder*>{}(binder.get()), SurfaceComposerClient::IBinderHash()(binder));
}

// ---- TransactionCompletedListener and Transaction ----

class HostListener : public ::testing::Test {
protected:
    void SetUp() override { TransactionCompletedListener::getInstance()->hostClear(); }
    void TearDown() override { TransactionCompletedListener::getInstance()->hostClear(); }
};

TEST_F(HostListener, GetInstanceIsProcessSingleton) {
    sp<TransactionCompletedListener> a = TransactionCompletedListener::getInstance();
    sp<TransactionCompletedListener> b = TransactionCompletedListener::getInstance();
    ASSERT_NE(nullptr, a.get());
    EXPECT_EQ(a.get(), b.get());
}

TEST_F(HostListener, AddCallbackFunctionRegistersSurfaces) {
    auto listener = TransactionCompletedListener::getInstance();
    sp<SurfaceControl> sc = makeSurfaceControl(3, "cb");
    int calls = 0;
    CallbackId id = listener->addCallbackFunction(
        [&calls](nsecs_t, const sp<Fence>&, const std::vector<android::SurfaceControlStats>&) {
            calls++;
        },
        {sc}, CallbackId::Type::ON_COMPLETE);
    EXPECT_GT(id.id, 0);
    EXPECT_TRUE(listener->hostHasCallback(id));
    EXPECT_EQ(1u, listener->hostCallbackCount());
    EXPECT_FALSE(listener->hostHasCallback(CallbackId(id.id, CallbackId::Type::ON_COMMIT)));

    EXPECT_TRUE(listener->hostCompleteCallback(id, 1, Fence::NO_FENCE, {}));
    EXPECT_EQ(1, calls);
    EXPECT_FALSE(listener->hostHasCallback(id));
    EXPECT_FALSE(listener->hostCompleteCallback(id, 1, Fence::NO_FENCE, {}));
    EXPECT_EQ(1, calls);
}

TEST_F(HostListener, ReleaseCallbackRunsOnceOnRelease) {
    auto listener = TransactionCompletedListener::getInstance();
    std::vector<std::string> released;
    std::optional<uint32_t> count;
    listener->setReleaseBufferCallback(
        ReleaseCallbackId(9, 2),
        [&](const ReleaseCallbackId& id, const sp<Fence>&, std::optional<uint32_t> max) {
            released.push_back(id.to_string());
            count = max;
        });
    EXPECT_EQ(1u, listener->hostReleaseCallbackCount());
    listener->onReleaseBuffer(ReleaseCallbackId(9, 3), Fence::NO_FENCE, 1);  // other frame
    EXPECT_TRUE(released.empty());
    listener->onReleaseBuffer(ReleaseCallbackId(9, 2), Fence::NO_FENCE, 2);
    listener->onReleaseBuffer(ReleaseCallbackId(9, 2), Fence::NO_FENCE, 2);
    EXPECT_EQ(std::vector<std::string>{"bufferId:9 framenumber:2"}, released);
    EXPECT_EQ(std::optional<uint32_t>(2), count);
    listener->setReleaseBufferCallback(ReleaseCallbackId(9, 4),
                                       [&](const ReleaseCallbackId&, const sp<Fence>&,
                                           std::optional<uint32_t> max) { count = max; });
    listener->onReleaseBuffer(ReleaseCallbackId(9, 4), Fence::NO_FENCE, UINT_MAX);
    EXPECT_EQ(std::nullopt, count);
    EXPECT_EQ(0u, listener->hostReleaseCallbackCount());
}

TEST_F(HostListener, TransactionRegistersCallbacksAsLibgui) {
    auto listener = TransactionCompletedListener::getInstance();
    sp<SurfaceControl> sc = makeSurfaceControl(5, "t");
    sp<GraphicBuffer> buffer(new GraphicBuffer(4, 4, android::PIXEL_FORMAT_RGBA_8888, 1, 0));
    void* seenContext = nullptr;
    int marker = 0;
    Transaction t;
    t.addTransactionCompletedCallback(
        [&seenContext](void* context, nsecs_t, const sp<Fence>&,
                       const std::vector<android::SurfaceControlStats>&) { seenContext = context; },
        &marker);
    t.setBuffer(sc, buffer, std::nullopt, 11, 0,
                [](const ReleaseCallbackId&, const sp<Fence>&, std::optional<uint32_t>) {});
    ASSERT_EQ(1u, t.hostCallbackIds().size());
    const CallbackId id = *t.hostCallbackIds().begin();
    EXPECT_EQ(CallbackId::Type::ON_COMPLETE, id.type);
    EXPECT_EQ(std::optional<uint64_t>(11), t.hostFrameNumber(sc));
    EXPECT_EQ(buffer, t.hostBuffer(sc));
    EXPECT_EQ(1u, listener->hostReleaseCallbackCount());

    Transaction copy = t;
    EXPECT_EQ(t.getId(), copy.getId());
    EXPECT_EQ(android::NO_ERROR, t.apply());
    EXPECT_EQ(1u, t.hostApplyCount());
    EXPECT_TRUE(t.hostCallbackIds().empty());

    EXPECT_TRUE(listener->hostCompleteCallback(id, 0, Fence::NO_FENCE, {}));
    EXPECT_EQ(&marker, seenContext);
    listener->onReleaseBuffer(ReleaseCallbackId(buffer->getId(), 11), Fence::NO_FENCE, 1);
    EXPECT_EQ(0u, listener->hostReleaseCallbackCount());
}

TEST_F(HostListener, TransactionIdsUniqueAndMergeRecordsThem) {
    Transaction a;
    Transaction b;
    EXPECT_NE(a.getId(), b.getId());
    EXPECT_EQ(static_cast<uint64_t>(getpid()), a.getId() >> 32);
    sp<SurfaceControl> sc = makeSurfaceControl(6, "m");
    b.setFrameNumber(sc, 4);
    a.merge(std::move(b));
    EXPECT_EQ(std::vector<uint64_t>{b.getId()}, a.getMergedTransactionIds());
    EXPECT_EQ(std::optional<uint64_t>(4), a.hostFrameNumber(sc));
    EXPECT_EQ(std::nullopt, b.hostFrameNumber(sc));
}

// ---- ConsumerBase ----

TEST(HostConsumerBase, RecordsSetDefaultBufferSize) {
    sp<android::BufferQueueCore> core(new android::BufferQueueCore());
    sp<android::BufferItemConsumer> consumer(new android::BufferItemConsumer(core, 0));
    EXPECT_EQ(android::NO_ERROR, consumer->setDefaultBufferSize(4000, 2160));
    EXPECT_EQ(android::BAD_VALUE, consumer->setDefaultBufferSize(0, 1));
    using Calls = std::vector<std::pair<uint32_t, uint32_t>>;
    EXPECT_EQ((Calls{{4000, 2160}, {0, 1}}), consumer->hostDefaultBufferSizeCalls());
    EXPECT_EQ(4000u, core->hostSnapshot().defaultWidth);
    EXPECT_EQ(2160u, core->hostSnapshot().defaultHeight);
    consumer->abandon();
    EXPECT_EQ(android::NO_INIT, consumer->setDefaultBufferSize(1, 1));
}

TEST(HostConsumerBase, AcquireAndReleaseThroughCore) {
    sp<android::BufferQueueCore> core(new android::BufferQueueCore());
    sp<android::BufferItemConsumer> consumer(new android::BufferItemConsumer(core, 0));
    android::BufferItem item;
    EXPECT_EQ(android::BufferItemConsumer::NO_BUFFER_AVAILABLE, consumer->acquireBuffer(&item, 0));
    const int slot = core->hostDequeueBuffer();
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(slot));
    ASSERT_EQ(android::NO_ERROR, consumer->acquireBuffer(&item, 0));
    EXPECT_EQ(slot, item.mSlot);
    EXPECT_NE(nullptr, item.mGraphicBuffer.get());
    ASSERT_EQ(android::NO_ERROR, consumer->releaseBuffer(item));
    EXPECT_STREQ("FREE", core->hostSnapshot().slots[slot].mBufferState.string());
    EXPECT_TRUE(core->hostCheckSlotInvariant());
}

// ---- BLASTBufferQueue ----

TEST(HostBlastBufferQueue, NameAndTraceCarryProducerId) {
    sp<BLASTBufferQueue> bbq(new BLASTBufferQueue("app"));
    const std::string id = std::to_string(bbq->hostProducerId());
    EXPECT_EQ("app#" + id, bbq->hostName());
    EXPECT_EQ("QueuedBuffer - app#" + id + "BLAST#" + id, bbq->hostQueuedBufferTrace());
    sp<BLASTBufferQueue> next(new BLASTBufferQueue("app"));
    EXPECT_EQ(bbq->hostProducerId() + 1, next->hostProducerId());
}

TEST(HostBlastBufferQueue, InitialStateAsAosp) {
    sp<BLASTBufferQueue> bbq(new BLASTBufferQueue("init"));
    const auto snap = bbq->hostSnapshot();
    EXPECT_EQ(nullptr, snap.surfaceControl.get());
    EXPECT_EQ(1, snap.maxAcquiredBuffers);
    EXPECT_EQ(1u, snap.currentMaxAcquiredBufferCount);
    EXPECT_EQ(0, snap.numFrameAvailable);
    EXPECT_EQ(0, snap.numAcquired);
    EXPECT_TRUE(snap.acquireSingleBuffer);
    EXPECT_FALSE(snap.appliedLastTransaction);
    EXPECT_FALSE(snap.hasTransactionReadyCallback);
    EXPECT_EQ(nullptr, snap.syncTransaction);
    EXPECT_EQ(android::ui::Size(1, 1), snap.size);
    // The consumer named the core after the queue.
    const std::string id = std::to_string(bbq->hostProducerId());
    EXPECT_EQ("init#" + id + "(BLAST Consumer)" + id, bbq->hostCore()->hostSnapshot().consumerName);
    EXPECT_EQ(1, bbq->hostCore()->hostSnapshot().maxAcquiredBufferCount);
}

TEST(HostBlastBufferQueue, UpdateSetsSurfaceAndDefaultSize) {
    sp<SurfaceControl> sc = makeSurfaceControl(8, "bbq-layer");
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("bbq", sc, 640, 480);
    const auto snap = bbq->hostSnapshot();
    EXPECT_EQ(sc, snap.surfaceControl);
    EXPECT_EQ(android::ui::Size(640, 480), snap.requestedSize);
    EXPECT_EQ(android::ui::Size(1, 1), snap.size);  // until a 640x480 buffer is acquired
    using Calls = std::vector<std::pair<uint32_t, uint32_t>>;
    EXPECT_EQ((Calls{{640, 480}}), bbq->hostBufferItemConsumer()->hostDefaultBufferSizeCalls());
    EXPECT_EQ(640u, bbq->hostCore()->hostSnapshot().defaultWidth);
}

TEST(HostBlastBufferQueue, HostSettersReachEveryField) {
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("set", 9);
    Transaction sync;
    android::BufferItem item;
    item.mFrameNumber = 3;
    bbq->hostSetFrameCounts(2, 1);
    bbq->hostSetCurrentMaxAcquiredBufferCount(3);
    bbq->hostAddSubmitted(ReleaseCallbackId(1, 3), item);
    bbq->hostAddPendingRelease(ReleaseCallbackId(1, 2), Fence::NO_FENCE);
    bbq->hostSetTransactionReadyCallback([](Transaction*) {});
    bbq->hostSetSyncTransaction(&sync);
    bbq->hostSetAcquireSingleBuffer(false);
    bbq->hostAddPendingTransaction(5, Transaction());
    bbq->hostSetFrameNumbers(4, 3, true);
    bbq->hostPushSurfaceControlWithPendingCallback(makeSurfaceControl(10, "pending"));
    bbq->hostPushSurfaceControlWithPendingCallback(nullptr);
    bbq->hostAddSyncedFrameNumber(4);
    const auto snap = bbq->hostSnapshot();
    EXPECT_EQ(2, snap.numFrameAvailable);
    EXPECT_EQ(1, snap.numAcquired);
    EXPECT_EQ(3u, snap.currentMaxAcquiredBufferCount);
    EXPECT_EQ(1u, snap.submittedCount);
    EXPECT_EQ(1u, snap.pendingReleaseCount);
    EXPECT_TRUE(snap.hasTransactionReadyCallback);
    EXPECT_EQ(&sync, snap.syncTransaction);
    EXPECT_FALSE(snap.acquireSingleBuffer);
    EXPECT_EQ(1u, snap.pendingTransactionCount);
    EXPECT_EQ(4u, snap.lastAcquiredFrameNumber);
    EXPECT_EQ(3u, snap.lastAppliedFrameNumber);
    EXPECT_TRUE(snap.appliedLastTransaction);
    EXPECT_EQ(2u, snap.surfaceControlsWithPendingCallbackCount);
    EXPECT_EQ(std::unordered_set<uint64_t>{4}, snap.syncedFrameNumbers);
}

TEST(HostBlastBufferQueue, MergeWithNextTransactionHoldsUntilAcquired) {
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("merge", 11);
    Transaction t;
    t.setFrameNumber(makeSurfaceControl(12, "x"), 1);
    bbq->mergeWithNextTransaction(&t, 7);
    EXPECT_EQ(1u, bbq->hostSnapshot().pendingTransactionCount);
    EXPECT_EQ(0u, t.hostApplyCount());
    bbq->hostSetFrameNumbers(7, 0, false);
    Transaction late;
    bbq->mergeWithNextTransaction(&late, 7);
    EXPECT_EQ(1u, late.hostApplyCount());
    EXPECT_EQ(1u, bbq->hostSnapshot().pendingTransactionCount);
}

TEST(HostBlastBufferQueue, OnFrameAvailableCounts) {
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("avail", 13);
    bbq->hostBufferItemConsumer()->hostNotifyFrameAvailable(android::BufferItem());
    EXPECT_EQ(1, bbq->hostSnapshot().numFrameAvailable);
}

class HostBlastFrameFlow : public HostListener {
protected:
    void SetUp() override {
        HostListener::SetUp();
        mSurface = makeSurfaceControl(20, "flow");
        mBbq = makeBlastBufferQueue("flow", mSurface, 16, 16);
    }

    // The release id of the buffer that carried `frameNumber` (slot from the core).
    ReleaseCallbackId releaseIdOf(uint64_t frameNumber) {
        const auto snap = mBbq->hostCore()->hostSnapshot();
        for (const auto& slot : snap.slots) {
            if (slot.mGraphicBuffer != nullptr && slot.mFrameNumber == frameNumber) {
                return ReleaseCallbackId(slot.mGraphicBuffer->getId(), frameNumber);
            }
        }
        return ReleaseCallbackId::INVALID_ID;
    }

    sp<SurfaceControl> mSurface;
    sp<BLASTBufferQueue> mBbq;
};

TEST_F(HostBlastFrameFlow, QueuedFrameIsAcquiredSubmittedAndReleased) {
    auto listener = TransactionCompletedListener::getInstance();
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame(100));
    auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(0, snap.numFrameAvailable);
    EXPECT_EQ(1, snap.numAcquired);
    EXPECT_EQ(1u, snap.submittedCount);
    EXPECT_EQ(1u, snap.lastAcquiredFrameNumber);
    EXPECT_EQ(1u, snap.lastAppliedFrameNumber);
    EXPECT_TRUE(snap.appliedLastTransaction);
    EXPECT_EQ(1u, snap.surfaceControlsWithPendingCallbackCount);
    EXPECT_EQ(android::ui::Size(16, 16), snap.size);
    EXPECT_EQ(1u, listener->hostReleaseCallbackCount());
    const std::vector<CallbackId> ids = listener->hostCallbackIds();
    ASSERT_EQ(1u, ids.size());

    android::SurfaceControlStats stat(mSurface, 0, nsecs_t(0), Fence::NO_FENCE, Fence::NO_FENCE, 4u);
    EXPECT_TRUE(listener->hostCompleteCallback(ids[0], 0, Fence::NO_FENCE, {stat}));
    EXPECT_EQ(0u, mBbq->hostSnapshot().surfaceControlsWithPendingCallbackCount);
    EXPECT_EQ(4u, mSurface->getTransformHint());

    const ReleaseCallbackId releaseId = releaseIdOf(1);
    ASSERT_NE(ReleaseCallbackId::INVALID_ID, releaseId);
    listener->onReleaseBuffer(releaseId, Fence::NO_FENCE, 1);
    snap = mBbq->hostSnapshot();
    EXPECT_EQ(0, snap.numAcquired);
    EXPECT_EQ(0u, snap.submittedCount);
    EXPECT_EQ(0u, snap.pendingReleaseCount);
    const auto core = mBbq->hostCore()->hostSnapshot();
    EXPECT_TRUE(core.activeBuffers.empty());
    EXPECT_EQ(1u, core.freeBuffers.size());
    EXPECT_TRUE(mBbq->hostCore()->hostCheckSlotInvariant());
}

TEST_F(HostBlastFrameFlow, ThirdFrameWaitsUntilARelease) {
    auto listener = TransactionCompletedListener::getInstance();
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());
    ASSERT_EQ(2u, mBbq->hostQueueNewFrame());
    ASSERT_EQ(3u, mBbq->hostQueueNewFrame());
    auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(2, snap.numAcquired);  // mMaxAcquiredBuffers + 1
    EXPECT_EQ(1, snap.numFrameAvailable);
    EXPECT_EQ(2u, snap.lastAcquiredFrameNumber);
    EXPECT_EQ(0u, mBbq->hostQueueNewFrame());  // every slot is in use

    listener->onReleaseBuffer(releaseIdOf(1), Fence::NO_FENCE, 1);
    snap = mBbq->hostSnapshot();
    EXPECT_EQ(2, snap.numAcquired);
    EXPECT_EQ(0, snap.numFrameAvailable);
    EXPECT_EQ(3u, snap.lastAcquiredFrameNumber);
    std::string why;
    EXPECT_TRUE(mBbq->hostCore()->hostCheckSlotInvariant(&why)) << why;
}

TEST_F(HostBlastFrameFlow, FrozenBufferOfStaleSizeIsDropped) {
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());  // 16x16, the layer's size from now on
    // A 32x32 buffer queued after the request changed again to 48x48 matches neither size.
    mBbq->update(mSurface, 32, 32, android::PIXEL_FORMAT_RGBA_8888);
    auto* core = mBbq->hostCore().get();
    const int slot = core->hostDequeueBuffer();
    ASSERT_NE(-1, slot);
    mBbq->update(mSurface, 48, 48, android::PIXEL_FORMAT_RGBA_8888);
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(slot));
    mBbq->hostBufferItemConsumer()->hostNotifyFrameAvailable(android::BufferItem());
    auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(1, snap.numAcquired);
    EXPECT_EQ(0, snap.numFrameAvailable);
    EXPECT_EQ(1u, snap.lastAcquiredFrameNumber);
    EXPECT_EQ(android::ui::Size(16, 16), snap.size);
    EXPECT_STREQ("FREE", core->hostSnapshot().slots[slot].mBufferState.string());
    // The next buffer has the requested size and is taken.
    ASSERT_EQ(3u, mBbq->hostQueueNewFrame());
    snap = mBbq->hostSnapshot();
    EXPECT_EQ(android::ui::Size(48, 48), snap.size);
    EXPECT_EQ(3u, snap.lastAcquiredFrameNumber);
    std::string why;
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
}

TEST_F(HostBlastFrameFlow, SyncTakesNextFrameIntoSyncTransaction) {
    Transaction sync;
    Transaction* delivered = nullptr;
    mBbq->hostSetSyncTransaction(&sync);
    mBbq->hostSetTransactionReadyCallback([&delivered](Transaction* t) { delivered = t; });
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());
    EXPECT_EQ(&sync, delivered);
    EXPECT_EQ(std::optional<uint64_t>(1), sync.hostFrameNumber(mSurface));
    EXPECT_EQ(0u, sync.hostApplyCount());
    const auto snap = mBbq->hostSnapshot();
    EXPECT_FALSE(snap.appliedLastTransaction);
    EXPECT_EQ(std::unordered_set<uint64_t>{1}, snap.syncedFrameNumbers);
    EXPECT_FALSE(snap.hasTransactionReadyCallback);
    EXPECT_EQ(nullptr, snap.syncTransaction);
}

TEST_F(HostBlastFrameFlow, ContinuousSyncReleasesOverwrittenBuffer) {
    Transaction sync;
    int ready = 0;
    mBbq->hostSetSyncTransaction(&sync);
    mBbq->hostSetAcquireSingleBuffer(false);
    mBbq->hostSetTransactionReadyCallback([&ready](Transaction*) { ready++; });
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());
    ASSERT_EQ(2u, mBbq->hostQueueNewFrame());  // replaces frame 1's buffer in `sync`
    SurfaceComposerClient::hostWaitForReleaseCallbacks();
    const auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(0, ready);
    EXPECT_EQ(1, snap.numAcquired);  // frame 1 went back to the queue
    EXPECT_EQ(1u, snap.submittedCount);
    EXPECT_EQ(std::unordered_set<uint64_t>{2}, snap.syncedFrameNumbers);
    EXPECT_EQ(std::optional<uint64_t>(2), sync.hostFrameNumber(mSurface));
    mBbq->hostSetTransactionReadyCallback(nullptr);
    mBbq->hostSetSyncTransaction(nullptr);
}

TEST_F(HostBlastFrameFlow, PendingTransactionMergesIntoItsFrame) {
    Transaction held;
    sp<SurfaceControl> other = makeSurfaceControl(21, "other");
    held.setFrameNumber(other, 9);
    mBbq->mergeWithNextTransaction(&held, 1);
    ASSERT_EQ(1u, mBbq->hostSnapshot().pendingTransactionCount);
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());
    EXPECT_EQ(0u, mBbq->hostSnapshot().pendingTransactionCount);
}

}  // namespace
}  // namespace talvex::test
