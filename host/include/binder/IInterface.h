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
 * Host model of AOSP libbinder's IInterface and BnInterface (binder/IInterface.h, Android 14/15).
 * Not modelled: BpInterface and the DECLARE/IMPLEMENT_META_INTERFACE macros (no proxies on host).
 */
#pragma once

#include <binder/Binder.h>

namespace android {

// The base of a binder interface: something that can be turned into the binder behind it.
class IInterface : public virtual RefBase {
public:
    IInterface();
    // Returns the binder behind `iface`, or null if `iface` is null.
    static sp<IBinder> asBinder(const IInterface* iface);
    static sp<IBinder> asBinder(const sp<IInterface>& iface);

protected:
    virtual ~IInterface();
    virtual IBinder* onAsBinder() = 0;
};

// Returns `obj` as INTERFACE; needs INTERFACE::asInterface (DECLARE_META_INTERFACE on device).
template <typename INTERFACE>
inline sp<INTERFACE> interface_cast(const sp<IBinder>& obj) {
    return INTERFACE::asInterface(obj);
}

// The local (service) side of INTERFACE: a BBinder that answers for INTERFACE::descriptor.
template <typename INTERFACE>
class BnInterface : public INTERFACE, public BBinder {
public:
    // Returns this if `descriptor` is INTERFACE's, else null.
    sp<IInterface> queryLocalInterface(const String16& descriptor) override;
    const String16& getInterfaceDescriptor() const override;
    typedef INTERFACE BaseInterface;

protected:
    IBinder* onAsBinder() override;
};

template <typename INTERFACE>
sp<IInterface> BnInterface<INTERFACE>::queryLocalInterface(const String16& descriptor) {
    if (descriptor == INTERFACE::descriptor) return sp<IInterface>(this);
    return nullptr;
}

template <typename INTERFACE>
const String16& BnInterface<INTERFACE>::getInterfaceDescriptor() const {
    return INTERFACE::getInterfaceDescriptor();
}

template <typename INTERFACE>
IBinder* BnInterface<INTERFACE>::onAsBinder() {
    return this;
}

}  // namespace android
