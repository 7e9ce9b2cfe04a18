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

// STUB (hand-written): stands in for the aconfig-generated flag header of libgui
// (libs/gui/libgui_flags.aconfig). Only the preprocessor form used by libgui's headers.
// Every flag reads as disabled (false). Android 14 headers test BQ_SETFRAMERATE; Android 15
// headers also test BQ_EXTENDEDALLOCATE, which adds members to BufferQueueCore and BufferSlot.
// Those two can be turned on with -D<macro>=1 to check the other layout.
#pragma once
#define COM_ANDROID_GRAPHICS_LIBGUI_FLAGS(FLAG) COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_##FLAG
#ifndef COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_SETFRAMERATE
#define COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_SETFRAMERATE 0
#endif
#ifndef COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_EXTENDEDALLOCATE
#define COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_EXTENDEDALLOCATE 0  // Android 15
#endif
#define COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_FRAMETIMESTAMPS_PREVIOUSRELEASE 0
#ifdef __cplusplus
// The C++ accessors the generated header also declares (used by libgui's .cpp files).
namespace com::android::graphics::libgui::flags {
inline bool bq_setframerate() {
    return COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_SETFRAMERATE;
}
inline bool frametimestamps_previousrelease() {
    return COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_FRAMETIMESTAMPS_PREVIOUSRELEASE;
}
inline bool bq_extendedallocate() {
    return COM_ANDROID_GRAPHICS_LIBGUI_FLAGS_BQ_EXTENDEDALLOCATE;
}
}  // namespace com::android::graphics::libgui::flags
#endif
