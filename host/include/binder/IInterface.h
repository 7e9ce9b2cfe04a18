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
 * Host model of AOSP libbinder's IInterface and BnInterface (binder/IInterface.h, Android 14/15),
 * with DECLARE_META_INTERFACE and IMPLEMENT_META_INTERFACE. Not modelled: BpInterface (no
 * proxies on host: asInterface() answers only for a local object).
 */
#pragma once

#include <binder/Binder.h>

#include <cassert>
#include <utility>

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

// Declares what every interface INTERFACE has: its descriptor, asInterface(), the default
// implementation and the constructor and destructor. Use inside class I<INTERFACE>.
#define DECLARE_META_INTERFACE(INTERFACE)                                                         \
public:                                                                                           \
    static const ::android::String16 descriptor;                                                  \
    static ::android::sp<I##INTERFACE> asInterface(const ::android::sp<::android::IBinder>& obj); \
    virtual const ::android::String16& getInterfaceDescriptor() const;                            \
    I##INTERFACE();                                                                               \
    virtual ~I##INTERFACE();                                                                      \
    static bool setDefaultImpl(::android::sp<I##INTERFACE> impl);                                 \
    static const ::android::sp<I##INTERFACE>& getDefaultImpl();                                   \
                                                                                                  \
private:                                                                                          \
    static ::android::sp<I##INTERFACE> default_impl;                                              \
                                                                                                  \
public:

// Defines what DECLARE_META_INTERFACE declares, with NAME as the descriptor. asInterface()
// returns the object behind a local binder of this interface and null for anything else: there
// are no proxies on host.
#define IMPLEMENT_META_INTERFACE(INTERFACE, NAME)                                    \
    const ::android::String16 I##INTERFACE::descriptor(NAME);                        \
    const ::android::String16& I##INTERFACE::getInterfaceDescriptor() const {        \
        return I##INTERFACE::descriptor;                                             \
    }                                                                                \
    ::android::sp<I##INTERFACE> I##INTERFACE::asInterface(                           \
        const ::android::sp<::android::IBinder>& obj) {                              \
        if (obj == nullptr) return nullptr;                                          \
        ::android::sp<::android::IInterface> local =                                 \
            obj->queryLocalInterface(I##INTERFACE::descriptor);                      \
        return ::android::sp<I##INTERFACE>(static_cast<I##INTERFACE*>(local.get())); \
    }                                                                                \
    ::android::sp<I##INTERFACE> I##INTERFACE::default_impl;                          \
    bool I##INTERFACE::setDefaultImpl(::android::sp<I##INTERFACE> impl) {            \
        /* One user of the interface in the process may set it, once. */             \
        assert(!I##INTERFACE::default_impl);                                         \
        if (impl) {                                                                  \
            I##INTERFACE::default_impl = std::move(impl);                            \
            return true;                                                             \
        }                                                                            \
        return false;                                                                \
    }                                                                                \
    const ::android::sp<I##INTERFACE>& I##INTERFACE::getDefaultImpl() {              \
        return I##INTERFACE::default_impl;                                           \
    }                                                                                \
    I##INTERFACE::I##INTERFACE() {}                                                  \
    I##INTERFACE::~I##INTERFACE() {}

// Returns `obj` as INTERFACE; needs INTERFACE::asInterface (DECLARE_META_INTERFACE).
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
