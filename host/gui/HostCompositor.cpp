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

#define LOG_TAG "HostCompositor"

#include <binder/IServiceManager.h>
#include <binder/Parcel.h>
#include <gui/HostCompositor.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <utility>

namespace android {

HostCompositor::HostCompositor(status_t answer, Observer observer)
    : mAnswer(answer), mObserver(std::move(observer)) {}

std::vector<HostCompositor::Transaction> HostCompositor::transactions() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mTransactions;
}

status_t HostCompositor::registerAsSurfaceFlinger(const sp<HostCompositor>& compositor) {
    sp<IServiceManager> manager = defaultServiceManager();
    if (manager == nullptr) return NO_INIT;
    return manager->addService(String16(kServiceName), compositor);
}

HostCompositor::LayerRequest HostCompositor::readLayerRequest(const Parcel& data, uint32_t flags) {
    LayerRequest request;
    request.oneWay = (flags & IBinder::FLAG_ONEWAY) != 0;
    request.interfaceOk = data.enforceInterface(String16(kInterfaceDescriptor));
    if (!request.interfaceOk) return request;
    request.command = data.readInt32();
    request.layerName = String8(data.readString16()).c_str();
    request.token = data.readStrongBinder();
    return request;
}

status_t HostCompositor::onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                    uint32_t flags) {
    Transaction transaction;
    transaction.code = code;
    transaction.flags = flags;
    transaction.bytes.assign(data.data(), data.data() + data.dataSize());
    if (code == kLayerRequestCode) transaction.layerRequest = readLayerRequest(data, flags);
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mTransactions.push_back(transaction);
    }
    if (code != kLayerRequestCode) return BBinder::onTransact(code, data, reply, flags);
    if (mObserver) mObserver(*transaction.layerRequest);
    return transaction.layerRequest->interfaceOk ? mAnswer : PERMISSION_DENIED;
}

}  // namespace android
