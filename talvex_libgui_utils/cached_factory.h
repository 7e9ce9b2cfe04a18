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

#include <android-base/logging.h>

#include "talvex_libgui_utils/libgui_ext_interface.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// The factory algorithm shared by the frame record and the buffer-queue helper:
// loads the vendor library, then fills `cache` once with the registered class or the static
// fallback, logging which under `factoryName`. Returns `cache`.
template <typename Interface, typename Fallback>
Interface* createCachedInstance(Interface*& cache, const char* className, const char* factoryName) {
    ensure_hook_module_init();
    if (cache != nullptr) return cache;
    if (void* created = newInstance(className); created != nullptr) {
        cache = static_cast<Interface*>(created);
        LOG(INFO) << factoryName << " success, get instance " << PointerText{cache};
    } else {
        cache = Fallback::getInstance();
        LOG(INFO) << factoryName << " failed, get default instance " << PointerText{cache};
    }
    return cache;
}

}  // namespace android::libgui_interface::hook
