#pragma once

#include <libgui_interface/hook/ITestExampleClass.h>

namespace android::libgui_interface::hook {

// Fallback test example: greets from the fallback, so a log shows which path was taken.
class TALVEX_EXPORT DefaultTestExampleClass : public ITestExampleClass {
public:
    void sayHello() override;
    ~DefaultTestExampleClass() override {}
};

}  // namespace android::libgui_interface::hook
