#pragma once

#include <binder/IBinder.h>
#include <gui/HostCompositor.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <string>

namespace talvex::simulator {

// Registers the compositor stand-in as "SurfaceFlinger" in the host service manager. Each
// request naming a layer is logged under the tag "SurfaceFlinger", with the surface that
// `nameOf` gives for the request's token. Returns null (with a line on stderr) on failure.
android::sp<android::HostCompositor> registerCompositorService(
    std::function<std::string(const android::sp<android::IBinder>&)> nameOf);

}  // namespace talvex::simulator
