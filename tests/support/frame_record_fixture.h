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

#include <binder/IBinder.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <gui/SurfaceControl.h>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "frame_record/TalvexFrameRecord.h"
#include "support/log_capture.h"
#include "support/scoped_property.h"
#include "support/surface_objects.h"

namespace android {

// Test-only view of a record's private state (a friend of the record and of its worker). Reads
// are meant for moments when no other thread uses the record, or take the record's own lock.
class TalvexFrameRecordTestPeer {
public:
    using RecordContent = TalvexFrameRecord::RecordContent;

    // Returns the number of layers in the store.
    static size_t layerCount(TalvexFrameRecord& record) {
        std::lock_guard<std::mutex> lock(record.mMutex);
        return record.mRecordContents.size();
    }
    // Returns a copy of layer `layerId`'s record, or nullptr if it has none.
    static std::unique_ptr<RecordContent> content(TalvexFrameRecord& record, int layerId) {
        std::lock_guard<std::mutex> lock(record.mMutex);
        auto it = record.mRecordContents.find(layerId);
        if (it == record.mRecordContents.end()) return nullptr;
        return std::make_unique<RecordContent>(it->second);
    }
    // The store's lock, for tests that check who takes it.
    static std::mutex& storeMutex(TalvexFrameRecord& record) { return record.mMutex; }
    // Returns whether the worker has been started.
    static bool hasWorker(TalvexFrameRecord::DumperThread& thread) {
        std::lock_guard<std::mutex> lock(thread.mLock);
        return thread.mThread.joinable();
    }
    // Returns how many tasks wait for `record`'s worker (the one it runs is not counted).
    static size_t queuedTasks(TalvexFrameRecord& record) {
        std::lock_guard<std::mutex> lock(record.mDumperThread.mLock);
        return record.mDumperThread.mTaskQueue.size();
    }
    static bool running(const TalvexFrameRecord::DumperThread& thread) {
        return thread.mRunning.load(std::memory_order_acquire);
    }
};

}  // namespace android

namespace talvex::test {

// Returns the frame numbers of `frames`, in the map's (ascending) order.
template <typename FrameMap>
std::vector<unsigned long> frameNumbers(const FrameMap& frames) {
    std::vector<unsigned long> numbers;
    for (const auto& entry : frames) numbers.push_back(entry.first);
    return numbers;
}

// A record built on a "userdebug" build (recording on), with every log line captured.
class FrameRecordTest : public ::testing::Test {
protected:
    void SetUp() override { SKIP_UNLESS_HOLDS(mBuildType); }

    using FrameType = android::libgui_interface::hook::FrameType;
    using FrameStartStatus = android::libgui_interface::hook::FrameStartStatus;
    using Peer = android::TalvexFrameRecordTestPeer;

    // Announces layer `layerId` through `updateFrameAndGetContent`, owned by queue `bbq`.
    android::sp<android::SurfaceControl> addLayer(int layerId, void* bbq,
                                                  const std::string& name = "bbq") {
        android::sp<android::SurfaceControl> control =
            makeSurfaceControl(layerId, "layer" + std::to_string(layerId));
        mControls.push_back(control);
        mRecord->updateFrameAndGetContent(control.get(), name, bbq);
        return control;
    }

    // Starts frame `frameNumber` of `layerId` with the given flags and counts.
    void startFrame(int layerId, unsigned long frameNumber, bool sync = false, bool wait = false,
                    int32_t numAvailable = 0, int32_t numAcquired = 0) {
        mRecord->setLayerFrameEvent(layerId, frameNumber,
                                    FrameStartStatus{sync, wait, numAvailable, numAcquired, 0});
    }

    // A distinct, never dereferenced owner token.
    void* queue(uintptr_t n) { return reinterpret_cast<void*>(0x1000 * n); }

    ScopedProperty mBuildType{"ro.build.type", "userdebug"};
    LogCapture mLogs;
    std::unique_ptr<android::TalvexFrameRecord> mRecord =
        std::make_unique<android::TalvexFrameRecord>();
    std::vector<android::sp<android::SurfaceControl>> mControls;  // kept alive for the test
};

}  // namespace talvex::test
