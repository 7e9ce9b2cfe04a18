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

#pragma once

// Clang's thread-safety annotations (`GUARDED_BY`, `REQUIRES`, `EXCLUDES`, ...), so a locking
// contract is written where it holds and a missing lock is a compile error. They are the
// platform's own, as libgui uses them, together with `android::base::ScopedLockAssertion`.
// Compilers other than clang do not know the attributes: there every annotation expands to
// nothing instead of relying on warnings being muted inside system headers.
//
// The analysis needs a standard library whose `std::mutex` and `std::lock_guard` are annotated:
// libc++ with `_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS`, as AOSP builds it. The host build checks
// against libc++ for that reason (see docs/design.md).
#include <android-base/thread_annotations.h>

#if !defined(__clang__)
#undef THREAD_ANNOTATION_ATTRIBUTE__
#define THREAD_ANNOTATION_ATTRIBUTE__(x)
#endif
