// Part 2.3: callback id timing and the one time-difference formatter, getTimeString.
#include <utils/Timers.h>

#include <cstdint>
#include <cstdio>

#include "frame_record/TalvexFrameRecord.h"

namespace android {

void TalvexFrameRecord::addCallbackIdLocked(long id) {
    if (!mEnable) return;
    // Adding an id again only refreshes its time.
    mCallbackIdTimes[id] = systemTime(SYSTEM_TIME_MONOTONIC);
}

void TalvexFrameRecord::removeCallbackIdLocked(long id) {
    if (!mEnable) return;
    if (mCallbackIdTimes.bucket_count() == 0) return;
    auto it = mCallbackIdTimes.find(id);
    if (it == mCallbackIdTimes.end()) return;
    mCallbackIdTimes.erase(it);
}

std::unordered_map<long, long> TalvexFrameRecord::getCallbackIdTime() {
    // A copy, so the caller can look ids up while the map goes on changing.
    return mCallbackIdTimes;
}

std::string TalvexFrameRecord::getTimeString(long from, long to) {
    if (from == 0 || to == 0) return "-1";  // 0 means "unknown" on either side

    // Unsigned arithmetic wraps where the signed difference or its absolute value would overflow.
    const int64_t difference =
        static_cast<int64_t>(static_cast<uint64_t>(to) - static_cast<uint64_t>(from));
    const char sign = difference < 0 ? '-' : '+';
    const uint64_t magnitude =
        difference < 0 ? 0 - static_cast<uint64_t>(difference) : static_cast<uint64_t>(difference);
    const int32_t ms = static_cast<int32_t>(magnitude / 1000000);
    // The microsecond total is narrowed to 32 bits before the remainder, as the format requires:
    // from 2147483648000 ns on, the microsecond field can come out negative.
    const int32_t us = static_cast<int32_t>(magnitude / 1000) % 1000;
    const int32_t ns = static_cast<int32_t>(magnitude % 1000);

    static constexpr char kFormat[] = "%c%dms%.3dus%.3d";
    const int length = std::snprintf(nullptr, 0, kFormat, sign, ms, us, ns);
    // A negative length makes the resize below throw length_error, which ends the process.
    std::string text(static_cast<size_t>(length) + 1, '\0');
    std::snprintf(text.data(), text.size(), kFormat, sign, ms, us, ns);
    text.resize(static_cast<size_t>(length));
    return text;
}

}  // namespace android
