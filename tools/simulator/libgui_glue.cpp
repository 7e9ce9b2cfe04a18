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

#include "libgui_glue.h"

#include <gui/SurfaceComposerClient.h>
#include <libgui_interface/hook/IBufferQueueHelper.h>
#include <libgui_interface/hook/IFrameRecord.h>

#include <chrono>
#include <future>
#include <memory>
#include <mutex>

namespace talvex::simulator {

using android::BLASTBufferQueue;
using android::sp;
using android::SurfaceControl;
using android::TransactionCompletedListener;
using android::libgui_interface::hook::FrameStartStatus;
using android::libgui_interface::hook::FrameType;
using android::libgui_interface::hook::getBufferQueueHelper;
using android::libgui_interface::hook::getFrameRecordIns;

namespace {

// One dump at a time in the process. The library's compositor call caches the compositor's
// binder on its first use without a lock, so two dumps must not make that first call at once;
// a dump that finds another running (the BLAST side, under its queue's lock) is skipped rather
// than waited for, since the running one may need that queue's lock.
std::mutex gDumpMutex;

}  // namespace

void waitForDumperThread() {
    // libgui's own barrier waits 100 ms at most; a dump under a sanitizer may take longer.
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    getFrameRecordIns()->pushTaskAndStart([done] { done->set_value(); });
    finished.wait_for(std::chrono::seconds(10));
}

PatchedQueue::PatchedQueue(const sp<SurfaceControl>& surface, const sp<BLASTBufferQueue>& queue,
                           nsecs_t framePeriod)
    : mSurface(surface),
      mQueue(queue),
      mLayerId(surface->getLayerId()),
      mFramePeriod(framePeriod),
      mLastReleaseTime(systemTime(SYSTEM_TIME_MONOTONIC)) {}

void PatchedQueue::create(uint32_t width, uint32_t height) {
    mQueue->hostSetPatchPoints(this);
    getBufferQueueHelper()->registerBBQDumpCallback(mQueue->hostCore().get(), mQueue.get());
    mQueue->update(mSurface, width, height, android::PIXEL_FORMAT_RGBA_8888);
}

void PatchedQueue::destroy() {
    mQueue->hostSetPatchPoints(nullptr);
    getBufferQueueHelper()->clearRegisteredCallback(mQueue->hostCore().get());
    // A BLAST dump queued before the registration went holds the queue's address: let it run
    // while the queue still exists.
    getFrameRecordIns()->ensureTaskFinish();
    getFrameRecordIns()->clearFrameContent(mLayerId, mQueue.get());
}

void PatchedQueue::dequeueTimedOut() {
    std::lock_guard<std::mutex> one(gDumpMutex);
    android::BufferQueueCore* core = mQueue->hostCore().get();
    {
        std::lock_guard<std::mutex> lock(core->hostMutex());
        getBufferQueueHelper()->dumpBQAllFrameState(core);
    }
    waitForDumperThread();
}

void PatchedQueue::dumpOnRequest() {
    std::lock_guard<std::mutex> one(gDumpMutex);
    android::BufferQueueCore* core = mQueue->hostCore().get();
    getBufferQueueHelper()->setBBQDumpFlag(core, true);
    {
        std::lock_guard<std::mutex> lock(core->hostMutex());
        getBufferQueueHelper()->dumpBQAllFrameState(core);
    }
    waitForDumperThread();
}

void PatchedQueue::rearmDump() {
    getBufferQueueHelper()->setBBQDumpFlag(mQueue->hostCore().get(), true);
}

void PatchedQueue::surfaceChangedLocked(BLASTBufferQueue* bbq, const sp<SurfaceControl>& surface) {
    getFrameRecordIns()->updateFrameAndGetContent(surface.get(), bbq->hostName(), bbq);
}

void PatchedQueue::requestedSizeChangedLocked(android::ui::Size* requestedSize,
                                              android::ui::Size* size,
                                              android::ConsumerBase* consumer) {
    getBufferQueueHelper()->resetBBQRequestSize(requestedSize, size, consumer, 1, 1);
}

void PatchedQueue::frameAvailableLocked(uint64_t frameNumber, bool syncing,
                                        int32_t numFrameAvailable, int32_t numAcquired) {
    auto* record = getFrameRecordIns();
    record->setLayerFrameEvent(mLayerId, frameNumber,
                               FrameStartStatus{syncing, false, numFrameAvailable, numAcquired, 0});
    record->setLayerFrameEvent(mLayerId, frameNumber, FrameType::onFrameAvailable);
    if (syncing) record->setLayerFrameEvent(mLayerId, frameNumber, FrameType::syncNextTransaction);
}

void PatchedQueue::bufferAcquiredLocked(uint64_t frameNumber) {
    getFrameRecordIns()->setLayerFrameEvent(mLayerId, frameNumber, FrameType::acquireNextBuffer);
}

void PatchedQueue::cannotAcquireLocked(BLASTBufferQueue* bbq) {
    // A stall, not the usual back-pressure: no buffer back for two frames, two frames waiting
    // behind the full queue and no slot left for the producer.
    if (mBlastDumpedSinceRelease) return;
    if (systemTime(SYSTEM_TIME_MONOTONIC) - mLastReleaseTime < 2 * mFramePeriod) return;
    const auto core = bbq->hostCore()->hostSnapshot();
    if (core.queue.size() < 2 || !core.freeSlots.empty() || !core.freeBuffers.empty()) return;
    std::unique_lock<std::mutex> one(gDumpMutex, std::try_to_lock);
    if (!one.owns_lock()) return;
    mBlastDumpedSinceRelease = true;
    ++mBlastDumps;
    getBufferQueueHelper()->dumpBQAllFrameStateCalledByBlast(bbq->hostCore().get(), bbq);
}

void PatchedQueue::transactionAppliedLocked(uint64_t frameNumber) {
    getFrameRecordIns()->setLayerFrameEvent(mLayerId, frameNumber, FrameType::apply);
}

void PatchedQueue::transactionCallbackLocked(uint64_t frameNumber) {
    getFrameRecordIns()->setLayerFrameEvent(mLayerId, frameNumber, FrameType::transactionCallback);
}

void PatchedQueue::releaseBufferCallbackLocked(uint64_t frameNumber, bool fake) {
    mBlastDumpedSinceRelease = false;
    mLastReleaseTime = systemTime(SYSTEM_TIME_MONOTONIC);
    getFrameRecordIns()->setLayerFrameEvent(
        mLayerId, frameNumber,
        fake ? FrameType::FakeReleaseCallback : FrameType::releaseBufferCallback);
}

void PatchedQueue::bufferReleasedLocked(uint64_t frameNumber) {
    getFrameRecordIns()->setLayerFrameEvent(mLayerId, frameNumber, FrameType::releaseBufferBBQ);
}

void patchTransactionCompletedListener() {
    sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
    listener->hostSetCallbackIdObserver([](int64_t id, bool added) {
        if (added) {
            getFrameRecordIns()->addCallbackIdLocked(id);
        } else {
            getFrameRecordIns()->removeCallbackIdLocked(id);
        }
    });
    listener->hostSetSurfaceStatsObserver([](const sp<SurfaceControl>& surfaceControl,
                                             uint64_t frameNumber, android::CallbackId::Type type) {
        getFrameRecordIns()->setLayerFrameEvent(surfaceControl.get(), frameNumber,
                                                type == android::CallbackId::Type::ON_COMMIT
                                                    ? FrameType::onTransactionCompletedCommit
                                                    : FrameType::onTransactionCompletedComplete);
    });
}

void syncTransactionApplied(int32_t layerId, uint64_t frameNumber) {
    getFrameRecordIns()->setLayerFrameEvent(layerId, frameNumber, FrameType::apply);
}

}  // namespace talvex::simulator
