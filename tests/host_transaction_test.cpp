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

// The host models of libgui's surfaces, transactions and transaction-completed listener, where
// the simulator and the library's dumps rely on them behaving as Android 14 does: the handle each
// use of a layer goes by, the ids a transaction carries through merges and applies, the buffers
// a transaction hands back when it drops them, and the order a compositor's report runs things.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <algorithm>
#include <climits>
#include <map>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "support/host_objects.h"
#include "support/own_process.h"
#include "support/scoped_property.h"

namespace talvex::test {
namespace {

using android::CallbackId;
using android::Fence;
using android::FrameEventHistoryStats;
using android::GraphicBuffer;
using android::IBinder;
using android::ListenerStats;
using android::ReleaseCallbackId;
using android::sp;
using android::SurfaceComposerClient;
using android::SurfaceControl;
using android::SurfaceControlStats;
using android::SurfaceStats;
using android::TransactionCompletedListener;
using android::TransactionStats;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IFrameRecord;
using Transaction = SurfaceComposerClient::Transaction;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

sp<GraphicBuffer> makeBuffer() {
    return sp<GraphicBuffer>(new GraphicBuffer(4, 4, android::PIXEL_FORMAT_RGBA_8888, 1, 0));
}

TEST(SurfaceControlHandles, CallbacksGoByTheBlastChildLayerStateAndIdentityByTheLayerItself) {
    sp<SurfaceControl> layer = makeSurfaceControl(1, "layer");
    const sp<IBinder> own = layer->getHandle();
    sp<SurfaceControl> child = makeSurfaceControl(2, "child");
    layer->hostSetBbqChild(child);
    sp<SurfaceControl> copy(new SurfaceControl(layer));

    EXPECT_EQ(child->getHandle(), layer->getHandle());
    EXPECT_EQ(own, layer->getLayerStateHandle());
    EXPECT_EQ(own, copy->getHandle()) << "a copy does not take the child";
    EXPECT_TRUE(SurfaceControl::isSameSurface(layer, copy));
    EXPECT_FALSE(SurfaceControl::isSameSurface(layer, child));
    EXPECT_FALSE(SurfaceControl::isSameSurface(layer, nullptr));
}

TEST(SurfaceControlHandles, IsValidOnlyWithBothAHandleAndAClient) {
    sp<SurfaceComposerClient> client(new SurfaceComposerClient());
    sp<IBinder> handle(new android::BBinder());
    EXPECT_TRUE(SurfaceControl::isValid(new SurfaceControl(client, handle, 1, "both")));
    EXPECT_FALSE(SurfaceControl::isValid(new SurfaceControl(nullptr, handle, 1, "no client")));
    EXPECT_FALSE(SurfaceControl::isValid(new SurfaceControl(client, nullptr, 1, "no handle")));
    EXPECT_FALSE(SurfaceControl::isValid(nullptr));
}

// A frame number given moves the fallback 100 past it; none takes the fallback, from 100 up.
TEST(SurfaceControlHandles, ResolvesMissingFrameNumbersFromAFallbackAheadOfTheGivenOnes) {
    sp<SurfaceControl> layer = makeSurfaceControl(1, "layer");
    const std::vector<std::pair<std::optional<uint64_t>, uint64_t>> steps = {
        {std::nullopt, 100}, {std::nullopt, 101}, {7, 7},
        {std::nullopt, 107}, {std::nullopt, 108}, {3, 3},
        {std::nullopt, 103}};
    for (const auto& [given, resolved] : steps) {
        EXPECT_EQ(resolved, layer->resolveFrameNumber(given));
    }
}

// Applies `t` and returns the id the compositor saw it under.
uint64_t applyAndSeeId(Transaction& t) {
    std::vector<uint64_t> seen;
    Transaction::hostSetApplyObserver([&seen](const Transaction& applied) {
        Transaction copy(applied);
        seen.push_back(copy.getId());
    });
    const android::status_t status = t.apply();
    Transaction::hostSetApplyObserver(nullptr);
    EXPECT_EQ(android::NO_ERROR, status);
    return seen.size() == 1 ? seen[0] : 0;
}

TEST(TransactionIds, ApplyHandsOverTheIdThenTakesANewOne) {
    Transaction t;
    const uint64_t before = t.getId();
    EXPECT_EQ(before, applyAndSeeId(t));
    EXPECT_GT(t.getId(), before);
    EXPECT_EQ(before >> 32, t.getId() >> 32) << "the pid stays above the counter";
}

TEST(TransactionIds, AFailedSetterKeepsTheTransactionFromTheCompositor) {
    Transaction t;
    t.setBuffer(nullptr, makeBuffer());
    int applied = 0;
    Transaction::hostSetApplyObserver([&applied](const Transaction&) { ++applied; });
    EXPECT_EQ(android::BAD_INDEX, t.apply());
    Transaction::hostSetApplyObserver(nullptr);
    EXPECT_EQ(0, applied);
}

TEST(TransactionIds, ACopyHasTheIdButNotTheMergeHistory) {
    Transaction t;
    Transaction merged;
    t.merge(std::move(merged));
    Transaction copy(t);
    EXPECT_EQ(t.getId(), copy.getId());
    EXPECT_EQ(1u, t.getMergedTransactionIds().size());
    EXPECT_THAT(copy.getMergedTransactionIds(), IsEmpty());
}

// `mine` has had `minePrior` transactions (A1, A2, ...) merged into it, `other` (O) has had
// `otherPrior` (B1, B2, ...); then other is merged into mine.
struct MergeCase {
    const char* name;
    int minePrior;
    int otherPrior;
    std::vector<std::string> expected;  // mine's merged ids after, most recent first
};

void PrintTo(const MergeCase& c, std::ostream* out) {
    *out << c.name;
}

class TransactionMergeHistory : public ::testing::TestWithParam<MergeCase> {};

TEST_P(TransactionMergeHistory, KeepsTheTenMostRecentMostRecentFirst) {
    std::map<std::string, uint64_t> ids;
    Transaction mine;
    Transaction other;
    auto mergeInto = [&ids](Transaction& into, const std::string& label) {
        Transaction t;
        ids[label] = t.getId();
        into.merge(std::move(t));
    };
    for (int i = 1; i <= GetParam().minePrior; ++i) mergeInto(mine, "A" + std::to_string(i));
    for (int i = 1; i <= GetParam().otherPrior; ++i) mergeInto(other, "B" + std::to_string(i));
    ids["O"] = other.getId();
    mine.merge(std::move(other));

    std::vector<uint64_t> expected;
    for (const std::string& label : GetParam().expected) expected.push_back(ids.at(label));
    EXPECT_THAT(mine.getMergedTransactionIds(), ElementsAreArray(expected));
    EXPECT_THAT(other.getMergedTransactionIds(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Merges, TransactionMergeHistory,
    ::testing::Values(
        MergeCase{"First", 0, 0, {"O"}},
        MergeCase{"OthersHistoryFollowsIt", 0, 2, {"O", "B2", "B1"}},
        MergeCase{"OursComesLast", 2, 2, {"O", "B2", "B1", "A2", "A1"}},
        MergeCase{"ExactlyTen", 9, 0, {"O", "A9", "A8", "A7", "A6", "A5", "A4", "A3", "A2", "A1"}},
        MergeCase{"OursLosesItsOldest",
                  10,
                  0,
                  {"O", "A10", "A9", "A8", "A7", "A6", "A5", "A4", "A3", "A2"}},
        MergeCase{"OursMakesRoomForOthers",
                  5,
                  6,
                  {"O", "B6", "B5", "B4", "B3", "B2", "B1", "A5", "A4", "A3"}},
        MergeCase{"AFullHistoryOfOthersLosesItsOldest",
                  3,
                  10,
                  {"O", "B10", "B9", "B8", "B7", "B6", "B5", "B4", "B3", "B2"}}),
    [](const auto& info) { return std::string(info.param.name); });

// Each test runs against a listener of its own, made the process's for the test.
class ListenerTest : public ::testing::Test {
protected:
    void SetUp() override {
        mPrevious = TransactionCompletedListener::getInstance();
        TransactionCompletedListener::setInstance(mListener);
    }
    void TearDown() override {
        SurfaceComposerClient::hostWaitForReleaseCallbacks();
        TransactionCompletedListener::setInstance(mPrevious);
    }

    // A release callback that logs "release <frame number>".
    android::ReleaseBufferCallback logRelease() {
        return [this](const ReleaseCallbackId& id, const sp<Fence>&, std::optional<uint32_t>) {
            mEvents.push_back("release " + std::to_string(id.framenumber));
        };
    }
    // A transaction callback that logs `name`, with the stats it got.
    android::TransactionCompletedCallbackTakesContext log(const std::string& name) {
        return [this, name](void*, nsecs_t, const sp<Fence>&,
                            const std::vector<SurfaceControlStats>& stats) {
            mEvents.push_back(name);
            mStats[name] = stats;
        };
    }

    sp<TransactionCompletedListener> mListener = new TransactionCompletedListener();
    sp<TransactionCompletedListener> mPrevious;
    sp<SurfaceControl> mSurface = makeSurfaceControl(1, "layer");
    sp<SurfaceControl> mOther = makeSurfaceControl(2, "other");
    std::vector<std::string> mEvents;
    std::map<std::string, std::vector<SurfaceControlStats>> mStats;
};

TEST_F(ListenerTest, SetBufferRegistersACompletionOfItsOwnAndTheBuffersRelease) {
    Transaction t;
    sp<GraphicBuffer> buffer = makeBuffer();
    t.setBuffer(mSurface, buffer, std::nullopt, 3, 0, logRelease());
    const auto ids = t.hostCallbackIds();
    ASSERT_EQ(1u, ids.size());
    EXPECT_EQ(CallbackId::Type::ON_COMPLETE, ids.begin()->type);
    t.addTransactionCompletedCallback(log("complete"), nullptr);
    t.addTransactionCommittedCallback(log("commit"), nullptr);
    EXPECT_EQ(3u, t.hostCallbackIds().size());
    EXPECT_EQ(3u, mListener->hostCallbackCount());
    EXPECT_EQ(1u, mListener->hostReleaseCallbackCount());
    const auto layers = t.hostLayers();
    ASSERT_EQ(1u, layers.size());
    EXPECT_EQ(std::optional<uint64_t>(3), layers[0].frameNumber);
    EXPECT_EQ(ReleaseCallbackId(buffer->getId(), 3), layers[0].releaseCallbackId);
}

// What a transaction does to the buffers it held; the callbacks log "release <frame>".
struct DropCase {
    const char* name;
    void (*play)(Transaction& t, Transaction& other, const sp<SurfaceControl>& surface,
                 const sp<SurfaceControl>& otherSurface, const android::ReleaseBufferCallback& cb);
    std::vector<std::string> released;
    std::optional<uint64_t> frameAfter;  // the frame `t` carries for `surface` in the end
};

void PrintTo(const DropCase& c, std::ostream* out) {
    *out << c.name;
}

class TransactionDroppedBuffers : public ListenerTest,
                                  public ::testing::WithParamInterface<DropCase> {};

TEST_P(TransactionDroppedBuffers, AreReleasedAtOnceWhenReplaced) {
    Transaction t;
    Transaction other;
    GetParam().play(t, other, mSurface, mOther, logRelease());
    SurfaceComposerClient::hostWaitForReleaseCallbacks();
    EXPECT_THAT(mEvents, ElementsAreArray(GetParam().released));
    EXPECT_EQ(GetParam().frameAfter, t.hostFrameNumber(mSurface));
}

INSTANTIATE_TEST_SUITE_P(
    Drops, TransactionDroppedBuffers,
    ::testing::Values(
        DropCase{"SetTwice",
                 [](Transaction& t, Transaction&, const sp<SurfaceControl>& s,
                    const sp<SurfaceControl>&, const android::ReleaseBufferCallback& cb) {
                     t.setBuffer(s, makeBuffer(), std::nullopt, 1, 0, cb);
                     t.setBuffer(s, makeBuffer(), std::nullopt, 2, 0, cb);
                 },
                 {"release 1"},
                 2},
        DropCase{"MergedOver",
                 [](Transaction& t, Transaction& o, const sp<SurfaceControl>& s,
                    const sp<SurfaceControl>&, const android::ReleaseBufferCallback& cb) {
                     t.setBuffer(s, makeBuffer(), std::nullopt, 1, 0, cb);
                     o.setBuffer(s, makeBuffer(), std::nullopt, 2, 0, cb);
                     t.merge(std::move(o));
                 },
                 {"release 1"},
                 2},
        DropCase{"MergedWithAnotherSurfacesBuffer",
                 [](Transaction& t, Transaction& o, const sp<SurfaceControl>& s,
                    const sp<SurfaceControl>& other, const android::ReleaseBufferCallback& cb) {
                     t.setBuffer(s, makeBuffer(), std::nullopt, 1, 0, cb);
                     o.setBuffer(other, makeBuffer(), std::nullopt, 2, 0, cb);
                     t.merge(std::move(o));
                 },
                 {},
                 1},
        DropCase{"MergedIntoAnEmptyOne",
                 [](Transaction& t, Transaction& o, const sp<SurfaceControl>& s,
                    const sp<SurfaceControl>&, const android::ReleaseBufferCallback& cb) {
                     o.setBuffer(s, makeBuffer(), std::nullopt, 2, 0, cb);
                     t.merge(std::move(o));
                 },
                 {},
                 2}),
    [](const auto& info) { return std::string(info.param.name); });

// One report on a transaction with a commit and a completion callback and setBuffer's own,
// whose buffer replaced frame 1's.
TEST_F(ListenerTest, AReportRunsTheCommitThenTheReplacedBuffersReleaseThenTheCompletion) {
    sp<GraphicBuffer> previous = makeBuffer();
    std::optional<uint32_t> releaseCount;
    sp<Fence> releaseFence;
    mListener->setReleaseBufferCallback(
        ReleaseCallbackId(previous->getId(), 1),
        [&](const ReleaseCallbackId& id, const sp<Fence>& fence, std::optional<uint32_t> count) {
            mEvents.push_back("release " + std::to_string(id.framenumber));
            releaseFence = fence;
            releaseCount = count;
        });
    Transaction t;
    t.setBuffer(mSurface, makeBuffer(), std::nullopt, 2, 0, logRelease());
    t.addTransactionCompletedCallback(log("complete"), nullptr);
    t.addTransactionCommittedCallback(log("commit"), nullptr);
    const auto ids = t.hostCallbackIds();

    SurfaceStats surface(mSurface->getHandle(), 10, nullptr, 3u, 2u,
                         FrameEventHistoryStats(2, 1, nullptr, {}, 10, 0), {},
                         ReleaseCallbackId(previous->getId(), 1));
    ListenerStats report;
    report.transactionStats.emplace_back(std::vector<CallbackId>(ids.begin(), ids.end()), 10,
                                         Fence::NO_FENCE, std::vector<SurfaceStats>{surface});
    mListener->onTransactionCompleted(report);

    EXPECT_THAT(mEvents, ElementsAre("commit", "release 1", "complete"));
    EXPECT_EQ(Fence::NO_FENCE, releaseFence) << "no release fence reads as NO_FENCE";
    EXPECT_EQ(std::optional<uint32_t>(2), releaseCount);
    ASSERT_EQ(1u, mStats["complete"].size());
    EXPECT_EQ(mSurface, mStats["complete"][0].surfaceControl);
    EXPECT_EQ(2u, mStats["complete"][0].frameEventStats.frameNumber);
    EXPECT_EQ(2u, mStats["complete"][0].currentMaxAcquiredBufferCount);
    EXPECT_EQ(mSurface, mStats["commit"].at(0).surfaceControl);
    EXPECT_EQ(3u, mSurface->getTransformHint());
    EXPECT_EQ(0u, mListener->hostCallbackCount());
    EXPECT_EQ(1u, mListener->hostReleaseCallbackCount()) << "frame 2's buffer is still out";
}

// libgui's patch in the listener: the frame record times every callback id from its
// registration to the report that takes it out, and records each surface's commit and completion
// once per transaction (setBuffer's extra callback adds none), before any callback runs.
TEST_F(ListenerTest, FrameRecordTimesEachIdAndRecordsEachSurfaceOncePerReport) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        IFrameRecord* record = getFrameRecordIns();
        record->updateFrameAndGetContent(mSurface.get(), "bbq", mSurface.get());
        record->setLayerFrameEvent(mSurface->getLayerId(), 5,
                                   FrameStartStatus{false, false, 1, 0, 0});
        Transaction t;
        t.addTransactionCommittedCallback(log("commit"), nullptr);
        t.addTransactionCompletedCallback(log("complete"), nullptr);
        t.setBuffer(mSurface, makeBuffer(), std::nullopt, 5);
        const auto ids = t.hostCallbackIds();
        ASSERT_EQ(3u, ids.size());
        std::vector<CallbackId> commit;
        std::vector<CallbackId> complete;
        for (const CallbackId& id : ids) {
            (id.type == CallbackId::Type::ON_COMMIT ? commit : complete).push_back(id);
        }
        EXPECT_EQ(3u, record->getCallbackIdTime().size());

        const std::vector<SurfaceStats> surfaces = {SurfaceStats(
            mSurface->getHandle(), 1, nullptr, std::nullopt, 1u,
            FrameEventHistoryStats(5, 0, nullptr, {}, 1, 0), {}, ReleaseCallbackId::INVALID_ID)};
        ListenerStats committed;
        committed.transactionStats.emplace_back(commit, 1, Fence::NO_FENCE, surfaces);
        mListener->onTransactionCompleted(committed);
        EXPECT_EQ(2u, record->getCallbackIdTime().size()) << "the commit's id is out";
        ListenerStats completed;
        completed.transactionStats.emplace_back(complete, 1, Fence::NO_FENCE, surfaces);
        mListener->onTransactionCompleted(completed);
        EXPECT_TRUE(record->getCallbackIdTime().empty());

        std::string text;
        record->dumpAllRecordContent(text);
        const std::string frame = text.substr(text.find("FrameNumber:5 "));
        const auto count = [&frame](const std::string& step) {
            size_t n = 0;
            for (size_t at = frame.find(step); at != std::string::npos;
                 at = frame.find(step, at + 1))
                ++n;
            return n;
        };
        EXPECT_EQ(1u, count("onTransactionCompletedCommit(")) << frame;
        EXPECT_EQ(1u, count("onTransactionCompletedComplete(")) << frame;
        EXPECT_LT(frame.find("onTransactionCompletedCommit("),
                  frame.find("onTransactionCompletedComplete("));
        EXPECT_THAT(mEvents, ElementsAre("commit", "complete"));
    });
}

struct ReleaseCase {
    const char* name;
    bool registered;
    bool withFence;
    uint32_t count;
    std::optional<uint32_t> countSeen;
};

void PrintTo(const ReleaseCase& c, std::ostream* out) {
    *out << c.name;
}

class ListenerReleases : public ListenerTest, public ::testing::WithParamInterface<ReleaseCase> {};

TEST_P(ListenerReleases, RunTheBuffersCallbackOnceWithTheFenceAsGiven) {
    const ReleaseCallbackId id(9, 4);
    int runs = 0;
    sp<Fence> seenFence = Fence::NO_FENCE;
    std::optional<uint32_t> seenCount;
    if (GetParam().registered) {
        mListener->setReleaseBufferCallback(
            id, [&](const ReleaseCallbackId&, const sp<Fence>& fence, std::optional<uint32_t> n) {
                ++runs;
                seenFence = fence;
                seenCount = n;
            });
    }
    const sp<Fence> fence = GetParam().withFence ? Fence::NO_FENCE : nullptr;
    mListener->onReleaseBuffer(id, fence, GetParam().count);
    mListener->onReleaseBuffer(id, fence, GetParam().count);
    EXPECT_EQ(GetParam().registered ? 1 : 0, runs);
    if (!GetParam().registered) return;
    EXPECT_EQ(fence, seenFence);
    EXPECT_EQ(GetParam().countSeen, seenCount);
}

INSTANTIATE_TEST_SUITE_P(Releases, ListenerReleases,
                         ::testing::Values(ReleaseCase{"NoCount", true, true, UINT_MAX, {}},
                                           ReleaseCase{"Count", true, true, 2, 2},
                                           ReleaseCase{"NoFenceStaysNull", true, false, 1, 1},
                                           ReleaseCase{"Unknown", false, true, 1, {}}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace talvex::test
