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

#define LOG_TAG "SurfaceComposerClient"

#include <binder/Binder.h>
#include <gui/SurfaceComposerClient.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <condition_variable>
#include <deque>
#include <thread>
#include <utility>

namespace android {

// ---------------------------------------------------------------------------
// ReleaseCallbackThread: runs the release callbacks of buffers overwritten in a transaction.

namespace {

class ReleaseCallbackThread {
public:
    // The process's thread; created on first use and never destroyed, so it outlives every
    // transaction (it idles in wait at exit).
    static ReleaseCallbackThread& instance() {
        static ReleaseCallbackThread* sThread = new ReleaseCallbackThread();
        return *sThread;
    }

    void addReleaseCallback(const ReleaseCallbackId& id, const sp<Fence>& fence) {
        std::lock_guard<std::mutex> lock(mMutex);
        if (!mStarted) {
            std::thread([this] { threadMain(); }).detach();
            mStarted = true;
        }
        mCallbackInfos.emplace_back(id, fence);
        mReleaseCallbackPending.notify_one();
    }

    // Returns once every callback added so far has run.
    void waitForIdle() {
        std::unique_lock<std::mutex> lock(mMutex);
        mIdle.wait(lock, [this] { return mCallbackInfos.empty() && !mRunning; });
    }

private:
    void threadMain() {
        std::unique_lock<std::mutex> lock(mMutex);
        for (;;) {
            mReleaseCallbackPending.wait(lock, [this] { return !mCallbackInfos.empty(); });
            auto [id, fence] = mCallbackInfos.front();
            mCallbackInfos.pop_front();
            mRunning = true;
            lock.unlock();
            // UINT_MAX: no new max acquired buffer count (the callback gets nullopt).
            TransactionCompletedListener::getInstance()->onReleaseBuffer(id, fence, UINT_MAX);
            lock.lock();
            mRunning = false;
            if (mCallbackInfos.empty()) mIdle.notify_all();
        }
    }

    std::mutex mMutex;
    std::condition_variable mReleaseCallbackPending;
    std::condition_variable mIdle;
    std::deque<std::pair<ReleaseCallbackId, sp<Fence>>> mCallbackInfos;
    bool mStarted = false;
    bool mRunning = false;
};

}  // namespace

// ---------------------------------------------------------------------------
// SurfaceComposerClient

SurfaceComposerClient::SurfaceComposerClient() = default;

void SurfaceComposerClient::hostWaitForReleaseCallbacks() {
    ReleaseCallbackThread::instance().waitForIdle();
}

sp<SurfaceControl> SurfaceComposerClient::createSurface(const String8& name, uint32_t w, uint32_t h,
                                                        PixelFormat format, int32_t flags) {
    // The compositor numbers layers from 1 for the life of the process.
    static std::atomic<int32_t> nextLayerId{1};
    sp<IBinder> handle(new BBinder());
    return sp<SurfaceControl>(new SurfaceControl(sp<SurfaceComposerClient>(this), handle,
                                                 nextLayerId.fetch_add(1), name.c_str(), w, h,
                                                 format, 0, static_cast<uint32_t>(flags)));
}

// ---------------------------------------------------------------------------
// SurfaceComposerClient::Transaction

uint64_t SurfaceComposerClient::Transaction::generateId() {
    static std::atomic<uint32_t> idCounter{0};
    return (static_cast<uint64_t>(getpid()) << 32) | idCounter.fetch_add(1);
}

SurfaceComposerClient::Transaction::Transaction() : mId(generateId()) {}

SurfaceComposerClient::Transaction::Transaction(const Transaction& other)
    : mId(other.mId),
      mMergedTransactionIds(other.mMergedTransactionIds),
      mComposerStates(other.mComposerStates),
      mCallbackIds(other.mCallbackIds),
      mCallbackSurfaceControls(other.mCallbackSurfaceControls),
      mApplyCount(other.mApplyCount) {}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::merge(Transaction&& other) {
    for (auto& [handle, state] : other.mComposerStates) {
        LayerState& mine = mComposerStates[handle];
        mine.surfaceControl = state.surfaceControl;
        if (state.frameNumber) mine.frameNumber = state.frameNumber;
        if (state.buffer != nullptr) {
            mine.buffer = state.buffer;
            mine.acquireFence = state.acquireFence;
            mine.releaseCallbackId = state.releaseCallbackId;
            mine.producerId = state.producerId;
        }
    }
    mCallbackIds.insert(other.mCallbackIds.begin(), other.mCallbackIds.end());
    mCallbackSurfaceControls.insert(other.mCallbackSurfaceControls.begin(),
                                    other.mCallbackSurfaceControls.end());
    mMergedTransactionIds.push_back(other.mId);
    mMergedTransactionIds.insert(mMergedTransactionIds.end(), other.mMergedTransactionIds.begin(),
                                 other.mMergedTransactionIds.end());
    other.clear();
    return *this;
}

void SurfaceComposerClient::Transaction::clear() {
    mComposerStates.clear();
    mCallbackIds.clear();
    mCallbackSurfaceControls.clear();
    mMergedTransactionIds.clear();
}

namespace {
std::function<void(const SurfaceComposerClient::Transaction&)>& applyObserver() {
    static auto* sObserver = new std::function<void(const SurfaceComposerClient::Transaction&)>();
    return *sObserver;
}
}  // namespace

void SurfaceComposerClient::Transaction::hostSetApplyObserver(
    std::function<void(const Transaction&)> observer) {
    applyObserver() = std::move(observer);
}

std::vector<SurfaceComposerClient::Transaction::HostLayer>
SurfaceComposerClient::Transaction::hostLayers() const {
    std::vector<HostLayer> layers;
    for (const auto& [handle, state] : mComposerStates) {
        layers.push_back(
            HostLayer{state.surfaceControl, state.frameNumber, state.releaseCallbackId});
    }
    return layers;
}

status_t SurfaceComposerClient::Transaction::apply(bool /*synchronous*/, bool /*oneWay*/) {
    ++mApplyCount;
    if (applyObserver()) applyObserver()(*this);
    clear();
    return NO_ERROR;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::setFrameNumber(
    const sp<SurfaceControl>& sc, uint64_t frameNumber) {
    if (sc == nullptr) return *this;
    LayerState& state = mComposerStates[sc->getLayerStateHandle()];
    state.surfaceControl = sc;
    state.frameNumber = frameNumber;
    registerSurfaceControlForCallback(sc);
    return *this;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::setBuffer(
    const sp<SurfaceControl>& sc, const sp<GraphicBuffer>& buffer,
    const std::optional<sp<Fence>>& fence, const std::optional<uint64_t>& frameNumber,
    uint32_t producerId, ReleaseBufferCallback callback) {
    if (sc == nullptr) return *this;
    LayerState& state = mComposerStates[sc->getLayerStateHandle()];
    // A buffer replaced before apply is released at once, on another thread as libgui does
    // (the caller may hold the lock its release callback takes).
    if (state.buffer != nullptr && state.releaseCallbackId != ReleaseCallbackId::INVALID_ID) {
        ReleaseCallbackThread::instance().addReleaseCallback(state.releaseCallbackId,
                                                             state.acquireFence);
    }
    state.surfaceControl = sc;
    state.buffer = buffer;
    state.acquireFence = fence.value_or(Fence::NO_FENCE);
    state.producerId = producerId;
    if (frameNumber) state.frameNumber = frameNumber;
    state.releaseCallbackId = ReleaseCallbackId::INVALID_ID;
    if (buffer != nullptr && callback) {
        state.releaseCallbackId = ReleaseCallbackId(buffer->getId(), state.frameNumber.value_or(0));
        TransactionCompletedListener::getInstance()->setReleaseBufferCallback(
            state.releaseCallbackId, std::move(callback));
    }
    registerSurfaceControlForCallback(sc);
    return *this;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addTransactionCompletedCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext) {
    return addCallback(std::move(callback), callbackContext, CallbackId::Type::ON_COMPLETE);
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addTransactionCommittedCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext) {
    return addCallback(std::move(callback), callbackContext, CallbackId::Type::ON_COMMIT);
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext,
    CallbackId::Type callbackType) {
    TransactionCompletedCallback withContext = [callback = std::move(callback), callbackContext](
                                                   nsecs_t latchTime, const sp<Fence>& presentFence,
                                                   const std::vector<SurfaceControlStats>& stats) {
        callback(callbackContext, latchTime, presentFence, stats);
    };
    CallbackId id = TransactionCompletedListener::getInstance()->addCallbackFunction(
        withContext, mCallbackSurfaceControls, callbackType);
    mCallbackIds.insert(id);
    return *this;
}

void SurfaceComposerClient::Transaction::registerSurfaceControlForCallback(
    const sp<SurfaceControl>& sc) {
    mCallbackSurfaceControls.insert(sc);
    TransactionCompletedListener::getInstance()->addSurfaceControlToCallbacks(sc, mCallbackIds);
}

std::optional<uint64_t> SurfaceComposerClient::Transaction::hostFrameNumber(
    const sp<SurfaceControl>& sc) const {
    if (sc == nullptr) return std::nullopt;
    auto it = mComposerStates.find(sc->getLayerStateHandle());
    return it == mComposerStates.end() ? std::nullopt : it->second.frameNumber;
}

sp<GraphicBuffer> SurfaceComposerClient::Transaction::hostBuffer(const sp<SurfaceControl>& sc) const {
    if (sc == nullptr) return nullptr;
    auto it = mComposerStates.find(sc->getLayerStateHandle());
    return it == mComposerStates.end() ? nullptr : it->second.buffer;
}

}  // namespace android
