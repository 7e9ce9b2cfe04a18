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

// STUB (hand-written): external/selinux's <selinux/android.h>, for a check that reads no
// external/selinux tree. Only the two log callbacks libgui's BufferQueueConsumer.cpp installs.
#pragma once
#include <selinux/selinux.h>
#ifdef __cplusplus
extern "C" {
#endif
int selinux_log_callback(int type, const char* fmt, ...) __attribute__((format(printf, 2, 3)));
int selinux_vendor_log_callback(int type, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
#ifdef __cplusplus
}
#endif
