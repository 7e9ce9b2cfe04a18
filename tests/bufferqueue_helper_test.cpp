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

// The buffer-queue helper on host libgui objects: its dumps byte for byte, the limiter, bad input,
// the road of one dump through the hook getters as libgui drives it, and its lock order.
#include <android-base/stringprintf.h>
#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/HostCompositor.h>
#include <gui/SurfaceComposerClient.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <unistd.h>

#include <cinttypes>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"
#include "support/host_objects.h"
#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/scoped_property.h"

namespace talvex::test {
namespace {

using android::BLASTBufferQueue;
using android::HostCompositor;
using android::ReleaseCallbackId;
using android::sp;
using android::SurfaceControl;
using android::TalvexBufferQueueHelper;
using android::base::StringPrintf;
using namespace android::libgui_interface::hook;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

const void* const kNull = nullptr;
const std::string kCheck = "dumpStateAndFrameRecord call blastbufferqueue check: ";

std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// The helper's lines of `logs`, as text, checking that each has the helper's tag and `priority`.
std::vector<std::string> helperTexts(const LogCapture& logs, int priority) {
    std::vector<std::string> texts;
    for (const LogLine& line : logs.lines()) {
        if (line.tag != "TalvexBufferQueueHelper") continue;
        EXPECT_EQ(priority, line.priority) << line.text;
        texts.push_back(line.text);
    }
    return texts;
}

TEST(CoreStateDump, EveryKindOfSlotPrintsInOrderWithItsStateColumn) {
    HostQueue queue;
    const sp<android::BufferQueueCore>& core = queue.core;
    queue.itemConsumer->setName(android::String8("core"));
    ASSERT_EQ(android::NO_ERROR, queue.consumer->setDefaultBufferSize(100, 50));
    ASSERT_EQ(android::NO_ERROR, queue.producer->setMaxDequeuedBufferCount(5));
    ASSERT_EQ(android::NO_ERROR, queue.queue(queue.dequeue()));
    ASSERT_EQ(android::NO_ERROR, queue.acquire());
    ASSERT_EQ(android::NO_ERROR, queue.queue(queue.dequeue()));
    queue.dequeue();                                // dequeued with its buffer
    core->hostDropDequeuedBuffer(queue.dequeue());  // dequeued, buffer still being allocated
    ASSERT_EQ(android::NO_ERROR, queue.cancel(queue.dequeue()));
    const auto s = core->hostSnapshot();
    ASSERT_EQ((std::set<int>{0, 1, 2, 3}), s.activeBuffers);
    ASSERT_EQ((std::list<int>{4}), s.freeBuffers);
    ASSERT_FALSE(s.freeSlots.empty());

    // The prefix: the id in hex without 0x, then the creating process (the id's upper half).
    const std::string p =
        StringPrintf("[core](id:%" PRIx64 ",api:1,p:%d,c:%d)", s.uniqueId, getpid(), getpid());
    std::vector<std::string> expected;
    const auto add = [&](const std::string& text) { expected.push_back(p + text); };
    const auto withBuffer = [&](const char* marker, int slot, const char* column, int frame) {
        const auto& buf = s.slots[slot].mGraphicBuffer;
        add(StringPrintf("   %s[%02d:%p] ", marker, slot, static_cast<const void*>(buf.get())));
        add(StringPrintf("   state=%s %p id=%" PRIu64 " frame=%d", column,
                         static_cast<const void*>(buf->handle), buf->getId(), frame));
        add(StringPrintf("   [ 100x  50:%4d,  1]\n", static_cast<int>(buf->stride)));
    };
    add(" ---dumpBbqStateDirectly:");
    add("  FIFO(1) mMaxAcquiredBufferCount=1 mMaxDequeuedBufferCount=5 "
        "mDequeueBufferCannotBlock=0 mAsyncMode=0\n");
    add("  default-size=[100x50] default-format=1 frame-counter=2");
    add("  --Slots states--:\n");
    withBuffer(">", 0, "ACQUIRED", 1);
    withBuffer(" ", 1, "QUEUED  ", 2);
    withBuffer(" ", 2, "DEQUEUED", 0);
    add(StringPrintf("   [03:%p] ", kNull));
    add("   state=DEQUEUED frame=0\n");
    withBuffer("", 4, "FREE    ", 0);
    for (int slot : s.freeSlots) add(StringPrintf("   [%02d:%p] state=FREE    \n", slot, kNull));
    add(" dumpBbqStateDirectly end---");

    TalvexBufferQueueHelper helper;
    LogCapture logs;
    helper.dumpBQCoreStateCalledByBlast(core.get());
    EXPECT_EQ(expected, helperTexts(logs, ANDROID_LOG_ERROR));
}

TEST(BlastStateDump, EmptyThenFilledQueuePrintsAfterExistingTextAndKeepsItsPendingQueue) {
    sp<SurfaceControl> surface = makeSurfaceControl(11, "surface");
    sp<SurfaceControl> other = makeSurfaceControl(12, "other");
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("blast", surface);
    TalvexBufferQueueHelper helper;
    const auto dump = [&] {
        std::string out = "kept\n";
        std::lock_guard<std::mutex> lock(bbq->hostMutex());
        helper.dumpBlastBufferQueueStateLocked(bbq.get(), out);
        return splitLines(out);
    };
    const auto s = bbq->hostSnapshot();
    std::vector<std::string> expected = {
        "kept",
        "---Dump BlastBufferQueue State START---",
        "mName:" + bbq->hostName() + ", mQueuedBufferTrace:" + bbq->hostQueuedBufferTrace(),
        StringPrintf("mSurfaceControl:surface(%p)", static_cast<const void*>(surface.get())),
        StringPrintf("mMaxAcquiredBuffers:1, mProducerId:%u, mCurrentMaxAcquiredBufferCount:%u",
                     bbq->hostProducerId(), s.currentMaxAcquiredBufferCount),
        "mSubmitted:",
        "mPendingRelease:",
        StringPrintf("mTransactionReadyCallback:0, mSyncTransaction:%p, mAcquireSingleBuffer:1",
                     kNull),
        "mPendingTransactions:",
        StringPrintf("mLastAcquiredFrameNumber:%" PRIu64 ", mLastAppliedFrameNumber:%" PRIu64
                     ", mAppliedLastTransaction:0",
                     s.lastAcquiredFrameNumber, s.lastAppliedFrameNumber),
        "mSurfaceControlsWithPendingCallback:",
        "mSyncedFrameNumbers:",
        "---Dump BlastBufferQueue State END---"};
    EXPECT_EQ(expected, dump());

    android::BufferItem item;
    item.mFrameNumber = 9;
    item.mApi = 1;
    item.mSlot = 3;
    bbq->hostAddSubmitted(ReleaseCallbackId::INVALID_ID, item);
    bbq->hostAddPendingRelease(ReleaseCallbackId(5, 6), nullptr);
    bbq->hostAddPendingRelease(ReleaseCallbackId(7, 8), nullptr);
    bbq->hostAddPendingTransaction(12, android::SurfaceComposerClient::Transaction());
    for (const auto& pending : {surface, sp<SurfaceControl>(), other}) {
        bbq->hostPushSurfaceControlWithPendingCallback(pending);
    }
    bbq->hostAddSyncedFrameNumber(42);
    const int32_t refs[] = {surface->getStrongCount(), other->getStrongCount()};
    const std::vector<std::string> lines = dump();
    const void* transaction = nullptr;  // the address inside the vector element, read back
    ASSERT_EQ(1, sscanf(lines.at(9).c_str(),
                        "mPendingTransactions: [framenumber:12-transaction:%p]", &transaction));
    expected[6] += " [bufferId:5 framenumber:6]  [bufferId:7 framenumber:8] ";
    expected[8] += StringPrintf(" [framenumber:12-transaction:%p] ", transaction);
    expected[10] +=
        StringPrintf(" [surface(%p)]  [other(%p)] ", static_cast<const void*>(surface.get()),
                     static_cast<const void*>(other.get()));
    expected[11] += " 42 ";
    expected.insert(expected.begin() + 6, "   Id:INVALID_ID, Item:9, mApi:1, mSlot:3");
    EXPECT_EQ(expected, lines);
    EXPECT_EQ(3u, bbq->hostSnapshot().surfaceControlsWithPendingCallbackCount);
    EXPECT_THAT(refs, ElementsAre(surface->getStrongCount(), other->getStrongCount()));
}

TEST(ListenerCallbackDump, PendingCallbacksPrintWithTheirAgeFromTheDumpTime) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        auto* record = getFrameRecordIns();
        auto listener = android::TransactionCompletedListener::getInstance();
        sp<SurfaceControl> surface = makeSurfaceControl(3, "pending");
        const auto complete =
            listener->addCallbackFunction([](nsecs_t, const sp<android::Fence>&,
                                             const std::vector<android::SurfaceControlStats>&) {},
                                          {surface}, android::CallbackId::Type::ON_COMPLETE);
        const auto commit =
            listener->addCallbackFunction(nullptr, {}, android::CallbackId::Type::ON_COMMIT);
        listener->setReleaseBufferCallback(
            ReleaseCallbackId(5, 6),
            [](const ReleaseCallbackId&, const sp<android::Fence>&, std::optional<uint32_t>) {});
        {
            std::lock_guard<std::mutex> lock(listener->hostMutex());
            // libgui timed both; the commit callback's time is dropped, to print one without.
            record->removeCallbackIdLocked(commit.id);
        }
        const long added = record->getCallbackIdTime().at(complete.id);

        std::string out;
        TalvexBufferQueueHelper().dumpAllListenerCallbackInfos(out);
        const std::vector<std::string> lines = splitLines(out);
        ASSERT_EQ(5u, lines.size()) << out;
        long now = 0;
        ASSERT_EQ(1, sscanf(lines[4].c_str(),
                            "---Dump Current Process All Callback Over, NowBaseTime:%ld---", &now));
        const std::string age = record->getTimeString(now, added);
        EXPECT_EQ('-', age.at(0));
        EXPECT_EQ("---Dump Current Process All Callback START, Callbacks:2/1/1---", lines[0]);
        EXPECT_THAT(std::vector<std::string>(lines.begin() + 1, lines.begin() + 3),
                    ::testing::UnorderedElementsAre(
                        "CallbackId: (" + std::to_string(complete.id) + ",complete," +
                            std::to_string(added) + "/" + age +
                            StringPrintf("), Cb:1 SurfaceControls: [handle:%p,sc:%p,name:pending]",
                                         static_cast<void*>(surface->getHandle().get()),
                                         static_cast<void*>(surface.get())),
                        "CallbackId: (" + std::to_string(commit.id) +
                            ",commit,0/-1), Cb:0 SurfaceControls:"));
        EXPECT_EQ("ReleaseCallbackId: [bufferId:5 framenumber:6, cb:1] ", lines[3]);
        EXPECT_EQ(2u, listener->hostCallbackCount()) << "the listener's maps are left as they were";
    });
}

TEST(BufferSizeLimiter, CapsOnlyWhenAskedAboveFourThousandAndSetsTheConsumerOnce) {
    struct Case {
        const char* property;
        int mode;
        int32_t width, height;
        int updateRequested;
        int32_t cappedWidth, cappedHeight;  // the new size, or -1 when nothing may change
    };
    const Case cases[] = {{"", 1, 4096, 2160, 1, -1, -1},      {"0", 1, 4096, 2160, 1, -1, -1},
                          {"2", 1, 4096, 2160, 1, -1, -1},     {"1", 0, 4096, 2160, 1, -1, -1},
                          {"1", 2, 4096, 2160, 1, -1, -1},     {"1", 1, 4000, 4000, 1, -1, -1},
                          {"1", 1, 4001, 100, 0, 4000, 100},   {"1", 1, 100, 4001, 1, 100, 4000},
                          {"1", 1, 4096, 2160, 1, 4000, 2160}, {"1", 1, 5000, 5000, 0, 4000, 4000}};
    TalvexBufferQueueHelper helper;  // one helper: the property must be read on every call
    for (const Case& c : cases) {
        SCOPED_TRACE(StringPrintf("'%s' mode %d %dx%d", c.property, c.mode, c.width, c.height));
        ScopedProperty property("debug.graphics.unsupport4K", c.property);
        sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("limited", 1);
        auto* consumer = static_cast<android::ConsumerBase*>(bbq->hostBufferItemConsumer().get());
        auto expectedCalls = consumer->hostDefaultBufferSizeCalls();
        int32_t requested[2] = {c.width, c.height};
        int32_t size[2] = {64, 32};
        LogCapture logs;
        // Twice: a request left oversized is capped (and logged) again, but the consumer is not
        // given the size it already has.
        helper.resetBBQRequestSize(requested, size, consumer, c.mode, c.updateRequested);
        helper.resetBBQRequestSize(requested, size, consumer, c.mode, c.updateRequested);

        const bool capped = c.cappedWidth >= 0;
        const bool copiedBack = capped && c.updateRequested != 0;
        EXPECT_THAT(size, ElementsAre(capped ? c.cappedWidth : 64, capped ? c.cappedHeight : 32));
        EXPECT_THAT(requested, ElementsAre(copiedBack ? c.cappedWidth : c.width,
                                           copiedBack ? c.cappedHeight : c.height));
        std::vector<std::string> expectedLogs;
        if (capped) {
            expectedCalls.emplace_back(c.cappedWidth, c.cappedHeight);
            expectedLogs.resize(
                copiedBack ? 1 : 2,
                StringPrintf("Not Support over 4k, change width:%d->%d height:%d->%d", c.width,
                             c.cappedWidth, c.height, c.cappedHeight));
        }
        EXPECT_EQ(expectedCalls, consumer->hostDefaultBufferSizeCalls());
        EXPECT_EQ(expectedLogs, helperTexts(logs, ANDROID_LOG_DEBUG));
    }
}

TEST(BufferQueueHelperRegistry, UnknownCoresAndNullQueuesGetOnlyTheCheckLine) {
    TalvexBufferQueueHelper helper;
    void* core = &helper;  // a key only: never dereferenced by the registry
    LogCapture logs;
    helper.setBBQDumpFlag(core, false);  // creates nothing: the core stays unknown
    helper.dumpBlastStateAndFrameRecord(core);
    // A null queue registers and arms, but the thunk drops it; the flag is still lowered once.
    helper.registerBBQDumpCallback(core, nullptr);
    helper.dumpBlastStateAndFrameRecord(core);
    helper.dumpBlastStateAndFrameRecord(core);
    helper.setBBQDumpFlag(core, true);
    helper.dumpBlastStateAndFrameRecord(core);
    helper.clearRegisteredCallback(core);
    helper.dumpBlastStateAndFrameRecord(core);
    EXPECT_THAT(
        helperTexts(logs, ANDROID_LOG_DEBUG),
        ElementsAre(kCheck + "dumpflag:1, enableCallback:0", kCheck + "dumpflag:1, enableCallback:1",
                    kCheck + "dumpflag:0, enableCallback:1", kCheck + "dumpflag:1, enableCallback:1",
                    kCheck + "dumpflag:1, enableCallback:0"));
}

// Starts a process's compositor, so that the layer request of a dump has somewhere to go.
sp<HostCompositor> startCompositor() {
    sp<HostCompositor> compositor(new HostCompositor());
    EXPECT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
    return compositor;
}

// Records frame `frame` of `layerId` with two steps, as the BLAST queue does.
void recordFrame(IFrameRecord* record, int layerId, unsigned long frame) {
    record->setLayerFrameEvent(layerId, frame, FrameStartStatus{false, false, 1, 0, 0});
    record->setLayerFrameEvent(layerId, frame, FrameType::onFrameAvailable);
    record->setLayerFrameEvent(layerId, frame, FrameType::acquireNextBuffer);
}

void triggerUnderCoreLock(IBufferQueueHelper* helper, const sp<BLASTBufferQueue>& bbq) {
    std::lock_guard<std::mutex> lock(bbq->hostCore()->hostMutex());
    helper->dumpBQAllFrameState(bbq->hostCore().get());
}

TEST(BufferQueueHelperRoad, StalledCoreIsDumpedOnceThenTheLayerIsNamed) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor = startCompositor();
        // Two newlines in the surface's name: the empty line between them is a line of its own.
        sp<SurfaceControl> surface = makeSurfaceControl(42, "road\n\nsurface");
        sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("road", surface);
        bbq->hostSetFrameCounts(2, 1);
        IFrameRecord* record = getFrameRecordIns();
        auto* helper = static_cast<TalvexBufferQueueHelper*>(getBufferQueueHelper());
        record->updateFrameAndGetContent(surface.get(), bbq->hostName(), bbq.get());
        recordFrame(record, 42, 1);
        helper->registerBBQDumpCallback(bbq->hostCore().get(), bbq.get());
        LogCapture logs;
        triggerUnderCoreLock(helper, bbq);
        for (int i = 0; i < 50 && compositor->transactions().empty(); ++i) {
            record->ensureTaskFinish();  // the dumper's own barrier, 100 ms at most each
        }

        // The core first, at ERROR; then at DEBUG the check line, the start line, and the BLAST
        // state, the frame record and the listener's callbacks line by line behind the prefix.
        std::string text;
        {
            std::lock_guard<std::mutex> lock(bbq->hostMutex());
            helper->dumpBlastBufferQueueStateLocked(bbq.get(), text);
        }
        record->dumpAllRecordContent(text);
        text +=
            "---Dump Current Process All Callback START, Callbacks:0/0/0---\nReleaseCallbackId: ";
        std::vector<::testing::Matcher<std::string>> expected = {
            kCheck + "dumpflag:1, enableCallback:1",
            MatchesRegex("\\[road#[0-9]+\\]\\(f:2,a:1\\) Talvex-Graphics:"
                         "dumpBlastStateAndFrameRecordLocked Start, nowTime:[0-9]+")};
        for (const std::string& line : splitLines(text)) {
            expected.push_back("[" + bbq->hostName() + "](f:2,a:1) " + line);
        }
        expected.push_back(
            MatchesRegex("\\[road#[0-9]+\\]\\(f:2,a:1\\) ---Dump Current Process "
                         "All Callback Over, NowBaseTime:[0-9]+---"));
        const std::vector<LogLine> lines = logs.lines();
        size_t at = 0;
        while (at < lines.size() && lines[at].priority == ANDROID_LOG_ERROR) ++at;
        ASSERT_GT(at, 4u);
        EXPECT_THAT(lines[0].text, ::testing::EndsWith(") ---dumpBbqStateDirectly:"));
        EXPECT_THAT(lines[at - 1].text, ::testing::EndsWith(") dumpBbqStateDirectly end---"));
        std::vector<std::string> debug;
        for (size_t i = at; i < lines.size(); ++i) {
            if (lines[i].tag != "TalvexBufferQueueHelper") continue;
            EXPECT_EQ(ANDROID_LOG_DEBUG, lines[i].priority) << lines[i].text;
            debug.push_back(lines[i].text);
        }
        EXPECT_THAT(debug, ::testing::ElementsAreArray(expected));
        EXPECT_EQ("Talvex-Graphics:callSurfaceFlingerByLayer async over: #42", lines.back().text);
        const auto sent = compositor->transactions();
        ASSERT_EQ(1u, sent.size());
        ASSERT_TRUE(sent[0].layerRequest.has_value());
        EXPECT_EQ("layer#42", sent[0].layerRequest->layerName);
        EXPECT_EQ(surface->getLayerStateHandle(), sent[0].layerRequest->token);

        // A second trigger without re-arming dumps the core alone.
        logs.clear();
        triggerUnderCoreLock(helper, bbq);
        record->ensureTaskFinish();
        EXPECT_EQ(kCheck + "dumpflag:0, enableCallback:1", logs.lines().back().text);
        EXPECT_EQ(0u, logs.count("(f:"));
        EXPECT_EQ(1u, compositor->transactions().size());
    });
}
// Threads play libgui for a bounded number of rounds; TSan reports any race or lock-order
// inversion, and every armed trigger must end in exactly one BLAST dump.
TEST(BufferQueueHelperRoad, LibguiThreadsNeitherDeadlockNorRaceNorLoseADump) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor = startCompositor();
        IFrameRecord* record = getFrameRecordIns();
        IBufferQueueHelper* helper = getBufferQueueHelper();
        sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("locks", 5);
        sp<BLASTBufferQueue> other = makeBlastBufferQueue("churn", 6);
        auto listener = android::TransactionCompletedListener::getInstance();
        constexpr int kRounds = 40;
        record->callSurfaceFlingerByLayer(nullptr, 0);  // caches the compositor before threads
        LogCapture logs;
        std::vector<std::thread> threads;
        android::HostSurface app(bbq->getIGraphicBufferProducer());
        ASSERT_EQ(android::NO_ERROR, app.connect());
        threads.emplace_back([&] {  // producer: a buffer; arm, then trigger under the core's lock
            for (int i = 0; i < kRounds; ++i) {
                int slot = -1;
                if (app.dequeueBuffer(&slot) == android::NO_ERROR) app.cancelBuffer(slot);
                helper->registerBBQDumpCallback(bbq->hostCore().get(), bbq.get());
                triggerUnderCoreLock(helper, bbq);
            }
        });
        threads.emplace_back([&] {  // the BLAST queue: its lock, then the core's inside
            for (int i = 0; i < kRounds; ++i) {
                std::lock_guard<std::mutex> lock(bbq->hostMutex());
                helper->dumpBQAllFrameStateCalledByBlast(bbq->hostCore().get(), bbq.get());
                recordFrame(record, 5, i + 1);
            }
        });
        threads.emplace_back([&] {  // callbacks added and completed under the listener's lock
            for (int i = 0; i < kRounds; ++i) {
                const auto id = listener->addCallbackFunction(
                    nullptr, {}, android::CallbackId::Type::ON_COMPLETE);
                {
                    std::lock_guard<std::mutex> lock(listener->hostMutex());
                    record->addCallbackIdLocked(id.id);
                }
                listener->onTransactionCompleted(android::ListenerStats::createEmpty(
                    android::IInterface::asBinder(listener->getIInstance()), {id}));
                std::lock_guard<std::mutex> lock(listener->hostMutex());
                record->removeCallbackIdLocked(id.id);
            }
        });
        threads.emplace_back([&] {  // another queue registers, re-arms and goes away
            for (int i = 0; i < kRounds; ++i) {
                helper->registerBBQDumpCallback(other->hostCore().get(), other.get());
                helper->setBBQDumpFlag(other->hostCore().get(), i % 2 == 0);
                triggerUnderCoreLock(helper, other);
                helper->clearRegisteredCallback(other->hostCore().get());
            }
        });
        for (std::thread& thread : threads) thread.join();

        const auto dumpsOf = [&](const sp<BLASTBufferQueue>& queue) {
            return logs.count("[" + queue->hostName() +
                              "](f:0,a:0) Talvex-Graphics:dumpBlastStateAndFrameRecordLocked");
        };
        // Every producer round queued one dump and the BLAST queue dumped in every round; the
        // other queue was armed in every second round.
        for (int i = 0; i < 50 && dumpsOf(bbq) + dumpsOf(other) < 2.5 * kRounds; ++i) {
            record->ensureTaskFinish();
        }
        record->ensureTaskFinish();  // the last dump counted may still be running: let it end
        EXPECT_EQ(2u * kRounds, dumpsOf(bbq));
        EXPECT_EQ(kRounds / 2u, dumpsOf(other));
    });
}

}  // namespace
}  // namespace talvex::test
