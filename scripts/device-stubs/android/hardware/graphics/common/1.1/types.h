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

// STUB (hand-written): stands in for the HIDL-generated android.hardware.graphics.common@1.1
// types (hardware/interfaces). Enumerators only where libui/libgui headers name them; values
// taken from <system/graphics.h>. Syntax checks only.
#pragma once
#include <android/hardware/graphics/common/1.0/types.h>
namespace android::hardware::graphics::common::V1_1 {
enum class PixelFormat : int32_t {
    RGBA_8888 = HAL_PIXEL_FORMAT_RGBA_8888,
};
enum class BufferUsage : uint64_t {
    CPU_READ_NEVER = 0,
};
enum class Dataspace : int32_t {
    UNKNOWN = HAL_DATASPACE_UNKNOWN,
};
enum class ColorMode : int32_t {
    NATIVE = HAL_COLOR_MODE_NATIVE,
};
enum class RenderIntent : int32_t {
    COLORIMETRIC = 0,
    ENHANCE = 1,
    TONE_MAP_COLORIMETRIC = 2,
    TONE_MAP_ENHANCE = 3,
};
}  // namespace android::hardware::graphics::common::V1_1
