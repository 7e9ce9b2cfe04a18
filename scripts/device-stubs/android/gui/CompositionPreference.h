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

// STUB (hand-written): stands in for the AIDL-generated C++ header of
// android.gui.CompositionPreference (libs/gui/aidl/android/gui/CompositionPreference.aidl). The
// fields libgui's sources read; syntax checks only.
#pragma once
#include <binder/Parcel.h>
#include <binder/Parcelable.h>

#include <cstdint>
namespace android::gui {
class CompositionPreference : public ::android::Parcelable {
public:
    int32_t defaultDataspace = 0;
    int32_t defaultPixelFormat = 0;
    int32_t wideColorGamutDataspace = 0;
    int32_t wideColorGamutPixelFormat = 0;
    ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
    ::android::status_t writeToParcel(::android::Parcel* parcel) const final;
};
}  // namespace android::gui
