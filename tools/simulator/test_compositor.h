#pragma once

#include <binder/Binder.h>

namespace talvex::simulator {

// Stands in for SurfaceFlinger: registered as "SurfaceFlinger" in the host service manager, it
// reads the layer request as the compositor would and logs what it was told.
class TestCompositor : public android::BBinder {
public:
    // The request code the frame record sends (Part 2.6).
    static constexpr uint32_t kLayerRequestCode = 1025;

    // Registers a new compositor under "SurfaceFlinger". Returns false if that failed.
    static bool registerInServiceManager();

protected:
    android::status_t onTransact(uint32_t code, const android::Parcel& data, android::Parcel* reply,
                                 uint32_t flags) override;
};

}  // namespace talvex::simulator
