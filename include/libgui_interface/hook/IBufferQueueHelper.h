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

#include <libgui_interface/hook/export.h>

namespace android::libgui_interface::hook {

// The buffer-queue helper, as libgui sees it. Slot order is part of the interface.
// Untyped pointers are libgui's own objects: a BufferQueueCore, a BLASTBufferQueue, a
// ConsumerBase, and size pairs of two int32 values.
class TALVEX_EXPORT IBufferQueueHelper {
public:
    // Arms (`flag` true) or disarms the one-shot BLAST dump of registered core `core`.
    virtual void setBBQDumpFlag(void* core, bool flag) = 0;
    // Registers BLAST queue `bbq`'s dump for core `core`, armed.
    virtual void registerBBQDumpCallback(void* core, void* bbq) = 0;
    // Forgets core `core`'s registration.
    virtual void clearRegisteredCallback(void* core) = 0;
    // Logs core `core`'s state now (caller holds its lock), and queues the BLAST dump if armed.
    virtual void dumpBQAllFrameState(void* core) = 0;
    // Logs core `core`'s state and BLAST queue `bbq`'s dump now; the caller holds `bbq`'s lock.
    virtual void dumpBQAllFrameStateCalledByBlast(void* core, void* bbq) = 0;
    // Caps a requested size above 4000 pixels when "debug.graphics.unsupport4K" is 1.
    virtual void resetBBQRequestSize(void* requestedSize, void* size, void* consumer, int mode,
                                     int updateRequested) = 0;
    virtual ~IBufferQueueHelper() = default;
};

// Returns the cached helper, else what `createTalvexBufferQueueHelperFactory()` gives.
TALVEX_EXPORT IBufferQueueHelper* getBufferQueueHelper();

// Loads the vendor library if needed; returns the real helper or the static fallback (cached).
TALVEX_EXPORT IBufferQueueHelper* createTalvexBufferQueueHelperFactory();

}  // namespace android::libgui_interface::hook
