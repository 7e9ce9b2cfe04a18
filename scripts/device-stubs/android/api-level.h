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

// STUB (hand-written): bionic's <android/api-level.h>, which glibc lacks. googletest's
// gtest-port.h includes it when __ANDROID__ is defined, for __ANDROID_API__ alone; the
// values are those bionic_compat.h gives every file.
#pragma once
#ifndef __ANDROID_API_FUTURE__
#define __ANDROID_API_FUTURE__ 10000
#endif
#ifndef __ANDROID_API__
#define __ANDROID_API__ __ANDROID_API_FUTURE__  // platform code builds against "future"
#endif
