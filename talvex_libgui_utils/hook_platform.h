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

// Where the device (bionic) and a Linux host (glibc) differ for the hook module. Each side has
// its own file: hook_platform_android.cpp, hook_platform_host.cpp.

namespace android::libgui_interface::hook::platform {

// Closes a loader handle. A null handle goes to `dlclose` only where the loader accepts it.
void closeLibrary(void* handle);

}  // namespace android::libgui_interface::hook::platform
