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

// The frame record store: enablement, per-layer records, the 11-frame bound and event indices.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/Timers.h>

#include <chrono>
#include <cstdio>
#include <future>

#include "support/frame_record_fixture.h"
#include "support/own_process.h"
#include "support/text.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using FrameRecordStore = FrameRecordTest;
using Peer = android::TalvexFrameRecordTestPeer;

LogLine constructorLine(const void* record, int enable) {
    char text[160];
    snprintf(text, sizeof(text),
             "Talvex-Graphics: TalvexFrameRecord create, this:%s, size:%zu, enable:%d",
             pointerText(record).c_str(), sizeof(TalvexFrameRecord), enable);
    return infoLine(text);
}

struct BuildCase {
    const char* buildType;
    bool enable;
};

class FrameRecordEnable : public ::testing::TestWithParam<BuildCase> {};

// Recording is on only for "userdebug", fixed at construction; a disabled record returns at once,
// without its lock, yet still runs worker tasks.
TEST_P(FrameRecordEnable, RecordsOnlyOnUserdebugAndSaysSoOnce) {
    ScopedProperty property("ro.build.type", GetParam().buildType);
    SKIP_UNLESS_HOLDS(property);
    EXPECT_EQ(GetParam().enable, TalvexFrameRecord::checkRecordEnable());
    LogCapture logs;
    TalvexFrameRecord record;
    ScopedProperty later("ro.build.type", GetParam().enable ? "user" : "userdebug");
    EXPECT_EQ(GetParam().enable, record.getEnable());
    EXPECT_THAT(logs.lines(), ElementsAre(constructorLine(&record, GetParam().enable)));

    android::sp<android::SurfaceControl> control = makeSurfaceControl(7, "layer7");
    std::unique_lock<std::mutex> held(Peer::storeMutex(record), std::defer_lock);
    if (!GetParam().enable) held.lock();  // a disabled record must not wait for it
    auto calls = std::async(std::launch::async, [&] {
        std::string out = "kept";
        record.updateFrameAndGetContent(control.get(), "bbq", &record);
        record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameStartStatus{});
        record.setLayerFrameEvent(7, 1, TalvexFrameRecord::FrameType::apply);
        record.setLayerFrameEvent(control.get(), 1, TalvexFrameRecord::FrameType::apply);
        record.addCallbackIdLocked(3);
        record.dumpAllRecordContent(out);
        return out;
    });
    const std::future_status status = calls.wait_for(std::chrono::seconds(10));
    if (held.owns_lock()) held.unlock();  // so a failing case ends instead of hanging
    ASSERT_EQ(std::future_status::ready, status);
    EXPECT_EQ(GetParam().enable, calls.get() != "kept");
    EXPECT_EQ(GetParam().enable ? 1u : 0u, Peer::layerCount(record));
    EXPECT_EQ(GetParam().enable ? 1u : 0u, record.getCallbackIdTime().size());

    std::promise<void> ran;
    record.pushTaskAndStart([&] { ran.set_value(); });
    EXPECT_EQ(std::future_status::ready, ran.get_future().wait_for(std::chrono::seconds(10)));
}

INSTANTIATE_TEST_SUITE_P(BuildTypes, FrameRecordEnable,
                         ::testing::Values(BuildCase{"userdebug", true}, BuildCase{"user", false},
                                           BuildCase{"eng", false}, BuildCase{"", false},
                                           BuildCase{"UserDebug", false}));

// Frames `from` to `to` (either way) start, then `extra` (0: none); the maps must then hold
// exactly the expected frame numbers.
struct TrimCase {
    const char* name;
    unsigned long from, to;
    bool sync;
    unsigned long extra;
    bool extraSync;
    std::vector<unsigned long> normal, synced;
};

class FrameRecordTrim : public FrameRecordTest, public ::testing::WithParamInterface<TrimCase> {};

TEST_P(FrameRecordTrim, KeepsAtMostElevenFramesPerMapDroppingTheLowest) {
    const TrimCase& c = GetParam();
    addLayer(1, queue(1));
    for (unsigned long f = c.from;; f += c.from <= c.to ? 1 : -1) {
        startFrame(1, f, c.sync);
        if (f == c.to) break;
    }
    if (c.extra != 0) startFrame(1, c.extra, c.extraSync);
    auto content = Peer::content(*mRecord, 1);
    EXPECT_THAT(frameNumbers(content->mNormalFrameEvents), ElementsAreArray(c.normal));
    EXPECT_THAT(frameNumbers(content->mSyncedFrameEvents), ElementsAreArray(c.synced));
}

// Returns frame numbers `from` to `to`, then `extra` if not 0.
std::vector<unsigned long> frames(unsigned long from, unsigned long to, unsigned long extra = 0) {
    std::vector<unsigned long> numbers;
    for (unsigned long f = from; f <= to; ++f) numbers.push_back(f);
    if (extra != 0) numbers.push_back(extra);
    return numbers;
}

INSTANTIATE_TEST_SUITE_P(
    Starts, FrameRecordTrim,
    ::testing::Values(
        TrimCase{"Thirteen", 1, 13, false, 0, false, frames(3, 13), {}},
        TrimCase{"LowestNotOldest", 20, 10, false, 30, false, frames(11, 20, 30), {}},
        TrimCase{"SyncedStartTrimsNormal", 1, 11, false, 100, true, frames(2, 11), {100}},
        TrimCase{"NormalStartTrimsSynced", 1, 11, true, 50, false, {50}, frames(2, 11)},
        TrimCase{"RestartStillTrims", 1, 11, false, 5, false, frames(2, 11), {}},
        TrimCase{"RestartOfLowestComesBack", 1, 11, false, 1, false, frames(1, 11), {}},
        TrimCase{"FrameZeroIgnored", 0, 0, false, 0, false, {}, {}}),
    [](const auto& info) { return std::string(info.param.name); });

// Returns "<type>/<index> " of each of `frame`'s events.
std::string events(const TalvexFrameRecord::FrameEvent& frame) {
    std::string text;
    for (const auto& e : frame.mEvents)
        text += frameTypeName(e.type) + "/" + std::to_string(e.index) + " ";
    return text;
}

TEST_F(FrameRecordStore, EventsGoToTheirFrameWithOneRisingIndexPerLayer) {
    android::sp<android::SurfaceControl> control = addLayer(1, queue(1));
    startFrame(1, 1);
    startFrame(1, 2, /*sync=*/true);
    startFrame(1, 3, /*sync=*/true);
    startFrame(1, 3, /*sync=*/false);  // in both maps: its events go to the normal one
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->setLayerFrameEvent(1, 1, FrameType::onFrameAvailable);
    mRecord->setLayerFrameEvent(1, 9, FrameType::apply);  // never started: dropped
    mRecord->setLayerFrameEvent(2, 1, FrameType::apply);  // unknown layer: dropped
    mRecord->setLayerFrameEvent(static_cast<void*>(nullptr), 1, FrameType::apply);
    mRecord->setLayerFrameEvent(1, 2, FrameType::acquireNextBuffer);
    mRecord->setLayerFrameEvent(1, 3, FrameType::syncNextTransaction);
    mRecord->updateFrameAndGetContent(control.get(), "renamed", queue(1));  // keeps the count
    mRecord->setLayerFrameEvent(control.get(), 1, FrameType::releaseBufferBBQ);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);

    auto content = Peer::content(*mRecord, 1);
    EXPECT_EQ(4u, content->mEventCount);
    EXPECT_EQ("onFrameAvailable/0 releaseBufferBBQ/3 ", events(content->mNormalFrameEvents.at(1)));
    EXPECT_EQ("acquireNextBuffer/1 ", events(content->mSyncedFrameEvents.at(2)));
    EXPECT_EQ("", events(content->mSyncedFrameEvents.at(3)));
    EXPECT_EQ("syncNextTransaction/2 ", events(content->mNormalFrameEvents.at(3)));
    const auto& first = content->mNormalFrameEvents.at(1).mEvents;
    EXPECT_LE(before, first[0].time);
    EXPECT_LE(first[0].time, content->mSyncedFrameEvents.at(2).mEvents[0].time);
    EXPECT_LE(first[1].time, after);
}

TEST_F(FrameRecordStore, RestartKeepsEventsAndTakesTheNewStatusWithRecordingTime) {
    addLayer(1, queue(1));
    startFrame(1, 4, false, false, 1, 0);
    mRecord->setLayerFrameEvent(1, 4, FrameType::onFrameAvailable);
    FrameStartStatus status{false, true, 3, 2, 12345};
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->setLayerFrameEvent(1, 4, status);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);
    EXPECT_EQ(12345, status.startTime);  // the caller's copy is left alone
    const auto frame = Peer::content(*mRecord, 1)->mNormalFrameEvents.at(4);
    ASSERT_EQ(1u, frame.mEvents.size());
    EXPECT_FALSE(frame.mStartStatus.sync);
    EXPECT_TRUE(frame.mStartStatus.wait);
    EXPECT_EQ(3, frame.mStartStatus.numAvailable);
    EXPECT_EQ(2, frame.mStartStatus.numAcquired);
    EXPECT_GE(frame.mStartStatus.startTime, before);
    EXPECT_LE(frame.mStartStatus.startTime, after);
}

TEST_F(FrameRecordStore, UpdateNamesTheLayerAndTheLatestQueueOwnsIt) {
    mRecord->updateFrameAndGetContent(nullptr, "bbq", queue(1));
    EXPECT_EQ(0u, Peer::layerCount(*mRecord));
    addLayer(2, nullptr);  // no owner queue: frames are not started
    startFrame(2, 1);
    EXPECT_THAT(Peer::content(*mRecord, 2)->mNormalFrameEvents, IsEmpty());

    addLayer(1, queue(1), "first");
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    android::sp<android::SurfaceControl> other = addLayer(1, queue(2), "second");
    const android::sp<android::IBinder> ownHandle = other->getHandle();
    mRecord->updateFrameAndGetContent(other.get(), "second", queue(2));
    auto content = Peer::content(*mRecord, 1);
    EXPECT_EQ(other.get(), content->mSurfaceControl);
    EXPECT_EQ(queue(2), content->mBlastBufferQueue);
    EXPECT_EQ(ownHandle.get(), content->mLayerHandle);
    EXPECT_EQ("second", content->mName);
    EXPECT_EQ("layer1", content->mSurfaceControlName);
    EXPECT_EQ(1u, content->mNormalFrameEvents.at(1).mEvents.size());

    mRecord->clearFrameContent(1, queue(1));  // the old owner can no longer drop it
    mRecord->clearFrameContent(99, queue(2));
    ASSERT_NE(nullptr, Peer::content(*mRecord, 1));
    mRecord->clearFrameContent(1, queue(2));
    EXPECT_EQ(nullptr, Peer::content(*mRecord, 1));
    EXPECT_NE(nullptr, Peer::content(*mRecord, 2));

    addLayer(1, queue(3));  // a new record counts its events from 0
    startFrame(1, 1);
    mRecord->setLayerFrameEvent(1, 1, FrameType::apply);
    EXPECT_EQ(0u, Peer::content(*mRecord, 1)->mNormalFrameEvents.at(1).mEvents[0].index);
    EXPECT_EQ(1u, mLogs.lines().size());  // nothing logged but the constructor's line
}

#if !defined(__ANDROID__)
// Once the layer has a BLAST child, callbacks know it by the child's handle; its layer state, and
// the record, keep its own. (The child needs a compositor on a device.)
TEST_F(FrameRecordStore, KeepsTheLayersOwnHandleWhenItHasABlastChild) {
    android::sp<android::SurfaceControl> layer = addLayer(1, queue(1), "layer");
    const android::sp<android::IBinder> ownHandle = layer->getHandle();
    android::sp<android::SurfaceControl> child = makeSurfaceControl(5, "child");
    layer->hostSetBbqChild(child);
    ASSERT_EQ(child->getHandle(), layer->getHandle());
    mRecord->updateFrameAndGetContent(layer.get(), "layer", queue(1));
    EXPECT_EQ(ownHandle.get(), Peer::content(*mRecord, 1)->mLayerHandle);
}
#endif

// The getter hands out the one process-wide record, created once; its own process per case.
TEST(FrameRecordSingleton, GetterGivesTheOneRealRecordCreatedOnce) {
    for (const char* buildType : {"userdebug", "user"}) {
        EXPECT_IN_OWN_PROCESS({
            ScopedProperty property("ro.build.type", buildType);
            SKIP_UNLESS_HOLDS(property);
            LogCapture logs;
            using android::libgui_interface::hook::getFrameRecordIns;
            android::libgui_interface::hook::IFrameRecord* record = getFrameRecordIns();
            ASSERT_NE(nullptr, dynamic_cast<TalvexFrameRecord*>(record));
            EXPECT_EQ(static_cast<void*>(record), TalvexFrameRecord::createRealImplFactory());
            EXPECT_EQ(record, getFrameRecordIns());
            const bool enable = std::string(buildType) == "userdebug";
            EXPECT_EQ(enable, record->getEnable());
            EXPECT_THAT(logs.linesContaining("TalvexFrameRecord create"),
                        ElementsAre(constructorLine(record, enable)));
        });
    }
}

}  // namespace
}  // namespace talvex::test
