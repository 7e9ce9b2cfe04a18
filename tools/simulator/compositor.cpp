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

#include "compositor.h"

#include <ui/Fence.h>
#include <utils/Timers.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <utility>
#include <vector>

namespace talvex::simulator {

using android::CallbackId;
using android::ListenerStats;
using android::ReleaseCallbackId;
using android::sp;
using android::SurfaceComposerClient;
using android::SurfaceStats;
using android::TransactionCompletedListener;

namespace {

// What the compositor tells the app of how many buffers it may hold acquired at once.
constexpr uint32_t kMaxAcquiredBufferCount = 1;

}  // namespace

Compositor::Compositor(nsecs_t vsyncPeriod) : mVsyncPeriod(vsyncPeriod) {}

Compositor::~Compositor() {
    stop();
}

void Compositor::start(bool realTime) {
    SurfaceComposerClient::Transaction::hostSetApplyObserver(
        [this](const SurfaceComposerClient::Transaction& transaction) { receive(transaction); });
    std::lock_guard<std::mutex> lock(mMutex);
    mRunning = true;
    if (realTime) mThread = std::thread(&Compositor::threadMain, this);
}

void Compositor::stop() {
    {
        std::lock_guard<std::mutex> lock(mMutex);
        if (!mRunning) return;
        mRunning = false;
    }
    mWake.notify_all();
    if (mThread.joinable()) mThread.join();
    SurfaceComposerClient::Transaction::hostSetApplyObserver(nullptr);
}

uint64_t Compositor::stopLatching(int32_t layerId) {
    std::lock_guard<std::mutex> lock(mMutex);
    mHeldLayers.insert(layerId);
    auto it = mLatched.find(layerId);
    return it == mLatched.end() ? 0 : it->second.first;
}

void Compositor::loseCompletion(int32_t layerId, uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    mLostCompletions.emplace(layerId, frameNumber);
}

namespace {

bool touchesLayer(const SurfaceComposerClient::Transaction& transaction, int32_t layerId) {
    for (const auto& layer : transaction.hostLayers()) {
        if (layer.surfaceControl != nullptr && layer.surfaceControl->getLayerId() == layerId) {
            return true;
        }
    }
    return false;
}

// Moves the transactions of `from` that touch `layerId` to the end of `to`.
void takeLayersTransactions(std::vector<SurfaceComposerClient::Transaction>& from, int32_t layerId,
                            std::vector<SurfaceComposerClient::Transaction>& to) {
    for (auto it = from.begin(); it != from.end();) {
        if (touchesLayer(*it, layerId)) {
            to.push_back(std::move(*it));
            it = from.erase(it);
        } else {
            ++it;
        }
    }
}

}  // namespace

void Compositor::forgetLayer(int32_t layerId) {
    std::vector<SurfaceComposerClient::Transaction> dropped;
    std::vector<ReleaseCallbackId> releases;
    std::unique_lock<std::mutex> lock(mMutex);
    if (auto it = mLatched.find(layerId); it != mLatched.end()) {
        if (it->second.second != ReleaseCallbackId::INVALID_ID)
            releases.push_back(it->second.second);
        mLatched.erase(it);
    }
    mHeldLayers.erase(layerId);
    mGoneLayers.insert(layerId);
    mFrameSeen.erase(mFrameSeen.lower_bound({layerId, 0}),
                     mFrameSeen.upper_bound({layerId, UINT64_MAX}));
    takeLayersTransactions(mIncoming, layerId, dropped);
    takeLayersTransactions(mHeld, layerId, dropped);
    const uint64_t running = mBatches;
    mBatchDone.wait(lock, [&] { return !mRunning || !mInBatch || mBatches > running; });
    lock.unlock();
    // A layer that goes gives back every buffer the compositor had of it, and a transaction on
    // it still reports back, with no stats, as the compositor does for a transaction that
    // changed nothing: the app's callbacks never wait forever on a gone layer. All of it runs
    // here, on the caller's thread: a release lets the queue apply its next frame, which comes
    // back to mGoneTransactions (never to the vsync thread), until the queue has nothing left.
    sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
    const sp<android::IBinder> listenerBinder =
        android::IInterface::asBinder(TransactionCompletedListener::getIInstance());
    while (!dropped.empty() || !releases.empty()) {
        for (const auto& transaction : dropped) {
            for (const auto& layer : transaction.hostLayers()) {
                if (layer.releaseCallbackId != ReleaseCallbackId::INVALID_ID) {
                    releases.push_back(layer.releaseCallbackId);
                }
            }
        }
        for (const auto& id : releases) {
            listener->onReleaseBuffer(id, android::Fence::NO_FENCE, UINT_MAX);
        }
        for (const auto& transaction : dropped) {
            const auto ids = transaction.hostCallbackIds();
            if (ids.empty()) continue;
            listener->onTransactionCompleted(ListenerStats::createEmpty(listenerBinder, ids));
        }
        releases.clear();
        dropped.clear();
        lock.lock();
        dropped.swap(mGoneTransactions);
        lock.unlock();
    }
}

int Compositor::lostCompletions() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLostCount;
}

// Runs on the applying thread, which may hold a BLAST queue's lock: only queue it.
void Compositor::receive(const SurfaceComposerClient::Transaction& transaction) {
    const nsecs_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    std::lock_guard<std::mutex> lock(mMutex);
    if (!mRunning) return;
    for (const auto& layer : transaction.hostLayers()) {
        if (layer.surfaceControl == nullptr || !layer.frameNumber) continue;
        mFrameSeen[{layer.surfaceControl->getLayerId(), *layer.frameNumber}] = now;
    }
    for (const CallbackId& id : transaction.hostCallbackIds()) mCallbackArrived[id.id] = now;
    for (const int32_t layerId : mGoneLayers) {
        if (touchesLayer(transaction, layerId)) {
            mGoneTransactions.push_back(transaction);
            return;
        }
    }
    mIncoming.push_back(transaction);
}

void Compositor::threadMain() {
    auto next = std::chrono::steady_clock::now();
    std::unique_lock<std::mutex> lock(mMutex);
    while (mRunning) {
        next += std::chrono::nanoseconds(mVsyncPeriod);
        if (mWake.wait_until(lock, next, [this] { return !mRunning; })) break;
        lock.unlock();
        vsync();
        lock.lock();
    }
}

void Compositor::vsync() {
    std::vector<SurfaceComposerClient::Transaction> batch;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        batch.swap(mIncoming);
        mInBatch = true;
    }
    // Callbacks run into libgui, which takes its own locks: never under ours.
    for (const auto& transaction : batch) composite(transaction);
    batch.clear();
    std::lock_guard<std::mutex> lock(mMutex);
    mInBatch = false;
    ++mBatches;
    mBatchDone.notify_all();
}

std::vector<std::pair<int64_t, nsecs_t>> Compositor::withheldCallbacks(int32_t layerId) {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<int64_t> ids = mLostCallbacks[layerId];
    for (const auto& transaction : mHeld) {
        if (!touchesLayer(transaction, layerId)) continue;
        for (const CallbackId& id : transaction.hostCallbackIds()) ids.push_back(id.id);
    }
    std::sort(ids.begin(), ids.end());
    std::vector<std::pair<int64_t, nsecs_t>> withheld;
    for (const int64_t id : ids) {
        const auto arrived = mCallbackArrived.find(id);
        withheld.emplace_back(id, arrived == mCallbackArrived.end() ? 0 : arrived->second);
    }
    return withheld;
}

nsecs_t Compositor::frameSeen(int32_t layerId, uint64_t frameNumber) {
    std::lock_guard<std::mutex> lock(mMutex);
    const auto seen = mFrameSeen.find({layerId, frameNumber});
    return seen == mFrameSeen.end() ? 0 : seen->second;
}

void Compositor::composite(const SurfaceComposerClient::Transaction& transaction) {
    {
        // A layer that is not latched keeps its transactions waiting, uncompleted.
        std::lock_guard<std::mutex> lock(mMutex);
        for (const int32_t layerId : mHeldLayers) {
            if (touchesLayer(transaction, layerId)) {
                mHeld.push_back(transaction);
                return;
            }
        }
    }
    const nsecs_t latchTime = systemTime(SYSTEM_TIME_MONOTONIC);
    sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
    std::vector<CallbackId> commitIds;
    std::vector<CallbackId> completeIds;
    for (const CallbackId& id : transaction.hostCallbackIds()) {
        (id.type == CallbackId::Type::ON_COMMIT ? commitIds : completeIds).push_back(id);
    }
    // Each surface's stats carry the buffer its new one replaced: the listener releases it as
    // it runs the completion.
    std::vector<SurfaceStats> stats;
    bool lost = false;
    for (const auto& layer : transaction.hostLayers()) {
        if (layer.surfaceControl == nullptr || !layer.frameNumber) continue;
        const int32_t layerId = layer.surfaceControl->getLayerId();
        ReleaseCallbackId previous = ReleaseCallbackId::INVALID_ID;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            auto latched = mLatched.find(layerId);
            if (latched != mLatched.end()) {
                previous = latched->second.second;
                mFrameSeen.erase({layerId, latched->second.first});  // its buffer goes back
            }
            mLatched.insert_or_assign(layerId,
                                      std::make_pair(*layer.frameNumber, layer.releaseCallbackId));
            mFrameSeen[{layerId, *layer.frameNumber}] = latchTime;
            if (mLostCompletions.erase({layerId, *layer.frameNumber}) != 0) {
                lost = true;
                ++mLostCount;
                for (const CallbackId& id : completeIds) mLostCallbacks[layerId].push_back(id.id);
            }
        }
        android::FrameEventHistoryStats eventStats(*layer.frameNumber, 0, android::Fence::NO_FENCE,
                                                   android::CompositorTiming(), latchTime, 0);
        stats.emplace_back(layer.surfaceControl->getLayerStateHandle(), latchTime,
                           android::Fence::NO_FENCE, std::nullopt, kMaxAcquiredBufferCount,
                           eventStats, std::vector<android::JankData>(), previous);
    }
    const sp<android::IBinder> listenerBinder =
        android::IInterface::asBinder(TransactionCompletedListener::getIInstance());
    // The commit is reported on its own, as soon as the transaction is latched.
    if (!commitIds.empty()) {
        ListenerStats committed;
        committed.listener = listenerBinder;
        committed.transactionStats.emplace_back(commitIds, latchTime, android::Fence::NO_FENCE,
                                                stats);
        for (SurfaceStats& surface : committed.transactionStats.back().surfaceStats) {
            surface.previousReleaseCallbackId = ReleaseCallbackId::INVALID_ID;
        }
        listener->onTransactionCompleted(committed);
    }
    {
        std::lock_guard<std::mutex> lock(mMutex);
        for (const CallbackId& id : commitIds) mCallbackArrived.erase(id.id);
        if (!lost) {
            for (const CallbackId& id : completeIds) mCallbackArrived.erase(id.id);
        }
    }
    if (lost || completeIds.empty()) {
        // No completion goes out: the replaced buffers still come back, on their own.
        for (const SurfaceStats& surface : stats) {
            if (surface.previousReleaseCallbackId == ReleaseCallbackId::INVALID_ID) continue;
            listener->onReleaseBuffer(surface.previousReleaseCallbackId, android::Fence::NO_FENCE,
                                      kMaxAcquiredBufferCount);
        }
        return;
    }
    ListenerStats completed;
    completed.listener = listenerBinder;
    completed.transactionStats.emplace_back(completeIds, latchTime, android::Fence::NO_FENCE, stats);
    listener->onTransactionCompleted(completed);
}

}  // namespace talvex::simulator
