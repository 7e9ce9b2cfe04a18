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

// Host model of AOSP libui's ui/Fence.h: a sync fence owning a file descriptor (-1 for none).
// Light reference counted like AOSP's; NO_FENCE is the shared invalid fence.
#pragma once

#include <android-base/unique_fd.h>
#include <stdint.h>
#include <utils/Errors.h>
#include <utils/LightRefBase.h>
#include <utils/StrongPointer.h>
#include <utils/Timers.h>

namespace android {

class Fence : public LightRefBase<Fence> {
public:
    static const sp<Fence> NO_FENCE;
    static constexpr nsecs_t SIGNAL_TIME_PENDING = INT64_MAX;
    static constexpr nsecs_t SIGNAL_TIME_INVALID = -1;

    enum class Status { Invalid, Unsignaled, Signaled };

    // An invalid fence (no file descriptor).
    Fence() = default;
    // Takes ownership of `fenceFd`; -1 makes an invalid fence.
    explicit Fence(int fenceFd) : mFenceFd(fenceFd) {}
    explicit Fence(base::unique_fd fenceFd) : mFenceFd(std::move(fenceFd)) {}

    Fence(const Fence&) = delete;
    Fence& operator=(const Fence&) = delete;

    // Returns true if the fence holds a file descriptor.
    bool isValid() const { return mFenceFd.get() != -1; }
    // Returns the file descriptor, or -1 for an invalid fence.
    int get() const { return mFenceFd.get(); }

    // Waits up to `timeout` ms (-1: forever) for the descriptor to become readable (signalled).
    // Returns NO_ERROR for an invalid fence or once signalled, TIMED_OUT otherwise.
    status_t wait(int timeout);

    // Returns Invalid, or whether the descriptor is readable now.
    Status getStatus();

private:
    friend class LightRefBase<Fence>;
    ~Fence() = default;

    base::unique_fd mFenceFd;
};

}  // namespace android
