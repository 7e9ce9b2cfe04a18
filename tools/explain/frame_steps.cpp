#include <array>
#include <string>

#include "dump_model.h"

namespace talvex::explain {
namespace {

// The twelve step names in value order, as the library prints them.
constexpr std::array<std::string_view, 12> kStepNames = {
    "onFrameAvailable",
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
    "apply",
};

}  // namespace

std::string frameTypeName(int type) {
    if (type >= 0 && static_cast<size_t>(type) < kStepNames.size()) {
        return std::string(kStepNames[static_cast<size_t>(type)]);
    }
    return std::to_string(type);
}

std::optional<int> frameTypeValue(std::string_view name) {
    for (size_t i = 0; i < kStepNames.size(); ++i) {
        if (kStepNames[i] == name) return static_cast<int>(i);
    }
    return std::nullopt;
}

}  // namespace talvex::explain
