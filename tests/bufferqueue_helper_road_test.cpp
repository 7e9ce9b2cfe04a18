// The road of one dump, end to end through the hook getters as libgui drives it, and the lock
// order under several threads playing libgui.
#include <android/log.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/HostCompositor.h>
#include <gui/SurfaceComposerClient.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "support/host_objects.h"
#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/scoped_property.h"

namespace talvex::test {
namespace {

using android::BLASTBufferQueue;
using android::HostCompositor;
using android::sp;
using android::TransactionCompletedListener;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IBufferQueueHelper;
using android::libgui_interface::hook::IFrameRecord;
using ::testing::ElementsAreArray;
using ::testing::Eq;
using ::testing::Matcher;
using ::testing::MatchesRegex;

constexpr char kTag[] = "TalvexBufferQueueHelper";
constexpr char kCheck[] = "dumpStateAndFrameRecord call blastbufferqueue check: ";

// Waits on the dumper thread's own barrier until `done` holds, for at most about five seconds.
template <typename Done>
bool waitForDumper(IFrameRecord* record, Done done) {
    for (int i = 0; i < 50 && !done(); ++i) record->ensureTaskFinish();
    return done();
}

// Records frame `frame` of `layerId` with two steps, as the BLAST queue does.
void recordFrame(IFrameRecord* record, int layerId, unsigned long frame) {
    record->setLayerFrameEvent(layerId, frame, FrameStartStatus{false, false, 1, 0, 0});
    record->setLayerFrameEvent(layerId, frame, FrameType::onFrameAvailable);
    record->setLayerFrameEvent(layerId, frame, FrameType::acquireNextBuffer);
}

TEST(BufferQueueHelperRoad, StalledCoreIsDumpedOnceThenTheLayerIsNamed) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor(new HostCompositor());
        ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
        sp<android::SurfaceControl> surface = makeSurfaceControl(42, "road-layer");
        sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("road", surface);
        bbq->hostSetFrameCounts(2, 1);
        sp<android::BufferQueueCore> core = bbq->hostCore();

        IFrameRecord* record = getFrameRecordIns();
        IBufferQueueHelper* helper = getBufferQueueHelper();
        record->updateFrameAndGetContent(surface.get(), bbq->hostName(), bbq.get());
        recordFrame(record, 42, 1);
        recordFrame(record, 42, 2);
        sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
        const auto callback =
            listener->addCallbackFunction(nullptr, {}, android::CallbackId::Type::ON_COMMIT);
        {
            std::lock_guard<std::mutex> lock(listener->hostMutex());
            record->addCallbackIdLocked(callback.id);
        }
        helper->registerBBQDumpCallback(core.get(), bbq.get());

        LogCapture logs;
        {
            std::lock_guard<std::mutex> lock(core->hostMutex());
            helper->dumpBQAllFrameState(core.get());
        }
        ASSERT_TRUE(waitForDumper(record, [&] { return !compositor->transactions().empty(); }));

        // What the BLAST part is made of, read now that nothing changes any more.
        std::string blastAndRecord;
        record->dumpAllRecordContent(blastAndRecord);
        std::vector<std::string> recordLines;
        std::istringstream in(blastAndRecord);
        for (std::string line; std::getline(in, line);) recordLines.push_back(line);

        const std::string prefix = "[" + bbq->hostName() + "](f:2,a:1) ";
        const auto lines = logs.lines();
        size_t at = 0;
        // 1. The core, at ERROR, first line to last.
        ASSERT_LT(at, lines.size());
        EXPECT_THAT(lines[at].text, ::testing::EndsWith(") ---dumpBbqStateDirectly:"));
        while (at < lines.size() && lines[at].priority == ANDROID_LOG_ERROR) {
            EXPECT_EQ(kTag, lines[at].tag);
            ++at;
        }
        ASSERT_GT(at, 4u);
        EXPECT_THAT(lines[at - 1].text, ::testing::EndsWith(") dumpBbqStateDirectly end---"));
        // 2. The check line, then every BLAST-dump line behind the queue's prefix.
        std::vector<Matcher<std::string>> rest = {
            Eq(std::string(kCheck) + "dumpflag:1, enableCallback:1"),
            MatchesRegex("\\[road#[0-9]+\\]\\(f:2,a:1\\) Talvex-Graphics:"
                         "dumpBlastStateAndFrameRecordLocked Start, nowTime:[0-9]+"),
            Eq(prefix + "---Dump BlastBufferQueue State START---")};
        std::vector<std::string> helperTexts;
        for (size_t i = at; i < lines.size(); ++i) {
            if (lines[i].tag == kTag) {
                EXPECT_EQ(ANDROID_LOG_DEBUG, lines[i].priority) << lines[i].text;
                helperTexts.push_back(lines[i].text);
            }
        }
        // The BLAST state's own text is checked elsewhere; here its place and prefix.
        size_t blastEnd = 0;
        while (blastEnd < helperTexts.size() &&
               helperTexts[blastEnd] != prefix + "---Dump BlastBufferQueue State END---") {
            ++blastEnd;
        }
        ASSERT_LT(blastEnd, helperTexts.size());
        for (size_t i = 3; i <= blastEnd; ++i) {
            rest.push_back(::testing::StartsWith(prefix));
        }
        for (const std::string& line : recordLines) rest.push_back(Eq(prefix + line));
        rest.push_back(
            Eq(prefix + "---Dump Current Process All Callback START, Callbacks:1/0/1---"));
        rest.push_back(MatchesRegex("\\[road#[0-9]+\\]\\(f:2,a:1\\) CallbackId: \\(" +
                                    std::to_string(callback.id) +
                                    ",commit,[0-9]+/-[0-9]+ms[0-9]{3}us[0-9]{3}\\), Cb:0 "
                                    "SurfaceControls:"));
        rest.push_back(Eq(prefix + "ReleaseCallbackId: "));
        rest.push_back(
            MatchesRegex("\\[road#[0-9]+\\]\\(f:2,a:1\\) ---Dump Current Process All "
                         "Callback Over, NowBaseTime:[0-9]+---"));
        EXPECT_THAT(helperTexts, ElementsAreArray(rest));
        // 3. Last, the compositor is told the layer and its handle.
        EXPECT_EQ("Talvex-Graphics:callSurfaceFlingerByLayer async over: #42", lines.back().text);
        const auto sent = compositor->transactions();
        ASSERT_EQ(1u, sent.size());
        ASSERT_TRUE(sent[0].layerRequest.has_value());
        EXPECT_EQ("layer#42", sent[0].layerRequest->layerName);
        EXPECT_EQ(surface->getLayerStateHandle(), sent[0].layerRequest->token);

        // A second trigger without re-arming dumps the core alone.
        logs.clear();
        {
            std::lock_guard<std::mutex> lock(core->hostMutex());
            helper->dumpBQAllFrameState(core.get());
        }
        record->ensureTaskFinish();
        EXPECT_EQ(std::string(kCheck) + "dumpflag:0, enableCallback:1", logs.lines().back().text);
        EXPECT_EQ(0u, logs.count("(f:"));
        EXPECT_EQ(1u, compositor->transactions().size());
    });
}

// Threads play libgui for a bounded number of rounds; TSan reports any race or lock-order
// inversion, and every armed trigger must end in exactly one BLAST dump.
TEST(BufferQueueHelperRoad, LibguiThreadsNeitherDeadlockNorRaceNorLoseADump) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor(new HostCompositor());
        ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
        IFrameRecord* record = getFrameRecordIns();
        IBufferQueueHelper* helper = getBufferQueueHelper();
        sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("locks", 5);
        sp<BLASTBufferQueue> other = makeBlastBufferQueue("churn", 6);
        sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
        constexpr int kRounds = 40;
        record->callSurfaceFlingerByLayer(nullptr, 0);  // caches the compositor before threads
        LogCapture logs;

        std::vector<std::thread> threads;
        threads.emplace_back([&] {  // producer: arm, then trigger with the core's lock held
            for (int i = 0; i < kRounds; ++i) {
                helper->registerBBQDumpCallback(bbq->hostCore().get(), bbq.get());
                std::lock_guard<std::mutex> lock(bbq->hostCore()->hostMutex());
                helper->dumpBQAllFrameState(bbq->hostCore().get());
            }
        });
        threads.emplace_back([&] {  // the BLAST queue: its lock, then the core's inside
            for (int i = 0; i < kRounds; ++i) {
                std::lock_guard<std::mutex> lock(bbq->hostMutex());
                helper->dumpBQAllFrameStateCalledByBlast(bbq->hostCore().get(), bbq.get());
            }
        });
        threads.emplace_back([&] {  // frames of both layers
            for (unsigned long frame = 1; frame <= 4 * kRounds; ++frame) {
                recordFrame(record, 5, frame);
                recordFrame(record, 6, frame);
            }
        });
        threads.emplace_back([&] {  // callbacks added and completed under the listener's lock
            for (int i = 0; i < kRounds; ++i) {
                const auto id = listener->addCallbackFunction(
                    [](nsecs_t, const sp<android::Fence>&,
                       const std::vector<android::SurfaceControlStats>&) {},
                    {}, android::CallbackId::Type::ON_COMPLETE);
                {
                    std::lock_guard<std::mutex> lock(listener->hostMutex());
                    record->addCallbackIdLocked(id.id);
                }
                listener->hostCompleteCallback(id, 0, nullptr, {});
                std::lock_guard<std::mutex> lock(listener->hostMutex());
                record->removeCallbackIdLocked(id.id);
            }
        });
        threads.emplace_back([&] {  // another queue registers, re-arms and goes away
            void* core = other->hostCore().get();
            for (int i = 0; i < kRounds; ++i) {
                helper->registerBBQDumpCallback(core, other.get());
                helper->setBBQDumpFlag(core, i % 2 == 0);
                {
                    std::lock_guard<std::mutex> lock(other->hostCore()->hostMutex());
                    helper->dumpBQAllFrameState(core);
                }
                helper->clearRegisteredCallback(core);
            }
        });
        for (std::thread& thread : threads) thread.join();

        const auto dumpsOf = [&](const std::string& name) {
            return logs.count("[" + name +
                              "](f:0,a:0) Talvex-Graphics:"
                              "dumpBlastStateAndFrameRecordLocked Start");
        };
        // Each round of the producer queued one dump; the BLAST queue dumped once per round.
        EXPECT_TRUE(waitForDumper(record, [&] { return dumpsOf(bbq->hostName()) >= 2 * kRounds; }));
        EXPECT_EQ(2u * kRounds, dumpsOf(bbq->hostName()));
        EXPECT_EQ(static_cast<size_t>(kRounds / 2), dumpsOf(other->hostName()));
    });
}

}  // namespace
}  // namespace talvex::test
