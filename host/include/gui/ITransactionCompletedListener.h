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

// Host model of AOSP libgui's gui/ITransactionCompletedListener.h (Android 14/15): callback ids,
// release-callback ids with their hashes, the stats the compositor reports when a transaction
// commits or completes, and the listener interface it reports them through. Same names, member
// types, constructors and equality/hash rules as AOSP; nothing is parcelled, so the value types
// are not Parcelables and the local side of the interface is a plain BnInterface.
#pragma once

#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <gui/FrameTimestamps.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <utils/String8.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <variant>
#include <vector>

namespace android {

class ITransactionCompletedListener;

// Identifies one transaction callback registered with the TransactionCompletedListener. A
// default-constructed id holds indeterminate values, as on the device.
class CallbackId {
public:
    int64_t id;
    enum class Type : int32_t {
        ON_COMPLETE = 0,
        ON_COMMIT = 1,
    } type;
    bool includeJankData;  // Only respected for ON_COMPLETE callbacks.

    CallbackId() {}
    CallbackId(int64_t id, Type type) : id(id), type(type), includeJankData(false) {}

    bool operator==(const CallbackId& rhs) const { return id == rhs.id && type == rhs.type; }
};

// Hashes a CallbackId by its `id` alone.
struct CallbackIdHash {
    std::size_t operator()(const CallbackId& key) const { return std::hash<int64_t>()(key.id); }
};

// Identifies one submitted buffer: its GraphicBuffer id and the frame that carried it. A
// default-constructed id holds indeterminate values: compare against INVALID_ID only what was
// set.
class ReleaseCallbackId {
public:
    static const ReleaseCallbackId INVALID_ID;  // (0, 0)

    uint64_t bufferId;
    uint64_t framenumber;
    ReleaseCallbackId() {}
    ReleaseCallbackId(uint64_t bufferId, uint64_t framenumber)
        : bufferId(bufferId), framenumber(framenumber) {}

    bool operator==(const ReleaseCallbackId& rhs) const {
        return bufferId == rhs.bufferId && framenumber == rhs.framenumber;
    }
    bool operator!=(const ReleaseCallbackId& rhs) const { return !operator==(rhs); }

    // Returns "INVALID_ID" for INVALID_ID, else "bufferId:<n> framenumber:<n>" in decimal.
    std::string to_string() const {
        if (*this == INVALID_ID) return "INVALID_ID";
        return "bufferId:" + std::to_string(bufferId) +
               " framenumber:" + std::to_string(framenumber);
    }
};

// Hashes a ReleaseCallbackId by its `bufferId` alone.
struct ReleaseBufferCallbackIdHash {
    std::size_t operator()(const ReleaseCallbackId& key) const {
        return std::hash<uint64_t>()(key.bufferId);
    }
};

// The frame events the compositor reports with a surface's stats.
class FrameEventHistoryStats {
public:
    FrameEventHistoryStats() = default;
    FrameEventHistoryStats(uint64_t frameNumber, uint64_t previousFrameNumber,
                           const sp<Fence>& gpuCompFence, CompositorTiming compTiming,
                           nsecs_t refreshTime, nsecs_t dequeueReadyTime)
        : frameNumber(frameNumber),
          previousFrameNumber(previousFrameNumber),
          gpuCompositionDoneFence(gpuCompFence),
          compositorTiming(compTiming),
          refreshStartTime(refreshTime),
          dequeueReadyTime(dequeueReadyTime) {}

    uint64_t frameNumber;
    uint64_t previousFrameNumber;
    sp<Fence> gpuCompositionDoneFence;
    CompositorTiming compositorTiming;
    nsecs_t refreshStartTime;
    nsecs_t dequeueReadyTime;
};

// The compositor's jank classification of one frame of a surface.
class JankData {
public:
    JankData();
    JankData(int64_t frameVsyncId, int32_t jankType, nsecs_t frameIntervalNs)
        : frameVsyncId(frameVsyncId), jankType(jankType), frameIntervalNs(frameIntervalNs) {}

    // The frame's vsync id, as the app set it on its transaction.
    int64_t frameVsyncId;

    // The kinds of jank the frame had (a bit mask).
    int32_t jankType;

    // How long the frame was expected to take.
    nsecs_t frameIntervalNs;
};

// What the compositor reports for one surface of a transaction: the surface is named by its
// layer handle, which the listener maps back to the app's SurfaceControl.
class SurfaceStats {
public:
    SurfaceStats() = default;
    SurfaceStats(const sp<IBinder>& sc, std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence,
                 const sp<Fence>& prevReleaseFence, std::optional<uint32_t> hint,
                 uint32_t currentMaxAcquiredBuffersCount, FrameEventHistoryStats frameEventStats,
                 std::vector<JankData> jankData, ReleaseCallbackId previousReleaseCallbackId)
        : surfaceControl(sc),
          acquireTimeOrFence(std::move(acquireTimeOrFence)),
          previousReleaseFence(prevReleaseFence),
          transformHint(hint),
          currentMaxAcquiredBufferCount(currentMaxAcquiredBuffersCount),
          eventStats(frameEventStats),
          jankData(std::move(jankData)),
          previousReleaseCallbackId(previousReleaseCallbackId) {}

    sp<IBinder> surfaceControl;
    std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence = -1;
    sp<Fence> previousReleaseFence;
    std::optional<uint32_t> transformHint = 0;
    uint32_t currentMaxAcquiredBufferCount = 0;
    FrameEventHistoryStats eventStats;
    std::vector<JankData> jankData;
    // The buffer this surface's new one replaced, released with this report (INVALID_ID: none).
    ReleaseCallbackId previousReleaseCallbackId;
};

// The compositor's report on the callbacks of one transaction.
class TransactionStats {
public:
    TransactionStats() = default;
    TransactionStats(const std::vector<CallbackId>& ids) : callbackIds(ids) {}
    TransactionStats(const std::unordered_set<CallbackId, CallbackIdHash>& ids)
        : callbackIds(ids.begin(), ids.end()) {}
    TransactionStats(const std::vector<CallbackId>& ids, nsecs_t latch, const sp<Fence>& present,
                     const std::vector<SurfaceStats>& surfaces)
        : callbackIds(ids), latchTime(latch), presentFence(present), surfaceStats(surfaces) {}

    std::vector<CallbackId> callbackIds;
    nsecs_t latchTime = -1;
    sp<Fence> presentFence = nullptr;
    std::vector<SurfaceStats> surfaceStats;
};

// Everything the compositor reports to one listener at once.
class ListenerStats {
public:
    // A report that runs `callbackIds` with no stats, as for a transaction that changed nothing.
    static ListenerStats createEmpty(
        const sp<IBinder>& listener,
        const std::unordered_set<CallbackId, CallbackIdHash>& callbackIds);

    sp<IBinder> listener;
    std::vector<TransactionStats> transactionStats;
};

// What the compositor calls in an app process about its transactions and buffers.
class ITransactionCompletedListener : public IInterface {
public:
    DECLARE_META_INTERFACE(TransactionCompletedListener)

    virtual void onTransactionCompleted(ListenerStats stats) = 0;

    virtual void onReleaseBuffer(ReleaseCallbackId callbackId, sp<Fence> releaseFence,
                                 uint32_t currentMaxAcquiredBufferCount) = 0;

    virtual void onTransactionQueueStalled(const String8& name) = 0;

    virtual void onTrustedPresentationChanged(int id, bool inTrustedPresentationState) = 0;
};

// The local side of ITransactionCompletedListener.
class BnTransactionCompletedListener : public BnInterface<ITransactionCompletedListener> {
public:
    // Nothing arrives parcelled on host: every code gets BBinder's answer.
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                        uint32_t flags = 0) override;
};

}  // namespace android
