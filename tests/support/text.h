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
#include <string>

namespace talvex::test {

// Returns a pointer as the device's "%p" prints it: "0x" and lowercase hex, "0x0" for null.
inline std::string pointerText(const void* pointer) {
    char text[32];
    snprintf(text, sizeof(text), "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
    return text;
}

}  // namespace talvex::test
