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
// android.gui.ISurfaceComposerClient (libs/gui/.../ISurfaceComposerClient.aidl). The interface
// class, its flags and the methods libgui's sources call; syntax checks only.
#pragma once
#include <android/gui/CreateSurfaceResult.h>
#include <android/gui/FrameStats.h>
#include <binder/IBinder.h>
#include <binder/IInterface.h>
#include <binder/Status.h>
#include <gui/LayerMetadata.h>

#include <cstdint>
#include <string>
namespace android::gui {
class ISurfaceComposerClient : public ::android::IInterface {
public:
    DECLARE_META_INTERFACE(SurfaceComposerClient)
    enum : int32_t {
        eHidden = 0x00000004,
        eDestroyBackbuffer = 0x00000020,
        eSkipScreenshot = 0x00000040,
        eSecure = 0x00000080,
        eNonPremultiplied = 0x00000100,
        eOpaque = 0x00000400,
        eProtectedByApp = 0x00000800,
        eProtectedByDRM = 0x00001000,
        eCursorWindow = 0x00002000,
        eNoColorFill = 0x00004000,
        eFXSurfaceBufferQueue = 0x00000000,
        eFXSurfaceEffect = 0x00020000,
        eFXSurfaceBufferState = 0x00040000,
        eFXSurfaceContainer = 0x00080000,
        eFXSurfaceMask = 0x000F0000,
    };
    // The methods libgui's sources call, as the cpp backend declares them.
    virtual ::android::binder::Status createSurface(const ::std::string& name, int32_t flags,
                                                    const ::android::sp<::android::IBinder>& parent,
                                                    const LayerMetadata& metadata,
                                                    CreateSurfaceResult* _aidl_return) = 0;
    virtual ::android::binder::Status clearLayerFrameStats(
        const ::android::sp<::android::IBinder>& handle) = 0;
    virtual ::android::binder::Status getLayerFrameStats(
        const ::android::sp<::android::IBinder>& handle, FrameStats* _aidl_return) = 0;
    virtual ::android::binder::Status mirrorSurface(
        const ::android::sp<::android::IBinder>& mirrorFromHandle,
        CreateSurfaceResult* _aidl_return) = 0;
    virtual ::android::binder::Status mirrorDisplay(int64_t displayId,
                                                    CreateSurfaceResult* _aidl_return) = 0;
};
}  // namespace android::gui
