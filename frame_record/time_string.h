#pragma once

#include <charconv>
#include <cstdint>
#include <string>

namespace android::talvex {

// The longest text `writeTimeString` writes: sign, "%d" of an int32, "ms", "%.3d" of -999..999,
// "us", three digits.
constexpr size_t kMaxTimeStringLength = 1 + 11 + 2 + 4 + 2 + 3;

// Writes exactly the text `TalvexFrameRecord::getTimeString(from, to)` returns ("+12ms345us678",
// "-1" if either time is 0) at `out`, without its two snprintf calls (the dump prints one per
// event). `out` must have room for `kMaxTimeStringLength` characters; returns the end.
// Takes `long` as getTimeString does: on a 32-bit build both times are cut to 32 bits first.
inline char* writeTimeString(char* out, long from, long to) {
    if (from == 0 || to == 0) {
        *out++ = '-';
        *out++ = '1';
        return out;
    }
    // The same arithmetic as getTimeString, 32-bit wrap of the microsecond total included.
    const int64_t difference =
        static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from));
    const uint64_t magnitude =
        difference < 0 ? 0 - static_cast<uint64_t>(difference) : static_cast<uint64_t>(difference);
    const int32_t ms = static_cast<int32_t>(magnitude / 1000000);
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
