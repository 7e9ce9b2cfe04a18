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

#pragma once

#include <charconv>
#include <cstdint>
#include <string>

namespace android::talvex {

// The longest text `writeTimeString` writes: sign, "%d" of an int32, "ms", "%.3d" of -999..999,
// "us", three digits.
constexpr size_t kMaxTimeStringLength = 1 + 11 + 2 + 4 + 2 + 3;

// Writes `to` - `from` (nanoseconds) at `out` as "%c%dms%.3dus%.3d" would print it:
// "+12ms345us678", "-2ms000us500", or "-1" if either time is 0 (unknown). The one formatter of
// time differences: `TalvexFrameRecord::getTimeString` returns its text and the dump writes it
// straight into each event's buffer, with no printf call and no allocation per event.
// `out` must have room for `kMaxTimeStringLength` characters; returns the end.
// Takes `long`, like `IFrameRecord::getTimeString`: on a 32-bit build both times are cut to
// 32 bits first.
inline char* writeTimeString(char* out, long from, long to) {
    if (from == 0 || to == 0) {
        *out++ = '-';
        *out++ = '1';
        return out;
    }
    // Unsigned arithmetic wraps where the signed difference or its absolute value would overflow.
    const int64_t difference =
        static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from));
    const uint64_t magnitude =
        difference < 0 ? 0 - static_cast<uint64_t>(difference) : static_cast<uint64_t>(difference);
    const int32_t ms = static_cast<int32_t>(magnitude / 1000000);
    // The microsecond total is narrowed to 32 bits before the remainder, so long differences
    // print as they always have: from 2147483648000 ns on, the microsecond field can come out
    // negative.
    const int32_t us = static_cast<int32_t>(magnitude / 1000) % 1000;
    const int32_t ns = static_cast<int32_t>(magnitude % 1000);

    // "%.3d" of a value in -999..999: a minus sign if negative, then exactly three digits.
    const auto threeDigits = [&out](int32_t value) {
        if (value < 0) {
            *out++ = '-';
            value = -value;
        }
        *out++ = static_cast<char>('0' + value / 100);
        *out++ = static_cast<char>('0' + value / 10 % 10);
        *out++ = static_cast<char>('0' + value % 10);
    };
    *out++ = difference < 0 ? '-' : '+';
    out = std::to_chars(out, out + 11, ms).ptr;
    *out++ = 'm';
    *out++ = 's';
    threeDigits(us);
    *out++ = 'u';
    *out++ = 's';
    threeDigits(ns);
    return out;
}

// Appends the text of `writeTimeString(from, to)` to `text`.
inline void appendTimeString(std::string& text, long from, long to) {
    char buffer[kMaxTimeStringLength];
    text.append(buffer, writeTimeString(buffer, from, to));
}

}  // namespace android::talvex
