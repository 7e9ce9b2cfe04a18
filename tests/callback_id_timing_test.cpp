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

// Callback id timing and the time-difference text that the dumps print.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/Timers.h>

#include <cstdint>
#include <limits>

#include "frame_record/time_string.h"
#include "support/frame_record_fixture.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using CallbackIdTiming = FrameRecordTest;

TEST_F(CallbackIdTiming, KeepsEachPendingIdWithItsLatestAddTime) {
    mRecord->removeCallbackIdLocked(5);  // on an empty map
    mRecord->addCallbackIdLocked(1);
    mRecord->addCallbackIdLocked(7);
    const long firstOf7 = mRecord->getCallbackIdTime().at(7);
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->addCallbackIdLocked(7);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);
    const auto copy = mRecord->getCallbackIdTime();
    mRecord->removeCallbackIdLocked(1);
    mRecord->removeCallbackIdLocked(5);  // unknown

    ASSERT_EQ(2u, copy.size());  // the copy does not follow later changes
    EXPECT_GE(copy.at(7), before);
    EXPECT_LE(copy.at(7), after);
    EXPECT_GE(copy.at(7), firstOf7);
    EXPECT_THAT(mRecord->getCallbackIdTime(), UnorderedElementsAre(Pair(7, copy.at(7))));
}

struct TimeCase {
    int64_t from;
    int64_t to;
    const char* text;
};

class TimeString : public ::testing::TestWithParam<TimeCase> {};

// The record's text and the dump's formatter must both give exactly this, recording on or off.
TEST_P(TimeString, PrintsSignedMillisecondsMicrosecondsNanoseconds) {
    const TimeCase& c = GetParam();
    ScopedProperty property("ro.build.type", "user");
    LogCapture logs;
    TalvexFrameRecord record;
    EXPECT_EQ(c.text, record.getTimeString(c.from, c.to));
    std::string appended = "x";
    android::talvex::appendTimeString(appended, c.from, c.to);
    EXPECT_EQ(std::string("x") + c.text, appended);
}

constexpr int64_t kMax = std::numeric_limits<int64_t>::max();
constexpr int64_t kMin = std::numeric_limits<int64_t>::min();

INSTANTIATE_TEST_SUITE_P(
    Differences, TimeString,
    ::testing::Values(TimeCase{1, 2, "+0ms000us001"}, TimeCase{5, 5, "+0ms000us000"},
                      TimeCase{1000000000, 1012345678, "+12ms345us678"},
                      TimeCase{1000000000, 997500000, "-2ms500us000"},
                      TimeCase{2000501, 1, "-2ms000us500"}, TimeCase{1, 1000, "+0ms000us999"},
                      TimeCase{1, 1001, "+0ms001us000"}, TimeCase{1, 1000001, "+1ms000us000"},
                      // "unknown" on either side
                      TimeCase{0, 5, "-1"}, TimeCase{5, 0, "-1"}, TimeCase{0, 0, "-1"},
                      TimeCase{0, kMin, "-1"},
                      // the microsecond total is narrowed to 32 bits before its remainder
                      TimeCase{1, 1 + 2147483647000, "+2147483ms647us000"},
                      TimeCase{1, 1 + 2147483648000, "+2147483ms-648us000"},
                      TimeCase{1 + 2147483648000, 1, "-2147483ms-648us000"},
                      // the difference wraps instead of overflowing
                      TimeCase{kMin, kMax, "-0ms000us001"}, TimeCase{kMax, kMin, "+0ms000us001"},
                      TimeCase{1, kMin, "+2077252342ms-489us807"},
                      TimeCase{-1, kMax, "-2077252342ms-489us808"}));

}  // namespace
}  // namespace talvex::test
