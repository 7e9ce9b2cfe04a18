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

#include <android-base/properties.h>

#include <string>

namespace talvex::test {

// Sets a system property (libbase's in-process store on host) and restores it on destruction.
class ScopedProperty {
public:
    ScopedProperty(std::string key, const std::string& value)
        : mKey(std::move(key)), mOld(android::base::GetProperty(mKey, "")) {
        android::base::SetProperty(mKey, value);
    }
    ~ScopedProperty() { android::base::SetProperty(mKey, mOld); }
    ScopedProperty(const ScopedProperty&) = delete;
    ScopedProperty& operator=(const ScopedProperty&) = delete;

private:
    std::string mKey;
    std::string mOld;
};

}  // namespace talvex::test
