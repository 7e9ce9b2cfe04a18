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

#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/export.h>

#include <functional>
#include <mutex>
#include <string>
#include <unordered_map>

#include "talvex_libgui_utils/thread_annotations.h"

namespace android {

class BLASTBufferQueue;
class BufferQueueCore;

// The process-wide buffer-queue helper: prints the state of a BufferQueueCore, of a
// BLASTBufferQueue and of the process's TransactionCompletedListener, keeps the registry of live
// BLAST queues (keyed by their core) with one-shot dump permissions, and caps requested buffer
// sizes above 4000 pixels when "debug.graphics.unsupport4K" asks for it. Created once through
// `createRealImplFactory()`; reaches the frame record only through `getFrameRecordIns()`.
//
// Lock order: a BLAST queue's mMutex before its core's mMutex, and before the listener's mMutex.
// `mMutex` here is a leaf: it is never held while a dump, a callback or another lock is taken.
class TALVEX_EXPORT TalvexBufferQueueHelper final
    : public libgui_interface::hook::IBufferQueueHelper {
public:
    // One registered BLAST queue, under the address of its core.
    struct BQCoreBridge {
        std::function<void()> dumpCallback;  // queues the BLAST queue's dump on the dumper thread
        bool dumpFlag = true;                // one-shot permission for the next BLAST dump
    };

    // Returns the process-wide helper (android::Singleton), created on first call, never freed.
    static void* createRealImplFactory();

    TalvexBufferQueueHelper();
    ~TalvexBufferQueueHelper() override;
    TalvexBufferQueueHelper(const TalvexBufferQueueHelper&) = delete;
    TalvexBufferQueueHelper& operator=(const TalvexBufferQueueHelper&) = delete;

    // Registry and triggers (bufferqueue_helper_registry.cpp).
    // Sets the flag of `core`'s registration; an unknown core is ignored (nothing is created).
    void setBBQDumpFlag(void* core, bool flag) override EXCLUDES(mMutex);
    // (Re)registers `bbq`'s dump for `core`, armed; a previous callback is dropped.
    void registerBBQDumpCallback(void* core, void* bbq) override EXCLUDES(mMutex);
    // Forgets `core`'s registration, if any.
    void clearRegisteredCallback(void* core) override EXCLUDES(mMutex);
    // Logs `core` now (the caller holds its mMutex), then queues the BLAST dump if armed.
    void dumpBQAllFrameState(void* core) override EXCLUDES(mMutex);
    // Logs `core` under its mMutex, then `bbq`'s dump at once; the caller holds `bbq`'s mMutex.
    void dumpBQAllFrameStateCalledByBlast(void* core, void* bbq) override EXCLUDES(mMutex);

    // Buffer size limiter (buffer_size_limiter.cpp).
    // Caps the int32 pair at `requestedSize` to 4000 x 4000 into `size` and the ConsumerBase
    // `consumer` when `mode` is 1 and "debug.graphics.unsupport4K" is 1 (read on every call).
    void resetBBQRequestSize(void* requestedSize, void* size, void* consumer, int mode,
                             int updateRequested) override;

    // Locks `core`'s mMutex around `dumpBQCoreState(core)`.
    void dumpBQCoreStateCalledByBlast(void* core);
    // Locks `bbq`'s mMutex around `dumpBlastStateAndFrameRecordLocked(bbq)`.
    void dumpBlastStateAndRecordCallback(void* bbq);
    // Runs `core`'s callback (queueing its BLAST dump) if armed, then disarms it.
    void dumpBlastStateAndFrameRecord(void* core) EXCLUDES(mMutex);
    // Logs `bbq`'s state, the frame record and the listener's callbacks line by line behind the
    // queue's prefix, then names its layer to the compositor. The caller holds `bbq`'s mMutex.
    void dumpBlastStateAndFrameRecordLocked(void* bbq);

    // Core dump (core_state_dump.cpp): logs `core`'s state, one ERROR line per record. The
    // caller holds `core`'s mMutex.
    void dumpBQCoreState(BufferQueueCore* core);
    // BLAST dump (blast_state_dump.cpp): appends `bbq`'s bookkeeping to `out`. The caller holds
    // `bbq`'s mMutex.
    void dumpBlastBufferQueueStateLocked(BLASTBufferQueue* bbq, std::string& out);
    // Listener dump (listener_callback_dump.cpp): appends every pending transaction and release
    // callback of the process, with the age of each transaction callback, to `out`.
    void dumpAllListenerCallbackInfos(std::string& out);

private:
    std::mutex mMutex;
    std::unordered_map<void*, BQCoreBridge> mBQCoreBridges GUARDED_BY(mMutex);
};

}  // namespace android
