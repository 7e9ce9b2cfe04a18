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
 * Host model of AOSP libbinder's IBinder (frameworks/native/libs/binder/include/binder/IBinder.h,
 * Android 14/15): same names, constants and signatures, so code written against the device
 * header compiles unchanged. In-process only: there is no driver, no proxy (BpBinder) and no death.
 */
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/Vector.h>

#include <cstdint>

// Packs four characters into a transaction code, as AOSP's IBinder.h does.
#define B_PACK_CHARS(c1, c2, c3, c4) ((((c1)) << 24) | (((c2)) << 16) | (((c3)) << 8) | (c4))

namespace android {

class BBinder;
class BpBinder;
class IInterface;
class Parcel;

// The base interface of a binder object: something a transaction can be sent to.
class IBinder : public virtual RefBase {
public:
    enum {
        FIRST_CALL_TRANSACTION = 0x00000001,
        LAST_CALL_TRANSACTION = 0x00ffffff,

        PING_TRANSACTION = B_PACK_CHARS('_', 'P', 'N', 'G'),
        START_RECORDING_TRANSACTION = B_PACK_CHARS('_', 'S', 'R', 'D'),
        STOP_RECORDING_TRANSACTION = B_PACK_CHARS('_', 'E', 'R', 'D'),
        DUMP_TRANSACTION = B_PACK_CHARS('_', 'D', 'M', 'P'),
        SHELL_COMMAND_TRANSACTION = B_PACK_CHARS('_', 'C', 'M', 'D'),
        INTERFACE_TRANSACTION = B_PACK_CHARS('_', 'N', 'T', 'F'),
        SYSPROPS_TRANSACTION = B_PACK_CHARS('_', 'S', 'P', 'R'),
        EXTENSION_TRANSACTION = B_PACK_CHARS('_', 'E', 'X', 'T'),
        DEBUG_PID_TRANSACTION = B_PACK_CHARS('_', 'P', 'I', 'D'),
        SET_RPC_CLIENT_TRANSACTION = B_PACK_CHARS('_', 'R', 'P', 'C'),

        // Corresponds to TF_ONE_WAY: an asynchronous call (synchronous in-process, as on device).
        FLAG_ONEWAY = 0x00000001,
        // Corresponds to TF_CLEAR_BUF: clear transaction buffers after the call.
        FLAG_CLEAR_BUF = 0x00000020,
        // Private userspace flag for a transaction requested from a vendor context.
        FLAG_PRIVATE_VENDOR = 0x10000000,
    };

    IBinder();

    // Returns the local interface for `descriptor`, or null (the default) if this object is not it.
    virtual sp<IInterface> queryLocalInterface(const String16& descriptor);

    // Returns the name of the interface this object implements.
    virtual const String16& getInterfaceDescriptor() const = 0;

    // Returns whether the process hosting this object is alive (always, in process).
    virtual bool isBinderAlive() const = 0;
    // Returns NO_ERROR if the object answers a ping.
    virtual status_t pingBinder() = 0;
    // Writes the object's state to `fd`.
    virtual status_t dump(int fd, const Vector<String16>& args) = 0;

    // Sends transaction `code` with `data`; fills `reply` unless FLAG_ONEWAY. Returns the
    // object's status, e.g. UNKNOWN_TRANSACTION for a code it does not handle.
    virtual status_t transact(uint32_t code, const Parcel& data, Parcel* reply,
                              uint32_t flags = 0) = 0;

    // Told when the process hosting a remote binder dies.
    class DeathRecipient : public virtual RefBase {
    public:
        virtual void binderDied(const wp<IBinder>& who) = 0;
    };

    // Registers `recipient` for the death of this binder; INVALID_OPERATION for a local binder.
    virtual status_t linkToDeath(const sp<DeathRecipient>& recipient, void* cookie = nullptr,
                                 uint32_t flags = 0) = 0;
    // Undoes linkToDeath(); INVALID_OPERATION for a local binder.
    virtual status_t unlinkToDeath(const wp<DeathRecipient>& recipient, void* cookie = nullptr,
                                   uint32_t flags = 0,
                                   wp<DeathRecipient>* outRecipient = nullptr) = 0;

    // Returns this object as a BBinder if it lives in this process, else null.
    virtual BBinder* localBinder();
    // Returns this object as a proxy if it is remote, else null (always null on host).
    virtual BpBinder* remoteBinder();

protected:
    virtual ~IBinder();
};

}  // namespace android
