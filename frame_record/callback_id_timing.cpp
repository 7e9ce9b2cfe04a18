// Callback id timing: the add time of every pending transaction callback, and the text of a
// time difference.
#include <utils/Timers.h>

#include "frame_record/TalvexFrameRecord.h"
#include "frame_record/time_string.h"

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
    // The dump writes the same text in place; one formatter keeps the two byte-identical.
    std::string text;
    talvex::appendTimeString(text, from, to);
    return text;
}

}  // namespace android
