#pragma once

#include <cinttypes>
#include <cstdio>
#include <string>

namespace talvex::test {

// Returns a pointer as the device's "%p" prints it: "0x" and lowercase hex, "0x0" for null.
inline std::string pointerText(const void* pointer) {
    char text[32];
    snprintf(text, sizeof(text), "0x%" PRIxPTR, reinterpret_cast<uintptr_t>(pointer));
    return text;
}

}  // namespace talvex::test
