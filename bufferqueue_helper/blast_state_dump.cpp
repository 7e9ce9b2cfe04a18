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

// The BLASTBufferQueue dump: the queue's outstanding work (submitted buffers, pending releases,
// held transactions, surfaces waiting for callbacks, synced frames) as a block of text.
#include <gui/BLASTBufferQueue.h>
#include <gui/SurfaceControl.h>
#include <utils/String8.h>

#include <queue>
#include <tuple>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"

namespace android {

void TalvexBufferQueueHelper::dumpBlastBufferQueueStateLocked(BLASTBufferQueue* bbq,
                                                              std::string& out) {
    // The caller holds the queue's mMutex (libgui's guarded members); tell the analysis so.
    base::ScopedLockAssertion queueLocked(bbq->mMutex);
    String8 text;
    text.append("---Dump BlastBufferQueue State START---\n");
    text.appendFormat("mName:%s, mQueuedBufferTrace:%s\n", bbq->mName.c_str(),
                      bbq->mQueuedBufferTrace.c_str());
    text.appendFormat("mSurfaceControl:%s(%p)\n", bbq->mSurfaceControl->getName().c_str(),
                      static_cast<void*>(bbq->mSurfaceControl.get()));
    text.appendFormat("mMaxAcquiredBuffers:%d, mProducerId:%u, mCurrentMaxAcquiredBufferCount:%u\n",
                      bbq->mMaxAcquiredBuffers, bbq->mProducerId,
                      bbq->mCurrentMaxAcquiredBufferCount);

    text.append("mSubmitted:\n");
    for (const auto& [id, item] : bbq->mSubmitted) {
        text.appendFormat("   Id:%s, Item:%lu, mApi:%d, mSlot:%d\n", id.to_string().c_str(),
                          static_cast<unsigned long>(item.mFrameNumber), item.mApi, item.mSlot);
    }
    text.append("mPendingRelease:");
    for (const auto& released : bbq->mPendingRelease) {
        text.appendFormat(" [%s] ", released.callbackId.to_string().c_str());
    }
    text.append("\n");

    text.appendFormat(
        "mTransactionReadyCallback:%d, mSyncTransaction:%p, mAcquireSingleBuffer:%d\n",
        bbq->mTransactionReadyCallback ? 1 : 0, static_cast<void*>(bbq->mSyncTransaction),
        bbq->mAcquireSingleBuffer);
    text.append("mPendingTransactions:");
    for (const auto& pending : bbq->mPendingTransactions) {
        text.appendFormat(" [framenumber:%lu-transaction:%p] ",
                          static_cast<unsigned long>(std::get<0>(pending)),
                          static_cast<const void*>(&std::get<1>(pending)));
    }
    text.append("\n");
    text.appendFormat(
        "mLastAcquiredFrameNumber:%lu, mLastAppliedFrameNumber:%lu, "
        "mAppliedLastTransaction:%d\n",
        static_cast<unsigned long>(bbq->mLastAcquiredFrameNumber),
        static_cast<unsigned long>(bbq->mLastAppliedFrameNumber), bbq->mAppliedLastTransaction);

    // A FIFO queue cannot be walked without popping: drain a copy, so the member stays as it was.
    text.append("mSurfaceControlsWithPendingCallback:");
    std::queue<sp<SurfaceControl>> pendingCallbacks = bbq->mSurfaceControlsWithPendingCallback;
    while (!pendingCallbacks.empty()) {
        const sp<SurfaceControl> surface = pendingCallbacks.front();
        if (surface != nullptr) {
            text.appendFormat(" [%s(%p)] ", surface->getName().c_str(),
                              static_cast<void*>(surface.get()));
        }
        pendingCallbacks.pop();
    }
    text.append("\n");

    text.append("mSyncedFrameNumbers:");
    for (uint64_t frameNumber : bbq->mSyncedFrameNumbers) {
        text.appendFormat(" %lu ", static_cast<unsigned long>(frameNumber));
    }
    text.append("\n");
    text.append("---Dump BlastBufferQueue State END---\n");

    out.append(text.c_str());
}

}  // namespace android
