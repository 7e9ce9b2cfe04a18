// Part 2.2: the frame record store — enablement, layers, frame bounds and event indices.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/Timers.h>

#include <chrono>
#include <cstdio>
#include <future>
#include <mutex>

#include "support/frame_record_fixture.h"
#include "support/text.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

using FrameRecordStore = FrameRecordTest;

// The constructor's line for `record`, as the device's "%p" prints the address.
std::string constructorLine(const TalvexFrameRecord* record, int enable) {
    char text[160];
    snprintf(text, sizeof(text),
             "Talvex-Graphics: TalvexFrameRecord create, this:%s, size:%zu, enable:%d",
             pointerText(record).c_str(), sizeof(TalvexFrameRecord), enable);
    return text;
}

// Builds a record on a build of type `buildType` and checks it records nothing.
void expectDisabledOn(const char* buildType) {
    ScopedProperty property("ro.build.type", buildType);
    LogCapture logs;
    TalvexFrameRecord record;
    EXPECT_FALSE(record.getEnable());
    ASSERT_EQ(1u, logs.lines().size());
    EXPECT_EQ(ANDROID_LOG_INFO, logs.lines()[0].priority);
    EXPECT_EQ(defaultTag(), logs.lines()[0].tag);
    EXPECT_EQ(constructorLine(&record, 0), logs.lines()[0].text);

    android::sp<android::SurfaceControl> control = makeSurfaceControl(7, "layer7");
    record.updateFrameAndGetContent(control.get(), "bbq", &record);
    record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameStartStatus{});
    record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameType::apply);
    record.setLayerFrameEvent(control.get(), 1, TalvexFrameRecord::FrameType::apply);
    record.clearFrameContent(7, &record);
    EXPECT_EQ(0u, android::TalvexFrameRecordTestPeer::layerCount(record));
    EXPECT_EQ(1u, logs.lines().size());
}

TEST(FrameRecordStoreEnable, UserBuildRecordsNothingAndLogsEnable0) {
    expectDisabledOn("user");
}

TEST(FrameRecordStoreEnable, EngBuildRecordsNothingAndLogsEnable0) {
    expectDisabledOn("eng");
}

TEST(FrameRecordStoreEnable, EmptyBuildTypeRecordsNothingAndLogsEnable0) {
    expectDisabledOn("");
}

TEST(FrameRecordStoreEnable, BuildTypeIsCaseSensitive) {
    ScopedProperty property("ro.build.type", "UserDebug");
    EXPECT_FALSE(TalvexFrameRecord::checkRecordEnable());
}

// Parts 2.2 and 2.4: the mEnable test is made before, and without, the lock: a disabled record
// returns at once even while another thread holds the store's lock.
TEST(FrameRecordStoreEnable, DisabledRecordNeverTakesTheLock) {
    ScopedProperty property("ro.build.type", "user");
    TalvexFrameRecord record;
    android::sp<android::SurfaceControl> control = makeSurfaceControl(7, "layer7");
    std::unique_lock<std::mutex> held(android::TalvexFrameRecordTestPeer::storeMutex(record));
    auto calls = std::async(std::launch::async, [&] {
        std::string out;
        record.updateFrameAndGetContent(control.get(), "bbq", &record);
        record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameStartStatus{});
        record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameType::apply);
        record.setLayerFrameEvent(control.get(), 1, TalvexFrameRecord::FrameType::apply);
        record.clearFrameContent(7, &record);
        record.dumpAllRecordContent(out);
        return out;
    });
    const std::future_status status = calls.wait_for(std::chrono::seconds(10));
    held.unlock();  // so a failing case ends instead of hanging
    EXPECT_EQ(std::future_status::ready, status) << "a disabled record waited for its lock";
    EXPECT_EQ("", calls.get());
}

TEST_F(FrameRecordStore, UserdebugBuildLogsEnable1AtInfoWithNullTag) {
    EXPECT_TRUE(mRecord->getEnable());
    EXPECT_TRUE(TalvexFrameRecord::checkRecordEnable());
    ASSERT_EQ(1u, mLogs.lines().size());
    EXPECT_EQ(ANDROID_LOG_INFO, mLogs.lines()[0].priority);
    EXPECT_EQ(defaultTag(), mLogs.lines()[0].tag);
    EXPECT_EQ(constructorLine(mRecord.get(), 1), mLogs.lines()[0].text);
}

TEST_F(FrameRecordStore, EnableIsFixedAtConstruction) {
    ScopedProperty later("ro.build.type", "user");
    EXPECT_TRUE(mRecord->getEnable());
}

TEST_F(FrameRecordStore, UpdateCreatesRecordWithIdentityFields) {
    android::sp<android::SurfaceControl> control = addLayer(5, queue(1), "app#0");
    auto content = Peer::content(*mRecord, 5);
    ASSERT_NE(nullptr, content);
    EXPECT_EQ(control.get(), content->mSurfaceControl);
    EXPECT_EQ(queue(1), content->mBlastBufferQueue);
    EXPECT_EQ(control->getLayerStateHandle().get(), content->mLayerHandle);
    EXPECT_EQ(0u, content->mEventCount);
    EXPECT_EQ("app#0", content->mName);
    EXPECT_EQ("layer5", content->mSurfaceControlName);
    EXPECT_THAT(content->mNormalFrameEvents, IsEmpty());
    EXPECT_THAT(content->mSyncedFrameEvents, IsEmpty());
    EXPECT_EQ(1u, mLogs.lines().size());  // nothing logged but the constructor's line
}

TEST_F(FrameRecordStore, UpdateWithNullSurfaceControlIsIgnored) {
    mRecord->updateFrameAndGetContent(nullptr, "bbq", queue(1));
    EXPECT_EQ(0u, Peer::layerCount(*mRecord));
}

TEST_F(FrameRecordStore, EventForUnannouncedLayerLeavesStoreEmpty) {
    startFrame(3, 1);
    mRecord->setLayerFrameEvent(3, 1, FrameType::onFrameAvailable);
    EXPECT_EQ(0u, Peer::layerCount(*mRecord));
}

TEST_F(FrameRecordStore, FrameZeroIsIgnored) {
    addLayer(1, queue(1));
    startFrame(1, 0);
    mRecord->setLayerFrameEvent(1, 0, FrameType::acquireNextBuffer);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(content->mNormalFrameEvents, IsEmpty());
    EXPECT_EQ(0u, content->mEventCount);
}

TEST_F(FrameRecordStore, StartForRecordWithoutOwnerQueueIsIgnored) {
    addLayer(1, nullptr);
    startFrame(1, 1);
    auto content = Peer::content(*mRecord, 1);
    ASSERT_NE(nullptr, content);
    EXPECT_THAT(content->mNormalFrameEvents, IsEmpty());
}

TEST_F(FrameRecordStore, StartingFrames1To12KeepsFrames2To12) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 12; ++frame) startFrame(1, frame);
    EXPECT_THAT(frameNumbers(Peer::content(*mRecord, 1)->mNormalFrameEvents),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12));
}

TEST_F(FrameRecordStore, StartingFrame13EvictsFrame2) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 13; ++frame) startFrame(1, frame);
    EXPECT_THAT(frameNumbers(Peer::content(*mRecord, 1)->mNormalFrameEvents),
                ElementsAre(3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
}

TEST_F(FrameRecordStore, EvictionTakesLowestNumberNotOldest) {
    addLayer(1, queue(1));
    for (unsigned long frame = 20; frame >= 10; --frame) startFrame(1, frame);  // 11 frames
    startFrame(1, 30);
    EXPECT_THAT(frameNumbers(Peer::content(*mRecord, 1)->mNormalFrameEvents),
                ElementsAre(11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 30));
}

TEST_F(FrameRecordStore, SyncedStartTrimsFullNormalMap) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 11; ++frame) startFrame(1, frame);
    startFrame(1, 100, /*sync=*/true);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(frameNumbers(content->mNormalFrameEvents),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_THAT(frameNumbers(content->mSyncedFrameEvents), ElementsAre(100));
}

TEST_F(FrameRecordStore, AtMostOneFrameLeavesEachMapPerStart) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 11; ++frame) startFrame(1, frame, /*sync=*/true);
    startFrame(1, 50, /*sync=*/false);
    EXPECT_THAT(frameNumbers(Peer::content(*mRecord, 1)->mSyncedFrameEvents),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
}

TEST_F(FrameRecordStore, RestartKeepsEventsAndReplacesStartStatus) {
    addLayer(1, queue(1));
    startFrame(1, 4, false, false, 1, 0);
    mRecord->setLayerFrameEvent(1, 4, FrameType::onFrameAvailable);
    const int64_t firstStart =
        Peer::content(*mRecord, 1)->mNormalFrameEvents.at(4).mStartStatus.startTime;
    startFrame(1, 4, false, true, 3, 2);
    const TalvexFrameRecord::FrameEvent frame = Peer::content(*mRecord, 1)->mNormalFrameEvents.at(4);
    ASSERT_EQ(1u, frame.mEvents.size());
    EXPECT_EQ(FrameType::onFrameAvailable, frame.mEvents[0].type);
    EXPECT_TRUE(frame.mStartStatus.wait);
    EXPECT_EQ(3, frame.mStartStatus.numAvailable);
    EXPECT_EQ(2, frame.mStartStatus.numAcquired);
    EXPECT_GE(frame.mStartStatus.startTime, firstStart);
}

TEST_F(FrameRecordStore, RestartStillEvictsLowestFrameOfFullMap) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 11; ++frame) startFrame(1, frame);
    mRecord->setLayerFrameEvent(1, 5, FrameType::apply);
    startFrame(1, 5);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(frameNumbers(content->mNormalFrameEvents),
                ElementsAre(2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_EQ(1u, content->mNormalFrameEvents.at(5).mEvents.size());
}

TEST_F(FrameRecordStore, RestartOfLowestFrameOfFullMapComesBackWithoutEvents) {
    addLayer(1, queue(1));
    for (unsigned long frame = 1; frame <= 11; ++frame) startFrame(1, frame);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    startFrame(1, 1);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(frameNumbers(content->mNormalFrameEvents),
                ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11));
    EXPECT_THAT(content->mNormalFrameEvents.at(1).mEvents, IsEmpty());
}

TEST_F(FrameRecordStore, StartTimeIsRecordingTimeAndCallerCopyIsUnchanged) {
    addLayer(1, queue(1));
    FrameStartStatus status{true, true, 4, 2, 12345};
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->setLayerFrameEvent(1, 9, status);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);
    EXPECT_EQ(12345, status.startTime);
    const FrameStartStatus stored =
        Peer::content(*mRecord, 1)->mSyncedFrameEvents.at(9).mStartStatus;
    EXPECT_TRUE(stored.sync);
    EXPECT_TRUE(stored.wait);
    EXPECT_EQ(4, stored.numAvailable);
    EXPECT_EQ(2, stored.numAcquired);
    EXPECT_GE(stored.startTime, before);
    EXPECT_LE(stored.startTime, after);
}

TEST_F(FrameRecordStore, SyncedFrameGoesToSyncedMapAndTakesItsEvents) {
    addLayer(1, queue(1));
    startFrame(1, 7, /*sync=*/true);
    mRecord->setLayerFrameEvent(1, 7, FrameType::syncNextTransaction);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(content->mNormalFrameEvents, IsEmpty());
    ASSERT_EQ(1u, content->mSyncedFrameEvents.count(7));
    EXPECT_EQ(1u, content->mSyncedFrameEvents.at(7).mEvents.size());
}

TEST_F(FrameRecordStore, FrameInBothMapsRecordsEventsInNormalMap) {
    addLayer(1, queue(1));
    startFrame(1, 7, /*sync=*/true);
    startFrame(1, 7, /*sync=*/false);
    mRecord->setLayerFrameEvent(1, 7, FrameType::apply);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_EQ(1u, content->mNormalFrameEvents.at(7).mEvents.size());
    EXPECT_THAT(content->mSyncedFrameEvents.at(7).mEvents, IsEmpty());
}

TEST_F(FrameRecordStore, EventIndicesRiseAcrossFramesAndSurviveRefresh) {
    android::sp<android::SurfaceControl> control = addLayer(1, queue(1));
    startFrame(1, 1);
    startFrame(1, 2, /*sync=*/true);
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->setLayerFrameEvent(1, 1, FrameType::onFrameAvailable);
    mRecord->setLayerFrameEvent(1, 3, FrameType::apply);  // never started: dropped
    mRecord->setLayerFrameEvent(1, 2, FrameType::acquireNextBuffer);
    mRecord->updateFrameAndGetContent(control.get(), "renamed", queue(1));
    mRecord->setLayerFrameEvent(control.get(), 1, FrameType::releaseBufferBBQ);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);

    auto content = Peer::content(*mRecord, 1);
    EXPECT_EQ(3u, content->mEventCount);
    const auto& normal = content->mNormalFrameEvents.at(1).mEvents;
    const auto& synced = content->mSyncedFrameEvents.at(2).mEvents;
    ASSERT_EQ(2u, normal.size());
    ASSERT_EQ(1u, synced.size());
    EXPECT_EQ(0u, normal[0].index);
    EXPECT_EQ(FrameType::onFrameAvailable, normal[0].type);
    EXPECT_EQ(1u, synced[0].index);
    EXPECT_EQ(2u, normal[1].index);
    EXPECT_EQ(FrameType::releaseBufferBBQ, normal[1].type);
    EXPECT_LE(before, normal[0].time);
    EXPECT_LE(normal[0].time, synced[0].time);
    EXPECT_LE(synced[0].time, normal[1].time);
    EXPECT_LE(normal[1].time, after);
}

TEST_F(FrameRecordStore, PointerOverloadIgnoresNullSurfaceControl) {
    addLayer(1, queue(1));
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(static_cast<void*>(nullptr), 1, FrameType::apply);
    EXPECT_THAT(Peer::content(*mRecord, 1)->mNormalFrameEvents.at(1).mEvents, IsEmpty());
}

TEST_F(FrameRecordStore, EventIndexOfNewLayerStartsAtZero) {
    addLayer(1, queue(1));
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    mRecord->clearFrameContent(1, queue(1));
    addLayer(1, queue(2));
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    EXPECT_EQ(0u, Peer::content(*mRecord, 1)->mNormalFrameEvents.at(1).mEvents[0].index);
}

TEST_F(FrameRecordStore, ClearWithOwningQueueDropsRecord) {
    addLayer(1, queue(1));
    addLayer(2, queue(2));
    startFrame(1, 1);
    mRecord->clearFrameContent(1, queue(1));
    EXPECT_EQ(nullptr, Peer::content(*mRecord, 1));
    EXPECT_NE(nullptr, Peer::content(*mRecord, 2));
}

TEST_F(FrameRecordStore, ClearWithOtherQueueLeavesRecord) {
    addLayer(1, queue(1));
    startFrame(1, 1);
    mRecord->clearFrameContent(1, queue(2));
    mRecord->clearFrameContent(99, queue(1));
    auto content = Peer::content(*mRecord, 1);
    ASSERT_NE(nullptr, content);
    EXPECT_EQ(1u, content->mNormalFrameEvents.size());
}

TEST_F(FrameRecordStore, SecondQueueTakesOverLayerAndKeepsTraces) {
    addLayer(1, queue(1), "first");
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    android::sp<android::SurfaceControl> other = addLayer(1, queue(2), "second");
    auto content = Peer::content(*mRecord, 1);
    EXPECT_EQ(queue(2), content->mBlastBufferQueue);
    EXPECT_EQ(other.get(), content->mSurfaceControl);
    EXPECT_EQ("second", content->mName);
    EXPECT_EQ(1u, content->mNormalFrameEvents.at(1).mEvents.size());
    EXPECT_EQ(1u, content->mEventCount);
    mRecord->clearFrameContent(1, queue(1));  // the old owner can no longer drop it
    EXPECT_NE(nullptr, Peer::content(*mRecord, 1));
}

TEST_F(FrameRecordStore, LayerHandleFollowsBlastChildOnRefresh) {
    android::sp<android::SurfaceControl> control = addLayer(1, queue(1));
    android::sp<android::SurfaceControl> child = makeSurfaceControl(2, "child");
    control->hostSetBbqChild(child);
    mRecord->updateFrameAndGetContent(control.get(), "bbq", queue(1));
    EXPECT_EQ(child->getHandle().get(), Peer::content(*mRecord, 1)->mLayerHandle);
    EXPECT_NE(control->getHandle().get(), Peer::content(*mRecord, 1)->mLayerHandle);
}

}  // namespace
}  // namespace talvex::test
