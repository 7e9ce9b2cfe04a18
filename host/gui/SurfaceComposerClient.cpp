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
#include <iterator>
#include <thread>
#include <utility>

namespace android {

namespace {

// Transaction ids: the pid above a per-process counter, whose first id is 1.
std::atomic<uint32_t> idCounter = 0;
int64_t generateId() {
    return (static_cast<int64_t>(getpid()) << 32) | ++idCounter;
}

// ---------------------------------------------------------------------------
// ReleaseCallbackThread: runs the release callbacks of buffers overwritten in a transaction.

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

std::function<void(const SurfaceComposerClient::Transaction&)>& applyObserver() {
    static auto* sObserver = new std::function<void(const SurfaceComposerClient::Transaction&)>();
    return *sObserver;
}

}  // namespace

// ---------------------------------------------------------------------------
// SurfaceComposerClient

SurfaceComposerClient::SurfaceComposerClient() = default;

SurfaceComposerClient::~SurfaceComposerClient() = default;

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

SurfaceComposerClient::Transaction::Transaction() : mId(generateId()) {}

// The merged ids are not copied: they describe merges into the original only.
SurfaceComposerClient::Transaction::Transaction(const Transaction& other)
    : mListenerCallbacks(other.mListenerCallbacks),
      mId(other.mId),
      mHostLayerStates(other.mHostLayerStates) {}

uint64_t SurfaceComposerClient::Transaction::getId() {
    return mId;
}

std::vector<uint64_t> SurfaceComposerClient::Transaction::getMergedTransactionIds() {
    return mMergedTransactionIds;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::merge(Transaction&& other) {
    // Room for other's history and its own id: the oldest of ours go first.
    while (!mMergedTransactionIds.empty() &&
           mMergedTransactionIds.size() + other.mMergedTransactionIds.size() >
               MAX_MERGE_HISTORY_LENGTH - 1) {
        mMergedTransactionIds.pop_back();
    }
    // A full history of other's loses its oldest entry to other's own id.
    auto otherEnd = other.mMergedTransactionIds.end();
    if (other.mMergedTransactionIds.size() == MAX_MERGE_HISTORY_LENGTH) --otherEnd;
    mMergedTransactionIds.insert(mMergedTransactionIds.begin(), other.mMergedTransactionIds.begin(),
                                 otherEnd);
    mMergedTransactionIds.insert(mMergedTransactionIds.begin(), other.mId);

    for (const auto& [handle, state] : other.mHostLayerStates) {
        auto mine = mHostLayerStates.find(handle);
        if (mine == mHostLayerStates.end()) {
            mHostLayerStates.emplace(handle, state);
            continue;
        }
        if (state.bufferChanged) {
            hostReleaseBufferIfOverwriting(mine->second);
            mine->second = state;
        }
    }

    for (const auto& [listener, callbackInfo] : other.mListenerCallbacks) {
        CallbackInfo& merged = mListenerCallbacks[listener];
        merged.callbackIds.insert(callbackInfo.callbackIds.begin(), callbackInfo.callbackIds.end());
        merged.surfaceControls.insert(callbackInfo.surfaceControls.begin(),
                                      callbackInfo.surfaceControls.end());

        // Every callback of this process now reports on every surface either side changed.
        CallbackInfo& ours = mListenerCallbacks[TransactionCompletedListener::getIInstance()];
        ours.surfaceControls.insert(callbackInfo.surfaceControls.begin(),
                                    callbackInfo.surfaceControls.end());
        for (const auto& surfaceControl : ours.surfaceControls) {
            TransactionCompletedListener::getInstance()->addSurfaceControlToCallbacks(
                ours, surfaceControl);
        }
    }

    other.clear();
    return *this;
}

void SurfaceComposerClient::Transaction::clear() {
    mHostLayerStates.clear();
    mListenerCallbacks.clear();
    mMergedTransactionIds.clear();
}

void SurfaceComposerClient::Transaction::hostSetApplyObserver(
    std::function<void(const Transaction&)> observer) {
    applyObserver() = std::move(observer);
}

status_t SurfaceComposerClient::Transaction::apply(bool /*synchronous*/, bool /*oneWay*/) {
    if (mStatus != NO_ERROR) return mStatus;
    // The compositor receives it under the id it had until now; the object goes on as a new
    // transaction.
    if (applyObserver()) applyObserver()(*this);
    mId = generateId();
    clear();
    mStatus = NO_ERROR;
    return NO_ERROR;
}

void SurfaceComposerClient::Transaction::registerSurfaceControlForCallback(
    const sp<SurfaceControl>& sc) {
    CallbackInfo& callbackInfo = mListenerCallbacks[TransactionCompletedListener::getIInstance()];
    callbackInfo.surfaceControls.insert(sc);
    TransactionCompletedListener::getInstance()->addSurfaceControlToCallbacks(callbackInfo, sc);
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::setBuffer(
    const sp<SurfaceControl>& sc, const sp<GraphicBuffer>& buffer,
    const std::optional<sp<Fence>>& fence, const std::optional<uint64_t>& frameNumber,
    uint32_t producerId, ReleaseBufferCallback callback) {
    HostLayerState* state = hostGetLayerState(sc);
    if (state == nullptr) {
        mStatus = BAD_INDEX;
        return *this;
    }
    hostReleaseBufferIfOverwriting(*state);

    // Everything about the previous buffer goes with it.
    state->bufferChanged = true;
    state->buffer = buffer;
    state->frameNumber = 0;
    state->acquireFence = nullptr;
    state->producerId = 0;
    state->hasReleaseBufferListener = false;
    if (buffer != nullptr) {
        state->frameNumber = sc->resolveFrameNumber(frameNumber);
        state->producerId = producerId;
        if (fence) state->acquireFence = *fence;
        if (callback) {
            state->hasReleaseBufferListener = true;
            TransactionCompletedListener::getInstance()->setReleaseBufferCallback(
                ReleaseCallbackId(buffer->getId(), state->frameNumber), callback);
        }
    }
    registerSurfaceControlForCallback(sc);

    // The compositor sends a latched buffer's release along with a completion callback: one that
    // does nothing makes sure there is one, whatever the caller registers.
    addTransactionCompletedCallback(
        [](void*, nsecs_t, const sp<Fence>&, const std::vector<SurfaceControlStats>&) {}, nullptr);
    return *this;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addTransactionCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext,
    CallbackId::Type callbackType) {
    sp<TransactionCompletedListener> listener = TransactionCompletedListener::getInstance();
    TransactionCompletedCallback withContext = [callback = std::move(callback), callbackContext](
                                                   nsecs_t latchTime, const sp<Fence>& presentFence,
                                                   const std::vector<SurfaceControlStats>& stats) {
        callback(callbackContext, latchTime, presentFence, stats);
    };
    CallbackInfo& callbackInfo = mListenerCallbacks[TransactionCompletedListener::getIInstance()];
    const CallbackId callbackId =
        listener->addCallbackFunction(withContext, callbackInfo.surfaceControls, callbackType);
    callbackInfo.callbackIds.emplace(callbackId);
    return *this;
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addTransactionCompletedCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext) {
    return addTransactionCallback(std::move(callback), callbackContext,
                                  CallbackId::Type::ON_COMPLETE);
}

SurfaceComposerClient::Transaction& SurfaceComposerClient::Transaction::addTransactionCommittedCallback(
    TransactionCompletedCallbackTakesContext callback, void* callbackContext) {
    return addTransactionCallback(std::move(callback), callbackContext, CallbackId::Type::ON_COMMIT);
}

SurfaceComposerClient::Transaction::HostLayerState*
SurfaceComposerClient::Transaction::hostGetLayerState(const sp<SurfaceControl>& sc) {
    if (sc == nullptr) return nullptr;
    HostLayerState& state = mHostLayerStates[sc->getLayerStateHandle()];
    state.surfaceControl = sc;
    return &state;
}

void SurfaceComposerClient::Transaction::hostReleaseBufferIfOverwriting(const HostLayerState& state) {
    if (!state.bufferChanged || state.buffer == nullptr) return;
    ReleaseCallbackThread::instance().addReleaseCallback(
        ReleaseCallbackId(state.buffer->getId(), state.frameNumber),
        state.acquireFence != nullptr ? state.acquireFence : Fence::NO_FENCE);
}

std::vector<SurfaceComposerClient::Transaction::HostLayer>
SurfaceComposerClient::Transaction::hostLayers() const {
    std::vector<HostLayer> layers;
    for (const auto& [handle, state] : mHostLayerStates) {
        HostLayer layer{state.surfaceControl, std::nullopt, state.buffer,
                        ReleaseCallbackId::INVALID_ID};
        if (state.buffer != nullptr) {
            layer.frameNumber = state.frameNumber;
            if (state.hasReleaseBufferListener) {
                layer.releaseCallbackId =
                    ReleaseCallbackId(state.buffer->getId(), state.frameNumber);
            }
        }
        layers.push_back(layer);
    }
    return layers;
}

std::unordered_set<CallbackId, CallbackIdHash> SurfaceComposerClient::Transaction::hostCallbackIds()
    const {
    auto it = mListenerCallbacks.find(TransactionCompletedListener::getIInstance());
    if (it == mListenerCallbacks.end()) return {};
    return it->second.callbackIds;
}

std::optional<uint64_t> SurfaceComposerClient::Transaction::hostFrameNumber(
    const sp<SurfaceControl>& sc) const {
    if (sc == nullptr) return std::nullopt;
    auto it = mHostLayerStates.find(sc->getLayerStateHandle());
    if (it == mHostLayerStates.end() || it->second.buffer == nullptr) return std::nullopt;
    return it->second.frameNumber;
}

}  // namespace android
