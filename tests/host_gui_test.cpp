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

// The host libgui models, as far as the library's dumps and the simulator rely on them: slot
// bookkeeping through a buffer's transitions and the BLAST queue's bookkeeping through a frame's
// life.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/host_objects.h"

namespace talvex::test {
namespace {

using android::BufferQueueCore;
using android::Fence;
using android::ReleaseCallbackId;
using android::sp;
using android::TransactionCompletedListener;

// One step on a core: 'D' dequeue (expect: the slot), 'd' dequeue without allocating, 'Q' queue,
// 'A' acquire (expect: true/false), 'R' release with the slot's frame number, 'S' release with a
// stale one, 'C' cancel (expect: the status).
struct Step {
    char op;
    int slot;
    int expect;
};

struct SlotCase {
    const char* name;
    std::vector<Step> steps;
    const char* end;  // slots 0 to 3's states, then the slots of each set
};

// Returns "<state of slots 0..3> | active <slots> | free buffers <slots> | free slots <slots>".
std::string summary(const BufferQueueCore::HostSnapshot& snap) {
    std::string text;
    for (int slot = 0; slot < 4; ++slot)
        text += snap.slots[slot].mBufferState.string() + std::string(" ");
    auto add = [&text](const char* label, const auto& slots) {
        text += std::string("| ") + label;
        for (int slot : slots) text += " " + std::to_string(slot);
        text += " ";
    };
    add("active", snap.activeBuffers);
    add("free buffers", snap.freeBuffers);
    add("free slots", snap.freeSlots);
    return text;
}

// Returns what `step` returns on `core`.
int run(BufferQueueCore& core, const Step& step) {
    const uint64_t frame = core.hostSnapshot().slots[step.slot].mFrameNumber;
    if (step.op == 'D' || step.op == 'd') return core.hostDequeueBuffer(step.op == 'D');
    if (step.op == 'Q') return core.hostQueueBuffer(step.slot);
    if (step.op == 'A') return core.hostAcquireBuffer(nullptr);
    if (step.op == 'C') return core.hostCancelBuffer(step.slot);
    return core.hostReleaseBuffer(step.slot, step.op == 'R' ? frame : frame + 9);
}

class HostSlots : public ::testing::TestWithParam<SlotCase> {};

// Every slot is in exactly one of free slots, free buffers, active buffers and unused slots.
TEST_P(HostSlots, EachSlotSitsInExactlyOneSetAfterEveryStep) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(3));  // slots 0 to 3
    for (const Step& step : GetParam().steps) {
        EXPECT_EQ(step.expect, run(*core, step)) << step.op << step.slot;
        std::string why;
        EXPECT_TRUE(core->hostCheckSlotInvariant(&why)) << step.op << step.slot << ": " << why;
    }
    EXPECT_EQ(GetParam().end, summary(core->hostSnapshot()));
    EXPECT_EQ(60u, core->hostSnapshot().unusedSlots.size());
}

constexpr int kNoSlot = BufferQueueCore::INVALID_BUFFER_SLOT;
constexpr int kBad = android::BAD_VALUE;

INSTANTIATE_TEST_SUITE_P(
    Transitions, HostSlots,
    ::testing::Values(
        SlotCase{"Dequeued",
                 {{'D', 0, 0}, {'D', 0, 1}},
                 "DEQUEUED DEQUEUED FREE FREE | active 0 1 | free buffers | free slots 2 3 "},
        SlotCase{"Queued",
                 {{'D', 0, 0}, {'Q', 0, 0}},
                 "QUEUED FREE FREE FREE | active 0 | free buffers | free slots 1 2 3 "},
        SlotCase{"Acquired",
                 {{'D', 0, 0}, {'Q', 0, 0}, {'A', 0, true}, {'A', 0, false}, {'S', 0, 1}},
                 "ACQUIRED FREE FREE FREE | active 0 | free buffers | free slots 1 2 3 "},
        SlotCase{"ReleasedKeepsItsBuffer",
                 {{'D', 0, 0}, {'Q', 0, 0}, {'A', 0, true}, {'R', 0, 0}, {'R', 0, kBad}},
                 "FREE FREE FREE FREE | active | free buffers 0 | free slots 1 2 3 "},
        SlotCase{"CancelledKeepsItsBufferWhichIsReusedFirst",
                 {{'D', 0, 0}, {'D', 0, 1}, {'C', 1, 0}, {'Q', 1, kBad}, {'D', 0, 1}, {'C', 0, 0}},
                 "FREE DEQUEUED FREE FREE | active 1 | free buffers 0 | free slots 2 3 "},
        SlotCase{"UnallocatedCancelGoesBackToFreeSlots",
                 {{'d', 0, 0}, {'Q', 0, kBad}, {'C', 0, 0}},
                 "FREE FREE FREE FREE | active | free buffers | free slots 0 1 2 3 "},
        SlotCase{"AtMostMaxDequeued",
                 {{'D', 0, 0}, {'D', 0, 1}, {'D', 0, 2}, {'D', 0, kNoSlot}},
                 "DEQUEUED DEQUEUED DEQUEUED FREE | active 0 1 2 | free buffers | free slots 3 "}),
    [](const auto& info) { return std::string(info.param.name); });

class HostBlastFrame : public ::testing::Test {
protected:
    void SetUp() override { mListener->hostClear(); }
    void TearDown() override { mListener->hostClear(); }

    sp<TransactionCompletedListener> mListener = TransactionCompletedListener::getInstance();
    sp<android::SurfaceControl> mSurface = makeSurfaceControl(20, "flow");
    sp<android::BLASTBufferQueue> mBbq = makeBlastBufferQueue("flow", mSurface, 16, 16);
};

// The names the BLAST dump prints, as AOSP builds them.
TEST_F(HostBlastFrame, IsNamedAsLibguiNamesIt) {
    const std::string id = std::to_string(mBbq->hostProducerId());
    EXPECT_EQ("flow#" + id, mBbq->hostName());
    EXPECT_EQ("QueuedBuffer - flow#" + id + "BLAST#" + id, mBbq->hostQueuedBufferTrace());
}

TEST_F(HostBlastFrame, SyncAndHeldTransactionsAreKeptUntilTheirFrame) {
    android::SurfaceComposerClient::Transaction held;
    mBbq->mergeWithNextTransaction(&held, 2);
    android::SurfaceComposerClient::Transaction sync;
    android::SurfaceComposerClient::Transaction* delivered = nullptr;
    mBbq->hostSetSyncTransaction(&sync);
    mBbq->hostSetTransactionReadyCallback([&](auto* t) { delivered = t; });
    ASSERT_EQ(1u, mBbq->hostQueueNewFrame());
    auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(&sync, delivered);
    EXPECT_EQ(std::optional<uint64_t>(1), sync.hostFrameNumber(mSurface));
    EXPECT_EQ(std::unordered_set<uint64_t>{1}, snap.syncedFrameNumbers);
    EXPECT_FALSE(snap.appliedLastTransaction);
    EXPECT_EQ(nullptr, snap.syncTransaction);
    EXPECT_EQ(1u, snap.pendingTransactionCount);
    ASSERT_EQ(2u, mBbq->hostQueueNewFrame());
    EXPECT_EQ(0u, mBbq->hostSnapshot().pendingTransactionCount);
}

}  // namespace
}  // namespace talvex::test
