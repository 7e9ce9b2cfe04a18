// Step names as the library prints them: the one name table of its interface header.
#include <libgui_interface/hook/FrameType.h>

#include <array>
#include <string>

#include "dump_model.h"

namespace talvex::explain {
namespace {

using android::libgui_interface::hook::FrameType;

constexpr int kStepCount = 12;  // the named values, 0 to 11

}  // namespace

std::string frameTypeName(int type) {
    return android::libgui_interface::hook::frameTypeName(static_cast<FrameType>(type));
}

std::optional<int> frameTypeValue(std::string_view name) {
    // Read once: every event of every dump is looked up here.
    static const std::array<std::string, kStepCount> kNames = [] {
        std::array<std::string, kStepCount> names;
        for (int value = 0; value < kStepCount; ++value) names[value] = frameTypeName(value);
        return names;
    }();
    for (int value = 0; value < kStepCount; ++value) {
        if (kNames[value] == name) return value;
    }
    return std::nullopt;
}

}  // namespace talvex::explain
