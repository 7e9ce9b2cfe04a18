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

#include <libgui_interface/hook/export.h>

#include <map>
#include <string>

namespace android::libgui_interface::hook {

// Factory of a registered class: returns an untyped pointer to an instance, seen as the
// interface the class name stands for.
using HookFactory = void* (*)();
using HookRegisterMap = std::map<std::string, HookFactory>;

// File name handed to the loader; the library opens itself by it. Never changed.
TALVEX_EXPORT extern std::string libgui_ext_name;
// Class name to factory, filled by the vendor entry `talvex_libgui_vendor_hook_init`.
TALVEX_EXPORT extern HookRegisterMap HOOK_REGISTER_MAP;
// Loader handle: null until an open succeeds, null again after `hook_module_exit()`.
TALVEX_EXPORT extern void* libgui_ext_handle;

// Sets `map[name]` to `factory`, adding or silently replacing the entry.
TALVEX_EXPORT void registerClass(HookRegisterMap& map, const std::string& name, HookFactory factory);
// Returns what the factory registered for `name` gives, or null (and logs) if there is none.
TALVEX_EXPORT void* newInstance(const std::string& name);
// Opens the vendor library and runs its entry. Returns 0 if loaded (now or before), 1 if not.
TALVEX_EXPORT int hook_module_init();
// Closes the vendor library; runs at unload.
TALVEX_EXPORT void hook_module_exit();
// Loads the vendor library unless the handle says it is loaded already.
TALVEX_EXPORT void ensure_hook_module_init();

}  // namespace android::libgui_interface::hook

// The vendor library's registration entry, looked up by this unmangled name.
extern "C" TALVEX_EXPORT void talvex_libgui_vendor_hook_init(
    android::libgui_interface::hook::HookRegisterMap* map);
