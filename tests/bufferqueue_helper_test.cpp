// The buffer-queue helper's dumps, limiter and registry, on host libgui objects: the texts a
// reader relies on, byte for byte, and what bad input must not do.
#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/SurfaceComposerClient.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <unistd.h>

#include <cinttypes>
#include <cstdarg>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"
#include "support/host_objects.h"
#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/scoped_property.h"

namespace talvex::test {
namespace {

using android::BufferQueueCore;
using android::ReleaseCallbackId;
using android::sp;
using android::SurfaceControl;
using android::TalvexBufferQueueHelper;
using android::TransactionCompletedListener;
using android::libgui_interface::hook::getFrameRecordIns;
using ::testing::ElementsAreArray;
using ::testing::MatchesRegex;
using ::testing::UnorderedElementsAre;

constexpr char kTag[] = "TalvexBufferQueueHelper";
const void* const kNull = nullptr;

// printf into a string: expected pointers are written by the same printf as the library's.
std::string format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string format(const char* fmt, ...) {
    char text[512];
    va_list args;
    va_start(args, fmt);
    vsnprintf(text, sizeof(text), fmt, args);
    va_end(args);
    return text;
}

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
        if (line.tag != kTag) continue;
        EXPECT_EQ(priority, line.priority) << line.text;
        texts.push_back(line.text);
    }
    return texts;
}

TEST(CoreStateDump, EveryKindOfSlotPrintsInOrderWithItsStateColumn) {
    sp<BufferQueueCore> core(new BufferQueueCore());
    core->hostSetConsumerName(android::String8("core-under-test"));
    core->hostSetConnectedApi(1, 1234);
    ASSERT_EQ(android::NO_ERROR, core->hostSetDefaultBufferSize(100, 50));
    ASSERT_EQ(android::NO_ERROR, core->hostSetMaxDequeuedBufferCount(5));
    const int acquired = core->hostDequeueBuffer();
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(acquired));
    ASSERT_TRUE(core->hostAcquireBuffer(nullptr));
    ASSERT_EQ(android::NO_ERROR, core->hostQueueBuffer(core->hostDequeueBuffer()));
    core->hostDequeueBuffer();                    // dequeued with its buffer
    core->hostDequeueBuffer(/*allocate=*/false);  // dequeued, buffer still being allocated
    ASSERT_EQ(android::NO_ERROR, core->hostCancelBuffer(core->hostDequeueBuffer()));
    const BufferQueueCore::HostSnapshot s = core->hostSnapshot();
    ASSERT_EQ((std::set<int>{0, 1, 2, 3}), s.activeBuffers);
    ASSERT_EQ((std::list<int>{4}), s.freeBuffers);
    ASSERT_FALSE(s.freeSlots.empty());

    // The prefix: the id in hex without 0x, then the creating process (the id's upper half).
    std::ostringstream hexId;
    hexId << std::hex << s.uniqueId;
    const std::string p =
        "[core-under-test](id:" + hexId.str() + ",api:1,p:1234,c:" + std::to_string(getpid()) + ")";
    const auto head = [&](const char* marker, int slot) {
        return format("%s   %s[%02d:%p] ", p.c_str(), marker, slot,
                      static_cast<const void*>(s.slots[slot].mGraphicBuffer.get()));
    };
    const auto state = [&](const char* column, int slot, unsigned frame) {
        const auto& buf = s.slots[slot].mGraphicBuffer;
        return format("%s   state=%s %p id=%" PRIu64 " frame=%u", p.c_str(), column,
                      static_cast<const void*>(buf->handle), buf->getId(), frame);
    };
    const std::string geometry =
        format("%s   [ 100x  50:%4d,  1]\n", p.c_str(), s.slots[0].mGraphicBuffer->stride);

    std::vector<std::string> expected = {
        p + " ---dumpBbqStateDirectly:",
        p + "  FIFO(1) mMaxAcquiredBufferCount=1 mMaxDequeuedBufferCount=5 "
            "mDequeueBufferCannotBlock=0 mAsyncMode=0\n",
        p + "  default-size=[100x50] default-format=1 frame-counter=2",
        p + "  --Slots states--:\n",
        head(">", 0),
        state("ACQUIRED", 0, 1),
        geometry,
        head(" ", 1),
        state("QUEUED  ", 1, 2),
        geometry,
        head(" ", 2),
        state("DEQUEUED", 2, 0),
        geometry,
        format("%s   [03:%p] ", p.c_str(), kNull),
        p + "   state=DEQUEUED frame=0\n",
        format("%s   [04:%p] ", p.c_str(),
               static_cast<const void*>(s.slots[4].mGraphicBuffer.get())),
        state("FREE    ", 4, 0),
        geometry,
    };
    for (int slot : s.freeSlots) {
        expected.push_back(format("%s   [%02d:%p] state=FREE    \n", p.c_str(), slot, kNull));
    }
    expected.push_back(p + " dumpBbqStateDirectly end---");

    LogCapture logs;
    TalvexBufferQueueHelper helper;
    logs.clear();
    helper.dumpBQCoreStateCalledByBlast(core.get());
    EXPECT_THAT(helperTexts(logs, ANDROID_LOG_ERROR), ElementsAreArray(expected));
}

// A queue whose surface is `name`, with its lock held while the helper reads it.
class BlastStateDump : public ::testing::Test {
protected:
    std::vector<std::string> dumpLines() {
        std::string out = "kept\n";
        {
            std::lock_guard<std::mutex> lock(mBbq->hostMutex());
            mHelper.dumpBlastBufferQueueStateLocked(mBbq.get(), out);
        }
        return splitLines(out);
    }
    std::vector<std::string> expectedLines(const std::string& submitted,
                                           const std::string& pendingRelease,
                                           const std::string& pendingTransactions,
                                           const std::string& pendingCallbacks,
                                           const std::string& synced) {
        const auto s = mBbq->hostSnapshot();
        std::vector<std::string> lines = {
            "kept",
            "---Dump BlastBufferQueue State START---",
            "mName:" + mBbq->hostName() + ", mQueuedBufferTrace:" + mBbq->hostQueuedBufferTrace(),
            format("mSurfaceControl:surface(%p)", static_cast<const void*>(mSurface.get())),
            format("mMaxAcquiredBuffers:1, mProducerId:%u, mCurrentMaxAcquiredBufferCount:%u",
                   mBbq->hostProducerId(), s.currentMaxAcquiredBufferCount),
            "mSubmitted:"};
        if (!submitted.empty()) lines.push_back(submitted);
        lines.push_back("mPendingRelease:" + pendingRelease);
        lines.push_back(
            format("mTransactionReadyCallback:0, mSyncTransaction:%p, "
                   "mAcquireSingleBuffer:1",
                   kNull));
        lines.push_back("mPendingTransactions:" + pendingTransactions);
        lines.push_back(format("mLastAcquiredFrameNumber:%" PRIu64
                               ", mLastAppliedFrameNumber:%" PRIu64 ", mAppliedLastTransaction:0",
                               s.lastAcquiredFrameNumber, s.lastAppliedFrameNumber));
        lines.push_back("mSurfaceControlsWithPendingCallback:" + pendingCallbacks);
        lines.push_back("mSyncedFrameNumbers:" + synced);
        lines.push_back("---Dump BlastBufferQueue State END---");
        return lines;
    }

    sp<SurfaceControl> mSurface = makeSurfaceControl(11, "surface");
    sp<android::BLASTBufferQueue> mBbq = makeBlastBufferQueue("blast", mSurface);
    TalvexBufferQueueHelper mHelper;
};

TEST_F(BlastStateDump, EmptyQueuePrintsEveryLabelAfterTextAlreadyThere) {
    EXPECT_THAT(dumpLines(), ElementsAreArray(expectedLines("", "", "", "", "")));
}

TEST_F(BlastStateDump, EntriesPrintInTheirListsAndThePendingQueueIsLeftAsItWas) {
    android::BufferItem item;
    item.mFrameNumber = 9;
    item.mApi = 1;
    item.mSlot = 3;
    mBbq->hostAddSubmitted(ReleaseCallbackId::INVALID_ID, item);
    mBbq->hostAddPendingRelease(ReleaseCallbackId(5, 6), nullptr);
    mBbq->hostAddPendingRelease(ReleaseCallbackId(7, 8), nullptr);
    mBbq->hostAddPendingTransaction(12, android::SurfaceComposerClient::Transaction());
    sp<SurfaceControl> other = makeSurfaceControl(12, "other");
    mBbq->hostPushSurfaceControlWithPendingCallback(mSurface);
    mBbq->hostPushSurfaceControlWithPendingCallback(nullptr);
    mBbq->hostPushSurfaceControlWithPendingCallback(other);
    mBbq->hostAddSyncedFrameNumber(42);
    const int32_t surfaceRefs = mSurface->getStrongCount();
    const int32_t otherRefs = other->getStrongCount();

    const std::vector<std::string> lines = dumpLines();
    const void* transaction = nullptr;  // the address inside the vector element, read back
    ASSERT_EQ(1, sscanf(lines.at(9).c_str(),
                        "mPendingTransactions: [framenumber:12-transaction:%p]", &transaction));
    EXPECT_THAT(lines,
                ElementsAreArray(expectedLines(
                    "   Id:INVALID_ID, Item:9, mApi:1, mSlot:3",
                    " [bufferId:5 framenumber:6]  [bufferId:7 framenumber:8] ",
                    format(" [framenumber:12-transaction:%p] ", transaction),
                    format(" [surface(%p)]  [other(%p)] ", static_cast<const void*>(mSurface.get()),
                           static_cast<const void*>(other.get())),
                    " 42 ")));
    EXPECT_EQ(3u, mBbq->hostSnapshot().surfaceControlsWithPendingCallbackCount);
    EXPECT_EQ(surfaceRefs, mSurface->getStrongCount());
    EXPECT_EQ(otherRefs, other->getStrongCount());
}

std::string streamed(const void* pointer) {
    std::ostringstream text;
    text << pointer;
    return text.str();
}

TEST(ListenerCallbackDump, NoCallbacksGivesHeadReleaseLineAndOverLine) {
    EXPECT_IN_OWN_PROCESS({
        TalvexBufferQueueHelper helper;
        std::string out;
        helper.dumpAllListenerCallbackInfos(out);
        EXPECT_THAT(
            splitLines(out),
            ::testing::ElementsAre("---Dump Current Process All Callback START, Callbacks:0/0/0---",
                                   "ReleaseCallbackId: ",
                                   MatchesRegex("---Dump Current Process All Callback Over, "
                                                "NowBaseTime:[0-9]+---")));
    });
}

TEST(ListenerCallbackDump, PendingCallbacksPrintWithTheirAgeFromTheDumpTime) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        auto* record = getFrameRecordIns();
        ASSERT_TRUE(record->getEnable());
        sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
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
            record->addCallbackIdLocked(complete.id);  // the commit callback has no stored time
        }
        const long added = record->getCallbackIdTime().at(complete.id);

        TalvexBufferQueueHelper helper;
        std::string out;
        helper.dumpAllListenerCallbackInfos(out);
        const std::vector<std::string> lines = splitLines(out);
        ASSERT_EQ(5u, lines.size()) << out;
        long now = 0;
        ASSERT_EQ(1, sscanf(lines[4].c_str(),
                            "---Dump Current Process All Callback Over, NowBaseTime:%ld---", &now));
        EXPECT_EQ("---Dump Current Process All Callback START, Callbacks:2/1/1---", lines[0]);
        EXPECT_EQ("-", record->getTimeString(now, added).substr(0, 1));
        EXPECT_THAT(
            std::vector<std::string>(lines.begin() + 1, lines.begin() + 3),
            UnorderedElementsAre(
                "CallbackId: (" + std::to_string(complete.id) + ",complete," +
                    std::to_string(added) + "/" + record->getTimeString(now, added) +
                    "), Cb:1 SurfaceControls: [handle:" + streamed(surface->getHandle().get()) +
                    ",sc:" + streamed(surface.get()) + ",name:pending]",
                "CallbackId: (" + std::to_string(commit.id) +
                    ",commit,0/-1), Cb:0 SurfaceControls:"));
        EXPECT_EQ("ReleaseCallbackId: [bufferId:5 framenumber:6, cb:1] ", lines[3]);
        EXPECT_EQ(2u, listener->hostCallbackCount()) << "the listener's maps are left as they were";
    });
}

TEST(BufferSizeLimiter, CapsOnlyWhenAskedAboveFourThousand) {
    struct Case {
        const char* property;
        int mode;
        int32_t width, height;
        int updateRequested;
        int32_t cappedWidth, cappedHeight;  // the new size, or -1 when nothing may change
    };
    const Case cases[] = {
        {"", 1, 4096, 2160, 1, -1, -1},      {"0", 1, 4096, 2160, 1, -1, -1},
        {"2", 1, 4096, 2160, 1, -1, -1},     {"1", 0, 4096, 2160, 1, -1, -1},
        {"1", 2, 4096, 2160, 1, -1, -1},     {"1", 1, 4000, 4000, 1, -1, -1},
        {"1", 1, 4001, 100, 0, 4000, 100},   {"1", 1, 100, 4001, 1, 100, 4000},
        {"1", 1, 4096, 2160, 1, 4000, 2160}, {"1", 1, 5000, 5000, 0, 4000, 4000},
    };
    TalvexBufferQueueHelper helper;  // one helper: the property must be read on every call
    for (const Case& c : cases) {
        SCOPED_TRACE(
            format("property '%s' mode %d size %dx%d", c.property, c.mode, c.width, c.height));
        ScopedProperty property("debug.graphics.unsupport4K", c.property);
        sp<android::BLASTBufferQueue> bbq = makeBlastBufferQueue("limited", 1);
        auto* consumer = static_cast<android::ConsumerBase*>(bbq->hostBufferItemConsumer().get());
        const size_t callsBefore = consumer->hostDefaultBufferSizeCalls().size();
        int32_t requested[2] = {c.width, c.height};
        int32_t size[2] = {64, 32};
        LogCapture logs;
        helper.resetBBQRequestSize(requested, size, consumer, c.mode, c.updateRequested);

        const bool capped = c.cappedWidth >= 0;
        const int32_t expectedSize[2] = {capped ? c.cappedWidth : 64, capped ? c.cappedHeight : 32};
        EXPECT_THAT(size, ::testing::ElementsAreArray(expectedSize));
        const bool copiedBack = capped && c.updateRequested != 0;
        EXPECT_THAT(requested, ::testing::ElementsAre(copiedBack ? c.cappedWidth : c.width,
                                                      copiedBack ? c.cappedHeight : c.height));
        const auto calls = consumer->hostDefaultBufferSizeCalls();
        ASSERT_EQ(callsBefore + (capped ? 1 : 0), calls.size());
        if (capped) {
            EXPECT_EQ(std::make_pair(static_cast<uint32_t>(c.cappedWidth),
                                     static_cast<uint32_t>(c.cappedHeight)),
                      calls.back());
            EXPECT_THAT(helperTexts(logs, ANDROID_LOG_DEBUG),
                        ::testing::ElementsAre(
                            format("Not Support over 4k, change width:%d->%d height:%d->%d",
                                   c.width, c.cappedWidth, c.height, c.cappedHeight)));
        } else {
            EXPECT_TRUE(helperTexts(logs, ANDROID_LOG_DEBUG).empty());
        }
    }
}

TEST(BufferQueueHelperRegistry, BadInputIsIgnoredWithOnlyTheCheckLine) {
    TalvexBufferQueueHelper helper;
    sp<BufferQueueCore> core(new BufferQueueCore());
    void* unknown = core.get();
    const std::string unknownLine =
        "dumpStateAndFrameRecord call blastbufferqueue check: dumpflag:1, enableCallback:0";
    LogCapture logs;
    helper.setBBQDumpFlag(unknown, false);  // creates nothing: the core stays unknown
    helper.clearRegisteredCallback(unknown);
    helper.dumpBlastStateAndFrameRecord(unknown);
    EXPECT_THAT(helperTexts(logs, ANDROID_LOG_DEBUG), ElementsAreArray({unknownLine}));

    // Through the trigger: the core is dumped, then the same check line ends it.
    logs.clear();
    {
        std::lock_guard<std::mutex> lock(core->hostMutex());
        helper.dumpBQAllFrameState(unknown);
    }
    const auto lines = logs.lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(ANDROID_LOG_DEBUG, lines.back().priority);
    EXPECT_EQ(unknownLine, lines.back().text);
    EXPECT_THAT(lines.end()[-2].text, ::testing::EndsWith(" dumpBbqStateDirectly end---"));

    // A null queue registers and arms, but the thunk drops it; the flag is still lowered once.
    logs.clear();
    helper.registerBBQDumpCallback(unknown, nullptr);
    helper.dumpBlastStateAndFrameRecord(unknown);
    helper.dumpBlastStateAndFrameRecord(unknown);
    helper.setBBQDumpFlag(unknown, true);
    helper.dumpBlastStateAndFrameRecord(unknown);
    helper.clearRegisteredCallback(unknown);
    helper.dumpBlastStateAndFrameRecord(unknown);
    const std::string check = "dumpStateAndFrameRecord call blastbufferqueue check: ";
    EXPECT_THAT(helperTexts(logs, ANDROID_LOG_DEBUG),
                ElementsAreArray({check + "dumpflag:1, enableCallback:1",
                                  check + "dumpflag:0, enableCallback:1",
                                  check + "dumpflag:1, enableCallback:1", unknownLine}));
}

}  // namespace
}  // namespace talvex::test
