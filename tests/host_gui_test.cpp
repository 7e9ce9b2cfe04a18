// Tests of the host models of libui (GraphicBuffer, Fence, Size, PixelFormat) and of libgui's
// buffer queue core (BufferState, BufferSlot, BufferItem, BufferQueueCore).

#include <gtest/gtest.h>
#include <gui/BufferItem.h>
#include <gui/BufferQueueCore.h>
#include <gui/BufferSlot.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <ui/PixelFormat.h>
#include <ui/Size.h>
#include <unistd.h>

#include <set>
#include <string>

#include "support/host_objects.h"

namespace talvex::test {
namespace {

using android::BufferItem;
using android::BufferQueueCore;
using android::BufferState;
using android::GraphicBuffer;
using android::sp;

uint64_t pidHigh() {
    return static_cast<uint64_t>(getpid()) << 32;
}

// ---- libui ----

TEST(HostGraphicBuffer, AllocatesWithFieldsAndHandle) {
    sp<GraphicBuffer> buffer(new GraphicBuffer(100, 50, android::PIXEL_FORMAT_RGBA_8888, 1,
                                               GraphicBuffer::USAGE_HW_COMPOSER, "test"));
    ASSERT_EQ(android::NO_ERROR, buffer->initCheck());
    EXPECT_EQ(100, buffer->width);
    EXPECT_EQ(50, buffer->height);
    EXPECT_EQ(112, buffer->stride);  // padded to 16 pixels
    EXPECT_EQ(android::PIXEL_FORMAT_RGBA_8888, buffer->format);
    EXPECT_NE(nullptr, buffer->handle);
    EXPECT_NE(nullptr, buffer->hostPixels());
    EXPECT_EQ("test", buffer->getRequestorName());
}

TEST(HostGraphicBuffer, IdsAreUniqueWithPidInUpperHalf) {
    std::set<uint64_t> ids;
    for (int i = 0; i < 20; i++) {
        sp<GraphicBuffer> buffer(
            i % 2 ? new GraphicBuffer()
                  : new GraphicBuffer(4, 4, android::PIXEL_FORMAT_RGBA_8888, 1, 0));
        EXPECT_EQ(pidHigh(), buffer->getId() & 0xffffffff00000000ull);
        ids.insert(buffer->getId());
    }
    EXPECT_EQ(20u, ids.size());
}

TEST(HostGraphicBuffer, DefaultConstructedIsEmpty) {
    sp<GraphicBuffer> buffer(new GraphicBuffer());
    EXPECT_EQ(0, buffer->width);
    EXPECT_EQ(nullptr, buffer->handle);
    EXPECT_NE(android::NO_ERROR, buffer->initCheck());
}

TEST(HostGraphicBuffer, ZeroSizeFailsInitCheck) {
    sp<GraphicBuffer> buffer(new GraphicBuffer(0, 10, android::PIXEL_FORMAT_RGBA_8888, 1, 0));
    EXPECT_EQ(android::BAD_VALUE, buffer->initCheck());
    EXPECT_EQ(nullptr, buffer->handle);
}

TEST(HostFence, NoFenceIsSharedAndInvalid) {
    ASSERT_NE(nullptr, android::Fence::NO_FENCE.get());
    EXPECT_FALSE(android::Fence::NO_FENCE->isValid());
    EXPECT_EQ(-1, android::Fence::NO_FENCE->get());
    EXPECT_EQ(android::NO_ERROR, android::Fence::NO_FENCE->wait(0));
}

TEST(HostFence, ReadableDescriptorIsSignaled) {
    int fds[2];
    ASSERT_EQ(0, pipe(fds));
    sp<android::Fence> fence(new android::Fence(fds[0]));
    EXPECT_EQ(android::Fence::Status::Unsignaled, fence->getStatus());
    ASSERT_EQ(1, write(fds[1], "x", 1));
    EXPECT_EQ(android::Fence::Status::Signaled, fence->getStatus());
    close(fds[1]);
}

TEST(HostSize, IsTwoAdjacentInt32WidthFirst) {
    android::ui::Size size(4096u, 2160u);
    const int32_t* raw = reinterpret_cast<const int32_t*>(&size);
    EXPECT_EQ(4096, raw[0]);
    EXPECT_EQ(2160, raw[1]);
    EXPECT_EQ(android::ui::Size(), android::ui::Size::INVALID);
    EXPECT_TRUE(android::ui::Size::EMPTY.isEmpty());
    EXPECT_EQ(INT32_MAX, android::ui::Size(UINT32_MAX, 1u).width);  // clamped
}

TEST(HostPixelFormat, ValuesAsAosp) {
    EXPECT_EQ(1, android::PIXEL_FORMAT_RGBA_8888);
    EXPECT_EQ(4u, android::bytesPerPixel(android::PIXEL_FORMAT_RGBA_8888));
    EXPECT_EQ(0u, android::bytesPerPixel(android::PIXEL_FORMAT_OPAQUE));
}

// ---- BufferState / BufferItem ----

TEST(HostBufferState, StringOfEachState) {
    BufferState state;
    EXPECT_STREQ("FREE", state.string());
    state.dequeue();
    EXPECT_STREQ("DEQUEUED", state.string());
    state.queue();
    EXPECT_STREQ("QUEUED", state.string());
    state.acquire();
    EXPECT_STREQ("ACQUIRED", state.string());
    state.release();
    EXPECT_STREQ("FREE", state.string());
}

TEST(HostBufferState, SharedWinsOverFree) {
    BufferState state;
    state.mShared = true;
    EXPECT_TRUE(state.isFree());
    EXPECT_STREQ("SHARED", state.string());
}

TEST(HostBufferState, AcquiredWinsOverDequeuedAndQueued) {
    BufferState state;
    state.mDequeueCount = 1;
    state.mQueueCount = 1;
    state.mAcquireCount = 1;
    EXPECT_STREQ("ACQUIRED", state.string());
    state.mAcquireCount = 0;
    EXPECT_STREQ("DEQUEUED", state.string());
}

TEST(HostBufferItem, DefaultsAsAosp) {
    BufferItem item;
    EXPECT_EQ(BufferItem::INVALID_BUFFER_SLOT, item.mSlot);
    EXPECT_EQ(-1, item.mSlot);
    EXPECT_EQ(0u, item.mFrameNumber);
    EXPECT_EQ(0, item.mApi);
    EXPECT_EQ(nullptr, item.mGraphicBuffer.get());
}

// ---- BufferQueueCore ----

TEST(HostBufferQueueCore, InitialStateAsAosp) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    const BufferQueueCore::HostSnapshot snap = core->hostSnapshot();
    const std::string namePrefix = "unnamed-" + std::to_string(getpid()) + "-";
    EXPECT_EQ(0u, snap.consumerName.rfind(namePrefix, 0)) << snap.consumerName;
    EXPECT_EQ(pidHigh(), snap.uniqueId & 0xffffffff00000000ull);
    EXPECT_EQ(BufferQueueCore::NO_CONNECTED_API, snap.connectedApi);
    EXPECT_EQ(1, snap.maxAcquiredBufferCount);
    EXPECT_EQ(1, snap.maxDequeuedBufferCount);
    EXPECT_EQ(2, snap.maxBufferCount);
    EXPECT_EQ(1u, snap.defaultWidth);
    EXPECT_EQ(1u, snap.defaultHeight);
    EXPECT_EQ(android::PIXEL_FORMAT_RGBA_8888, snap.defaultBufferFormat);
    EXPECT_EQ(0u, snap.frameCounter);
    EXPECT_FALSE(snap.asyncMode);
    EXPECT_FALSE(snap.dequeueBufferCannotBlock);
    EXPECT_TRUE(snap.queue.empty());
    EXPECT_EQ((std::set<int>{0, 1}), snap.freeSlots);
    EXPECT_TRUE(snap.freeBuffers.empty());
    EXPECT_TRUE(snap.activeBuffers.empty());
    ASSERT_EQ(62u, snap.unusedSlots.size());
    EXPECT_EQ(63, snap.unusedSlots.front());
    EXPECT_EQ(2, snap.unusedSlots.back());
    EXPECT_EQ(64u, snap.slots.size());
    EXPECT_TRUE(core->hostCheckSlotInvariant());
}

TEST(HostBufferQueueCore, NamesAndIdsDifferPerCore) {
    sp<BufferQueueCore> a(new BufferQueueCore());
    sp<BufferQueueCore> b(new BufferQueueCore());
    EXPECT_NE(a->hostSnapshot().consumerName, b->hostSnapshot().consumerName);
    EXPECT_EQ(a->hostSnapshot().uniqueId + 1, b->hostSnapshot().uniqueId);
}

TEST(HostBufferQueueCore, SlotInvariantHoldsThroughFrameLife) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    ASSERT_EQ(android::NO_ERROR, core->hostSetDefaultBufferSize(64, 32));
    std::string why;

    const int slot = core->hostDequeueBuffer();
    ASSERT_EQ(0, slot);
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    auto snap = core->hostSnapshot();
    EXPECT_STREQ("DEQUEUED", snap.slots[0].mBufferState.string());
    EXPECT_EQ((std::set<int>{0}), snap.activeBuffers);
    EXPECT_EQ((std::set<int>{1}), snap.freeSlots);
    ASSERT_NE(nullptr, snap.slots[0].mGraphicBuffer.get());
    EXPECT_EQ(64, snap.slots[0].mGraphicBuffer->width);
    EXPECT_EQ(32, snap.slots[0].mGraphicBuffer->height);

    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(slot, 1234));
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    snap = core->hostSnapshot();
    EXPECT_STREQ("QUEUED", snap.slots[0].mBufferState.string());
    EXPECT_EQ(1u, snap.frameCounter);
    EXPECT_EQ(1u, snap.slots[0].mFrameNumber);
    ASSERT_EQ(1u, snap.queue.size());
    EXPECT_EQ(1u, snap.queue[0].mFrameNumber);
    EXPECT_EQ(0, snap.queue[0].mSlot);
    EXPECT_EQ(1234, snap.queue[0].mTimestamp);

    BufferItem item;
    ASSERT_TRUE(core->hostAcquireBuffer(&item));
    EXPECT_EQ(0, item.mSlot);
    EXPECT_EQ(1u, item.mFrameNumber);
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    snap = core->hostSnapshot();
    EXPECT_STREQ("ACQUIRED", snap.slots[0].mBufferState.string());
    EXPECT_TRUE(snap.queue.empty());

    EXPECT_EQ(1, core->hostReleaseBuffer(slot, 99));  // STALE_BUFFER_SLOT: wrong frame
    ASSERT_EQ(android::NO_ERROR, core->hostReleaseBuffer(slot, 1));
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    snap = core->hostSnapshot();
    EXPECT_STREQ("FREE", snap.slots[0].mBufferState.string());
    EXPECT_TRUE(snap.activeBuffers.empty());
    EXPECT_EQ((std::list<int>{0}), snap.freeBuffers);

    // The free buffer is reused before the free slot.
    EXPECT_EQ(0, core->hostDequeueBuffer());
}

TEST(HostBufferQueueCore, DequeueRespectsMaxDequeuedCount) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    EXPECT_EQ(0, core->hostDequeueBuffer());
    EXPECT_EQ(BufferQueueCore::INVALID_BUFFER_SLOT, core->hostDequeueBuffer());
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(3));
    EXPECT_EQ(1, core->hostDequeueBuffer());
    EXPECT_EQ(2, core->hostDequeueBuffer());
    // Slot 3 is free, but three buffers are already dequeued.
    EXPECT_EQ((std::set<int>{3}), core->hostSnapshot().freeSlots);
    EXPECT_EQ(BufferQueueCore::INVALID_BUFFER_SLOT, core->hostDequeueBuffer());
    std::string why;
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    // Lowering below what is dequeued is refused.
    EXPECT_EQ(android::BAD_VALUE, core->hostSetMaxDequeuedBufferCount(2));
}

TEST(HostBufferQueueCore, RaisingAndLoweringLimitsMovesUnusedSlots) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(3));
    EXPECT_EQ((std::set<int>{0, 1, 2, 3}), core->hostSnapshot().freeSlots);
    ASSERT_EQ(android::NO_ERROR, core->hostSetAsyncMode(true));
    EXPECT_EQ(5, core->hostSnapshot().maxBufferCount);
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(1));
    EXPECT_EQ(3u, core->hostSnapshot().freeSlots.size());
    std::string why;
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
    EXPECT_EQ(android::BAD_VALUE, core->hostSetMaxAcquiredBufferCount(0));
    EXPECT_EQ(android::BAD_VALUE, core->hostSetMaxDequeuedBufferCount(64));
}

TEST(HostBufferQueueCore, AsyncQueueReplacesDroppableBuffer) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(2));
    ASSERT_EQ(android::NO_ERROR, core->hostSetAsyncMode(true));
    const int a = core->hostDequeueBuffer();
    const int b = core->hostDequeueBuffer();
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(a));
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(b));
    auto snap = core->hostSnapshot();
    ASSERT_EQ(1u, snap.queue.size());
    EXPECT_EQ(b, snap.queue[0].mSlot);
    EXPECT_EQ(2u, snap.queue[0].mFrameNumber);
    EXPECT_EQ((std::list<int>{a}), snap.freeBuffers);
    std::string why;
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
}

TEST(HostBufferQueueCore, QueueOfNonDequeuedSlotIsRefused) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    EXPECT_EQ(android::BAD_VALUE, core->hostQueueBuffer(0));
    EXPECT_EQ(android::BAD_VALUE, core->hostQueueBuffer(-1));
    EXPECT_EQ(android::BAD_VALUE, core->hostQueueBuffer(64));
    EXPECT_FALSE(core->hostAcquireBuffer(nullptr));
    EXPECT_EQ(android::BAD_VALUE, core->hostReleaseBuffer(0, 0));
}

TEST(HostBufferQueueCore, DequeueWithoutAllocationLeavesNullBuffer) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    const int slot = core->hostDequeueBuffer(/*allocate=*/false);
    ASSERT_EQ(0, slot);
    auto snap = core->hostSnapshot();
    EXPECT_EQ(nullptr, snap.slots[0].mGraphicBuffer.get());
    EXPECT_STREQ("DEQUEUED", snap.slots[0].mBufferState.string());
    EXPECT_EQ(android::BAD_VALUE, core->hostQueueBuffer(slot));
    ASSERT_EQ(android::NO_ERROR, core->hostCancelBuffer(slot));
    EXPECT_EQ((std::set<int>{0, 1}), core->hostSnapshot().freeSlots);
    EXPECT_TRUE(core->hostCheckSlotInvariant());
}

TEST(HostBufferQueueCore, MarkSharedShowsShared) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    EXPECT_EQ(android::BAD_VALUE, core->hostMarkShared(0));
    const int slot = core->hostDequeueBuffer();
    ASSERT_EQ(android::NO_ERROR, core->hostMarkShared(slot));
    EXPECT_STREQ("SHARED", core->hostSnapshot().slots[slot].mBufferState.string());
}

TEST(HostBufferQueueCore, SettersChangeConfiguration) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    core->hostSetConsumerName(android::String8("consumer"));
    core->hostSetConnectedApi(1, 4321);
    core->hostSetDefaultBufferFormat(android::PIXEL_FORMAT_RGB_565);
    EXPECT_EQ(android::BAD_VALUE, core->hostSetDefaultBufferSize(0, 5));
    auto snap = core->hostSnapshot();
    EXPECT_EQ("consumer", snap.consumerName);
    EXPECT_EQ(1, snap.connectedApi);
    EXPECT_EQ(4321, snap.connectedPid);
    EXPECT_EQ(android::PIXEL_FORMAT_RGB_565, snap.defaultBufferFormat);
    EXPECT_EQ(1u, snap.defaultWidth);
}

TEST(HostObjects, CoreWithBuffersHasRequestedStates) {
    sp<BufferQueueCore> core =
        makeCoreWithBuffers({HostBuffer::kQueued, HostBuffer::kAcquired, HostBuffer::kFree,
                             HostBuffer::kDequeued, HostBuffer::kAcquired});
    auto snap = core->hostSnapshot();
    EXPECT_STREQ("QUEUED", snap.slots[0].mBufferState.string());
    EXPECT_STREQ("ACQUIRED", snap.slots[1].mBufferState.string());
    EXPECT_STREQ("FREE", snap.slots[2].mBufferState.string());
    EXPECT_STREQ("DEQUEUED", snap.slots[3].mBufferState.string());
    EXPECT_STREQ("ACQUIRED", snap.slots[4].mBufferState.string());
    EXPECT_EQ((std::set<int>{0, 1, 3, 4}), snap.activeBuffers);
    EXPECT_EQ((std::list<int>{2}), snap.freeBuffers);
    EXPECT_EQ(1u, snap.queue.size());
    EXPECT_EQ(1u, snap.slots[1].mFrameNumber);
    EXPECT_EQ(2u, snap.slots[4].mFrameNumber);
    EXPECT_EQ(3u, snap.slots[0].mFrameNumber);
    std::string why;
    EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << why;
}

}  // namespace
}  // namespace talvex::test
