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

// STUB (hand-written): stands in for the AIDL-generated C++ header of android.os.InputConfig
// (libs/input/android/os/InputConfig.aidl). The enumerators libgui's WindowInfo.h names.
#pragma once
#include <cstdint>
namespace android::os {
enum class InputConfig : int32_t {
    DEFAULT = 0,
    NO_INPUT_CHANNEL = 1 << 0,
    NOT_VISIBLE = 1 << 1,
    NOT_FOCUSABLE = 1 << 2,
    NOT_TOUCHABLE = 1 << 3,
    PREVENT_SPLITTING = 1 << 4,
    DUPLICATE_TOUCH_TO_WALLPAPER = 1 << 5,
    IS_WALLPAPER = 1 << 6,
    PAUSE_DISPATCHING = 1 << 7,
    TRUSTED_OVERLAY = 1 << 8,
    WATCH_OUTSIDE_TOUCH = 1 << 9,
    SLIPPERY = 1 << 10,
    DISABLE_USER_ACTIVITY = 1 << 11,
    DROP_INPUT = 1 << 12,
    DROP_INPUT_IF_OBSCURED = 1 << 13,
    SPY = 1 << 14,
    INTERCEPTS_STYLUS = 1 << 15,
    CLONE = 1 << 16,
    GLOBAL_STYLUS_BLOCKS_TOUCH = 1 << 17,  // later Android 14 (not in branch "14"), Android 15
    SENSITIVE_FOR_PRIVACY = 1 << 18,       // Android 15
};
}
