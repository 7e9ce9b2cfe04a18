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

// Host model of libbinder's Parcel, kernel-binder wire format (Parcel.cpp).
#define LOG_TAG "Parcel"

#include <binder/Binder.h>
#include <binder/IBinder.h>
#include <binder/Parcel.h>
#include <log/log.h>

#include <algorithm>
#include <climits>
#include <cstring>

// The device's wire format is native-endian, and every Android ABI is little-endian.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the host model assumes little-endian");

namespace android {

namespace {

// From the kernel's uapi/linux/android/binder.h.
constexpr uint32_t B_TYPE_LARGE = 0x85;
constexpr uint32_t BINDER_TYPE_BINDER = B_PACK_CHARS('s', 'b', '*', B_TYPE_LARGE);
constexpr uint32_t FLAT_BINDER_FLAG_PRIORITY_MASK = 0xff;
constexpr uint32_t FLAT_BINDER_FLAG_ACCEPTS_FDS = 0x100;
constexpr uint32_t FLAT_BINDER_FLAG_SCHED_POLICY_SHIFT = 9;
constexpr uint32_t FLAT_BINDER_FLAG_TXN_SECURITY_CTX = 0x1000;

// struct flat_binder_object on a 64-bit kernel ABI: {hdr.type, flags, binder/handle, cookie}.
struct FlatBinderObject {
    uint32_t type;
    uint32_t flags;
    uint64_t binder;
    uint64_t cookie;
};
static_assert(sizeof(FlatBinderObject) == 24, "flat_binder_object is 24 bytes");

// IPCThreadState defaults on a fresh thread: no strict-mode policy, no propagated work source.
constexpr int32_t STRICT_MODE_PENALTY_GATHER = static_cast<int32_t>(1u << 31);
constexpr int32_t kUnsetWorkSource = -1;
// Header word of system code; vendor code writes 'VNDR', recovery 'RECO'.
constexpr int32_t kHeader = B_PACK_CHARS('S', 'Y', 'S', 'T');

// Stability levels (libbinder's Stability::Level); system code marks its binders SYSTEM.
constexpr int32_t kStabilityUndeclared = 0;
constexpr int32_t kStabilityVendor = 0b000011;
constexpr int32_t kStabilitySystem = 0b001100;
constexpr int32_t kStabilityVintf = 0b111111;

// Background scheduling is enabled, so nodes get minimum priority nice 19 (SCHED_NORMAL).
constexpr uint32_t kSchedBits = (19 & FLAT_BINDER_FLAG_PRIORITY_MASK) |
                                ((0 /*SCHED_NORMAL*/ & 3) << FLAT_BINDER_FLAG_SCHED_POLICY_SHIFT);

constexpr size_t padSize(size_t s) {
    return (s + 3) & ~static_cast<size_t>(3);
}

bool isDeclaredStability(int32_t level) {
    return level == kStabilityUndeclared || level == kStabilityVendor ||
           level == kStabilitySystem || level == kStabilityVintf;
}

}  // namespace

Parcel::Parcel() = default;

Parcel::~Parcel() {
    freeData();
}

const uint8_t* Parcel::data() const {
    return mData.data();
}

size_t Parcel::dataSize() const {
    return std::max(mDataSize, mDataPos);
}

size_t Parcel::dataAvail() const {
    size_t result = dataSize() - dataPosition();
    LOG_ALWAYS_FATAL_IF(result > INT32_MAX, "result too big: %zu", result);
    return result;
}

size_t Parcel::dataPosition() const {
    return mDataPos;
}

size_t Parcel::dataCapacity() const {
    return mData.size();
}

status_t Parcel::setDataSize(size_t size) {
    if (size > INT32_MAX) return BAD_VALUE;
    if (status_t err = growTo(size); err != NO_ERROR) return err;
    if (size < mDataSize) {
        std::fill(mData.begin() + size, mData.end(), 0);
        mObjects.erase(std::remove_if(mObjects.begin(), mObjects.end(),
                                      [size](const Object& o) {
                                          return o.offset + sizeof(FlatBinderObject) > size;
                                      }),
                       mObjects.end());
    }
    mDataSize = size;
    if (mDataPos > size) mDataPos = size;
    return NO_ERROR;
}

void Parcel::setDataPosition(size_t pos) const {
    LOG_ALWAYS_FATAL_IF(pos > INT32_MAX, "pos too big: %zu", pos);
    mDataPos = pos;
}

status_t Parcel::setDataCapacity(size_t size) {
    if (size > INT32_MAX) return BAD_VALUE;
    return size > mData.size() ? growTo(size) : NO_ERROR;
}

status_t Parcel::setData(const uint8_t* buffer, size_t len) {
    if (len > INT32_MAX) return BAD_VALUE;
    freeData();
    mData.assign(buffer, buffer + len);
    mDataSize = len;
    return NO_ERROR;
}

void Parcel::freeData() {
    if (mDeallocZero) std::fill(mData.begin(), mData.end(), 0);
    mData.clear();
    mDataSize = 0;
    mDataPos = 0;
    mObjects.clear();
    mError = NO_ERROR;
}

size_t Parcel::objectsCount() const {
    return mObjects.size();
}

status_t Parcel::errorCheck() const {
    return mError;
}

void Parcel::setError(status_t err) {
    mError = err;
}

void Parcel::markSensitive() const {
    mDeallocZero = true;
}

// ---- Interface token ----

status_t Parcel::writeInterfaceToken(const String16& interface) {
    return writeInterfaceToken(interface.string(), interface.size());
}

status_t Parcel::writeInterfaceToken(const char16_t* str, size_t len) {
    writeInt32(0 /*strict-mode policy*/ | STRICT_MODE_PENALTY_GATHER);
    writeInt32(kUnsetWorkSource);
    writeInt32(kHeader);
    return writeString16(str, len);
}

bool Parcel::enforceInterface(const String16& interface, IPCThreadState* threadState) const {
    return enforceInterface(interface.string(), interface.size(), threadState);
}

bool Parcel::enforceInterface(const char16_t* interface, size_t len,
                              IPCThreadState* /*threadState*/) const {
    // The device hands the strict-mode policy and work source to IPCThreadState; the host has
    // none, so it reads and drops them.
    readInt32();
    readInt32();
    const int32_t header = readInt32();
    if (header != kHeader) {
        ALOGE("Expecting header 0x%x but found 0x%x. Mixing copies of libbinder?", kHeader, header);
        return false;
    }
    size_t parcelInterfaceLen = 0;
    const char16_t* parcelInterface = readString16Inplace(&parcelInterfaceLen);
    if (parcelInterface != nullptr && len == parcelInterfaceLen &&
        (len == 0 || memcmp(parcelInterface, interface, len * sizeof(char16_t)) == 0)) {
        return true;
    }
    ALOGW("**** enforceInterface() expected '%s' but read '%s'", String8(interface, len).string(),
          parcelInterface ? String8(parcelInterface, parcelInterfaceLen).string() : "<empty>");
    return false;
}

// ---- Writers ----

status_t Parcel::growTo(size_t size) {
    if (size > INT32_MAX) return NO_MEMORY;
    if (size > mData.size()) mData.resize(size, 0);
    return NO_ERROR;
}

status_t Parcel::writeAligned(const void* src, size_t len) {
    const size_t padded = padSize(len);
    if (padded < len || mDataPos + padded > INT32_MAX) return mError = NO_MEMORY;
    if (status_t err = growTo(mDataPos + padded); err != NO_ERROR) return mError = err;
    uint8_t* dst = mData.data() + mDataPos;
    if (len > 0) memcpy(dst, src, len);
    std::fill(dst + len, dst + padded, 0);
    mDataPos += padded;
    mDataSize = std::max(mDataSize, mDataPos);
    return NO_ERROR;
}

status_t Parcel::write(const void* data, size_t len) {
    if (len > INT32_MAX) return BAD_VALUE;
    return writeAligned(data, len);
}

status_t Parcel::writeInt32(int32_t val) {
    return writeAligned(&val, sizeof(val));
}

status_t Parcel::writeUint32(uint32_t val) {
    return writeAligned(&val, sizeof(val));
}

status_t Parcel::writeInt64(int64_t val) {
    return writeAligned(&val, sizeof(val));
}

status_t Parcel::writeUint64(uint64_t val) {
    return writeAligned(&val, sizeof(val));
}

status_t Parcel::writeBool(bool val) {
    return writeInt32(static_cast<int32_t>(val));
}

status_t Parcel::writeString8(const String8& str) {
    return writeString8(str.string(), str.size());
}

status_t Parcel::writeString8(const char* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len > INT32_MAX - 1) return BAD_VALUE;
    if (status_t err = writeInt32(static_cast<int32_t>(len)); err != NO_ERROR) return err;
    std::vector<char> bytes(str, str + len);
    bytes.push_back('\0');
    return writeAligned(bytes.data(), bytes.size());
}

status_t Parcel::writeString16(const String16& str) {
    return writeString16(str.string(), str.size());
}

status_t Parcel::writeString16(const std::optional<String16>& str) {
    if (!str) return writeInt32(-1);
    return writeString16(*str);
}

status_t Parcel::writeString16(const char16_t* str, size_t len) {
    if (str == nullptr) return writeInt32(-1);
    if (len > INT32_MAX / sizeof(char16_t) - 1) return BAD_VALUE;
    if (status_t err = writeInt32(static_cast<int32_t>(len)); err != NO_ERROR) return err;
    std::vector<char16_t> units(str, str + len);
    units.push_back(u'\0');
    return writeAligned(units.data(), units.size() * sizeof(char16_t));
}

status_t Parcel::writeStrongBinder(const sp<IBinder>& val) {
    BBinder* local = val != nullptr ? val->localBinder() : nullptr;
    if (val != nullptr && local == nullptr) {
        ALOGE("null proxy");  // only a BBinder can exist in a host process
        return BAD_TYPE;
    }

    FlatBinderObject obj{};
    obj.type = BINDER_TYPE_BINDER;
    if (local != nullptr) {
        obj.flags = FLAT_BINDER_FLAG_ACCEPTS_FDS;
        if (local->isRequestingSid()) obj.flags |= FLAT_BINDER_FLAG_TXN_SECURITY_CTX;
        obj.binder = reinterpret_cast<uintptr_t>(local->getWeakRefs());
        obj.cookie = reinterpret_cast<uintptr_t>(local);
    }
    obj.flags |= kSchedBits;

    const size_t offset = mDataPos;
    if (status_t err = writeAligned(&obj, sizeof(obj)); err != NO_ERROR) return err;
    // As on device, only a non-null binder is recorded as an object (and held).
    if (obj.binder != 0) {
        mObjects.erase(std::remove_if(mObjects.begin(), mObjects.end(),
                                      [offset](const Object& o) { return o.offset == offset; }),
                       mObjects.end());
        auto pos = std::lower_bound(mObjects.begin(), mObjects.end(), offset,
                                    [](const Object& o, size_t off) { return o.offset < off; });
        mObjects.insert(pos, Object{offset, val});
    }
    return writeInt32(local != nullptr ? kStabilitySystem : kStabilityUndeclared);
}

// ---- Readers ----

status_t Parcel::validateReadData(size_t len) const {
    for (const Object& o : mObjects) {
        if (o.offset < mDataPos + len && mDataPos < o.offset + sizeof(FlatBinderObject)) {
            ALOGE("Attempt to read from protected data in Parcel %p. pos: %zu, offset: %zu", this,
                  mDataPos, o.offset);
            return BAD_VALUE;
        }
    }
    return NO_ERROR;
}

template <typename T>
status_t Parcel::readAligned(T* pArg) const {
    static_assert(padSize(sizeof(T)) == sizeof(T), "readAligned() reads whole words");
    if (mDataPos + sizeof(T) > mDataSize || mDataPos + sizeof(T) < mDataPos) {
        return NOT_ENOUGH_DATA;
    }
    if (status_t err = validateReadData(sizeof(T)); err != NO_ERROR) return err;
    memcpy(pArg, mData.data() + mDataPos, sizeof(T));
    mDataPos += sizeof(T);
    return NO_ERROR;
}

const void* Parcel::readInplace(size_t len) const {
    if (len > INT32_MAX) return nullptr;
    const size_t padded = padSize(len);
    if (mDataPos + padded > mDataSize || mDataPos + padded < mDataPos) return nullptr;
    if (validateReadData(padded) != NO_ERROR) return nullptr;
    const void* data = mData.data() + mDataPos;
    mDataPos += padded;
    return data;
}

status_t Parcel::read(void* outData, size_t len) const {
    const void* data = readInplace(len);
    if (data == nullptr) return NOT_ENOUGH_DATA;
    memcpy(outData, data, len);
    return NO_ERROR;
}

status_t Parcel::readInt32(int32_t* pArg) const {
    return readAligned(pArg);
}

int32_t Parcel::readInt32() const {
    int32_t v = 0;
    readAligned(&v);
    return v;
}

status_t Parcel::readUint32(uint32_t* pArg) const {
    return readAligned(pArg);
}

uint32_t Parcel::readUint32() const {
    uint32_t v = 0;
    readAligned(&v);
    return v;
}

status_t Parcel::readInt64(int64_t* pArg) const {
    return readAligned(pArg);
}

int64_t Parcel::readInt64() const {
    int64_t v = 0;
    readAligned(&v);
    return v;
}

status_t Parcel::readUint64(uint64_t* pArg) const {
    return readAligned(pArg);
}

uint64_t Parcel::readUint64() const {
    uint64_t v = 0;
    readAligned(&v);
    return v;
}

status_t Parcel::readBool(bool* pArg) const {
    int32_t v = 0;
    status_t err = readInt32(&v);
    *pArg = v != 0;
    return err;
}

bool Parcel::readBool() const {
    return readInt32() != 0;
}

status_t Parcel::readString8(String8* pArg) const {
    int32_t size = 0;
    if (status_t err = readInt32(&size); err != NO_ERROR) return err;
    if (size < 0 || size == INT32_MAX) return size < 0 ? UNEXPECTED_NULL : BAD_VALUE;
    const char* str = static_cast<const char*>(readInplace(static_cast<size_t>(size) + 1));
    if (str == nullptr || str[size] != '\0') return BAD_VALUE;
    pArg->setTo(str, static_cast<size_t>(size));
    return NO_ERROR;
}

String8 Parcel::readString8() const {
    String8 s;
    readString8(&s);
    return s;
}

const char16_t* Parcel::readString16Inplace(size_t* outLen) const {
    const int32_t size = readInt32();
    // Watch for an int overflow from size + 1.
    if (size >= 0 && size < INT32_MAX) {
        *outLen = static_cast<size_t>(size);
        const auto* str = static_cast<const char16_t*>(
            readInplace((static_cast<size_t>(size) + 1) * sizeof(char16_t)));
        if (str != nullptr && str[size] == u'\0') return str;
    }
    *outLen = 0;
    return nullptr;
}

status_t Parcel::readString16(std::optional<String16>* pArg) const {
    const size_t start = dataPosition();
    const int32_t size = readInt32();
    pArg->reset();
    if (size == -1) return NO_ERROR;
    setDataPosition(start);
    pArg->emplace();
    status_t status = readString16(&**pArg);
    if (status != NO_ERROR) pArg->reset();
    return status;
}

status_t Parcel::readString16(String16* pArg) const {
    size_t len = 0;
    const char16_t* str = readString16Inplace(&len);
    if (str == nullptr) {
        *pArg = String16();
        return UNEXPECTED_NULL;
    }
    pArg->setTo(str, len);
    return NO_ERROR;
}

String16 Parcel::readString16() const {
    size_t len = 0;
    const char16_t* str = readString16Inplace(&len);
    if (str != nullptr) return String16(str, len);
    return String16();
}

const Parcel::Object* Parcel::findObjectAt(size_t offset) const {
    auto it = std::lower_bound(mObjects.begin(), mObjects.end(), offset,
                               [](const Object& o, size_t off) { return o.offset < off; });
    return it != mObjects.end() && it->offset == offset ? &*it : nullptr;
}

status_t Parcel::finishUnflattenBinder(const sp<IBinder>& binder, sp<IBinder>* out) const {
    int32_t stability = 0;
    if (status_t err = readInt32(&stability); err != NO_ERROR) return err;
    if (!isDeclaredStability(stability)) {
        ALOGE("Stability value %d is not a declared level", stability);
        return BAD_TYPE;
    }
    *out = binder;
    return NO_ERROR;
}

status_t Parcel::readNullableStrongBinder(sp<IBinder>* val) const {
    const size_t pos = mDataPos;
    if (pos + sizeof(FlatBinderObject) > mDataSize || pos + sizeof(FlatBinderObject) < pos) {
        return BAD_TYPE;
    }
    FlatBinderObject obj;
    memcpy(&obj, mData.data() + pos, sizeof(obj));
    mDataPos = pos + sizeof(obj);
    if (obj.type != BINDER_TYPE_BINDER) return BAD_TYPE;  // no handles without a driver
    // A null binder is not in the object list, as on device.
    if (obj.binder == 0 && obj.cookie == 0) return finishUnflattenBinder(nullptr, val);
    const Object* o = findObjectAt(pos);
    if (o == nullptr) {
        ALOGW("Attempt to read object from Parcel %p at offset %zu that is not in the object list",
              this, pos);
        return BAD_TYPE;
    }
    return finishUnflattenBinder(o->binder, val);
}

status_t Parcel::readStrongBinder(sp<IBinder>* val) const {
    status_t status = readNullableStrongBinder(val);
    if (status == NO_ERROR && val->get() == nullptr) {
        ALOGW("Expecting binder but got null!");
        status = UNEXPECTED_NULL;
    }
    return status;
}

sp<IBinder> Parcel::readStrongBinder() const {
    sp<IBinder> val;
    // Callers have long read binders this way and ignored errors: null on failure.
    readNullableStrongBinder(&val);
    return val;
}

std::vector<sp<IBinder>> Parcel::debugReadAllStrongBinders() const {
    std::vector<sp<IBinder>> binders;
    binders.reserve(mObjects.size());
    for (const Object& o : mObjects) binders.push_back(o.binder);
    return binders;
}

}  // namespace android
