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

// Host model of IBinder, BBinder and IInterface (libbinder Binder.cpp / IInterface.cpp).
#define LOG_TAG "BBinder"

#include <binder/Binder.h>
#include <binder/IInterface.h>
#include <binder/Parcel.h>
#include <log/log.h>
#include <unistd.h>

namespace android {

// ---- IBinder ----

IBinder::IBinder() : RefBase() {}

IBinder::~IBinder() {}

sp<IInterface> IBinder::queryLocalInterface(const String16& /*descriptor*/) {
    return nullptr;
}

BBinder* IBinder::localBinder() {
    return nullptr;
}

BpBinder* IBinder::remoteBinder() {
    return nullptr;
}

// ---- BBinder ----

BBinder::BBinder() {}

BBinder::~BBinder() {}

const String16& BBinder::getInterfaceDescriptor() const {
    // As on device: a plain BBinder has no interface, so it answers with an empty name.
    static const String16* const sEmptyDescriptor = new String16();
    ALOGW("reached BBinder::getInterfaceDescriptor (this=%p)", this);
    return *sEmptyDescriptor;
}

bool BBinder::isBinderAlive() const {
    return true;
}

status_t BBinder::pingBinder() {
    return NO_ERROR;
}

status_t BBinder::dump(int /*fd*/, const Vector<String16>& /*args*/) {
    return NO_ERROR;
}

status_t BBinder::transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags) {
    data.setDataPosition(0);
    if (reply != nullptr && (flags & FLAG_CLEAR_BUF)) reply->markSensitive();

    status_t err = NO_ERROR;
    switch (code) {
        case PING_TRANSACTION:
            err = pingBinder();
            break;
        case EXTENSION_TRANSACTION:
            if (reply == nullptr) return BAD_VALUE;
            err = reply->writeStrongBinder(getExtension());
            break;
        case DEBUG_PID_TRANSACTION:
            if (reply == nullptr) return BAD_VALUE;
            err = reply->writeInt32(getpid());
            break;
        default:
            err = onTransact(code, data, reply, flags);
            break;
    }

    // In case this is being transacted on in the same process.
    if (reply != nullptr) reply->setDataPosition(0);
    return err;
}

status_t BBinder::linkToDeath(const sp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                              uint32_t /*flags*/) {
    return INVALID_OPERATION;
}

status_t BBinder::unlinkToDeath(const wp<DeathRecipient>& /*recipient*/, void* /*cookie*/,
                                uint32_t /*flags*/, wp<DeathRecipient>* /*outRecipient*/) {
    return INVALID_OPERATION;
}

BBinder* BBinder::localBinder() {
    return this;
}

sp<IBinder> BBinder::getExtension() {
    std::lock_guard<std::mutex> lock(mLock);
    return mExtension;
}

void BBinder::setExtension(const sp<IBinder>& extension) {
    std::lock_guard<std::mutex> lock(mLock);
    mExtension = extension;
}

bool BBinder::isRequestingSid() {
    std::lock_guard<std::mutex> lock(mLock);
    return mRequestingSid;
}

void BBinder::setRequestingSid(bool requestSid) {
    std::lock_guard<std::mutex> lock(mLock);
    mRequestingSid = requestSid;
}

status_t BBinder::onTransact(uint32_t code, const Parcel& /*data*/, Parcel* reply,
                             uint32_t /*flags*/) {
    switch (code) {
        case INTERFACE_TRANSACTION:
            if (reply == nullptr) return BAD_VALUE;
            reply->writeString16(getInterfaceDescriptor());
            return NO_ERROR;
        case SYSPROPS_TRANSACTION:
            return NO_ERROR;  // no system properties to reload on host
        default:
            return UNKNOWN_TRANSACTION;
    }
}

// ---- IInterface ----

IInterface::IInterface() : RefBase() {}

IInterface::~IInterface() {}

sp<IBinder> IInterface::asBinder(const IInterface* iface) {
    if (iface == nullptr) return nullptr;
    return const_cast<IInterface*>(iface)->onAsBinder();
}

sp<IBinder> IInterface::asBinder(const sp<IInterface>& iface) {
    if (iface == nullptr) return nullptr;
    return iface->onAsBinder();
}

}  // namespace android
