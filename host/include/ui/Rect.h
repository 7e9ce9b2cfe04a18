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

// Host model of libui's ui/Rect.h (Android 14), the part a buffer queue uses: a crop rectangle.
#pragma once

#include <android/rect.h>
#include <stdint.h>
#include <ui/Size.h>

namespace android {

class Rect : public ARect {
public:
    typedef ARect::value_type value_type;

    static const Rect INVALID_RECT;  // (0, 0, -1, -1)
    static const Rect EMPTY_RECT;    // (0, 0, 0, 0)

    inline Rect() : Rect(INVALID_RECT) {}
    // (0, 0, w, h), each edge clamped to int32_t.
    template <typename T>
    inline Rect(T w, T h) {
        if (w > INT32_MAX) w = INT32_MAX;
        if (h > INT32_MAX) h = INT32_MAX;
        left = top = 0;
        right = static_cast<int32_t>(w);
        bottom = static_cast<int32_t>(h);
    }
    inline Rect(int32_t l, int32_t t, int32_t r, int32_t b) {
        left = l;
        top = t;
        right = r;
        bottom = b;
    }
    inline explicit Rect(const ui::Size& size) {
        left = 0;
        top = 0;
        right = size.width;
        bottom = size.height;
    }

    inline bool isValid() const { return (getWidth() >= 0) && (getHeight() >= 0); }
    inline bool isEmpty() const { return (getWidth() <= 0) || (getHeight() <= 0); }
    inline int32_t getWidth() const { return right - left; }
    inline int32_t getHeight() const { return bottom - top; }
    inline int32_t width() const { return getWidth(); }
    inline int32_t height() const { return getHeight(); }

    // Sets `*result` to the overlap of this and `with`; returns false if it is empty.
    bool intersect(const Rect& with, Rect* result) const;

    inline bool operator==(const Rect& rhs) const {
        return left == rhs.left && top == rhs.top && right == rhs.right && bottom == rhs.bottom;
    }
    inline bool operator!=(const Rect& rhs) const { return !operator==(rhs); }
};

}  // namespace android
