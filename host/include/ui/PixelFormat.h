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
