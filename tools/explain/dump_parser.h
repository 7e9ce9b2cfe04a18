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

// Rebuilds the graphics library's dumps from a log fed one line at a time, in order: core dumps,
// BLAST dumps (BLAST state, frame record, listener), trigger, limiter and compositor lines.
// Lines of other processes and threads may sit anywhere between a dump's lines. Memory grows
// with what the library wrote, never with the rest of the log.
#pragma once

#include <array>
#include <map>
#include <string>
#include <string_view>

#include "dump_lines.h"
#include "dump_model.h"
#include "logcat_line.h"

namespace talvex::explain {

// A core dump line's queue prefix, as read (dump_parser.cpp).
struct CorePrefix;

class DumpParser {
public:
    DumpParser() = default;
    DumpParser(const DumpParser&) = delete;
    DumpParser& operator=(const DumpParser&) = delete;

    // Reads the next line (without its line break); `droppedBytes` is how much of an overlong
    // line the reader left out.
    void addLine(std::string_view line, size_t droppedBytes = 0);
    // Ends the input: dumps still open are kept as read so far, each with a warning.
    Analysis finish();

private:
    struct Meta {
        int pid = -1, tid = -1;
        std::string_view tag, timestamp;
    };
    struct OpenBlast {
        size_t index;
        BlastCursor cursor;
    };

    void handleMessage(std::string_view message, const Meta& meta);
    void coreLine(const CorePrefix& prefix, const Meta& meta);
    void blastLine(std::string_view name, uint32_t f, uint32_t a, std::string_view body,
                   const Meta& meta);
    void otherLibraryLine(std::string_view message, const Meta& meta);
    void warn(uint64_t line, std::string text);
    Origin originOf(const Meta& meta) const;
    void closeTruncated(const char* what, const std::string& name, const Origin& origin,
                        const char* why);

    Analysis mResult;
    uint64_t mLine = 0;
    size_t mMessageSize = 0;  // of the line being read
    size_t mDroppedWarnings = 0;
    std::array<uint64_t, 8> mFormatCounts{};
    bool mInLongEntry = false;
    int mLongPid = -1, mLongTid = -1;
    std::string mLongTag, mLongTimestamp;
    std::map<std::string, size_t, std::less<>> mOpenCores;
    std::map<std::string, OpenBlast, std::less<>> mOpenBlasts;
};

}  // namespace talvex::explain
