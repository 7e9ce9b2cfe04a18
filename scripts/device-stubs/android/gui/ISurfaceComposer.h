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

// STUB (hand-written): stands in for the AIDL-generated C++ header of android.gui.ISurfaceComposer
// (libs/gui/.../ISurfaceComposer.aidl). The interface class, its two nested enums and the methods
// libgui's sources call; syntax checks only.
#pragma once
#include <binder/IInterface.h>
#include <binder/Status.h>

#include <cstdint>
// The generated header includes the headers of every type the interface imports; libgui's
// SurfaceComposerClient.h relies on that for these.
#include <android/gui/DisplayModeSpecs.h>
#include <android/gui/DynamicDisplayInfo.h>
#include <android/gui/HdrConversionCapability.h>
#include <android/gui/HdrConversionStrategy.h>
#include <android/gui/OverlayProperties.h>
#include <android/gui/StalledTransactionInfo.h>
namespace android::gui {
class ISurfaceComposer : public ::android::IInterface {
public:
    DECLARE_META_INTERFACE(SurfaceComposer)
    enum class VsyncSource : int32_t { eVsyncSourceApp = 0, eVsyncSourceSurfaceFlinger = 1 };
    enum class EventRegistration : int32_t { modeChanged = 1 << 0, frameRateOverride = 1 << 1 };
    // The methods libgui's own sources call, as the cpp backend declares them.
    virtual ::android::binder::Status getMaxAcquiredBufferCount(int32_t* _aidl_return) = 0;
};
}  // namespace android::gui
