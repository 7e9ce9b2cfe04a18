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
#include <libgui_interface/hook/IFrameRecord.h>
#include <libgui_interface/hook/export.h>
#include <utils/StrongPointer.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>

#include "talvex_libgui_utils/thread_annotations.h"

namespace android {

class IBinder;

// The process-wide frame record: per layer and frame number, the steps each frame has passed
// through between the client's BLAST queue and the compositor, with monotonic times, and the add
// time of every pending transaction callback id. Records only on "userdebug" builds; on any other
// build every recording call returns at once. Created once through `createRealImplFactory()`.
class TALVEX_EXPORT TalvexFrameRecord final : public libgui_interface::hook::IFrameRecord {
public:
    using FrameType = libgui_interface::hook::FrameType;
    using FrameStartStatus = libgui_interface::hook::FrameStartStatus;

    // One recorded step of a frame.
    struct Event {
        FrameType type;
        uint64_t index;  // the layer's event count before this event: 0, 1, 2, ... per layer
        int64_t time;    // systemTime(SYSTEM_TIME_MONOTONIC) when recorded
    };

    // One frame: how it started and its steps in arrival order (unbounded).
    struct FrameEvent {
        FrameStartStatus mStartStatus;
        std::deque<Event> mEvents;
    };

    // One layer, keyed by layer id. The pointers are never dereferenced nor kept alive.
    struct RecordContent {
        void* mSurfaceControl = nullptr;
        void* mBlastBufferQueue = nullptr;  // owner token compared by clear and start calls
        IBinder* mLayerHandle = nullptr;    // for printing only, held without a reference
        uint64_t mEventCount = 0;           // events recorded for the layer, never reset
        std::string mName;
        std::string mSurfaceControlName;
        std::map<unsigned long, FrameEvent> mNormalFrameEvents;  // frames started with sync false
        std::map<unsigned long, FrameEvent> mSyncedFrameEvents;  // frames started with sync true
    };

    // One background worker that runs handed-over tasks one after another, in push order, on a
    // thread named "TFRDumperThread" started by the first push and joined by the destructor.
    class TALVEX_EXPORT DumperThread {
    public:
        DumperThread();
        // Stops the worker after its current batch and joins it; queued tasks are not run.
        ~DumperThread();
        DumperThread(const DumperThread&) = delete;
        DumperThread& operator=(const DumperThread&) = delete;

        // Starts the worker on first use, appends `task` and wakes the worker.
        void pushTaskAndStart(std::function<void()>&& task) EXCLUDES(mLock);
        // Waits at most 100 ms for every task pushed before it; returns at once if no worker.
        void ensureTaskFinish() EXCLUDES(mLock);

    private:
        friend class TalvexFrameRecordTestPeer;

        void threadMain() EXCLUDES(mLock);

        std::atomic<bool> mRunning;
        std::mutex mLock;  // never held while a task runs
        std::condition_variable mCondition;
        std::thread mThread GUARDED_BY(mLock);
        std::deque<std::function<void()>> mTaskQueue GUARDED_BY(mLock);
    };

    // Returns the process-wide record (android::Singleton), created on first call, never freed.
    static void* createRealImplFactory();

    // Returns true exactly when "ro.build.type" is "userdebug".
    static bool checkRecordEnable();

    TalvexFrameRecord();
    ~TalvexFrameRecord() override;
    TalvexFrameRecord(const TalvexFrameRecord&) = delete;
    TalvexFrameRecord& operator=(const TalvexFrameRecord&) = delete;

    // Frame record store (frame_record_store.cpp).
    // Returns whether recording is on; fixed at construction.
    bool getEnable() override { return mEnable; }
    // Drops the layer's record if `blastBufferQueue` owns it.
    void clearFrameContent(int layerId, void* blastBufferQueue) override EXCLUDES(mMutex);
    // Creates or refreshes the record of `surfaceControl`'s layer; its frames are kept.
    void updateFrameAndGetContent(void* surfaceControl, const std::string& name,
                                  void* blastBufferQueue) override EXCLUDES(mMutex);
    // Opens or restarts frame `frameNumber`, keeping at most 11 frames per map.
    void setLayerFrameEvent(int layerId, unsigned long frameNumber,
                            FrameStartStatus status) override EXCLUDES(mMutex);
    // Appends an event to a started frame; dropped if the layer or frame is unknown.
    void setLayerFrameEvent(int layerId, unsigned long frameNumber, FrameType type) override
        EXCLUDES(mMutex);
    // As above, with the layer id taken from the SurfaceControl `surfaceControl`.
    void setLayerFrameEvent(void* surfaceControl, unsigned long frameNumber,
                            FrameType type) override EXCLUDES(mMutex);

    // Frame record dump (frame_record_dump.cpp).
    // Appends the whole record as text to `out`; appends nothing when recording is off.
    void dumpAllRecordContent(std::string& out) override EXCLUDES(mMutex);

    // Compositor layer call (compositor_layer_call.cpp).
    // Sends SurfaceFlinger the one-way request naming layer `layerId` with `token`; no lock.
    void callSurfaceFlingerByLayer(const sp<IBinder>& token, int layerId) override;

    // Callback id timing (callback_id_timing.cpp). The caller serialises these.
    // Records `id` with the current time.
    void addCallbackIdLocked(long id) override;
    // Forgets `id`.
    void removeCallbackIdLocked(long id) override;
    // Returns a copy of the callback id to add time map.
    std::unordered_map<long, long> getCallbackIdTime() override;
    // Returns `to` - `from` as "+12ms345us678", or "-1" if either time is 0.
    std::string getTimeString(long from, long to) override;

    // Dumper thread (dumper_thread.cpp); forwarded to `mDumperThread`.
    void pushTaskAndStart(std::function<void()>&& task) override;
    void ensureTaskFinish() override;

private:
    friend class TalvexFrameRecordTestPeer;

    // The common body of the two event overloads.
    void setLayerFrameEventLocked(int layerId, unsigned long frameNumber, FrameType type)
        REQUIRES(mMutex);

    bool mEnable;
    sp<IBinder> mSurfaceFlinger;  // cached compositor binder
    DumperThread mDumperThread;
    std::mutex mMutex;  // held for a whole dump
    std::unordered_map<int, RecordContent> mRecordContents GUARDED_BY(mMutex);
    std::unordered_map<long, long> mCallbackIdTimes;  // guarded by the callers
};

}  // namespace android
