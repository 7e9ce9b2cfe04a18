#pragma once

// Where the device (bionic) and a Linux host (glibc) differ for the hook module. Each side has
// its own file: hook_platform_android.cpp, hook_platform_host.cpp.

namespace android::libgui_interface::hook::platform {

// Closes a loader handle. A null handle goes to `dlclose` only where the loader accepts it.
void closeLibrary(void* handle);

}  // namespace android::libgui_interface::hook::platform
