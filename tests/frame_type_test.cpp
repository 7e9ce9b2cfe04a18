// Part 2.1: frame event vocabulary.
#include <gtest/gtest.h>
#include <libgui_interface/hook/FrameType.h>

#include <cstddef>
#include <type_traits>

namespace android::libgui_interface::hook {
namespace {

static_assert(std::is_same_v<std::underlying_type_t<FrameType>, int>);
static_assert(std::is_same_v<decltype(FrameStartStatus::sync), bool>);
static_assert(std::is_same_v<decltype(FrameStartStatus::wait), bool>);
static_assert(std::is_same_v<decltype(FrameStartStatus::numAvailable), int32_t>);
static_assert(std::is_same_v<decltype(FrameStartStatus::numAcquired), int32_t>);
static_assert(std::is_same_v<decltype(FrameStartStatus::startTime), int64_t>);
// The record crosses the libgui boundary by value: field order and widths are the interface.
static_assert(sizeof(FrameStartStatus) == 24);
static_assert(offsetof(FrameStartStatus, sync) == 0);
static_assert(offsetof(FrameStartStatus, wait) == 1);
static_assert(offsetof(FrameStartStatus, numAvailable) == 4);
static_assert(offsetof(FrameStartStatus, numAcquired) == 8);
static_assert(offsetof(FrameStartStatus, startTime) == 16);

TEST(FrameType, ValuesAreDenseInInterfaceOrder) {
    EXPECT_EQ(0, static_cast<int>(FrameType::onFrameAvailable));
    EXPECT_EQ(1, static_cast<int>(FrameType::acquireNextBuffer));
    EXPECT_EQ(2, static_cast<int>(FrameType::acquireAndReleaseBuffer));
    EXPECT_EQ(3, static_cast<int>(FrameType::onTransactionCompletedCommit));
    EXPECT_EQ(4, static_cast<int>(FrameType::onTransactionCompletedComplete));
    EXPECT_EQ(5, static_cast<int>(FrameType::transactionCallback));
    EXPECT_EQ(6, static_cast<int>(FrameType::transactionCommittedCallback));
    EXPECT_EQ(7, static_cast<int>(FrameType::releaseBufferCallback));
    EXPECT_EQ(8, static_cast<int>(FrameType::FakeReleaseCallback));
    EXPECT_EQ(9, static_cast<int>(FrameType::releaseBufferBBQ));
    EXPECT_EQ(10, static_cast<int>(FrameType::syncNextTransaction));
    EXPECT_EQ(11, static_cast<int>(FrameType::apply));
}

TEST(FrameType, EveryValuePrintsItsEnumeratorName) {
    const char* expected[] = {"onFrameAvailable",
                              "acquireNextBuffer",
                              "acquireAndReleaseBuffer",
                              "onTransactionCompletedCommit",
                              "onTransactionCompletedComplete",
                              "transactionCallback",
                              "transactionCommittedCallback",
                              "releaseBufferCallback",
                              "FakeReleaseCallback",
                              "releaseBufferBBQ",
                              "syncNextTransaction",
                              "apply"};
    for (int value = 0; value < 12; ++value) {
        EXPECT_EQ(expected[value], frameTypeName(static_cast<FrameType>(value))) << value;
    }
}

TEST(FrameType, Value8KeepsItsCapitalF) {
    EXPECT_EQ("FakeReleaseCallback", frameTypeName(static_cast<FrameType>(8)));
    EXPECT_EQ("apply", frameTypeName(static_cast<FrameType>(11)));
}

TEST(FrameType, OutOfRangeValuesPrintAsSignedDecimal) {
    EXPECT_EQ("12", frameTypeName(static_cast<FrameType>(12)));
    EXPECT_EQ("-3", frameTypeName(static_cast<FrameType>(-3)));
    EXPECT_EQ("-1", frameTypeName(static_cast<FrameType>(-1)));
    EXPECT_EQ("2147483647", frameTypeName(static_cast<FrameType>(2147483647)));
    EXPECT_EQ("-2147483648", frameTypeName(static_cast<FrameType>(-2147483647 - 1)));
}

}  // namespace
}  // namespace android::libgui_interface::hook
