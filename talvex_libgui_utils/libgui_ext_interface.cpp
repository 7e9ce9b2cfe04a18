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

// The class registry and vendor library loading.
#include "talvex_libgui_utils/libgui_ext_interface.h"

#include <android-base/logging.h>
#include <dlfcn.h>

#include <cstdio>

#include "talvex_libgui_utils/hook_platform.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {
namespace {

// Ties the vendor library's unload to this module's: its destructor closes the handle.
class hook_module_glb {
public:
    hook_module_glb() {}
    ~hook_module_glb() { hook_module_exit(); }
};

// hook_module_exit() logs the name during unload, after the name's destructor has run. libc++
// keeps a 22-character name inside the string (still readable then), libstdc++ only 15, and a
// test may set a longer name: so the name is copied just before it is destroyed, on both.
class ExitNameKeeper {
public:
    ~ExitNameKeeper() {
        snprintf(sName, sizeof(sName), "%s", libgui_ext_name.c_str());
        sTaken = true;
    }
    // Returns the name as it may be read now, also during unload.
    static const char* name() { return sTaken ? sName : libgui_ext_name.c_str(); }

private:
    // Trivially destructible, so they outlive every object with a destructor.
    static inline char sName[256];
    static inline bool sTaken = false;
};

// Never a null string in the log, whatever the loader says.
const char* loaderError() {
    const char* error = dlerror();
    return error != nullptr ? error : "";
}

}  // namespace

// Defined, and so constructed, in this order; destroyed in reverse at unload.
static hook_module_glb g_hook_module_glb;
std::string libgui_ext_name = "libgui_talvex_utils.so";
HookRegisterMap HOOK_REGISTER_MAP;
void* libgui_ext_handle = nullptr;
// Defined after the name, so destroyed just before it.
static ExitNameKeeper g_exit_name_keeper;

void registerClass(HookRegisterMap& map, const std::string& name, HookFactory factory) {
    map[name] = factory;
}

void* newInstance(const std::string& name) {
    auto it = HOOK_REGISTER_MAP.find(name);
    if (it == HOOK_REGISTER_MAP.end()) {
        LOG(ERROR) << "Can not find " << name << " at HOOK_REGISTER_MAP";
        return nullptr;
    }
    return it->second();
}

int hook_module_init() {
    if (libgui_ext_handle != nullptr) {
        LOG(INFO) << "Library " << libgui_ext_name << " have been open";
        return 0;
    }
    // Stored before the test: a failed open leaves it null, so the next call retries.
    libgui_ext_handle = dlopen(libgui_ext_name.c_str(), RTLD_LAZY);
    if (libgui_ext_handle == nullptr) {
        LOG(ERROR) << "ERROR: Can not open " << libgui_ext_name << ", " << loaderError();
        return 1;
    }
    auto entry = reinterpret_cast<void (*)(HookRegisterMap*)>(
        dlsym(libgui_ext_handle, "talvex_libgui_vendor_hook_init"));
    if (entry == nullptr) {
        // The handle stays set: the load is not tried again.
        LOG(ERROR) << "ERROR: Can not load symbol vendor_hook_init: " << loaderError();
        return 1;
    }
    entry(&HOOK_REGISTER_MAP);
    LOG(INFO) << "hook_module_init"
              << " " << libgui_ext_name << " over, map size:" << HOOK_REGISTER_MAP.size()
              << ", library handle:" << PointerText{libgui_ext_handle};
    return 0;
}

void hook_module_exit() {
    // "over" is logged before the close, as the device's line has always been.
    LOG(INFO) << "hook_module_exit"
              << " " << ExitNameKeeper::name()
              << " over, handle:" << PointerText{libgui_ext_handle};
    platform::closeLibrary(libgui_ext_handle);
    libgui_ext_handle = nullptr;
}

void ensure_hook_module_init() {
    if (libgui_ext_handle != nullptr) return;
    hook_module_init();
}

}  // namespace android::libgui_interface::hook
