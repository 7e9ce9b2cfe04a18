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
 * Host model of AOSP libbinder's Parcel (frameworks/native/libs/binder/include/binder/Parcel.h,
 * Android 14/15), kernel-binder flavour. Writes the same bytes a device Parcel writes for the
 * calls modelled here: native (little-endian) words, every write padded to 4 bytes with zeros,
 * binders as flat_binder_object plus a stability word. Only the calls below are modelled.
 */
#pragma once

#include <utils/Errors.h>
#include <utils/RefBase.h>
#include <utils/String16.h>
#include <utils/String8.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace android {

class IBinder;
class IPCThreadState;

// A container for a transaction's data: values written in order, read back in the same order.
// Binders written into a Parcel are kept alive (a strong reference) for as long as it holds them.
class Parcel {
public:
    Parcel();
    ~Parcel();

    // The raw bytes written so far; valid until the next write.
    const uint8_t* data() const;
    // Returns the number of bytes written (or the read position, if that is past the end).
    size_t dataSize() const;
    // Returns the number of bytes left to read.
    size_t dataAvail() const;
    size_t dataPosition() const;
    size_t dataCapacity() const;

    // Truncates or zero-extends the data; drops binders past the new end.
    status_t setDataSize(size_t size);
    // Moves the read/write position; const because readers rewind (aborts past INT32_MAX).
    void setDataPosition(size_t pos) const;
    status_t setDataCapacity(size_t size);
    // Replaces the data with a copy of `buffer`; the copy holds no binders.
    status_t setData(const uint8_t* buffer, size_t len);

    // Empties the Parcel and releases the binders it holds.
    void freeData();
    // Returns the number of binder objects written.
    size_t objectsCount() const;
    // Returns the first error a write met, or NO_ERROR.
    status_t errorCheck() const;
    void setError(status_t err);

    // Asks that the data be zeroed when freed.
    void markSensitive() const;

    // Writes the request header: strict-mode policy | 0x80000000, work source (-1 when not
    // propagated), the 'SYST' header of system code, then `interface` as a String16.
    status_t writeInterfaceToken(const String16& interface);
    status_t writeInterfaceToken(const char16_t* str, size_t len);

    // Reads a request header; returns true if its header word is 'SYST' and its descriptor is
    // `interface`. `threadState` is accepted for source compatibility and ignored on host.
    bool enforceInterface(const String16& interface, IPCThreadState* threadState = nullptr) const;
    bool enforceInterface(const char16_t* interface, size_t len,
                          IPCThreadState* threadState = nullptr) const;

    // Appends `len` bytes and zero padding up to a multiple of 4.
    status_t write(const void* data, size_t len);
    status_t writeInt32(int32_t val);
    status_t writeUint32(uint32_t val);
    status_t writeInt64(int64_t val);
    status_t writeUint64(uint64_t val);
    // Writes an int32 0 or 1.
    status_t writeBool(bool val);
    // Writes int32 length, the bytes and a NUL, padded; a null `str` writes -1 alone.
    status_t writeString8(const String8& str);
    status_t writeString8(const char* str, size_t len);
    // Writes int32 length in UTF-16 units, the units and a 0 terminator, padded to 4; a null
    // `str` (or std::nullopt) writes -1 alone.
    status_t writeString16(const String16& str);
    status_t writeString16(const std::optional<String16>& str);
    status_t writeString16(const char16_t* str, size_t len);
    // Writes a 24-byte flat_binder_object and an int32 stability level (0 for null, 12 = SYSTEM
    // for a local binder) and keeps a strong reference to `val`. A proxy cannot exist on host.
    status_t writeStrongBinder(const sp<IBinder>& val);

    // Readers return 0 / empty / null when the data runs out, as on device; the status_t forms
    // return NOT_ENOUGH_DATA then, and BAD_VALUE for a read across a binder object.
    int32_t readInt32() const;
    status_t readInt32(int32_t* pArg) const;
    uint32_t readUint32() const;
    status_t readUint32(uint32_t* pArg) const;
    int64_t readInt64() const;
    status_t readInt64(int64_t* pArg) const;
    uint64_t readUint64() const;
    status_t readUint64(uint64_t* pArg) const;
    bool readBool() const;
    status_t readBool(bool* pArg) const;
    // Returns a pointer to `len` bytes in the Parcel and skips them and their padding, or null.
    const void* readInplace(size_t len) const;
    status_t read(void* outData, size_t len) const;

    String8 readString8() const;
    status_t readString8(String8* pArg) const;
    // Returns the string, or an empty one for a null or malformed string.
    String16 readString16() const;
    // UNEXPECTED_NULL (and an empty `pArg`) for a null or malformed string.
    status_t readString16(String16* pArg) const;
    // std::nullopt and NO_ERROR for a null string.
    status_t readString16(std::optional<String16>* pArg) const;
    // Returns the units inside the Parcel and their count, or null (count 0).
    const char16_t* readString16Inplace(size_t* outLen) const;

    // Returns the binder, or null for a null binder or a bad object.
    sp<IBinder> readStrongBinder() const;
    // UNEXPECTED_NULL for a null binder, BAD_TYPE if no binder was written here.
    status_t readStrongBinder(sp<IBinder>* val) const;
    // NO_ERROR also for a null binder.
    status_t readNullableStrongBinder(sp<IBinder>* val) const;

    // Returns every binder the Parcel holds, in write order.
    std::vector<sp<IBinder>> debugReadAllStrongBinders() const;

    Parcel(const Parcel&) = delete;
    Parcel& operator=(const Parcel&) = delete;

private:
    // A binder written at `offset`, held until the Parcel lets go of that region.
    struct Object {
        size_t offset;
        sp<IBinder> binder;
    };

    status_t writeAligned(const void* src, size_t len);
    status_t growTo(size_t size);
    template <typename T>
    status_t readAligned(T* pArg) const;
    // Fails with BAD_VALUE if [mDataPos, mDataPos + len) overlaps a binder object.
    status_t validateReadData(size_t len) const;
    const Object* findObjectAt(size_t offset) const;
    status_t finishUnflattenBinder(const sp<IBinder>& binder, sp<IBinder>* out) const;

    std::vector<uint8_t> mData;  // capacity-sized buffer; bytes past mDataSize are zero
    size_t mDataSize = 0;
    mutable size_t mDataPos = 0;
    std::vector<Object> mObjects;  // sorted by offset
    status_t mError = NO_ERROR;
    mutable bool mDeallocZero = false;
};

}  // namespace android
