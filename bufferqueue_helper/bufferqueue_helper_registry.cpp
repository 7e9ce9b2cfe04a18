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

// The helper itself: the registry of BLAST queues, the dump triggers and the road of one dump
// from a stalled core to the compositor.
#define LOG_TAG "TalvexBufferQueueHelper"

#include <android/log.h>
#include <binder/IBinder.h>
#include <gui/BLASTBufferQueue.h>
#include <gui/BufferQueueCore.h>
#include <gui/SurfaceControl.h>
#include <libgui_interface/hook/IFrameRecord.h>
#include <utils/Singleton.h>
#include <utils/Timers.h>

#include <utility>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"

namespace android {

ANDROID_SINGLETON_STATIC_INSTANCE(TalvexBufferQueueHelper);

using libgui_interface::hook::getFrameRecordIns;

namespace {

constexpr char kCheckFormat[] =
    "dumpStateAndFrameRecord call blastbufferqueue check: dumpflag:%d, enableCallback:%d";

// Queues `bbq`'s dump on the frame record's dumper thread without waiting for it: the trigger
// runs with the core's lock held, and the dump takes the queue's lock, which comes first in the
// lock order. With the fallback frame record the task is dropped.
void dumpBlastStateAndRecordCallbackThunk(void* helper, void* bbq) {
    if (helper == nullptr || bbq == nullptr) return;
    getFrameRecordIns()->pushTaskAndStart([helper, bbq] {
        static_cast<TalvexBufferQueueHelper*>(helper)->dumpBlastStateAndRecordCallback(bbq);
    });
}

}  // namespace

void* TalvexBufferQueueHelper::createRealImplFactory() {
    // The interface is the first and only base, so both addresses are the same; convert anyway.
    libgui_interface::hook::IBufferQueueHelper* helper =
        &Singleton<TalvexBufferQueueHelper>::getInstance();
    return helper;
}

TalvexBufferQueueHelper::TalvexBufferQueueHelper() {
    __android_log_print(ANDROID_LOG_INFO, LOG_TAG,
                        "Talvex-Graphics: TalvexBufferQueueHelper create, this:%p, size:%zu", this,
                        sizeof(*this));
}

TalvexBufferQueueHelper::~TalvexBufferQueueHelper() {
    __android_log_print(ANDROID_LOG_INFO, LOG_TAG,
                        "Talvex-Graphics: ~TalvexBufferQueueHelper create, this:%p", this);
}

void TalvexBufferQueueHelper::registerBBQDumpCallback(void* core, void* bbq) {
    std::function<void()> callback = [this, bbq] {
        dumpBlastStateAndRecordCallbackThunk(this, bbq);
    };
    std::lock_guard<std::mutex> lock(mMutex);
    BQCoreBridge& bridge = mBQCoreBridges[core];
    bridge.dumpCallback = std::move(callback);
    bridge.dumpFlag = true;
}

void TalvexBufferQueueHelper::setBBQDumpFlag(void* core, bool flag) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mBQCoreBridges.find(core);
    if (it != mBQCoreBridges.end()) it->second.dumpFlag = flag;
}

void TalvexBufferQueueHelper::clearRegisteredCallback(void* core) {
    std::lock_guard<std::mutex> lock(mMutex);
    mBQCoreBridges.erase(core);
}

void TalvexBufferQueueHelper::dumpBQAllFrameState(void* core) {
    dumpBQCoreState(static_cast<BufferQueueCore*>(core));
    dumpBlastStateAndFrameRecord(core);
}

void TalvexBufferQueueHelper::dumpBQAllFrameStateCalledByBlast(void* core, void* bbq) {
    {
        std::lock_guard<std::mutex> lock(static_cast<BufferQueueCore*>(core)->mMutex);
        dumpBQCoreState(static_cast<BufferQueueCore*>(core));
    }
    dumpBlastStateAndFrameRecordLocked(bbq);
}

void TalvexBufferQueueHelper::dumpBQCoreStateCalledByBlast(void* core) {
    std::lock_guard<std::mutex> lock(static_cast<BufferQueueCore*>(core)->mMutex);
    dumpBQCoreState(static_cast<BufferQueueCore*>(core));
}

void TalvexBufferQueueHelper::dumpBlastStateAndRecordCallback(void* bbq) {
    std::lock_guard<std::mutex> lock(static_cast<BLASTBufferQueue*>(bbq)->mMutex);
    dumpBlastStateAndFrameRecordLocked(bbq);
}

void TalvexBufferQueueHelper::dumpBlastStateAndFrameRecord(void* core) {
    std::function<void()> callback;
    bool flag = true;  // what the check line reports for an unknown core
    {
        // Only copied here: the callback runs after unlocking, so the registry's lock is never
        // held while anything else happens.
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mBQCoreBridges.find(core);
        if (it != mBQCoreBridges.end()) {
            callback = it->second.dumpCallback;
            flag = it->second.dumpFlag;
        }
    }
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, kCheckFormat, flag ? 1 : 0, callback ? 1 : 0);
    if (flag && callback) {
        callback();
        // Through the virtual slot, as a second, separate locking of the registry.
        setBBQDumpFlag(core, false);
    }
}

void TalvexBufferQueueHelper::dumpBlastStateAndFrameRecordLocked(void* bbq) {
    BLASTBufferQueue* queue = static_cast<BLASTBufferQueue*>(bbq);
    // The caller holds the queue's mMutex (the dumper thread's task, or libgui itself).
    base::ScopedLockAssertion queueLocked(queue->mMutex);
    __android_log_print(
        ANDROID_LOG_DEBUG, LOG_TAG, "[%s](f:%u,a:%u) Talvex-Graphics:%s Start, nowTime:%ld",
        queue->mName.c_str(), static_cast<uint32_t>(queue->mNumFrameAvailable),
        static_cast<uint32_t>(queue->mNumAcquired), "dumpBlastStateAndFrameRecordLocked",
        static_cast<long>(systemTime(SYSTEM_TIME_MONOTONIC)));

    std::string text;
    dumpBlastBufferQueueStateLocked(queue, text);
    getFrameRecordIns()->dumpAllRecordContent(text);
    dumpAllListenerCallbackInfos(text);

    // One DEBUG line per line of the text, as a line-by-line read gives them: an empty line
    // between two newlines is kept, a newline at the very end adds nothing.
    for (size_t begin = 0; begin < text.size();) {
        size_t end = text.find('\n', begin);
        if (end == std::string::npos) {
            end = text.size();
        } else {
            text[end] = '\0';  // ends this piece in place
        }
        __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG, "[%s](f:%u,a:%u) %s", queue->mName.c_str(),
                            static_cast<uint32_t>(queue->mNumFrameAvailable),
                            static_cast<uint32_t>(queue->mNumAcquired), text.c_str() + begin);
        begin = end + 1;
    }

    sp<IBinder> handle = queue->mSurfaceControl->getLayerStateHandle();
    getFrameRecordIns()->callSurfaceFlingerByLayer(handle, queue->mSurfaceControl->getLayerId());
}

}  // namespace android
