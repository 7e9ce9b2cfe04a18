#pragma once

#include <binder/IBinder.h>
#include <gui/HostCompositor.h>
#include <utils/StrongPointer.h>

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace talvex::simulator {

// The compositor's knowledge of live layers: which surface a layer handle belongs to.
class LayerNames {
public:
    void add(const android::sp<android::IBinder>& handle, const std::string& surfaceName);
    void remove(const android::sp<android::IBinder>& handle);
    // Returns the surface name of the live layer whose handle is `handle`, or "".
    std::string nameOf(const android::sp<android::IBinder>& handle);

private:
    std::mutex mMutex;
    std::map<android::IBinder*, std::string> mNames;  // guarded by mMutex
};

// Registers the compositor stand-in as "SurfaceFlinger" in the host service manager. Each
// request naming a layer is logged under the tag "SurfaceFlinger", with the surface `names`
// knows for the request's token. Returns null (with a line on stderr) on failure.
android::sp<android::HostCompositor> registerCompositorService(
    const std::shared_ptr<LayerNames>& names);

}  // namespace talvex::simulator
