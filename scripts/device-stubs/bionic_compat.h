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

// STUB (hand-written), force-included (-include) into every file: what bionic gives every
// translation unit that glibc does not. On a device <sys/cdefs.h> brings the API-availability
// macros (<android/versioning.h>) and <stdlib.h> declares getprogname(). Nothing else.
#pragma once
#ifndef __ANDROID_API_FUTURE__
#define __ANDROID_API_FUTURE__ 10000
#endif
#ifndef __ANDROID_API__
#define __ANDROID_API__ __ANDROID_API_FUTURE__  // platform code builds against "future"
#endif
#ifndef __INTRODUCED_IN
#define __INTRODUCED_IN(api_level)
#endif
#ifndef __INTRODUCED_IN_32
#define __INTRODUCED_IN_32(api_level)
#endif
#ifndef __INTRODUCED_IN_64
#define __INTRODUCED_IN_64(api_level)
#endif
#ifndef __DEPRECATED_IN
#define __DEPRECATED_IN(api_level)
#endif
#ifndef __REMOVED_IN
#define __REMOVED_IN(api_level)
#endif
#ifndef __INTRODUCED_IN_NO_GUARD_FOR_NDK
#define __INTRODUCED_IN_NO_GUARD_FOR_NDK(api_level)
#endif
#ifdef __cplusplus
extern "C" {
#endif
const char* getprogname(void);  // bionic <stdlib.h>
#ifdef __cplusplus
}
#endif
