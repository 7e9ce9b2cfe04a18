// The frame event vocabulary: values and names cross the libgui boundary and appear in dumps.
#include <gtest/gtest.h>
#include <libgui_interface/hook/FrameType.h>

#include <ostream>
#include <type_traits>

namespace android::libgui_interface::hook {
namespace {

static_assert(std::is_same_v<std::underlying_type_t<FrameType>, int>);

struct TypeCase {
    FrameType type;
    int value;
    const char* name;
};

void PrintTo(const TypeCase& c, std::ostream* os) {
    *os << c.name;
}

class FrameTypeName : public ::testing::TestWithParam<TypeCase> {};

TEST_P(FrameTypeName, IsTheEnumeratorNameOrTheSignedDecimal) {
    EXPECT_EQ(GetParam().value, static_cast<int>(GetParam().type));
    EXPECT_EQ(GetParam().name, frameTypeName(GetParam().type));
}

INSTANTIATE_TEST_SUITE_P(
    Values, FrameTypeName,
    ::testing::Values(
        TypeCase{FrameType::onFrameAvailable, 0, "onFrameAvailable"},
        TypeCase{FrameType::acquireNextBuffer, 1, "acquireNextBuffer"},
        TypeCase{FrameType::acquireAndReleaseBuffer, 2, "acquireAndReleaseBuffer"},
        TypeCase{FrameType::onTransactionCompletedCommit, 3, "onTransactionCompletedCommit"},
        TypeCase{FrameType::onTransactionCompletedComplete, 4, "onTransactionCompletedComplete"},
        TypeCase{FrameType::transactionCallback, 5, "transactionCallback"},
        TypeCase{FrameType::transactionCommittedCallback, 6, "transactionCommittedCallback"},
        TypeCase{FrameType::releaseBufferCallback, 7, "releaseBufferCallback"},
        TypeCase{FrameType::FakeReleaseCallback, 8, "FakeReleaseCallback"},
        TypeCase{FrameType::releaseBufferBBQ, 9, "releaseBufferBBQ"},
        TypeCase{FrameType::syncNextTransaction, 10, "syncNextTransaction"},
        TypeCase{FrameType::apply, 11, "apply"}, TypeCase{static_cast<FrameType>(12), 12, "12"},
        TypeCase{static_cast<FrameType>(-1), -1, "-1"},
        TypeCase{static_cast<FrameType>(-2147483647 - 1), -2147483647 - 1, "-2147483648"}));

}  // namespace
}  // namespace android::libgui_interface::hook
