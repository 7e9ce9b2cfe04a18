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

// The frame record store — construction, enablement and the per-layer, per-frame traces.
#include <android-base/properties.h>
#include <android/log.h>
#include <binder/IBinder.h>
#include <gui/SurfaceControl.h>
#include <utils/Singleton.h>
#include <utils/Timers.h>

#include "frame_record/TalvexFrameRecord.h"

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(TalvexFrameRecord);

namespace {

// A map that holds this many frames loses its lowest frame at the next start call.
constexpr size_t kMaxFramesPerMap = 11;

using FrameMap = std::map<unsigned long, TalvexFrameRecord::FrameEvent>;

// Erases the lowest-numbered frame of a full map, so at most `kMaxFramesPerMap` remain.
void trimFrames(FrameMap& frames) {
    if (frames.size() >= kMaxFramesPerMap) {
        frames.erase(frames.begin());
    }
}

}  // namespace

void* TalvexFrameRecord::createRealImplFactory() {
    // The interface is the first and only base, so both addresses are the same; convert anyway.
    libgui_interface::hook::IFrameRecord* record = &Singleton<TalvexFrameRecord>::getInstance();
    return record;
}

bool TalvexFrameRecord::checkRecordEnable() {
    return android::base::GetProperty("ro.build.type", "user") == "userdebug";
}

TalvexFrameRecord::TalvexFrameRecord() : mEnable(checkRecordEnable()) {
    mRecordContents.max_load_factor(1.0f);
    mCallbackIdTimes.max_load_factor(1.0f);
    __android_log_print(ANDROID_LOG_INFO, nullptr,
                        "Talvex-Graphics: TalvexFrameRecord create, this:%p, size:%zu, enable:%d",
                        this, sizeof(*this), mEnable);
}

TalvexFrameRecord::~TalvexFrameRecord() {
    // No lock: nobody may call a record that is going away. A dump task still running on the
    // worker would race with this (`mDumperThread` is declared before the maps, so the worker
    // is joined only after this body and the maps' destructors have run); the record is a
    // process-wide singleton that is never destroyed, so that cannot happen in use.
    mEnable = false;
    mSurfaceFlinger.clear();
    mRecordContents.clear();
}

void TalvexFrameRecord::updateFrameAndGetContent(void* surfaceControl, const std::string& name,
                                                 void* blastBufferQueue) {
    if (!mEnable) return;
    std::lock_guard<std::mutex> lock(mMutex);
    if (surfaceControl == nullptr) return;

    const SurfaceControl* control = static_cast<const SurfaceControl*>(surfaceControl);
    auto [it, inserted] = mRecordContents.try_emplace(control->getLayerId());
    RecordContent& content = it->second;
    content.mSurfaceControlName = control->getName();
    content.mName = name;
    if (inserted) content.mEventCount = 0;
    content.mSurfaceControl = surfaceControl;
    content.mBlastBufferQueue = blastBufferQueue;
    // Only the address is kept (for printing); the temporary strong reference ends here.
    content.mLayerHandle = control->getLayerStateHandle().get();
}

void TalvexFrameRecord::clearFrameContent(int layerId, void* blastBufferQueue) {
    if (!mEnable) return;
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mRecordContents.find(layerId);
    if (it == mRecordContents.end()) return;
    // Only the owning queue may drop the record: a newer queue may have taken the id over.
    if (it->second.mBlastBufferQueue == blastBufferQueue) {
        mRecordContents.erase(it);
    }
}

void TalvexFrameRecord::setLayerFrameEvent(int layerId, unsigned long frameNumber,
                                           FrameStartStatus status) {
    if (!mEnable) return;
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mRecordContents.find(layerId);
    if (it == mRecordContents.end()) return;
    if (frameNumber == 0) return;
    RecordContent& content = it->second;
    if (content.mBlastBufferQueue == nullptr) return;

    // Both maps are bounded at every start, whichever of them receives this frame.
    trimFrames(content.mNormalFrameEvents);
    trimFrames(content.mSyncedFrameEvents);

    status.startTime = systemTime(SYSTEM_TIME_MONOTONIC);
    FrameMap& frames = status.sync ? content.mSyncedFrameEvents : content.mNormalFrameEvents;
    // A restarted frame keeps its events; only its start status is replaced.
    frames[frameNumber].mStartStatus = status;
}

void TalvexFrameRecord::setLayerFrameEvent(int layerId, unsigned long frameNumber, FrameType type) {
    if (!mEnable) return;
    std::lock_guard<std::mutex> lock(mMutex);
    setLayerFrameEventLocked(layerId, frameNumber, type);
}

void TalvexFrameRecord::setLayerFrameEvent(void* surfaceControl, unsigned long frameNumber,
                                           FrameType type) {
    if (!mEnable) return;
    std::lock_guard<std::mutex> lock(mMutex);
    if (surfaceControl == nullptr) return;
    const int layerId = static_cast<const SurfaceControl*>(surfaceControl)->getLayerId();
    setLayerFrameEventLocked(layerId, frameNumber, type);
}

void TalvexFrameRecord::setLayerFrameEventLocked(int layerId, unsigned long frameNumber,
                                                 FrameType type) {
    auto it = mRecordContents.find(layerId);
    if (it == mRecordContents.end()) return;
    RecordContent& content = it->second;

    // The normal map is searched first, so a frame present in both records its events there.
    FrameMap::iterator frame = content.mNormalFrameEvents.find(frameNumber);
    if (frame == content.mNormalFrameEvents.end()) {
        frame = content.mSyncedFrameEvents.find(frameNumber);
        if (frame == content.mSyncedFrameEvents.end()) return;
    }
    const uint64_t index = content.mEventCount++;
    frame->second.mEvents.push_back(Event{type, index, systemTime(SYSTEM_TIME_MONOTONIC)});
}

}  // namespace android
