#include "test_compositor.h"

#include <android/log.h>
#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <utils/String8.h>

namespace talvex::simulator {

using android::IBinder;
using android::Parcel;
using android::sp;
using android::status_t;
using android::String16;
using android::String8;

bool TestCompositor::registerInServiceManager() {
    sp<android::IServiceManager> manager = android::defaultServiceManager();
    if (manager == nullptr) return false;
    return manager->addService(String16("SurfaceFlinger"), sp<IBinder>(new TestCompositor())) ==
           android::NO_ERROR;
}

status_t TestCompositor::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                    uint32_t flags) {
    if (code != kLayerRequestCode) return BBinder::onTransact(code, data, reply, flags);
    if (!data.enforceInterface(String16("android.ui.ISurfaceComposer"))) {
        __android_log_print(ANDROID_LOG_ERROR, "SurfaceFlinger", "code %u: bad interface token",
                            code);
        return android::PERMISSION_DENIED;
    }
    const int32_t command = data.readInt32();
    const String8 name(data.readString16());
    const sp<IBinder> token = data.readStrongBinder();
    __android_log_print(ANDROID_LOG_INFO, "SurfaceFlinger", "code %u%s: command %d for %s, token %s",
                        code, (flags & IBinder::FLAG_ONEWAY) ? " (one-way)" : "", command,
                        name.c_str(), token != nullptr ? "set" : "null");
    return android::NO_ERROR;
}

}  // namespace talvex::simulator
