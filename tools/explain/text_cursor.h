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

// A forward-only matcher over one message, for the fixed layouts the library prints: each call
// matches a literal or a field at the cursor and advances, or fails and leaves the cursor alone.
#pragma once

#include <charconv>
#include <cstdint>
#include <string_view>

namespace talvex::explain {

class TextCursor {
public:
    explicit TextCursor(std::string_view text) : mText(text) {}

    std::string_view rest() const { return mText; }
    bool atEnd() const { return mText.empty(); }

    bool lit(std::string_view literal) {
        if (mText.substr(0, literal.size()) != literal) return false;
        mText.remove_prefix(literal.size());
        return true;
    }
    template <typename Integer>
    bool number(Integer* value, int base = 10) {
        Integer v{};
        auto [end, ec] = std::from_chars(mText.data(), mText.data() + mText.size(), v, base);
        if (ec != std::errc() || end == mText.data()) return false;
        mText.remove_prefix(static_cast<size_t>(end - mText.data()));
        if (value) *value = v;
        return true;
    }
    // A 0/1 flag.
    bool flag(bool* value) {
        int v = 0;
        if (!number(&v) || (v != 0 && v != 1)) return false;
        *value = v == 1;
        return true;
    }
    // Everything up to the first `delimiter` (consumed, not returned).
    bool until(std::string_view delimiter, std::string_view* field) {
        const size_t at = mText.find(delimiter);
        if (at == std::string_view::npos) return false;
        *field = mText.substr(0, at);
        mText.remove_prefix(at + delimiter.size());
        return true;
    }
    // Everything up to the last `delimiter` (consumed, not returned): for names that may hold it.
    bool untilLast(std::string_view delimiter, std::string_view* field) {
        const size_t at = mText.rfind(delimiter);
        if (at == std::string_view::npos) return false;
        *field = mText.substr(0, at);
        mText.remove_prefix(at + delimiter.size());
        return true;
    }
    void skipSpaces() {
        while (!mText.empty() && mText.front() == ' ') mText.remove_prefix(1);
    }
    // True when only blanks are left (the library pads some fields at the end of a line).
    bool end() const { return mText.find_first_not_of(' ') == std::string_view::npos; }

private:
    std::string_view mText;
};

// The items of a list line: " [a]  [b] " gives a and b; "" gives none.
template <typename Visit>
bool forEachBracketed(std::string_view list, Visit visit) {
    while (!list.empty() && list.back() == ' ') list.remove_suffix(1);
    if (list.empty()) return true;
    if (list.substr(0, 2) != " [" || list.back() != ']') return false;
    list = list.substr(2, list.size() - 3);
    for (;;) {
        const size_t next = list.find("]  [");
        if (!visit(list.substr(0, next))) return false;
        if (next == std::string_view::npos) return true;
        list.remove_prefix(next + 4);
    }
}

}  // namespace talvex::explain
