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

// Host model of AOSP libui's ui/PixelFormat.h (Android 14/15): the PixelFormat type and the
// PIXEL_FORMAT_* values with AOSP's numbers, so code written against libui compiles unchanged.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace android {

enum {
    // Logical formats, never allocated.
    PIXEL_FORMAT_UNKNOWN = 0,
    PIXEL_FORMAT_NONE = 0,
    PIXEL_FORMAT_CUSTOM = -4,
    PIXEL_FORMAT_TRANSLUCENT = -3,
    PIXEL_FORMAT_TRANSPARENT = -2,
    PIXEL_FORMAT_OPAQUE = -1,

    // Real formats, equal to the HAL_PIXEL_FORMAT_* values.
    PIXEL_FORMAT_RGBA_8888 = 1,
    PIXEL_FORMAT_RGBX_8888 = 2,
    PIXEL_FORMAT_RGB_888 = 3,
    PIXEL_FORMAT_RGB_565 = 4,
    PIXEL_FORMAT_BGRA_8888 = 5,
    PIXEL_FORMAT_RGBA_5551 = 6,
    PIXEL_FORMAT_RGBA_4444 = 7,
    PIXEL_FORMAT_RGBA_FP16 = 0x16,
    PIXEL_FORMAT_RGBA_1010102 = 0x2B,
    PIXEL_FORMAT_R_8 = 0x38,
};

typedef int32_t PixelFormat;

// Returns the bytes per pixel of `format`, or 0 for logical and unknown formats.
uint32_t bytesPerPixel(PixelFormat format);

}  // namespace android
