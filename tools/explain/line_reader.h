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

// Turns the bytes of a log, in chunks of any size, into lines: UTF-8 (with or without a BOM) or
// UTF-16LE with a BOM (as Windows tools save text), LF or CRLF line ends. A line keeps at most
// `kMaxLineBytes`: binary junk without line breaks must not fill memory.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace talvex::explain {

class LineReader {
public:
    // Far above any logcat entry (a few kilobytes), so only junk is ever cut.
    static constexpr size_t kMaxLineBytes = 64 * 1024;
    // Gets each line, and how many bytes past `kMaxLineBytes` were dropped from it.
    using Sink = std::function<void(std::string_view line, size_t droppedBytes)>;
    explicit LineReader(Sink sink) : mSink(std::move(sink)) {}
    LineReader(const LineReader&) = delete;
    LineReader& operator=(const LineReader&) = delete;

    // Reads the next bytes; complete lines go to the sink at once.
    void add(const char* data, size_t size);
    // Ends the input: a last line without a line break goes to the sink.
    void finish();
    // True once the input showed itself as UTF-16LE.
    bool utf16() const { return mEncoding == Encoding::kUtf16le; }

private:
    enum class Encoding { kUnknown, kUtf8, kUtf16le };
    void addUtf8(const char* data, size_t size);
    void addUtf16(const char* data, size_t size);
    void emit(std::string_view line, size_t droppedBytes);
    // Adds [begin, end) to the line in progress, up to `kMaxLineBytes`.
    void appendPartial(const char* begin, const char* end);

    Sink mSink;
    Encoding mEncoding = Encoding::kUnknown;
    std::string mHead;     // the first bytes, until the encoding is known
    std::string mPartial;  // the start of a line whose end has not arrived
    size_t mDropped = 0;   // bytes of that line past `kMaxLineBytes`
    std::string mDecoded;  // UTF-16 input decoded to UTF-8
    std::string mOddByte;  // half a UTF-16 unit left from the last chunk
    char16_t mHighSurrogate = 0;
};

}  // namespace talvex::explain
