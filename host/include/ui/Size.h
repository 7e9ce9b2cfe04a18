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

// Host model of AOSP libui's ui/Size.h: a width and a height as two adjacent int32_t, -1 meaning
// invalid. The layout matters: callers read a Size as two adjacent int32_t (width first).
#pragma once

#include <stdint.h>

#include <limits>
#include <type_traits>

namespace android::ui {

struct Size {
    int32_t width = -1;
    int32_t height = -1;

    static const Size INVALID;  // (-1, -1)
    static const Size EMPTY;    // (0, 0)

    Size() = default;

    // Values outside int32_t are clamped, as AOSP does.
    template <typename T>
    Size(T w, T h) : width(clamp(w)), height(clamp(h)) {}

    int32_t getWidth() const { return width; }
    int32_t getHeight() const { return height; }

    // Returns true unless a dimension is negative.
    bool isValid() const { return width >= 0 && height >= 0; }
    // Returns true if invalid or if a dimension is zero.
    bool isEmpty() const { return !isValid() || width == 0 || height == 0; }

    void set(Size size) { *this = size; }
    template <typename T>
    void set(T w, T h) {
        width = clamp(w);
        height = clamp(h);
    }
    template <typename T>
    void setWidth(T v) {
        width = clamp(v);
    }
    template <typename T>
    void setHeight(T v) {
        height = clamp(v);
    }

private:
    template <typename T>
    static int32_t clamp(T v) {
        static_assert(std::is_arithmetic_v<T>, "Size takes arithmetic values");
        using Limits = std::numeric_limits<int32_t>;
        if constexpr (std::is_signed_v<T> || std::is_floating_point_v<T>) {
            if (v < static_cast<T>(Limits::min())) return Limits::min();
        }
        if (static_cast<long double>(v) > static_cast<long double>(Limits::max())) {
            return Limits::max();
        }
        return static_cast<int32_t>(v);
    }
};

inline bool operator==(const Size& lhs, const Size& rhs) {
    return lhs.width == rhs.width && lhs.height == rhs.height;
}
inline bool operator!=(const Size& lhs, const Size& rhs) {
    return !(lhs == rhs);
}

static_assert(sizeof(Size) == 2 * sizeof(int32_t), "Size is two adjacent int32_t");

}  // namespace android::ui
