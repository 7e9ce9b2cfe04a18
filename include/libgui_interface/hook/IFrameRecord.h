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

#include <libgui_interface/hook/FrameType.h>
#include <libgui_interface/hook/export.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <string>
#include <unordered_map>

namespace android {
class IBinder;
}

namespace android::libgui_interface::hook {

// The process-wide frame record, as libgui sees it. Slot order is part of the interface.
// Untyped pointers are libgui's own objects: a SurfaceControl and a BLASTBufferQueue.
class TALVEX_EXPORT IFrameRecord {
public:
    // Returns whether recording is on (a "userdebug" build); callers skip recording if not.
    virtual bool getEnable() = 0;
    // Drops layer `layerId`'s record if `blastBufferQueue` owns it.
    virtual void clearFrameContent(int layerId, void* blastBufferQueue) = 0;
    // Appends the whole record as text to `out`; never clears it.
    virtual void dumpAllRecordContent(std::string& out) = 0;
    // Creates or refreshes the record of `surfaceControl`'s layer, owned by `blastBufferQueue`.
    virtual void updateFrameAndGetContent(void* surfaceControl, const std::string& name,
                                          void* blastBufferQueue) = 0;
    // Opens or restarts frame `frameNumber` of layer `layerId`.
    virtual void setLayerFrameEvent(int layerId, unsigned long frameNumber,
                                    FrameStartStatus status) = 0;
    // Records step `type` of a started frame of layer `layerId`.
    virtual void setLayerFrameEvent(int layerId, unsigned long frameNumber, FrameType type) = 0;
    // Records step `type` of a started frame of `surfaceControl`'s layer.
    virtual void setLayerFrameEvent(void* surfaceControl, unsigned long frameNumber,
                                    FrameType type) = 0;
    // Sends the compositor a one-way request naming layer `layerId`, with `token`.
    virtual void callSurfaceFlingerByLayer(const sp<IBinder>& token, int layerId) = 0;
    // Records when transaction callback `id` was added; the caller holds its own lock.
    virtual void addCallbackIdLocked(long id) = 0;
    // Forgets transaction callback `id`; the caller holds its own lock.
    virtual void removeCallbackIdLocked(long id) = 0;
    // Returns a copy of the callback id to add time map (empty when recording is off).
    virtual std::unordered_map<long, long> getCallbackIdTime() = 0;
    // Returns `to` - `from` as "+12ms345us678", or "-1" if either is 0 (unknown).
    virtual std::string getTimeString(long from, long to) = 0;
    // Runs `task` later on the record's own worker thread, after every task handed over before.
    virtual void pushTaskAndStart(std::function<void()>&& task) = 0;
    // Waits at most 100 ms for every task handed over before it.
    virtual void ensureTaskFinish() = 0;
    virtual ~IFrameRecord() = default;
};

// Returns the cached frame record, else what `createTalvexFrameRecordFactory()` gives.
TALVEX_EXPORT IFrameRecord* getFrameRecordIns();

// Loads the vendor library if needed; returns the real record or the static fallback (cached).
TALVEX_EXPORT IFrameRecord* createTalvexFrameRecordFactory();

}  // namespace android::libgui_interface::hook
