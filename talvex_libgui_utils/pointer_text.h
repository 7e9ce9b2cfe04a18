#pragma once

#include <cinttypes>
#include <cstdio>
#include <ostream>

namespace android::libgui_interface::hook {

// Streams a pointer as bionic's "%p" prints it: "0x" and lowercase hex, "0x0" for null
// (glibc's "%p" says "(nil)" and libstdc++'s stream "0").
struct PointerText {
    const void* pointer;
};

inline std::ostream& operator<<(std::ostream& os, PointerText p) {
    char text[2 + 16 + 1];
    snprintf(text, sizeof(text), "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(p.pointer));
    return os << text;
}

}  // namespace android::libgui_interface::hook
