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
// A device refuses to change a read-only property ("ro.*"): holds() says whether the property has
// the value asked for, and a test that needs it skips out loud when it does not.
class ScopedProperty {
public:
    ScopedProperty(std::string key, const std::string& value)
        : mKey(std::move(key)), mOld(android::base::GetProperty(mKey, "")), mValue(value) {
        if (mOld != value) android::base::SetProperty(mKey, value);
    }
    ~ScopedProperty() {
        if (mOld != mValue) android::base::SetProperty(mKey, mOld);
    }
    ScopedProperty(const ScopedProperty&) = delete;
    ScopedProperty& operator=(const ScopedProperty&) = delete;

    bool holds() const { return android::base::GetProperty(mKey, "") == mValue; }

private:
    std::string mKey;
    std::string mOld;
    std::string mValue;
};

// Skips the test when `property` could not take its value (a device's read-only property).
#define SKIP_UNLESS_HOLDS(property) \
    if (!(property).holds()) GTEST_SKIP() << "needs a build whose property can be set"

}  // namespace talvex::test
