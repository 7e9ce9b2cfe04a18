// Device side: bionic's dlclose(nullptr) returns an error, and libc++ keeps the 22-character
// library name inside the string object, so it stays readable after the string's destructor.
#include <dlfcn.h>

#include "talvex_libgui_utils/hook_platform.h"
#include "talvex_libgui_utils/libgui_ext_interface.h"

namespace android::libgui_interface::hook::platform {

void closeLibrary(void* handle) {
    dlclose(handle);
}

ExitNameKeeper::~ExitNameKeeper() {}

const char* ExitNameKeeper::name() {
    return libgui_ext_name.c_str();
}

}  // namespace android::libgui_interface::hook::platform
