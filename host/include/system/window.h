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

// Host model of the parts of libnativewindow's system/window.h that libgui's buffer queues use:
// the queries, the producer APIs, the scaling modes and the transform bits.
#pragma once

enum {
    NATIVE_WINDOW_WIDTH = 0,
    NATIVE_WINDOW_HEIGHT = 1,
    NATIVE_WINDOW_FORMAT = 2,
};

enum {
    NATIVE_WINDOW_API_EGL = 1,
    NATIVE_WINDOW_API_CPU = 2,
    NATIVE_WINDOW_API_MEDIA = 3,
    NATIVE_WINDOW_API_CAMERA = 4,
};

enum {
    NATIVE_WINDOW_SCALING_MODE_FREEZE = 0,
    NATIVE_WINDOW_SCALING_MODE_SCALE_TO_WINDOW = 1,
    NATIVE_WINDOW_SCALING_MODE_SCALE_CROP = 2,
    NATIVE_WINDOW_SCALING_MODE_NO_SCALE_CROP = 3,
};

enum {
    NATIVE_WINDOW_TRANSFORM_FLIP_H = 0x01,
    NATIVE_WINDOW_TRANSFORM_FLIP_V = 0x02,
    NATIVE_WINDOW_TRANSFORM_ROT_90 = 0x04,
    NATIVE_WINDOW_TRANSFORM_ROT_180 = 0x03,
    NATIVE_WINDOW_TRANSFORM_ROT_270 = 0x07,
    NATIVE_WINDOW_TRANSFORM_INVERSE_DISPLAY = 0x08,
};
