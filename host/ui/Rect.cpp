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

#include <ui/Rect.h>

#include <algorithm>

namespace android {

const Rect Rect::INVALID_RECT{0, 0, -1, -1};
const Rect Rect::EMPTY_RECT{0, 0, 0, 0};

bool Rect::intersect(const Rect& with, Rect* result) const {
    result->left = std::max(left, with.left);
    result->top = std::max(top, with.top);
    result->right = std::min(right, with.right);
    result->bottom = std::min(bottom, with.bottom);
    return !(result->isEmpty());
}

}  // namespace android
