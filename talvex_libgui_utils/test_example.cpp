// The test example's getter, factory and fallback.
#include "talvex_libgui_utils/test_example.h"

#include <android-base/logging.h>

#include "talvex_libgui_utils/libgui_ext_interface.h"
#include "talvex_libgui_utils/pointer_text.h"

namespace android::libgui_interface::hook {

// Set once, never reset; unlike the other two caches it may hold one of several heap fallbacks.
static ITestExampleClass* test_example_ins = nullptr;

void DefaultTestExampleClass::sayHello() {
    LOG(INFO) << "Talvex-Graphics: DefaultTestExampleClass "
              << "sayHello";
}

ITestExampleClass* getTestExampleClassInstance() {
    // Deliberately no factory call: this getter never loads the vendor library.
    if (test_example_ins == nullptr) {
        LOG(ERROR) << "getTestExampleClassInstance"
                   << " ITestExampleClass failed, maybe not create, use default";
        test_example_ins = new DefaultTestExampleClass();
    }
    return test_example_ins;
}

ITestExampleClass* createTalvexTestExampleClassFactory() {
    ensure_hook_module_init();
    if (test_example_ins == nullptr) {
        void* created = newInstance("TalvexTestExample");
        test_example_ins = created != nullptr ? static_cast<ITestExampleClass*>(created)
                                              : new DefaultTestExampleClass();
        LOG(INFO) << "createTalvexTestExampleClassFactory"
                  << " get instance " << PointerText{test_example_ins} << "/"
                  << PointerText{created};
    }
    return test_example_ins;
}

}  // namespace android::libgui_interface::hook
