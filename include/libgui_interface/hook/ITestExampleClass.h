#pragma once

#include <libgui_interface/hook/export.h>

namespace android::libgui_interface::hook {

// Proves the hook path: the real class and the fallback each log a greeting.
class TALVEX_EXPORT ITestExampleClass {
public:
    // Logs a greeting that names the class which answered.
    virtual void sayHello() = 0;
    virtual ~ITestExampleClass() = default;
};

// Returns the cached instance, or caches and returns a new fallback; never loads the library.
TALVEX_EXPORT ITestExampleClass* getTestExampleClassInstance();

// Loads the vendor library if needed and returns the real test example, or a new fallback.
TALVEX_EXPORT ITestExampleClass* createTalvexTestExampleClassFactory();

}  // namespace android::libgui_interface::hook
