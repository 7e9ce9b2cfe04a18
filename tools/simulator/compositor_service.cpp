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

#include "compositor_service.h"

#include <android/log.h>

#include <cstdio>

namespace talvex::simulator {

using android::HostCompositor;

void LayerNames::add(const android::sp<android::IBinder>& handle, const std::string& surfaceName) {
    std::lock_guard<std::mutex> lock(mMutex);
    mNames[handle.get()] = surfaceName;
}

void LayerNames::remove(const android::sp<android::IBinder>& handle) {
    std::lock_guard<std::mutex> lock(mMutex);
    mNames.erase(handle.get());
}

std::string LayerNames::nameOf(const android::sp<android::IBinder>& handle) {
    std::lock_guard<std::mutex> lock(mMutex);
    auto it = mNames.find(handle.get());
    return it == mNames.end() ? std::string() : it->second;
}

android::sp<HostCompositor> registerCompositorService(const std::shared_ptr<LayerNames>& names) {
    auto log = [names](const HostCompositor::LayerRequest& request) {
        if (!request.interfaceOk) {
            __android_log_print(ANDROID_LOG_ERROR, "SurfaceFlinger",
                                "code %u: interface token refused",
                                HostCompositor::kLayerRequestCode);
            return;
        }
        const std::string surface = names->nameOf(request.token);
        __android_log_print(ANDROID_LOG_INFO, "SurfaceFlinger",
                            "stand-in: code %u%s, command %d: asked about %s (%s)",
                            HostCompositor::kLayerRequestCode, request.oneWay ? " (one-way)" : "",
                            request.command, request.layerName.c_str(),
                            surface.empty() ? "token names no live layer" : surface.c_str());
    };
    android::sp<HostCompositor> compositor(new HostCompositor(android::NO_ERROR, std::move(log)));
    if (HostCompositor::registerAsSurfaceFlinger(compositor) != android::NO_ERROR) {
        fprintf(stderr, "talvex_simulator: could not register the compositor stand-in\n");
        return nullptr;
    }
    return compositor;
}

}  // namespace talvex::simulator
