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
