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

// Host model of AOSP libgui's gui/BufferItem.h (Android 14/15): one queued buffer as the
// consumer sees it. All fields public, as in AOSP; parcelling, HDR metadata and damage omitted.
#pragma once

#include <stdint.h>
#include <system/graphics.h>
#include <ui/Fence.h>
#include <ui/GraphicBuffer.h>
#include <ui/Rect.h>
#include <utils/StrongPointer.h>

namespace android {

class BufferItem {
public:
    enum { INVALID_BUFFER_SLOT = -1 };

    BufferItem();
    ~BufferItem();
    BufferItem(const BufferItem&) = default;
    BufferItem& operator=(const BufferItem&) = default;

    static const char* scalingModeName(uint32_t scalingMode);

    // The buffer, or null if the consumer already holds it from an earlier acquire.
    sp<GraphicBuffer> mGraphicBuffer;
    // The fence to wait on before reading the buffer.
    sp<Fence> mFence;
    // The part of the buffer to show.
    Rect mCrop;
    uint32_t mTransform;
    uint32_t mScalingMode;
    // When the producer queued the buffer, in ns of the monotonic clock.
    int64_t mTimestamp;
    bool mIsAutoTimestamp;
    android_dataspace mDataSpace;
    uint64_t mFrameNumber;
    // The slot of the buffer, or INVALID_BUFFER_SLOT.
    int mSlot;
    // Whether a later queued buffer may replace this one (async mode).
    bool mIsDroppable;
    bool mAcquireCalled;
    bool mTransformToDisplayInverse;
    // The producer API that queued the buffer (NATIVE_WINDOW_API_*), 0 if none.
    int mApi;
    bool mIsStale;
    bool mAutoRefresh;
    // Whether the buffer goes to the display as an extra, not a newest, frame.
    bool mQueuedBuffer;
};

}  // namespace android
