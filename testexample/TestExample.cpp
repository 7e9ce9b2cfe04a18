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

// The test example class.
#include "testexample/TestExample.h"

#include <android-base/logging.h>

namespace android::talvexgui {

void* TalvexTestExample::createRealImplFactory() {
    static TalvexTestExample instance;
    // The getters read the pointer back as the interface.
    return static_cast<libgui_interface::hook::ITestExampleClass*>(&instance);
}

void TalvexTestExample::sayHello() {
    LOG(INFO) << "Talvex-Graphics: TalvexTestExample "
              << "sayHello";
}

}  // namespace android::talvexgui
