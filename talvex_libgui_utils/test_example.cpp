/*
 * Copyright (C) 2026 The libgui_talvex_utils Authors
 *
 * Licensed under the Apache License, Version 2.0 (the "License");
 * you may not use this file except in compliance with the License.
 * You may obtain a copy of the License at
 *
 *      http://www.apache.org/licenses/LICENSE-2.0
 *
 * Unless required by applicable law or agreed to in writing, software
 * distributed under the License is distributed on an "AS IS" BASIS,
 * WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
 * See the License for the specific language governing permissions and
 * limitations under the License.
 */

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
