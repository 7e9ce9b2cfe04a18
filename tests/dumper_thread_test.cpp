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

// The dumper thread: order, naming, the 100 ms barrier and shutdown.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "support/frame_record_fixture.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecordTestPeer;
using DumperThread = android::TalvexFrameRecord::DumperThread;
using ::testing::ElementsAre;
using namespace std::chrono_literals;

constexpr auto kGenerous = 10s;  // only a broken worker reaches it

template <typename T>
bool ready(std::future<T>& future) {
    return future.wait_for(kGenerous) == std::future_status::ready;
}

class DumperThreadTest : public ::testing::Test {
protected:
    // Pushes a marker and returns its future: ready once every earlier task has run.
    std::future<void> pushMarker() {
        auto promise = std::make_shared<std::promise<void>>();
        mThread.pushTaskAndStart([promise] { promise->set_value(); });
        return promise->get_future();
    }

    LogCapture mLogs;
    DumperThread mThread;
};

TEST_F(DumperThreadTest, RunsTasksInPushOrderOnOneNamedWorker) {
    mThread.ensureTaskFinish();  // nothing pushed yet: returns at once, starts nothing
    EXPECT_FALSE(TalvexFrameRecordTestPeer::hasWorker(mThread));

    std::vector<std::string> order;  // written by the worker only, read after a barrier
    std::promise<void> started;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    mThread.pushTaskAndStart([&, released] {
        char name[32] = {};
        pthread_getname_np(pthread_self(), name, sizeof(name));
        order.push_back(name);
        started.set_value();
        released.wait();
        mThread.pushTaskAndStart([&] { order.push_back("pushed by a task"); });
        order.push_back("first");
    });
    std::future<void> firstStarted = started.get_future();
    ASSERT_TRUE(ready(firstStarted));
    mThread.pushTaskAndStart([&] { order.push_back("pushed while first ran"); });
    mThread.pushTaskAndStart(std::function<void()>());  // empty: skipped
    std::future<void> done = pushMarker();
    release.set_value();
    ASSERT_TRUE(ready(done));
    std::future<void> all = pushMarker();
    ASSERT_TRUE(ready(all));
    EXPECT_THAT(order, ElementsAre("TFRDumperThread", "first", "pushed while first ran",
                                   "pushed by a task"));

    std::atomic<int> ran{0};
    for (int i = 0; i < 5; ++i) mThread.pushTaskAndStart([&] { ran.fetch_add(1); });
    mThread.ensureTaskFinish();
    EXPECT_EQ(5, ran.load());
    EXPECT_THAT(mLogs.lines(), ::testing::IsEmpty());
}

TEST_F(DumperThreadTest, EnsureTaskFinishBehindASlowTaskGivesUpAfter100ms) {
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    mThread.pushTaskAndStart([released] { released.wait(); });
    const auto start = std::chrono::steady_clock::now();
    mThread.ensureTaskFinish();
    const auto waited = std::chrono::steady_clock::now() - start;
    release.set_value();
    EXPECT_GE(waited, 100ms);
    EXPECT_LT(waited, kGenerous);
    EXPECT_THAT(mLogs.lines(),
                ElementsAre(debugLine("Talvex-Graphics:TalvexFrameRecord DumperThread wait 100ms "
                                      "timeout, not wait")));
    // The late marker runs harmlessly; the next barrier passes without a line.
    mThread.ensureTaskFinish();
    EXPECT_EQ(1u, mLogs.lines().size());
}

TEST(DumperThreadShutdown, RunsNoQueuedTaskAfterTheCurrentOne) {
    auto thread = std::make_unique<DumperThread>();
    DumperThread* raw = thread.get();
    std::promise<void> started;
    std::atomic<bool> currentFinished{false};
    // The current task ends once the destructor has cleared mRunning (bounded, never sleeps).
    thread->pushTaskAndStart([&, raw] {
        started.set_value();
        const auto deadline = std::chrono::steady_clock::now() + kGenerous;
        while (TalvexFrameRecordTestPeer::running(*raw) &&
               std::chrono::steady_clock::now() < deadline) {
            std::this_thread::yield();
        }
        currentFinished.store(true);
    });
    std::future<void> running = started.get_future();
    ASSERT_TRUE(ready(running));
    auto queued = std::make_shared<std::atomic<bool>>(false);
    thread->pushTaskAndStart([queued] { queued->store(true); });
    thread.reset();
    EXPECT_TRUE(currentFinished.load());
    EXPECT_FALSE(queued->load());
    EXPECT_EQ(1, queued.use_count());  // the queued task was destroyed unrun
}

TEST(DumperThreadShutdown, DestroyingRightAfterTheFirstPushJoins) {
    // The worker raises mRunning itself; destruction must not lose to a late start. Run apart,
    // so a hang fails here instead of at ctest's timeout.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    std::thread([done] {
        for (int i = 0; i < 50; ++i) {
            DumperThread thread;
            thread.pushTaskAndStart([] {});
        }
        done->set_value();
    }).detach();
    EXPECT_EQ(std::future_status::ready, finished.wait_for(30s));
}

}  // namespace
}  // namespace talvex::test
