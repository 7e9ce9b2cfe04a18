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

// A second, deliberately plain rendering of a time difference, for the fuzzers to hold the
// library's hand-written formatter against: the arithmetic spelled out step by step in 64-bit
// integers and the text made by printf with the format the dumps have always used.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace talvex::fuzz {

inline std::string referenceTimeString(int64_t from, int64_t to) {
    if (from == 0 || to == 0) return "-1";
    // Two's-complement wrap, as the device's arithmetic gives it for differences past int64.
    const int64_t difference =
        static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from));
    const char sign = difference < 0 ? '-' : '+';
    // The absolute value of INT64_MIN is 2^63: only unsigned arithmetic holds it.
    uint64_t magnitude = static_cast<uint64_t>(difference);
    if (difference < 0) magnitude = ~magnitude + 1;
    // Both narrowings to int32 keep the low 32 bits (two's complement).
    const int32_t ms = static_cast<int32_t>(static_cast<uint32_t>(magnitude / 1000000));
    const int32_t microsTotal = static_cast<int32_t>(static_cast<uint32_t>(magnitude / 1000));
    const int32_t us = microsTotal % 1000;  // keeps the dividend's sign
    const int32_t ns = static_cast<int32_t>(magnitude % 1000);
    const int length = snprintf(nullptr, 0, "%c%dms%.3dus%.3d", sign, ms, us, ns);
    std::string text(static_cast<size_t>(length) + 1, '\0');
    snprintf(text.data(), text.size(), "%c%dms%.3dus%.3d", sign, ms, us, ns);
    text.pop_back();
    return text;
}

}  // namespace talvex::fuzz
