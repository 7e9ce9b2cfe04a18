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

// The listener dump: every transaction and release callback the process's
// TransactionCompletedListener still holds, with the age of each transaction callback.
#include <gui/SurfaceComposerClient.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <utils/Timers.h>

#include <sstream>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"

namespace android {

using libgui_interface::hook::getFrameRecordIns;

void TalvexBufferQueueHelper::dumpAllListenerCallbackInfos(std::string& out) {
    // A plain pointer: the process-wide listener outlives every dump, and dropping the strong
    // reference at once keeps its count untouched by diagnostics.
    TransactionCompletedListener* listener = TransactionCompletedListener::getInstance().get();

    decltype(listener->mCallbacks) callbacks;
    decltype(listener->mReleaseBufferCallbacks) releaseCallbacks;
    std::unordered_map<long, long> callbackTimes;
    {
        // Copies only: the callbacks go on while the text is built from them. The frame record's
        // callback times are guarded by this same lock (its callers add and remove ids under it).
        std::lock_guard<std::mutex> lock(listener->mMutex);
        callbacks = listener->mCallbacks;
        releaseCallbacks = listener->mReleaseBufferCallbacks;
        callbackTimes = getFrameRecordIns()->getCallbackIdTime();
    }

    std::stringstream text;
    text << "---Dump Current Process All Callback START, Callbacks:" << callbacks.size() << "/"
         << releaseCallbacks.size() << "/" << callbackTimes.size() << "---\n";
    const nsecs_t now = systemTime(SYSTEM_TIME_MONOTONIC);

    for (const auto& [callbackId, translation] : callbacks) {
        // An id without a stored time reads 0 (and "-1" as its age).
        const long addTime = callbackTimes[callbackId.id];
        text << "CallbackId: (" << callbackId.id << ","
             << (static_cast<int32_t>(callbackId.type) == 0 ? "complete" : "commit") << ","
             << addTime << "/" << getFrameRecordIns()->getTimeString(now, addTime)
             << "), Cb:" << static_cast<bool>(translation.callbackFunction) << " SurfaceControls:";
        for (const auto& [handle, surfaceControl] : translation.surfaceControls) {
            text << " [handle:" << static_cast<const void*>(handle.get())
                 << ",sc:" << static_cast<const void*>(surfaceControl.get())
                 << ",name:" << (surfaceControl != nullptr ? surfaceControl->getName() : "none")
                 << "]";
        }
        text << "\n";
    }
    text << "ReleaseCallbackId: ";
    for (const auto& [releaseId, callback] : releaseCallbacks) {
        text << "[" << releaseId.to_string() << ", cb:" << static_cast<bool>(callback) << "] ";
    }
    text << "\n---Dump Current Process All Callback Over, NowBaseTime:" << now << "---\n";

    out.append(text.str());
}

}  // namespace android
