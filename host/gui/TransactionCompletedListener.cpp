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

#define LOG_TAG "TransactionCompletedListener"

#include <gui/SurfaceComposerClient.h>

#include <climits>

namespace android {

namespace {
std::mutex sListenerInstanceMutex;
}  // namespace

sp<TransactionCompletedListener> TransactionCompletedListener::sInstance = nullptr;

TransactionCompletedListener::TransactionCompletedListener() = default;

sp<TransactionCompletedListener> TransactionCompletedListener::getInstance() {
    std::lock_guard<std::mutex> lock(sListenerInstanceMutex);
    if (sInstance == nullptr) {
        sInstance = new TransactionCompletedListener;
    }
    return sInstance;
}

int64_t TransactionCompletedListener::getNextIdLocked() {
    return mCallbackIdCounter++;
}

void TransactionCompletedListener::startListeningLocked() {
    // AOSP registers with the compositor's binder here; the host has nothing to register with.
    mListening = true;
}

CallbackId TransactionCompletedListener::addCallbackFunction(
    const TransactionCompletedCallback& callbackFunction,
    const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
    CallbackId::Type callbackType) {
    std::lock_guard<std::mutex> lock(mMutex);
    startListeningLocked();

    CallbackId callbackId(getNextIdLocked(), callbackType);
    if (mHostCallbackIdObserver) mHostCallbackIdObserver(callbackId.id, true);
    CallbackTranslation& translation = mCallbacks[callbackId];
    translation.callbackFunction = callbackFunction;
    for (const auto& surfaceControl : surfaceControls) {
        translation.surfaceControls[surfaceControl->getHandle()] = surfaceControl;
    }
    return callbackId;
}

void TransactionCompletedListener::addSurfaceControlToCallbacks(
    const sp<SurfaceControl>& surfaceControl,
    const std::unordered_set<CallbackId, CallbackIdHash>& callbackIds) {
    std::lock_guard<std::mutex> lock(mMutex);
    for (const auto& callbackId : callbackIds) {
        auto it = mCallbacks.find(callbackId);
        if (it == mCallbacks.end()) continue;
        it->second.surfaceControls.emplace(surfaceControl->getHandle(), surfaceControl);
    }
}

void TransactionCompletedListener::setReleaseBufferCallback(const ReleaseCallbackId& callbackId,
                                                            ReleaseBufferCallback listener) {
    if (!listener) return;
    std::lock_guard<std::mutex> lock(mMutex);
    mReleaseBufferCallbacks[callbackId] = std::move(listener);
}

void TransactionCompletedListener::removeReleaseBufferCallback(const ReleaseCallbackId& callbackId) {
    std::lock_guard<std::mutex> lock(mMutex);
    popReleaseBufferCallbackLocked(callbackId);
}

ReleaseBufferCallback TransactionCompletedListener::popReleaseBufferCallbackLocked(
    const ReleaseCallbackId& callbackId) {
    ReleaseBufferCallback callback;
    auto it = mReleaseBufferCallbacks.find(callbackId);
    if (it == mReleaseBufferCallbacks.end()) return nullptr;
    callback = std::move(it->second);
    mReleaseBufferCallbacks.erase(it);
    return callback;
}

void TransactionCompletedListener::onReleaseBuffer(ReleaseCallbackId callbackId,
                                                   sp<Fence> releaseFence,
                                                   uint32_t currentMaxAcquiredBufferCount) {
    ReleaseBufferCallback callback;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        callback = popReleaseBufferCallbackLocked(callbackId);
    }
    if (!callback) return;
    std::optional<uint32_t> optionalMaxAcquiredBufferCount =
        currentMaxAcquiredBufferCount == UINT_MAX
            ? std::nullopt
            : std::make_optional<uint32_t>(currentMaxAcquiredBufferCount);
    callback(callbackId, releaseFence ? releaseFence : Fence::NO_FENCE,
             optionalMaxAcquiredBufferCount);
}

bool TransactionCompletedListener::hostCompleteCallback(
    const CallbackId& callbackId, nsecs_t latchTime, const sp<Fence>& presentFence,
    const std::vector<SurfaceControlStats>& stats) {
    CallbackTranslation translation;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        auto it = mCallbacks.find(callbackId);
        if (it == mCallbacks.end()) return false;
        translation = std::move(it->second);
        mCallbacks.erase(it);
        if (mHostCallbackIdObserver) mHostCallbackIdObserver(callbackId.id, false);
    }
    if (translation.callbackFunction) {
        translation.callbackFunction(latchTime, presentFence, stats);
    }
    return true;
}

void TransactionCompletedListener::hostSetCallbackIdObserver(
    std::function<void(int64_t id, bool added)> observer) {
    std::lock_guard<std::mutex> lock(mMutex);
    mHostCallbackIdObserver = std::move(observer);
}

std::vector<CallbackId> TransactionCompletedListener::hostCallbackIds() {
    std::lock_guard<std::mutex> lock(mMutex);
    std::vector<CallbackId> ids;
    ids.reserve(mCallbacks.size());
    for (const auto& [id, translation] : mCallbacks) ids.push_back(id);
    return ids;
}

bool TransactionCompletedListener::hostHasCallback(const CallbackId& callbackId) {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallbacks.count(callbackId) != 0;
}

size_t TransactionCompletedListener::hostCallbackCount() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mCallbacks.size();
}

size_t TransactionCompletedListener::hostReleaseCallbackCount() {
    std::lock_guard<std::mutex> lock(mMutex);
    return mReleaseBufferCallbacks.size();
}

void TransactionCompletedListener::hostClear() {
    std::unordered_map<CallbackId, CallbackTranslation, CallbackIdHash> callbacks;
    std::unordered_map<ReleaseCallbackId, ReleaseBufferCallback, ReleaseBufferCallbackIdHash>
        releaseCallbacks;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        callbacks.swap(mCallbacks);
        releaseCallbacks.swap(mReleaseBufferCallbacks);
    }
    // Destroyed here, outside the lock: a callable may own objects whose destructors call back.
}

}  // namespace android
