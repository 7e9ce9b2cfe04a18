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

// Host model of the value types of AOSP libgui's gui/ITransactionCompletedListener.h (Android
// 14/15): callback ids, release-callback ids with their hashes, per-surface stats and the
// callback signatures. Same names, member types and equality/hash rules as AOSP; no parcelling.
#pragma once

#include <gui/SurfaceControl.h>
#include <stdint.h>
#include <ui/Fence.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace android {

// Identifies one transaction callback registered with the TransactionCompletedListener.
class CallbackId {
public:
    int64_t id = 0;
    enum class Type : int32_t {
        ON_COMPLETE = 0,
        ON_COMMIT = 1,
    } type = Type::ON_COMPLETE;
    bool includeJankData = false;  // Only respected for ON_COMPLETE callbacks.

    CallbackId() {}
    CallbackId(int64_t id, Type type) : id(id), type(type), includeJankData(false) {}

    bool operator==(const CallbackId& rhs) const { return id == rhs.id && type == rhs.type; }
    bool operator!=(const CallbackId& rhs) const { return !(*this == rhs); }
};

// Hashes a CallbackId by its `id` alone.
struct CallbackIdHash {
    std::size_t operator()(const CallbackId& key) const { return std::hash<int64_t>()(key.id); }
};

// Identifies one submitted buffer: its GraphicBuffer id and the frame that carried it.
class ReleaseCallbackId {
public:
    static const ReleaseCallbackId INVALID_ID;  // (0, 0)

    uint64_t bufferId = 0;
    uint64_t framenumber = 0;

    ReleaseCallbackId() {}
    ReleaseCallbackId(uint64_t bufferId, uint64_t framenumber)
        : bufferId(bufferId), framenumber(framenumber) {}

    bool operator==(const ReleaseCallbackId& rhs) const {
        return bufferId == rhs.bufferId && framenumber == rhs.framenumber;
    }
    bool operator!=(const ReleaseCallbackId& rhs) const { return !(*this == rhs); }

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

// The frame-event part of what the compositor reports for one surface (AOSP's
// FrameEventHistoryStats; the model keeps the frame number only).
class FrameEventHistoryStats {
public:
    uint64_t frameNumber = 0;
};

// What the compositor reports for one surface of a completed transaction.
class SurfaceControlStats {
public:
    SurfaceControlStats(const sp<SurfaceControl>& sc, nsecs_t latchTime,
                        std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence,
                        const sp<Fence>& presentFence, const sp<Fence>& prevReleaseFence,
                        std::optional<uint32_t> hint,
                        ReleaseCallbackId previousReleaseCallbackId = ReleaseCallbackId::INVALID_ID)
        : surfaceControl(sc),
          latchTime(latchTime),
          acquireTimeOrFence(std::move(acquireTimeOrFence)),
          presentFence(presentFence),
          previousReleaseFence(prevReleaseFence),
          transformHint(hint),
          previousReleaseCallbackId(previousReleaseCallbackId) {}

    sp<SurfaceControl> surfaceControl;
    nsecs_t latchTime = -1;
    std::variant<nsecs_t, sp<Fence>> acquireTimeOrFence = -1;
    sp<Fence> presentFence;
    sp<Fence> previousReleaseFence;
    std::optional<uint32_t> transformHint = 0;
    ReleaseCallbackId previousReleaseCallbackId;
    FrameEventHistoryStats frameEventStats;
    uint32_t currentMaxAcquiredBufferCount = 0;
};

using TransactionCompletedCallbackTakesContext =
    std::function<void(void* /*context*/, nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                       const std::vector<SurfaceControlStats>& /*stats*/)>;
using TransactionCompletedCallback =
    std::function<void(nsecs_t /*latchTime*/, const sp<Fence>& /*presentFence*/,
                       const std::vector<SurfaceControlStats>& /*stats*/)>;
using ReleaseBufferCallback =
    std::function<void(const ReleaseCallbackId&, const sp<Fence>& /*releaseFence*/,
                       std::optional<uint32_t> currentMaxAcquiredBufferCount)>;

}  // namespace android
