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

// STUB (hand-written): hardware/libhardware's <hardware/gralloc.h>, for a check that reads no
// hardware/libhardware tree. Only the GRALLOC_USAGE_* constants libui's headers name; the values
// are the gralloc0 usage bits as documented, but nothing here depends on them (syntax checks only).
#pragma once
#include <hardware/hardware.h>
enum {
    GRALLOC_USAGE_SW_READ_NEVER = 0x00000000U,
    GRALLOC_USAGE_SW_READ_RARELY = 0x00000002U,
    GRALLOC_USAGE_SW_READ_OFTEN = 0x00000003U,
    GRALLOC_USAGE_SW_READ_MASK = 0x0000000FU,
    GRALLOC_USAGE_SW_WRITE_NEVER = 0x00000000U,
    GRALLOC_USAGE_SW_WRITE_RARELY = 0x00000020U,
    GRALLOC_USAGE_SW_WRITE_OFTEN = 0x00000030U,
    GRALLOC_USAGE_SW_WRITE_MASK = 0x000000F0U,
    GRALLOC_USAGE_HW_TEXTURE = 0x00000100U,
    GRALLOC_USAGE_HW_RENDER = 0x00000200U,
    GRALLOC_USAGE_HW_2D = 0x00000400U,
    GRALLOC_USAGE_HW_COMPOSER = 0x00000800U,
    GRALLOC_USAGE_PROTECTED = 0x00004000U,
    GRALLOC_USAGE_CURSOR = 0x00008000U,
    GRALLOC_USAGE_HW_VIDEO_ENCODER = 0x00010000U,
    GRALLOC_USAGE_HW_MASK = 0x00071F00U,
};
