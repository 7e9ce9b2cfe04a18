// Host side: glibc's dlclose(nullptr) crashes, and libstdc++'s short-string buffer holds only 15
// characters, so the 22-character name lives on the heap and is freed before the exit line.
#include <dlfcn.h>

#include <cstdio>

#include "talvex_libgui_utils/hook_platform.h"
#include "talvex_libgui_utils/libgui_ext_interface.h"

namespace android::libgui_interface::hook::platform {
namespace {

// Trivially destructible, so it outlives every object with a destructor.
char sNameAtExit[256];
bool sNameTaken = false;

}  // namespace

void closeLibrary(void* handle) {
    if (handle != nullptr) dlclose(handle);
}

// Runs just before the name is destroyed (it is defined right after it): take a copy.
ExitNameKeeper::~ExitNameKeeper() {
    snprintf(sNameAtExit, sizeof(sNameAtExit), "%s", mName.c_str());
    sNameTaken = true;
}

const char* ExitNameKeeper::name() {
    return sNameTaken ? sNameAtExit : libgui_ext_name.c_str();
}

}  // namespace android::libgui_interface::hook::platform
