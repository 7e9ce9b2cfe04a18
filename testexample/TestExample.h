#pragma once

#include <libgui_interface/hook/ITestExampleClass.h>

namespace android::talvexgui {

// The real test example: its greeting in the log proves the hook path reached the vendor class.
class TALVEX_EXPORT TalvexTestExample : public libgui_interface::hook::ITestExampleClass {
public:
    // Returns the one instance (a function-local static) as an `ITestExampleClass*`.
    static void* createRealImplFactory();

    void sayHello() override;
    ~TalvexTestExample() override {}
};

}  // namespace android::talvexgui
