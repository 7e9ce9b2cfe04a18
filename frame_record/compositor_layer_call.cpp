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

// The one-way request to the compositor that names a layer.
#include <android/log.h>
#include <binder/IBinder.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <utils/String16.h>

#include <string>

#include "frame_record/TalvexFrameRecord.h"

namespace android {

namespace {

// The request the compositor side expects; what it does with it lies outside this library.
constexpr char kServiceName[] = "SurfaceFlinger";
constexpr char kInterfaceDescriptor[] = "android.ui.ISurfaceComposer";
constexpr uint32_t kLayerCallCode = 1025;
constexpr int32_t kLayerCallCommand = 3;

}  // namespace

void TalvexFrameRecord::callSurfaceFlingerByLayer(const sp<IBinder>& token, int layerId) {
    if (mSurfaceFlinger == nullptr) {
        sp<IServiceManager> serviceManager = defaultServiceManager();
        if (serviceManager == nullptr) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr,
                                "Talvex-Graphics:get defaultServiceManager failed");
            return;
        }
        // Cached once found; a failed look-up leaves it null, so the next call tries again.
        mSurfaceFlinger = serviceManager->checkService(String16(kServiceName));
        if (mSurfaceFlinger == nullptr) {
            __android_log_print(ANDROID_LOG_ERROR, nullptr,
                                "Talvex-Graphics:serviceManager get SurfaceFlinger failed");
            return;
        }
    }

    const std::string layerName = "layer#" + std::to_string(layerId);
    Parcel data;
    data.writeInterfaceToken(String16(kInterfaceDescriptor));
    data.writeInt32(kLayerCallCommand);
    data.writeString16(String16(layerName.c_str()));
    data.writeStrongBinder(token);
    // One-way: no reply, and the status is not looked at.
    mSurfaceFlinger->transact(kLayerCallCode, data, nullptr, IBinder::FLAG_ONEWAY);
    __android_log_print(ANDROID_LOG_DEBUG, nullptr, "Talvex-Graphics:%s async over: #%d",
                        "callSurfaceFlingerByLayer", layerId);
}

}  // namespace android
