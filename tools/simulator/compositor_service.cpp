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
