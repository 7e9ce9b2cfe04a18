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
