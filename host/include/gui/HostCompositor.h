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

// Host model of SurfaceFlinger's receiving side (frameworks/native/services/surfaceflinger,
// BnSurfaceComposer::onTransact, Android 14/15) for the one request this library sends: code
// 1025, read as SurfaceFlinger reads it (interface token "android.ui.ISurfaceComposer", int32
// command, String16 layer name, strong binder token). Registered as "SurfaceFlinger" in the host
// service manager, it keeps every transaction it receives so tests can read them back, and tells
// an optional observer about each layer request (the simulator logs from it).
#pragma once

#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <stdint.h>
#include <utils/Errors.h>
#include <utils/StrongPointer.h>

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace android {

class HostCompositor : public BBinder {
public:
    // The request code of the layer request (the frame record's compositor call).
    static constexpr uint32_t kLayerRequestCode = 1025;
    // The interface token SurfaceFlinger enforces.
    static constexpr const char* kInterfaceDescriptor = "android.ui.ISurfaceComposer";
    // The name SurfaceFlinger is registered under in the service manager.
    static constexpr const char* kServiceName = "SurfaceFlinger";

    // A code-1025 request as the compositor read it.
    struct LayerRequest {
        bool oneWay = false;       // sent with IBinder::FLAG_ONEWAY
        bool interfaceOk = false;  // the interface token was accepted; if not, nothing else is read
        int32_t command = 0;
        std::string layerName;
        sp<IBinder> token;
    };

    // One transaction as received: its code, flags and raw bytes, decoded if it is a layer request.
    struct Transaction {
        uint32_t code = 0;
        uint32_t flags = 0;
        std::vector<uint8_t> bytes;
        std::optional<LayerRequest> layerRequest;  // set for code kLayerRequestCode
    };

    using Observer = std::function<void(const LayerRequest&)>;

    // Answers accepted layer requests with `answer`; calls `observer`, if set, for each layer
    // request (after it is kept, on the caller's thread, without the compositor's lock held).
    explicit HostCompositor(status_t answer = NO_ERROR, Observer observer = nullptr);

    HostCompositor(const HostCompositor&) = delete;
    HostCompositor& operator=(const HostCompositor&) = delete;

    // Returns a copy of every transaction received so far, oldest first.
    std::vector<Transaction> transactions() const;

    // Registers `compositor` as "SurfaceFlinger" in defaultServiceManager(). Returns addService()'s
    // status, or NO_INIT if there is no service manager.
    static status_t registerAsSurfaceFlinger(const sp<HostCompositor>& compositor);

protected:
    // Keeps the transaction. A layer request with a bad interface token is answered
    // PERMISSION_DENIED, as SurfaceFlinger's CHECK_INTERFACE does; other codes go to BBinder.
    status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) override;

private:
    static LayerRequest readLayerRequest(const Parcel& data, uint32_t flags);

    const status_t mAnswer;
    const Observer mObserver;
    mutable std::mutex mMutex;
    std::vector<Transaction> mTransactions;  // guarded by mMutex
};

}  // namespace android
