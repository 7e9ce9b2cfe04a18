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

// The BufferQueueCore dump: the core's limits, defaults and every active, free and empty slot,
// straight to the log, one ERROR record per line, each behind the queue's prefix.
#define LOG_TAG "TalvexBufferQueueHelper"

#include <android/log.h>
#include <gui/BufferQueueCore.h>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"

// One record: the queue's prefix, read afresh from `core` for every line, then `format`'s own
// values. A macro so that the compiler checks every format against its values.
#define TALVEX_CORE_LOG(format, ...)                                                              \
    __android_log_print(ANDROID_LOG_ERROR, LOG_TAG, "[%s](id:%lx,api:%d,p:%d,c:%lu)" format,      \
                        core->mConsumerName.c_str(), static_cast<unsigned long>(core->mUniqueId), \
                        core->mConnectedApi, core->mConnectedPid,                                 \
                        static_cast<unsigned long>(core->mUniqueId >> 32), ##__VA_ARGS__)

namespace android {

namespace {

// A slot's state column and the fields of its buffer, as the slot lines print them.
const char* stateText(const BufferSlot& slot) {
    return slot.mBufferState.string();
}

unsigned long frameNumber(const BufferSlot& slot) {
    return static_cast<unsigned long>(slot.mFrameNumber);
}

}  // namespace

void TalvexBufferQueueHelper::dumpBQCoreState(BufferQueueCore* core) {
    TALVEX_CORE_LOG(" ---dumpBbqStateDirectly:");
    TALVEX_CORE_LOG(
        "  FIFO(%zu) mMaxAcquiredBufferCount=%d mMaxDequeuedBufferCount=%d "
        "mDequeueBufferCannotBlock=%d mAsyncMode=%d\n",
        core->mQueue.size(), core->mMaxAcquiredBufferCount, core->mMaxDequeuedBufferCount,
        core->mDequeueBufferCannotBlock, core->mAsyncMode);
    TALVEX_CORE_LOG("  default-size=[%dx%d] default-format=%d frame-counter=%lu",
                    static_cast<int>(core->mDefaultWidth), static_cast<int>(core->mDefaultHeight),
                    static_cast<int>(core->mDefaultBufferFormat),
                    static_cast<unsigned long>(core->mFrameCounter));
    TALVEX_CORE_LOG("  --Slots states--:\n");

    // Three records for a slot that holds a buffer: its head, its state, its geometry.
    const auto logBufferState = [core](const BufferSlot& slot, const GraphicBuffer* buf) {
        TALVEX_CORE_LOG("   state=%-8s %p id=%lu frame=%lu", stateText(slot),
                        static_cast<const void*>(buf->handle),
                        static_cast<unsigned long>(buf->getId()), frameNumber(slot));
        TALVEX_CORE_LOG("   [%4ux%4u:%4u,%3X]\n", static_cast<unsigned>(buf->width),
                        static_cast<unsigned>(buf->height), static_cast<unsigned>(buf->stride),
                        static_cast<unsigned>(buf->format));
    };

    for (int s : core->mActiveBuffers) {
        const BufferSlot& slot = core->mSlots[s];
        const GraphicBuffer* buf = slot.mGraphicBuffer.get();
        if (buf != nullptr) {
            // ">" marks a buffer the consumer holds.
            TALVEX_CORE_LOG("   %s[%02d:%p] ", slot.mBufferState.mAcquireCount != 0 ? ">" : " ", s,
                            static_cast<const void*>(buf));
            logBufferState(slot, buf);
        } else {
            // Dequeued, its buffer still being allocated: no marker column.
            TALVEX_CORE_LOG("   [%02d:%p] ", s, static_cast<const void*>(buf));
            TALVEX_CORE_LOG("   state=%-8s frame=%lu\n", stateText(slot), frameNumber(slot));
        }
    }
    // A free buffer holds a buffer by the queue's own invariant: nothing is tested.
    for (int s : core->mFreeBuffers) {
        const BufferSlot& slot = core->mSlots[s];
        const GraphicBuffer* buf = slot.mGraphicBuffer.get();
        TALVEX_CORE_LOG("   [%02d:%p] ", s, static_cast<const void*>(buf));
        logBufferState(slot, buf);
    }
    for (int s : core->mFreeSlots) {
        const BufferSlot& slot = core->mSlots[s];
        TALVEX_CORE_LOG("   [%02d:%p] state=%-8s\n", s,
                        static_cast<const void*>(slot.mGraphicBuffer.get()), stateText(slot));
    }
    TALVEX_CORE_LOG(" dumpBbqStateDirectly end---");
}

}  // namespace android
