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

/*
 * Host model of AOSP libbinder's BBinder (frameworks/native/libs/binder/include/binder/Binder.h,
 * Android 14/15): a local binder object. Services derive from it and override onTransact().
 */
#pragma once

#include <binder/IBinder.h>

#include <mutex>

namespace android {

// A binder object living in this process. transact() runs onTransact() synchronously on the
// caller's thread, as a real BBinder does for an in-process caller (FLAG_ONEWAY included).
class BBinder : public IBinder {
public:
    BBinder();

    // Returns an empty descriptor; a BnInterface returns its interface's name.
    const String16& getInterfaceDescriptor() const override;
    bool isBinderAlive() const override;
    status_t pingBinder() override;
    status_t dump(int fd, const Vector<String16>& args) override;

    // Rewinds `data`, handles PING/EXTENSION/DEBUG_PID itself, else returns onTransact()'s status;
    // rewinds `reply` afterwards so an in-process caller reads it from the start.
    status_t transact(uint32_t code, const Parcel& data, Parcel* reply, uint32_t flags = 0) final;

    // A local binder has no death to report: both return INVALID_OPERATION.
    status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                         uint32_t flags = 0) final;
    status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                           uint32_t flags = 0, wp<DeathRecipient>* outRecipient = nullptr) final;

    BBinder* localBinder() override;

    // Returns the extension binder set by setExtension(), or null.
    sp<IBinder> getExtension();
    // Attaches an extension binder, returned for EXTENSION_TRANSACTION.
    void setExtension(const sp<IBinder>& extension);

    // Whether transactions should carry the caller's SELinux context (recorded only, on host).
    bool isRequestingSid();
    void setRequestingSid(bool requestSid);

    BBinder(const BBinder&) = delete;
    BBinder& operator=(const BBinder&) = delete;

protected:
    ~BBinder() override;

    // Handles one transaction. The default answers INTERFACE_TRANSACTION with the descriptor,
    // accepts SYSPROPS_TRANSACTION and returns UNKNOWN_TRANSACTION for any other code.
    virtual status_t onTransact(uint32_t code, const Parcel& data, Parcel* reply,
                                uint32_t flags = 0);

private:
    std::mutex mLock;  // guards the members below, which transactions may read concurrently
    sp<IBinder> mExtension;
    bool mRequestingSid = false;
};

}  // namespace android
