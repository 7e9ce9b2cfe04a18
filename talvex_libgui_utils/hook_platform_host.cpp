// Host side: glibc's dlclose(nullptr) crashes, so a null handle is not passed on.
#include <dlfcn.h>

#include "talvex_libgui_utils/hook_platform.h"

namespace android::libgui_interface::hook::platform {

void closeLibrary(void* handle) {
    if (handle != nullptr) dlclose(handle);
}

}  // namespace android::libgui_interface::hook::platform
