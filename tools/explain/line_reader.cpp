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

#include "line_reader.h"

#include <algorithm>
#include <cstring>

namespace talvex::explain {
namespace {

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

constexpr char32_t kReplacement = 0xFFFD;

}  // namespace

void LineReader::add(const char* data, size_t size) {
    if (mEncoding == Encoding::kUnknown) {
        mHead.append(data, size);
        if (mHead.size() < 3) return;
        std::string head = std::move(mHead);
        mHead.clear();
        if (head.compare(0, 2, "\xFF\xFE") == 0) {
            mEncoding = Encoding::kUtf16le;
            addUtf16(head.data() + 2, head.size() - 2);
        } else {
            mEncoding = Encoding::kUtf8;
            const size_t bom = head.compare(0, 3, "\xEF\xBB\xBF") == 0 ? 3 : 0;
            addUtf8(head.data() + bom, head.size() - bom);
        }
        return;
    }
    if (mEncoding == Encoding::kUtf16le) {
        addUtf16(data, size);
    } else {
        addUtf8(data, size);
    }
}

void LineReader::emit(std::string_view line, size_t droppedBytes) {
    if (droppedBytes == 0 && !line.empty() && line.back() == '\r') line.remove_suffix(1);
    mSink(line, droppedBytes);
}

void LineReader::appendPartial(const char* begin, const char* end) {
    const size_t size = static_cast<size_t>(end - begin);
    const size_t kept = std::min(size, kMaxLineBytes - mPartial.size());
    mPartial.append(begin, kept);
    mDropped += size - kept;
}

void LineReader::addUtf8(const char* data, size_t size) {
    const char* end = data + size;
    while (data < end) {
        const char* newline = static_cast<const char*>(memchr(data, '\n', end - data));
        if (!newline) {
            appendPartial(data, end);
            return;
        }
        if (mPartial.empty() && mDropped == 0) {
            const size_t length = static_cast<size_t>(newline - data);
            const size_t kept = std::min(length, kMaxLineBytes);
            emit(std::string_view(data, kept), length - kept);
        } else {
            appendPartial(data, newline);
            emit(mPartial, mDropped);
            mPartial.clear();
            mDropped = 0;
        }
        data = newline + 1;
    }
}

void LineReader::addUtf16(const char* data, size_t size) {
    mDecoded.clear();
    auto unit = [&](unsigned char lo, unsigned char hi) {
        const char16_t u = static_cast<char16_t>(lo | (hi << 8));
        if (mHighSurrogate) {
            const char16_t high = mHighSurrogate;
            mHighSurrogate = 0;
            if (u >= 0xDC00 && u <= 0xDFFF) {
                appendUtf8(mDecoded, 0x10000 + ((high - 0xD800) << 10) + (u - 0xDC00));
                return;
            }
            appendUtf8(mDecoded, kReplacement);
        }
        if (u >= 0xD800 && u <= 0xDBFF) {
            mHighSurrogate = u;
        } else if (u >= 0xDC00 && u <= 0xDFFF) {
            appendUtf8(mDecoded, kReplacement);
        } else {
            appendUtf8(mDecoded, u);
        }
    };
    size_t i = 0;
    if (!mOddByte.empty() && size > 0) {
        unit(static_cast<unsigned char>(mOddByte[0]), static_cast<unsigned char>(data[0]));
        mOddByte.clear();
        i = 1;
    }
    for (; i + 1 < size; i += 2) {
        unit(static_cast<unsigned char>(data[i]), static_cast<unsigned char>(data[i + 1]));
    }
    if (i < size) mOddByte.assign(1, data[i]);
    addUtf8(mDecoded.data(), mDecoded.size());
}

void LineReader::finish() {
    if (mEncoding == Encoding::kUnknown && !mHead.empty()) {
        std::string head = std::move(mHead);
        mHead.clear();
        if (head == "\xFF\xFE") {
            mEncoding = Encoding::kUtf16le;  // a UTF-16 file holding nothing but its BOM
        } else {
            mEncoding = Encoding::kUtf8;
            addUtf8(head.data(), head.size());
        }
    }
    if (mHighSurrogate || !mOddByte.empty()) {
        mDecoded.clear();
        appendUtf8(mDecoded, kReplacement);
        mHighSurrogate = 0;
        mOddByte.clear();
        addUtf8(mDecoded.data(), mDecoded.size());
    }
    if (!mPartial.empty()) {
        emit(mPartial, mDropped);
        mPartial.clear();
        mDropped = 0;
    }
}

}  // namespace talvex::explain
