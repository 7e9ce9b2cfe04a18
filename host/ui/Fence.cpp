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

#define LOG_TAG "Fence"

#include <errno.h>
#include <poll.h>
#include <ui/Fence.h>

namespace android {

const sp<Fence> Fence::NO_FENCE = sp<Fence>(new Fence);

status_t Fence::wait(int timeout) {
    if (!isValid()) return NO_ERROR;
    pollfd pfd{mFenceFd.get(), POLLIN, 0};
    int ret;
    do {
        ret = poll(&pfd, 1, timeout);
    } while (ret < 0 && errno == EINTR);
    if (ret < 0) return -errno;
    return ret == 0 ? TIMED_OUT : NO_ERROR;
}

Fence::Status Fence::getStatus() {
    if (!isValid()) return Status::Invalid;
    return wait(0) == NO_ERROR ? Status::Signaled : Status::Unsignaled;
}

}  // namespace android
