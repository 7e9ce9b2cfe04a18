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

#include <cinttypes>
#include <cstdio>
#include <ostream>

namespace android::libgui_interface::hook {

// Streams a pointer as bionic's "%p" prints it: "0x" and lowercase hex, "0x0" for null
// (glibc's "%p" says "(nil)" and libstdc++'s stream "0").
struct PointerText {
    const void* pointer;
};

inline std::ostream& operator<<(std::ostream& os, PointerText p) {
    char text[2 + 16 + 1];
    snprintf(text, sizeof(text), "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(p.pointer));
    return os << text;
}

}  // namespace android::libgui_interface::hook
