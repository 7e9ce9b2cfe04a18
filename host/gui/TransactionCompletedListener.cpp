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

#ifdef TALVEX_LIBGUI_HOOKS
#include <libgui_interface/hook/IFrameRecord.h>
#endif

#include <climits>

namespace android {

#ifdef TALVEX_LIBGUI_HOOKS
using libgui_interface::hook::FrameType;
using libgui_interface::hook::getFrameRecordIns;
#endif

namespace {
std::mutex sListenerInstanceMutex;
}  // namespace

sp<TransactionCompletedListener> TransactionCompletedListener::sInstance = nullptr;

// Callback ids start at 1: 0 is never a valid one.
TransactionCompletedListener::TransactionCompletedListener() : mCallbackIdCounter(1) {}

void TransactionCompletedListener::setInstance(const sp<TransactionCompletedListener>& listener) {
    sInstance = listener;
}

sp<TransactionCompletedListener> TransactionCompletedListener::getInstance() {
    std::lock_guard<std::mutex> lock(sListenerInstanceMutex);
    if (sInstance == nullptr) {
        sInstance = new TransactionCompletedListener;
    }
    return sInstance;
}

sp<ITransactionCompletedListener> TransactionCompletedListener::getIInstance() {
    return static_cast<sp<ITransactionCompletedListener>>(getInstance());
}

int64_t TransactionCompletedListener::getNextIdLocked() {
    return mCallbackIdCounter++;
}

void TransactionCompletedListener::startListeningLocked() {
    if (mListening) return;
    // AOSP starts the binder thread pool here, once; the host's compositor calls in directly.
    mListening = true;
}

CallbackId TransactionCompletedListener::addCallbackFunction(
    const TransactionCompletedCallback& callbackFunction,
    const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
    CallbackId::Type callbackType) {
    std::lock_guard<std::mutex> lock(mMutex);
    return addCallbackFunctionLocked(callbackFunction, surfaceControls, callbackType);
}

CallbackId TransactionCompletedListener::addCallbackFunctionLocked(
    const TransactionCompletedCallback& callbackFunction,
    const std::unordered_set<sp<SurfaceControl>, SurfaceComposerClient::SCHash>& surfaceControls,
    CallbackId::Type callbackType) {
    startListeningLocked();

    CallbackId callbackId(getNextIdLocked(), callbackType);
#ifdef TALVEX_LIBGUI_HOOKS
    getFrameRecordIns()->addCallbackIdLocked(callbackId.id);
#endif
    CallbackTranslation& translation = mCallbacks[callbackId];
    translation.callbackFunction = callbackFunction;
    for (const auto& surfaceControl : surfaceControls) {
        translation.surfaceControls[surfaceControl->getHandle()] = surfaceControl;
    }
    return callbackId;
}

void TransactionCompletedListener::addSurfaceControlToCallbacks(
    SurfaceComposerClient::CallbackInfo& callbackInfo, const sp<SurfaceControl>& surfaceControl) {
    std::lock_guard<std::mutex> lock(mMutex);
    // A callback already reported on is made again, empty, as AOSP does: the transaction that
    // holds its id reports on it again if applied.
    for (const CallbackId& callbackId : callbackInfo.callbackIds) {
        mCallbacks[callbackId].surfaceControls.emplace(surfaceControl->getHandle(), surfaceControl);
    }
}

void TransactionCompletedListener::setReleaseBufferCallback(const ReleaseCallbackId& callbackId,
                                                            ReleaseBufferCallback listener) {
    std::lock_guard<std::mutex> lock(mMutex);
    mReleaseBufferCallbacks[callbackId] = std::move(listener);
}

void TransactionCompletedListener::onTransactionCompleted(ListenerStats listenerStats) {
    std::unordered_map<CallbackId, CallbackTranslation, CallbackIdHash> callbacksMap;
    {
        std::lock_guard<std::mutex> lock(mMutex);
        // Transactions merged in another process carry callbacks registered for other surfaces,
        // and all of a frame's callbacks arrive together: every callback looks its surfaces up
        // in a copy of the whole map.
        callbacksMap = mCallbacks;
        for (const TransactionStats& transactionStats : listenerStats.transactionStats) {
            for (const CallbackId& callbackId : transactionStats.callbackIds) {
                mCallbacks.erase(callbackId);
#ifdef TALVEX_LIBGUI_HOOKS
                getFrameRecordIns()->removeCallbackIdLocked(callbackId.id);
#endif
            }
        }
    }
#ifdef TALVEX_LIBGUI_HOOKS
    // Each surface's commit or completion goes to the frame record, once per transaction, before
    // any callback runs.
    for (const auto& transactionStats : listenerStats.transactionStats) {
        for (const auto& surfaceStats : transactionStats.surfaceStats) {
            for (const auto& callbackId : transactionStats.callbackIds) {
                const auto translation = callbacksMap.find(callbackId);
                if (translation == callbacksMap.end()) continue;
                const auto& surfaces = translation->second.surfaceControls;
                const auto surface = surfaces.find(surfaceStats.surfaceControl);
                if (surface == surfaces.end() || surface->second == nullptr) continue;
                getFrameRecordIns()->setLayerFrameEvent(
                    surface->second.get(), surfaceStats.eventStats.frameNumber,
                    callbackId.type == CallbackId::Type::ON_COMMIT
                        ? FrameType::onTransactionCompletedCommit
                        : FrameType::onTransactionCompletedComplete);
                break;
            }
        }
    }
#endif

    // What the app's callback receives of `transactionStats`: each surface is looked up among
    // those `translation` was registered for (null if it is not there).
    auto toSurfaceControlStats = [](const TransactionStats& transactionStats,
                                    CallbackTranslation& translation) {
        std::vector<SurfaceControlStats> surfaceControlStats;
        for (const SurfaceStats& surfaceStats : transactionStats.surfaceStats) {
            surfaceControlStats.emplace_back(
                translation.surfaceControls[surfaceStats.surfaceControl], transactionStats.latchTime,
                surfaceStats.acquireTimeOrFence, transactionStats.presentFence,
                surfaceStats.previousReleaseFence, surfaceStats.transformHint,
                surfaceStats.eventStats, surfaceStats.currentMaxAcquiredBufferCount);
        }
        return surfaceControlStats;
    };

    for (const TransactionStats& transactionStats : listenerStats.transactionStats) {
        // A transaction's commit callbacks run before its completion callbacks.
        for (const CallbackId& callbackId : transactionStats.callbackIds) {
            if (callbackId.type != CallbackId::Type::ON_COMMIT) continue;
            CallbackTranslation& translation = callbacksMap[callbackId];
            if (!translation.callbackFunction) continue;
            const std::vector<SurfaceControlStats> surfaceControlStats =
                toSurfaceControlStats(transactionStats, translation);
            translation.callbackFunction(transactionStats.latchTime, transactionStats.presentFence,
                                         surfaceControlStats);
            // The same id may come in more than one transaction's stats (a transaction applied
            // from two processes): it runs once.
            callbacksMap.erase(callbackId);
        }

        for (const CallbackId& callbackId : transactionStats.callbackIds) {
            if (callbackId.type != CallbackId::Type::ON_COMPLETE) continue;
            CallbackTranslation& translation = callbacksMap[callbackId];
            if (!translation.callbackFunction) continue;
            const std::vector<SurfaceControlStats> surfaceControlStats =
                toSurfaceControlStats(transactionStats, translation);
            for (const SurfaceStats& surfaceStats : transactionStats.surfaceStats) {
                const sp<SurfaceControl>& surfaceControl =
                    translation.surfaceControls[surfaceStats.surfaceControl];
                if (surfaceControl != nullptr && surfaceStats.transformHint.has_value()) {
                    surfaceControl->setTransformHint(*surfaceStats.transformHint);
                }
                // The buffer this frame replaced comes back with the report, which saves the
                // compositor a call: its release runs before the callback.
                if (surfaceStats.previousReleaseCallbackId == ReleaseCallbackId::INVALID_ID) {
                    continue;
                }
                ReleaseBufferCallback callback;
                {
                    std::lock_guard<std::mutex> lock(mMutex);
                    callback =
                        popReleaseBufferCallbackLocked(surfaceStats.previousReleaseCallbackId);
                }
                if (callback) {
                    callback(surfaceStats.previousReleaseCallbackId,
                             surfaceStats.previousReleaseFence ? surfaceStats.previousReleaseFence
                                                               : Fence::NO_FENCE,
                             surfaceStats.currentMaxAcquiredBufferCount);
                }
            }
            translation.callbackFunction(transactionStats.latchTime, transactionStats.presentFence,
                                         surfaceControlStats);
        }
    }
}

void TransactionCompletedListener::onTransactionQueueStalled(const String8& /*reason*/) {}

void TransactionCompletedListener::onTrustedPresentationChanged(int /*id*/,
                                                                bool /*presentedWithinThresholds*/) {
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
    callback(callbackId, releaseFence, optionalMaxAcquiredBufferCount);
}

ReleaseBufferCallback TransactionCompletedListener::popReleaseBufferCallbackLocked(
    const ReleaseCallbackId& callbackId) {
    auto it = mReleaseBufferCallbacks.find(callbackId);
    if (it == mReleaseBufferCallbacks.end()) return nullptr;
    ReleaseBufferCallback callback = std::move(it->second);
    mReleaseBufferCallbacks.erase(it);
    return callback;
}

void TransactionCompletedListener::removeReleaseBufferCallback(const ReleaseCallbackId& callbackId) {
    std::lock_guard<std::mutex> lock(mMutex);
    popReleaseBufferCallbackLocked(callbackId);
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
