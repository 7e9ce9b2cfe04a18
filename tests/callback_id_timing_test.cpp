// Part 2.3: callback id timing and getTimeString.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <utils/Timers.h>

#include <cstdint>
#include <limits>
#include <random>

#include "frame_record/time_string.h"
#include "support/frame_record_fixture.h"

namespace talvex::test {
namespace {

using android::TalvexFrameRecord;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using CallbackIdTiming = FrameRecordTest;

TEST_F(CallbackIdTiming, AddRecordsIdWithCurrentTime) {
    const int64_t before = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->addCallbackIdLocked(42);
    const int64_t after = systemTime(SYSTEM_TIME_MONOTONIC);
    const auto times = mRecord->getCallbackIdTime();
    ASSERT_EQ(1u, times.count(42));
    EXPECT_GE(times.at(42), before);
    EXPECT_LE(times.at(42), after);
}

TEST_F(CallbackIdTiming, AddingSameIdTwiceKeepsOneEntryWithSecondTime) {
    mRecord->addCallbackIdLocked(7);
    const long first = mRecord->getCallbackIdTime().at(7);
    const int64_t beforeSecond = systemTime(SYSTEM_TIME_MONOTONIC);
    mRecord->addCallbackIdLocked(7);
    const auto times = mRecord->getCallbackIdTime();
    EXPECT_EQ(1u, times.size());
    EXPECT_GE(times.at(7), beforeSecond);
    EXPECT_GE(times.at(7), first);
}

TEST_F(CallbackIdTiming, RemoveForgetsOnlyThatId) {
    mRecord->addCallbackIdLocked(1);
    mRecord->addCallbackIdLocked(2);
    mRecord->removeCallbackIdLocked(1);
    const auto times = mRecord->getCallbackIdTime();
    EXPECT_EQ(0u, times.count(1));
    EXPECT_EQ(1u, times.count(2));
}

TEST_F(CallbackIdTiming, RemovingUnknownIdOrOnEmptyMapChangesNothing) {
    mRecord->removeCallbackIdLocked(5);
    EXPECT_THAT(mRecord->getCallbackIdTime(), IsEmpty());
    mRecord->addCallbackIdLocked(1);
    const long added = mRecord->getCallbackIdTime().at(1);
    mRecord->removeCallbackIdLocked(5);
    EXPECT_THAT(mRecord->getCallbackIdTime(), UnorderedElementsAre(Pair(1, added)));
}

TEST_F(CallbackIdTiming, CopyIsIndependentAndKeepsLoadFactor) {
    mRecord->addCallbackIdLocked(1);
    auto copy = mRecord->getCallbackIdTime();
    mRecord->removeCallbackIdLocked(1);
    EXPECT_EQ(1u, copy.count(1));
    EXPECT_FLOAT_EQ(1.0f, copy.max_load_factor());
}

TEST(CallbackIdTimingDisabled, AddAndRemoveDoNothingAndMapIsEmpty) {
    ScopedProperty property("ro.build.type", "user");
    LogCapture logs;
    TalvexFrameRecord record;
    record.addCallbackIdLocked(1);
    EXPECT_THAT(record.getCallbackIdTime(), IsEmpty());
    record.removeCallbackIdLocked(1);
    EXPECT_THAT(record.getCallbackIdTime(), IsEmpty());
}

TEST_F(CallbackIdTiming, TimeStringSpecExamples) {
    EXPECT_EQ("+12ms345us678", mRecord->getTimeString(1000000000, 1012345678));
    EXPECT_EQ("-2ms000us500", mRecord->getTimeString(1000000000, 997999500));
    EXPECT_EQ("+0ms000us000", mRecord->getTimeString(1000000000, 1000000000));
    EXPECT_EQ("+0ms000us005", mRecord->getTimeString(1, 6));
    EXPECT_EQ("+2147483ms-648us000", mRecord->getTimeString(1, 2147483648001));
    EXPECT_EQ("-1", mRecord->getTimeString(100, 0));
}

TEST_F(CallbackIdTiming, TimeStringWithEitherTimeZeroIsMinusOne) {
    EXPECT_EQ("-1", mRecord->getTimeString(0, 0));
    EXPECT_EQ("-1", mRecord->getTimeString(0, 5));
    EXPECT_EQ("-1", mRecord->getTimeString(5, 0));
    EXPECT_EQ("-1", mRecord->getTimeString(0, -5));
}

TEST_F(CallbackIdTiming, TimeStringFieldBoundaries) {
    EXPECT_EQ("+0ms000us000", mRecord->getTimeString(5, 5));
    EXPECT_EQ("+0ms000us999", mRecord->getTimeString(1, 1000));
    EXPECT_EQ("+0ms001us000", mRecord->getTimeString(1, 1001));
    EXPECT_EQ("+1ms000us000", mRecord->getTimeString(1, 1000001));
    EXPECT_EQ("-2ms000us500", mRecord->getTimeString(2000501, 1));
}

TEST_F(CallbackIdTiming, TimeStringMicrosecondWrapAtTwoToThe31Microseconds) {
    // 2147483647 us still fits; one more microsecond wraps to INT32_MIN.
    EXPECT_EQ("+2147483ms647us000", mRecord->getTimeString(1, 1 + 2147483647000));
    EXPECT_EQ("-2147483ms-648us000", mRecord->getTimeString(1 + 2147483648000, 1));
}

TEST_F(CallbackIdTiming, TimeStringExtremesDoNotOverflow) {
    const long max = std::numeric_limits<long>::max();
    const long min = std::numeric_limits<long>::min();
    // Only the format of these is fixed by the 32-bit narrowing; they must not trap (UBSan).
    EXPECT_FALSE(mRecord->getTimeString(min, max).empty());
    EXPECT_FALSE(mRecord->getTimeString(max, min).empty());
    EXPECT_FALSE(mRecord->getTimeString(1, min).empty());
}

TEST_F(CallbackIdTiming, TimeStringNeedsNoEnabledRecord) {
    ScopedProperty property("ro.build.type", "user");
    TalvexFrameRecord disabled;
    EXPECT_EQ("+12ms345us678", disabled.getTimeString(1000000000, 1012345678));
}

// The dump's formatter (time_string.h) must print exactly what getTimeString returns.
void expectSameText(TalvexFrameRecord& record, long from, long to) {
    std::string fast;
    android::talvex::appendTimeString(fast, from, to);
    EXPECT_EQ(record.getTimeString(from, to), fast) << "from " << from << " to " << to;
}

TEST_F(CallbackIdTiming, DumpFormatterMatchesGetTimeStringAtEdges) {
    const int64_t max = std::numeric_limits<int64_t>::max();
    const int64_t min = std::numeric_limits<int64_t>::min();
    const int64_t edges[] = {0,
                             1,
                             -1,
                             5,
                             999,
                             1000,
                             1001,
                             999999,
                             1000000,
                             2000500,
                             2147483647,
                             2147483648,
                             4294967296,
                             2147483647000,
                             2147483648000,
                             2147483648999,
                             4294967296000,
                             max,
                             min,
                             max - 1,
                             min + 1};
    for (int64_t from : edges) {
        for (int64_t to : edges) {
            expectSameText(*mRecord, from, to);
            expectSameText(*mRecord, 1, to);
            expectSameText(*mRecord, from, 1);
        }
    }
}

TEST_F(CallbackIdTiming, DumpFormatterMatchesGetTimeStringOnRandomTimes) {
    std::mt19937_64 random(20261122);
    for (int i = 0; i < 20000; ++i) {
        const int shift = static_cast<int>(random() % 64);
        const int64_t from = static_cast<int64_t>(random() >> shift);
        const int64_t to = static_cast<int64_t>(random() >> (1 + random() % 63));  // >= 0
        expectSameText(*mRecord, from, (i % 2) ? to : -to);
    }
}

}  // namespace
}  // namespace talvex::test
