// Part 2.5: the dumper thread — order, naming, the 100 ms barrier and shutdown.
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

using android::TalvexFrameRecord;
using android::TalvexFrameRecordTestPeer;
using DumperThread = TalvexFrameRecord::DumperThread;
using ::testing::ElementsAre;
using namespace std::chrono_literals;

constexpr char kTimeoutLine[] =
    "Talvex-Graphics:TalvexFrameRecord DumperThread wait 100ms timeout, not wait";
// Generous bound for waits that should end at once; only a broken worker reaches it.
constexpr auto kGenerous = 10s;

// Waits for `future` with a generous bound; returns whether it became ready.
template <typename T>
bool ready(std::future<T>& future) {
    return future.wait_for(kGenerous) == std::future_status::ready;
}

// Returns the name of the calling thread.
std::string currentThreadName() {
    char name[32] = {};
    pthread_getname_np(pthread_self(), name, sizeof(name));
    return name;
}

class DumperThreadTest : public ::testing::Test {
protected:
    // Pushes a marker and returns its future: ready once every earlier task has run.
    std::future<void> pushMarker() {
        auto promise = std::make_shared<std::promise<void>>();
        std::future<void> future = promise->get_future();
        mThread.pushTaskAndStart([promise] { promise->set_value(); });
        return future;
    }

    LogCapture mLogs;
    DumperThread mThread;
};

TEST_F(DumperThreadTest, EnsureTaskFinishOnFreshObjectReturnsAtOnceWithoutThread) {
    const auto start = std::chrono::steady_clock::now();
    mThread.ensureTaskFinish();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 50ms);
    EXPECT_FALSE(TalvexFrameRecordTestPeer::hasWorker(mThread));
    EXPECT_THAT(mLogs.lines(), ::testing::IsEmpty());
}

TEST_F(DumperThreadTest, TasksRunInPushOrderOnNamedWorker) {
    std::vector<int> order;  // written by the worker only, read after the barrier
    std::thread::id worker;
    std::string name;
    mThread.pushTaskAndStart([&] {
        order.push_back(1);
        worker = std::this_thread::get_id();
        name = currentThreadName();
    });
    mThread.pushTaskAndStart([&] { order.push_back(2); });
    mThread.pushTaskAndStart([&] { order.push_back(3); });
    std::future<void> done = pushMarker();
    ASSERT_TRUE(ready(done));
    EXPECT_THAT(order, ElementsAre(1, 2, 3));
    EXPECT_NE(std::this_thread::get_id(), worker);
    EXPECT_EQ("TFRDumperThread", name);
    EXPECT_TRUE(TalvexFrameRecordTestPeer::running(mThread));
}

TEST_F(DumperThreadTest, TaskPushedWhileAnotherRunsRunsAfterIt) {
    std::vector<std::string> order;
    std::promise<void> started;
    std::promise<void> release;
    std::shared_future<void> released = release.get_future().share();
    mThread.pushTaskAndStart([&, released] {
        started.set_value();
        released.wait();
        order.push_back("first");
    });
    std::future<void> firstStarted = started.get_future();
    ASSERT_TRUE(ready(firstStarted));
    mThread.pushTaskAndStart([&] { order.push_back("second"); });
    std::future<void> done = pushMarker();
    release.set_value();
    ASSERT_TRUE(ready(done));
    EXPECT_THAT(order, ElementsAre("first", "second"));
}

TEST_F(DumperThreadTest, TaskMayPushTaskThatRunsAfterIt) {
    std::vector<int> order;
    std::promise<void> done;
    mThread.pushTaskAndStart([&] {
        mThread.pushTaskAndStart([&] {
            order.push_back(2);
            done.set_value();
        });
        order.push_back(1);
    });
    std::future<void> finished = done.get_future();
    ASSERT_TRUE(ready(finished));
    EXPECT_THAT(order, ElementsAre(1, 2));
}

TEST_F(DumperThreadTest, EmptyFunctionIsSkippedAndLaterTasksRun) {
    bool ran = false;
    mThread.pushTaskAndStart(std::function<void()>());
    mThread.pushTaskAndStart([&] { ran = true; });
    std::future<void> done = pushMarker();
    ASSERT_TRUE(ready(done));
    EXPECT_TRUE(ran);
}

TEST_F(DumperThreadTest, EnsureTaskFinishWaitsForFastTasksWithoutLogging) {
    std::atomic<int> ran{0};
    for (int i = 0; i < 5; ++i) mThread.pushTaskAndStart([&] { ran.fetch_add(1); });
    mThread.ensureTaskFinish();
    EXPECT_EQ(5, ran.load());
    EXPECT_EQ(0u, mLogs.count(kTimeoutLine));
}

TEST_F(DumperThreadTest, EnsureTaskFinishBehindLongTaskTimesOutAfter100ms) {
    std::promise<void> longTaskDone;
    std::future<void> longDone = longTaskDone.get_future();
    // Deliberately long: the one place where a task must outlast the barrier's bound.
    mThread.pushTaskAndStart([&] {
        std::this_thread::sleep_for(300ms);
        longTaskDone.set_value();
    });
    const auto start = std::chrono::steady_clock::now();
    mThread.ensureTaskFinish();
    const auto waited = std::chrono::steady_clock::now() - start;
    EXPECT_GE(waited, 100ms);
    EXPECT_LT(waited, 290ms);
    EXPECT_EQ(std::future_status::timeout, longDone.wait_for(0ms));

    const auto lines = mLogs.linesContaining(kTimeoutLine);
    ASSERT_EQ(1u, lines.size());
    EXPECT_EQ(kTimeoutLine, lines[0].text);
    EXPECT_EQ(ANDROID_LOG_DEBUG, lines[0].priority);
    EXPECT_EQ(defaultTag(), lines[0].tag);

    // The stale marker runs later, harmlessly; the next barrier passes without a line.
    ASSERT_TRUE(ready(longDone));
    mThread.ensureTaskFinish();
    EXPECT_EQ(1u, mLogs.count(kTimeoutLine));
}

TEST_F(DumperThreadTest, EnsureTaskFinishFromATaskAlwaysTimesOut) {
    std::promise<void> done;
    mThread.pushTaskAndStart([&] {
        mThread.ensureTaskFinish();
        done.set_value();
    });
    std::future<void> finished = done.get_future();
    ASSERT_TRUE(ready(finished));
    EXPECT_EQ(1u, mLogs.count(kTimeoutLine));
}

TEST(DumperThreadShutdown, DestroyingRunsNoQueuedTaskAndReturnsAfterCurrentBatch) {
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

    auto queuedRan = std::make_shared<std::atomic<bool>>(false);
    thread->pushTaskAndStart([queuedRan] { queuedRan->store(true); });
    thread->pushTaskAndStart([queuedRan] { queuedRan->store(true); });
    std::atomic<bool>& ranFlag = *queuedRan;
    std::shared_ptr<std::atomic<bool>> keep = std::move(queuedRan);

    thread.reset();
    EXPECT_TRUE(currentFinished.load());
    EXPECT_FALSE(ranFlag.load());
    EXPECT_EQ(1, keep.use_count());  // the queued tasks were destroyed unrun
}

TEST(DumperThreadShutdown, DestroyingRightAfterFirstPushJoins) {
    // The worker raises mRunning itself; destruction must not lose to a late start. Run apart,
    // so a hang fails here with a message instead of at ctest's timeout.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    std::thread([done] {
        for (int i = 0; i < 50; ++i) {
            DumperThread thread;
            thread.pushTaskAndStart([] {});
        }
        done->set_value();
    }).detach();
    EXPECT_EQ(std::future_status::ready, finished.wait_for(std::chrono::seconds(30)))
        << "destroying a worker right after its first push hung";
}

TEST(DumperThreadShutdown, DestroyingIdleWorkerJoins) {
    DumperThread thread;
    thread.pushTaskAndStart([] {});
    thread.ensureTaskFinish();
    SUCCEED();
}

TEST(DumperThreadRecord, RecordForwardsTasksAlsoWhenRecordingIsOff) {
    ScopedProperty property("ro.build.type", "user");
    LogCapture logs;
    TalvexFrameRecord record;
    ASSERT_FALSE(record.getEnable());
    EXPECT_FALSE(
        TalvexFrameRecordTestPeer::hasWorker(TalvexFrameRecordTestPeer::dumperThread(record)));
    record.ensureTaskFinish();  // no worker yet: returns at once
    EXPECT_FALSE(
        TalvexFrameRecordTestPeer::hasWorker(TalvexFrameRecordTestPeer::dumperThread(record)));

    std::promise<std::string> name;
    record.pushTaskAndStart([&] { name.set_value(currentThreadName()); });
    std::future<std::string> taskName = name.get_future();
    ASSERT_TRUE(ready(taskName));
    EXPECT_EQ("TFRDumperThread", taskName.get());
    record.ensureTaskFinish();
    EXPECT_EQ(0u, logs.count(kTimeoutLine));
}

}  // namespace
}  // namespace talvex::test
