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

// The road of one dump when the platform around it fails: no service manager, no compositor, a
// compositor that answers with an error, and a dumper thread held up while more dumps are asked
// for. Whatever fails, libgui's calls return at once, each armed trigger still ends in one whole
// BLAST dump, and only the compositor step reports the fault. Each case runs in a process of its
// own: the record, the helper and the service manager live for the process.
#include <android/log.h>
#include <binder/IServiceManager.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/HostCompositor.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <mutex>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "support/frame_record_fixture.h"
#include "support/host_objects.h"
#include "support/log_capture.h"
#include "support/own_process.h"
#include "support/scoped_property.h"

namespace talvex::test {
namespace {

using android::BLASTBufferQueue;
using android::HostCompositor;
using android::sp;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;
using android::libgui_interface::hook::IBufferQueueHelper;
using android::libgui_interface::hook::IFrameRecord;
using ::testing::ElementsAreArray;
using namespace std::chrono_literals;

constexpr auto kGenerous = 10s;  // only a hang reaches it
constexpr char kStart[] = "Talvex-Graphics:dumpBlastStateAndFrameRecordLocked Start";
constexpr char kCallbacksOver[] = "---Dump Current Process All Callback Over";
constexpr char kNamed[] = "Talvex-Graphics:callSurfaceFlingerByLayer async over: #42";
constexpr char kNoManager[] = "Talvex-Graphics:get defaultServiceManager failed";
constexpr char kNoCompositor[] = "Talvex-Graphics:serviceManager get SurfaceFlinger failed";

// One BLAST queue of layer 42, recorded and registered through the getters as libgui does.
struct Road {
    IFrameRecord* record = getFrameRecordIns();
    IBufferQueueHelper* helper = getBufferQueueHelper();
    sp<android::SurfaceControl> surface = makeSurfaceControl(42, "fault-layer");
    sp<BLASTBufferQueue> bbq = makeBlastBufferQueue("fault", surface);

    Road() {
        record->updateFrameAndGetContent(surface.get(), bbq->hostName(), bbq.get());
        helper->registerBBQDumpCallback(core(), bbq.get());
    }
    void* core() const { return bbq->hostCore().get(); }

    // Starts frame `frame` with one step.
    void recordFrame(unsigned long frame) {
        record->setLayerFrameEvent(42, frame, FrameStartStatus{false, false, 1, 0, 0});
        record->setLayerFrameEvent(42, frame, FrameType::onFrameAvailable);
    }
    // Re-arms and triggers with the core's lock held, as the producer does.
    void armedTrigger() {
        helper->setBBQDumpFlag(core(), true);
        std::lock_guard<std::mutex> lock(bbq->hostCore()->hostMutex());
        helper->dumpBQAllFrameState(core());
    }
    // Returns once every task queued so far has run on the dumper thread.
    bool drained() {
        auto done = std::make_shared<std::promise<void>>();
        std::future<void> finished = done->get_future();
        record->pushTaskAndStart([done] { done->set_value(); });
        return finished.wait_for(kGenerous) == std::future_status::ready;
    }
};

// The texts of the lines that open and close each BLAST dump and report the compositor step.
std::vector<std::string> roadMarkers(const LogCapture& logs) {
    std::vector<std::string> markers;
    for (const LogLine& line : logs.lines()) {
        for (const char* marker : {kStart, kCallbacksOver}) {
            if (line.text.find(marker) != std::string::npos) markers.push_back(marker);
        }
        if (line.text.find("Talvex-Graphics:callSurfaceFlinger") == 0 ||
            line.text.find("Talvex-Graphics:get") == 0 ||
            line.text.find("Talvex-Graphics:serviceManager") == 0) {
            markers.push_back(line.text);
        }
    }
    return markers;
}

enum class Platform { kNoServiceManager, kNoCompositor, kFailingCompositor };

struct FaultCase {
    const char* name;
    Platform platform;
    const char* firstOutcome;   // the compositor step of the first dump
    const char* secondOutcome;  // of the second
    size_t requestsSent;
};

void PrintTo(const FaultCase& c, std::ostream* os) {
    *os << c.name;
}

class DumpRoadFault : public ::testing::TestWithParam<FaultCase> {};

TEST_P(DumpRoadFault, EachArmedTriggerDumpsWholeAndOnlyTheCompositorStepFails) {
    const FaultCase c = GetParam();
    EXPECT_IN_OWN_PROCESS({
        if (c.platform == Platform::kNoServiceManager) android::setDefaultServiceManager(nullptr);
        sp<HostCompositor> compositor(new HostCompositor(
            c.platform == Platform::kFailingCompositor ? android::BAD_VALUE : android::NO_ERROR));
        if (c.platform == Platform::kFailingCompositor) {
            ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
        }
        ScopedProperty buildType("ro.build.type", "userdebug");
        Road road;
        road.recordFrame(1);
        LogCapture logs;
        road.armedTrigger();
        ASSERT_TRUE(road.drained());
        road.armedTrigger();
        ASSERT_TRUE(road.drained());

        EXPECT_THAT(roadMarkers(logs),
                    ElementsAreArray({std::string(kStart), std::string(kCallbacksOver),
                                      std::string(c.firstOutcome), std::string(kStart),
                                      std::string(kCallbacksOver), std::string(c.secondOutcome)}));
        EXPECT_EQ(c.requestsSent, compositor->transactions().size());
    });
}

INSTANTIATE_TEST_SUITE_P(
    Platforms, DumpRoadFault,
    ::testing::Values(
        FaultCase{"NoServiceManager", Platform::kNoServiceManager, kNoManager, kNoManager, 0},
        FaultCase{"NoCompositor", Platform::kNoCompositor, kNoCompositor, kNoCompositor, 0},
        FaultCase{"CompositorAnswersWithAnError", Platform::kFailingCompositor, kNamed, kNamed, 2}),
    [](const ::testing::TestParamInfo<FaultCase>& info) { return info.param.name; });

// What holds the dumper thread up while libgui asks for more dumps.
enum class Holdup { kForeignTask, kQueueLockHeldByLibgui };

void PrintTo(Holdup holdup, std::ostream* os) {
    *os << (holdup == Holdup::kForeignTask ? "ForeignTask" : "QueueLockHeldByLibgui");
}

class DumperHeldUp : public ::testing::TestWithParam<Holdup> {};

TEST_P(DumperHeldUp, LibguiNeverWaitsAndEveryRequestedDumpFollowsInOrder) {
    const Holdup holdup = GetParam();
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor(new HostCompositor());
        ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
        Road road;
        road.recordFrame(1);
        LogCapture logs;

        std::promise<void> release;
        std::shared_future<void> released = release.get_future().share();
        std::unique_lock<std::mutex> queueLock(road.bbq->hostMutex(), std::defer_lock);
        if (holdup == Holdup::kForeignTask) {
            auto started = std::make_shared<std::promise<void>>();
            std::future<void> running = started->get_future();
            road.record->pushTaskAndStart([started, released] {
                started->set_value();
                released.wait();
            });
            ASSERT_EQ(std::future_status::ready, running.wait_for(kGenerous));
        } else {
            queueLock.lock();  // the first queued dump blocks on it inside the worker
        }

        // libgui's threads go on: three armed triggers and frames, none waiting on the worker.
        constexpr int kRequests = 3;
        auto libgui = std::async(std::launch::async, [&] {
            for (int i = 0; i < kRequests; ++i) {
                road.armedTrigger();
                road.recordFrame(2 + i);
            }
        });
        if (libgui.wait_for(kGenerous) != std::future_status::ready) {
            // Leave without joining libgui's thread, which waits on the held-up worker.
            fprintf(stderr, "libgui's calls waited on the held-up dumper thread\n");
            std::_Exit(1);
        }
        EXPECT_EQ(0u, logs.count(kStart)) << "no dump ran while the worker was held up";

        if (holdup == Holdup::kForeignTask) {
            release.set_value();
        } else {
            queueLock.unlock();
        }
        ASSERT_TRUE(road.drained());
        std::vector<std::string> expected;
        for (int i = 0; i < kRequests; ++i) {
            expected.insert(expected.end(), {kStart, kCallbacksOver, kNamed});
        }
        EXPECT_THAT(roadMarkers(logs), ElementsAreArray(expected));
        // The dumps show the record when they run: the frames recorded while they waited.
        EXPECT_EQ(static_cast<size_t>(kRequests), logs.count("  FrameNumber:4 Events: "));
        EXPECT_EQ(static_cast<size_t>(kRequests), compositor->transactions().size());
    });
}

INSTANTIATE_TEST_SUITE_P(Holdups, DumperHeldUp,
                         ::testing::Values(Holdup::kForeignTask, Holdup::kQueueLockHeldByLibgui),
                         [](const ::testing::TestParamInfo<Holdup>& info) {
                             return ::testing::PrintToString(info.param);
                         });

// A queue that goes while its dump waits on the dumper thread is read before it goes, never after:
// libgui's destructor waits for the dumper thread (AddressSanitizer would report the read).
TEST(DumpRoadTeardown, QueueGoingWhileItsDumpWaitsOutlivesTheDump) {
    EXPECT_IN_OWN_PROCESS({
        ScopedProperty buildType("ro.build.type", "userdebug");
        sp<HostCompositor> compositor(new HostCompositor());
        ASSERT_EQ(android::NO_ERROR, HostCompositor::registerAsSurfaceFlinger(compositor));
        Road road;
        road.recordFrame(1);
        auto& record = *static_cast<android::TalvexFrameRecord*>(road.record);
        LogCapture logs;

        // A slow task holds the worker; the queue's dump waits behind it.
        std::promise<void> release;
        std::shared_future<void> released = release.get_future().share();
        auto started = std::make_shared<std::promise<void>>();
        std::future<void> running = started->get_future();
        road.record->pushTaskAndStart([started, released] {
            started->set_value();
            released.wait();
        });
        ASSERT_EQ(std::future_status::ready, running.wait_for(kGenerous));
        road.armedTrigger();
        ASSERT_EQ(1u, android::TalvexFrameRecordTestPeer::queuedTasks(record));

        std::atomic<bool> destroyed{false};
        std::thread app([&] {
            road.bbq.clear();  // the last reference: the queue's destructor runs here
            destroyed = true;
        });
        // The destructor hands the worker its own task behind the dump and waits for it.
        while (!destroyed && android::TalvexFrameRecordTestPeer::queuedTasks(record) < 2) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(destroyed) << "the queue went with its dump still queued";
        release.set_value();
        app.join();
        EXPECT_EQ(1u, logs.count(kStart));
        EXPECT_EQ(1u, logs.count(kCallbacksOver));
    });
}

}  // namespace
}  // namespace talvex::test
