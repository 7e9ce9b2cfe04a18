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
