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

// STUB (hand-written): stands in for the AIDL-generated C++ header of android.gui.DeviceProductInfo
// (libs/gui/aidl/android/gui/DeviceProductInfo.aidl). The fields libgui's sources read; syntax
// checks only.
#pragma once
#include <binder/Parcel.h>
#include <binder/Parcelable.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>
namespace android::gui {
class DeviceProductInfo : public ::android::Parcelable {
public:
    class ModelYear : public ::android::Parcelable {
    public:
        int32_t year = 0;
        ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
        ::android::status_t writeToParcel(::android::Parcel* parcel) const final;
    };
    class ManufactureYear : public ::android::Parcelable {
    public:
        ModelYear modelYear;
        ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
        ::android::status_t writeToParcel(::android::Parcel* parcel) const final;
    };
    class ManufactureWeekAndYear : public ::android::Parcelable {
    public:
        ManufactureYear manufactureYear;
        int32_t week = 0;
        ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
        ::android::status_t writeToParcel(::android::Parcel* parcel) const final;
    };
    // A union: one of the three, as the cpp backend gives it (Tag, getTag(), get<>, set<>).
    class ManufactureOrModelDate : public ::android::Parcelable {
    public:
        enum class Tag : int32_t { modelYear = 0, manufactureYear = 1, manufactureWeekAndYear = 2 };
        Tag getTag() const { return static_cast<Tag>(mValue.index()); }
        template <Tag tag>
        const auto& get() const {
            return ::std::get<static_cast<size_t>(tag)>(mValue);
        }
        template <Tag tag>
        auto& get() {
            return ::std::get<static_cast<size_t>(tag)>(mValue);
        }
        template <Tag tag, typename... Args>
        void set(Args&&... args) {
            mValue.template emplace<static_cast<size_t>(tag)>(::std::forward<Args>(args)...);
        }
        ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
        ::android::status_t writeToParcel(::android::Parcel* parcel) const final;

    private:
        ::std::variant<ModelYear, ManufactureYear, ManufactureWeekAndYear> mValue;
    };
    ::std::string name;
    ::std::vector<uint8_t> manufacturerPnpId;
    ::std::string productId;
    ManufactureOrModelDate manufactureOrModelDate;
    ::std::vector<uint8_t> relativeAddress;
    ::android::status_t readFromParcel(const ::android::Parcel* parcel) final;
    ::android::status_t writeToParcel(::android::Parcel* parcel) const final;
};
}  // namespace android::gui
