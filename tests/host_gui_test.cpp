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
// bookkeeping through a buffer's transitions between producer and consumer, and the BLAST
// queue's frame flow as Android 14 plays it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/host_objects.h"

namespace talvex::test {
namespace {

using android::BufferQueueCore;
using android::sp;
using android::SurfaceComposerClient;
using android::TransactionCompletedListener;

// One step on a queue: 'D' dequeue (expect: the slot, or -1), 'Q' queue, 'A' acquire, 'R'
// release with the slot's frame number, 'S' release with a stale one, 'C' cancel (expect: the
// status).
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

// Returns what `step` returns on `queue`.
int run(HostQueue& queue, const Step& step) {
    const uint64_t frame = queue.core->hostSnapshot().slots[step.slot].mFrameNumber;
    switch (step.op) {
        case 'D':
            return queue.dequeue();
        case 'Q':
            return queue.queue(step.slot);
        case 'A':
            return queue.acquire();
        case 'C':
            return queue.cancel(step.slot);
        default:
            return queue.release(step.slot, step.op == 'R' ? frame : frame + 9);
    }
}

class HostSlots : public ::testing::TestWithParam<SlotCase> {};

// Every slot is in exactly one of free slots, free buffers, active buffers and unused slots.
TEST_P(HostSlots, EachSlotSitsInExactlyOneSetAfterEveryStep) {
    HostQueue queue;
    ASSERT_EQ(android::NO_ERROR, queue.producer->setMaxDequeuedBufferCount(3));  // slots 0 to 3
    for (const Step& step : GetParam().steps) {
        EXPECT_EQ(step.expect, run(queue, step)) << step.op << step.slot;
        std::string why;
        EXPECT_TRUE(queue.core->hostCheckSlotInvariant(&why)) << step.op << step.slot << ": " << why;
    }
    EXPECT_EQ(GetParam().end, summary(queue.core->hostSnapshot()));
    EXPECT_EQ(60u, queue.core->hostSnapshot().unusedSlots.size());
}

constexpr int kBad = android::BAD_VALUE;
constexpr int kNone = android::BufferQueue::NO_BUFFER_AVAILABLE;
constexpr int kStale = android::IGraphicBufferConsumer::STALE_BUFFER_SLOT;
constexpr int kInvalid = android::INVALID_OPERATION;

INSTANTIATE_TEST_SUITE_P(
    Transitions, HostSlots,
    ::testing::Values(
        SlotCase{"Dequeued",
                 {{'D', 0, 0}, {'D', 0, 1}},
                 "DEQUEUED DEQUEUED FREE FREE | active 0 1 | free buffers | free slots 2 3 "},
        SlotCase{"Queued",
                 {{'D', 0, 0}, {'Q', 0, 0}},
                 "QUEUED FREE FREE FREE | active 0 | free buffers | free slots 1 2 3 "},
        SlotCase{"AcquiredOnceAndReleasedOnlyWithItsFrame",
                 {{'D', 0, 0}, {'Q', 0, 0}, {'A', 0, 0}, {'A', 0, kNone}, {'S', 0, kStale}},
                 "ACQUIRED FREE FREE FREE | active 0 | free buffers | free slots 1 2 3 "},
        SlotCase{"ReleasedKeepsItsBuffer",
                 {{'D', 0, 0}, {'Q', 0, 0}, {'A', 0, 0}, {'R', 0, 0}, {'R', 0, kBad}},
                 "FREE FREE FREE FREE | active | free buffers 0 | free slots 1 2 3 "},
        SlotCase{"CancelledKeepsItsBufferWhichIsReusedFirst",
                 {{'D', 0, 0}, {'D', 0, 1}, {'C', 1, 0}, {'Q', 1, kBad}, {'D', 0, 1}, {'C', 0, 0}},
                 "FREE DEQUEUED FREE FREE | active 1 | free buffers 0 | free slots 2 3 "},
        SlotCase{"AtMostMaxDequeuedOnceOneWasQueued",
                 {{'D', 0, 0}, {'Q', 0, 0}, {'D', 0, 1}, {'D', 0, 2}, {'D', 0, 3}, {'D', 0, -1}},
                 "QUEUED DEQUEUED DEQUEUED DEQUEUED | active 0 1 2 3 | free buffers | free slots "},
        SlotCase{"AtMostOneAcquiredOverTheMaximum",
                 {{'D', 0, 0},
                  {'Q', 0, 0},
                  {'D', 0, 1},
                  {'Q', 1, 0},
                  {'D', 0, 2},
                  {'Q', 2, 0},
                  {'A', 0, 0},
                  {'A', 0, 0},
                  {'A', 0, kInvalid}},
                 "ACQUIRED ACQUIRED QUEUED FREE | active 0 1 2 | free buffers | free slots 3 "}),
    [](const auto& info) { return std::string(info.param.name); });

// A BLAST queue with an EGL app drawing into it.
class HostBlastFrame : public ::testing::Test {
protected:
    void SetUp() override {
        mListener->hostClear();
        ASSERT_EQ(android::NO_ERROR, mSurface.connect());
    }
    void TearDown() override { mListener->hostClear(); }

    // Draws one frame; returns its frame number.
    uint64_t draw() {
        int slot = -1;
        uint64_t frame = 0;
        EXPECT_EQ(android::NO_ERROR, mSurface.dequeueBuffer(&slot));
        EXPECT_EQ(android::NO_ERROR, mSurface.queueBuffer(slot, 0, &frame));
        return frame;
    }

    sp<TransactionCompletedListener> mListener = TransactionCompletedListener::getInstance();
    sp<android::SurfaceControl> mLayer = makeSurfaceControl(20, "flow");
    sp<android::BLASTBufferQueue> mBbq = makeBlastBufferQueue("flow", mLayer, 16, 16);
    android::HostSurface mSurface{mBbq->getIGraphicBufferProducer()};
};

// The names the BLAST dump prints, as libgui builds them.
TEST_F(HostBlastFrame, IsNamedAsLibguiNamesIt) {
    const std::string id = std::to_string(mBbq->hostProducerId());
    EXPECT_EQ("flow#" + id, mBbq->hostName());
    EXPECT_EQ("QueuedBuffer - flow#" + id + "BLAST#" + id, mBbq->hostQueuedBufferTrace());
}

// With nothing released, the queue holds two buffers over the compositor's maximum (one): the
// fourth frame waits.
TEST_F(HostBlastFrame, HoldsAtMostTwoBuffersOverTheCompositorsMaximum) {
    ASSERT_EQ(android::NO_ERROR, mBbq->getIGraphicBufferProducer()->setMaxDequeuedBufferCount(3));
    for (int i = 0; i < 4; ++i) draw();
    const auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(3, snap.numAcquired);
    EXPECT_EQ(1, snap.numFrameAvailable);
    EXPECT_EQ(3u, snap.lastAcquiredFrameNumber);
}

// A synced frame goes to the sync's owner; a frame queued behind it waits, with the transaction
// held for it, until the sync's commit comes back.
TEST_F(HostBlastFrame, FrameBehindASyncWaitsForTheSyncsCommit) {
    SurfaceComposerClient::Transaction held;
    mBbq->mergeWithNextTransaction(&held, 2);
    SurfaceComposerClient::Transaction* delivered = nullptr;
    ASSERT_TRUE(
        mBbq->syncNextTransaction([&](SurfaceComposerClient::Transaction* t) { delivered = t; }));
    ASSERT_EQ(1u, draw());
    ASSERT_NE(nullptr, delivered);
    EXPECT_EQ(std::optional<uint64_t>(1), delivered->hostFrameNumber(mLayer));
    EXPECT_EQ(std::unordered_set<uint64_t>{1}, mBbq->hostSnapshot().syncedFrameNumbers);

    ASSERT_EQ(2u, draw());
    auto snap = mBbq->hostSnapshot();
    EXPECT_EQ(1, snap.numFrameAvailable) << "frame 2 waits in the shadow queue";
    EXPECT_EQ(1u, snap.pendingTransactionCount);

    // The compositor commits the sync transaction.
    std::vector<android::CallbackId> commits;
    for (const auto& id : delivered->hostCallbackIds()) {
        if (id.type == android::CallbackId::Type::ON_COMMIT) commits.push_back(id);
    }
    ASSERT_EQ(1u, commits.size());
    android::FrameEventHistoryStats frame(1, 0, android::Fence::NO_FENCE,
                                          android::CompositorTiming(), 0, 0);
    android::ListenerStats committed;
    committed.transactionStats.emplace_back(
        commits, 0, android::Fence::NO_FENCE,
        std::vector<android::SurfaceStats>{android::SurfaceStats(
            mLayer->getLayerStateHandle(), 0, android::Fence::NO_FENCE, std::nullopt, 1, frame, {},
            android::ReleaseCallbackId::INVALID_ID)});
    mListener->onTransactionCompleted(committed);
    snap = mBbq->hostSnapshot();
    EXPECT_EQ(0, snap.numFrameAvailable);
    EXPECT_EQ(2u, snap.lastAcquiredFrameNumber);
    EXPECT_EQ(0u, snap.pendingTransactionCount) << "the held transaction went with frame 2";
    delete delivered;
}

}  // namespace
}  // namespace talvex::test
