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

// Locking mistakes that the clang builds must refuse to compile, one per value of
// LOCK_ANNOTATION_CASE, and the same operations done right (case 0), which must compile. The
// cases go through the record's test peer, the one friend that can reach the locks.
#include <mutex>
#include <string>

#include "frame_record/TalvexFrameRecord.h"

namespace android {

class TalvexFrameRecordTestPeer {
public:
    static size_t run(TalvexFrameRecord& record, TalvexFrameRecord::DumperThread& worker) {
#if LOCK_ANNOTATION_CASE == 0
        std::string text;
        record.dumpAllRecordContent(text);
        std::lock_guard<std::mutex> recordLock(record.mMutex);
        record.setLayerFrameEventLocked(1, 1, TalvexFrameRecord::FrameType::acquireNextBuffer);
        std::lock_guard<std::mutex> workerLock(worker.mLock);
        worker.mTaskQueue.clear();
        return record.mRecordContents.size() + worker.mThread.joinable();
#elif LOCK_ANNOTATION_CASE == 1  // reads the store without its lock
        return record.mRecordContents.size();
#elif LOCK_ANNOTATION_CASE == 2  // calls a *Locked function without the lock
        record.setLayerFrameEventLocked(1, 1, TalvexFrameRecord::FrameType::acquireNextBuffer);
        return 0;
#elif LOCK_ANNOTATION_CASE == 3  // re-enters the record while holding its lock: a self-deadlock
        std::lock_guard<std::mutex> lock(record.mMutex);
        std::string text;
        record.dumpAllRecordContent(text);
        return text.size();
#elif LOCK_ANNOTATION_CASE == 4  // queues a dump task without the worker's lock
        worker.mTaskQueue.push_back(nullptr);
        return 0;
#elif LOCK_ANNOTATION_CASE == 5  // reads the worker's thread under the record's lock
        std::lock_guard<std::mutex> lock(record.mMutex);
        return worker.mThread.joinable();
#endif
    }
};

}  // namespace android
