#pragma once

// Where the device (bionic, libc++) and a Linux host (glibc, libstdc++) differ for the hook
// module. Each side has its own file: hook_platform_android.cpp, hook_platform_host.cpp.

#include <string>

namespace android::libgui_interface::hook::platform {

// Closes a loader handle. A null handle goes to `dlclose` only where the loader accepts it.
void closeLibrary(void* handle);

// Keeps the library name readable for `hook_module_exit()`, which logs it during unload after
// the name's own destructor has run. Define one, right after the name, in the same file.
class ExitNameKeeper {
public:
    explicit ExitNameKeeper(const std::string& name) : mName(name) {}
    ~ExitNameKeeper();
    ExitNameKeeper(const ExitNameKeeper&) = delete;
    ExitNameKeeper& operator=(const ExitNameKeeper&) = delete;

    // Returns the name as it may be read now, also during unload.
    static const char* name();

private:
    const std::string& mName;
};

}  // namespace android::libgui_interface::hook::platform
