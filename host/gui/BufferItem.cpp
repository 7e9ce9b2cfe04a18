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

#include <gui/BufferItem.h>

namespace android {

BufferItem::BufferItem()
    : mGraphicBuffer(nullptr),
      mFence(nullptr),
      mCrop(Rect::INVALID_RECT),
      mTransform(0),
      mScalingMode(0),
      mTimestamp(0),
      mIsAutoTimestamp(false),
      mDataSpace(HAL_DATASPACE_UNKNOWN),
      mFrameNumber(0),
      mSlot(INVALID_BUFFER_SLOT),
      mIsDroppable(false),
      mAcquireCalled(false),
      mTransformToDisplayInverse(false),
      mApi(0),
      mIsStale(false),
      mAutoRefresh(false),
      mQueuedBuffer(true) {}

BufferItem::~BufferItem() = default;

const char* BufferItem::scalingModeName(uint32_t scalingMode) {
    switch (scalingMode) {
        case 0:
            return "FREEZE";
        case 1:
            return "SCALE_TO_WINDOW";
        case 2:
            return "SCALE_CROP";
        default:
            return "Unknown";
    }
}

}  // namespace android
