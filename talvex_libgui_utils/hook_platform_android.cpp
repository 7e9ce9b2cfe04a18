// Device side: bionic's dlclose(nullptr) returns an error, so the handle is passed on as it is.
#include <dlfcn.h>

#include "talvex_libgui_utils/hook_platform.h"

namespace android::libgui_interface::hook::platform {

void closeLibrary(void* handle) {
    dlclose(handle);
}

}  // namespace android::libgui_interface::hook::platform
