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

// Host libcutils: property_get on top of libbase's in-process property store, so a property set
// with android::base::SetProperty is seen by both APIs, as on a device.
#include <android-base/properties.h>
#include <cutils/properties.h>

#include <cstring>
#include <string>

extern "C" int property_get(const char* key, char* value, const char* default_value) {
    std::string found = key ? android::base::GetProperty(key, "") : "";
    if (found.empty() && default_value != nullptr) found = default_value;
    // As on a device, the value is cut to PROPERTY_VALUE_MAX - 1 characters.
    const size_t length = std::min(found.size(), static_cast<size_t>(PROPERTY_VALUE_MAX - 1));
    std::memcpy(value, found.data(), length);
    value[length] = '\0';
    return static_cast<int>(length);
}
