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

// The buffer size limiter: on devices that cannot take buffers above 4000 pixels a side, a
// debug property caps what a BLAST queue asks for.
#define LOG_TAG "TalvexBufferQueueHelper"

#include <android/log.h>
#include <cutils/properties.h>
#include <gui/ConsumerBase.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "bufferqueue_helper/TalvexBufferQueueHelper.h"

namespace android {

namespace {

// The largest width or height the device handles ("4k" in the log line notwithstanding).
constexpr int32_t kMaxDimension = 4000;

// Read on every call, so the cap follows the property without a restart.
bool capRequested() {
    char value[PROPERTY_VALUE_MAX];
    property_get("debug.graphics.unsupport4K", value, "0");
    return atoi(value) == 1;
}

}  // namespace

void TalvexBufferQueueHelper::resetBBQRequestSize(void* requestedSize, void* size, void* consumer,
                                                  int mode, int updateRequested) {
    if (!capRequested()) return;
    // Both sizes are two adjacent int32 values, width then height.
    int32_t requested[2];
    std::memcpy(requested, requestedSize, sizeof(requested));
    const int32_t w = requested[0];
    const int32_t h = requested[1];
    if (mode != 1 || (w <= kMaxDimension && h <= kMaxDimension)) return;

    const int32_t capped[2] = {w < kMaxDimension ? w : kMaxDimension,
                               h < kMaxDimension ? h : kMaxDimension};
    __android_log_print(ANDROID_LOG_DEBUG, LOG_TAG,
                        "Not Support over 4k, change width:%d->%d height:%d->%d", w, capped[0], h,
                        capped[1]);
    if (std::memcmp(size, capped, sizeof(capped)) == 0) return;

    std::memcpy(size, capped, sizeof(capped));
    static_cast<ConsumerBase*>(consumer)->setDefaultBufferSize(static_cast<uint32_t>(capped[0]),
                                                               static_cast<uint32_t>(capped[1]));
    if (updateRequested != 0) std::memcpy(requestedSize, size, sizeof(capped));
}

}  // namespace android
