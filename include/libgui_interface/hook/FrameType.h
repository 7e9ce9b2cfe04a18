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

#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace android::libgui_interface::hook {

// One step of a frame's life between the client's BLAST queue and the compositor. The values are
// part of the libgui interface: dense, in this (non-chronological) order, never renumbered.
enum class FrameType : int {
    onFrameAvailable = 0,
    acquireNextBuffer = 1,
    acquireAndReleaseBuffer = 2,
    onTransactionCompletedCommit = 3,
    onTransactionCompletedComplete = 4,
    transactionCallback = 5,
    transactionCommittedCallback = 6,
    releaseBufferCallback = 7,
    FakeReleaseCallback = 8,
    releaseBufferBBQ = 9,
    syncNextTransaction = 10,
    apply = 11,
};

// The state in which a frame started; passed by value, its `startTime` is replaced on recording.
struct FrameStartStatus {
    bool sync;
    bool wait;
    int32_t numAvailable;
    int32_t numAcquired;
    int64_t startTime;
};

// Returns the enumerator's name for 0 to 11, else the signed decimal value ("12", "-3").
inline std::string frameTypeName(FrameType type) {
    static constexpr std::string_view kNames[] = {
        "onFrameAvailable",
        "acquireNextBuffer",
        "acquireAndReleaseBuffer",
        "onTransactionCompletedCommit",
        "onTransactionCompletedComplete",
        "transactionCallback",
        "transactionCommittedCallback",
        "releaseBufferCallback",
        "FakeReleaseCallback",
        "releaseBufferBBQ",
        "syncNextTransaction",
        "apply",
    };
    const int value = static_cast<int>(type);
    if (value >= 0 && value < static_cast<int>(std::size(kNames))) {
        return std::string(kNames[value]);
    }
    return std::to_string(value);
}

}  // namespace android::libgui_interface::hook
