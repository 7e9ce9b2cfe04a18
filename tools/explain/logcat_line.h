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

// One physical line of a log, split into its header and its message. Knows every text layout
// `logcat -v` writes (threadtime, time, brief, process, tag, thread, raw, long) with the time
// variants (year, usec, nsec, epoch, monotonic, zone), the uid modifier (numeric or an account
// name) in every layout that has one, and color; a line it cannot place is raw.
#pragma once

#include <string_view>

namespace talvex::explain {

enum class LogFormat { kRaw, kThreadtime, kTime, kBrief, kProcess, kTag, kThread, kLongHeader };

// The name `logcat -v` gives the format ("threadtime", ...); "long" for a long header.
const char* logFormatName(LogFormat format);

struct LogLine {
    LogFormat format = LogFormat::kRaw;
    int pid = -1;
    int tid = -1;
    char priority = 0;           // V D I W E F, 0 when the format has none
    std::string_view tag;        // without padding; empty when the format has none
    std::string_view timestamp;  // as written, "" when the format has none
    std::string_view message;    // the rest of the line; empty for a long header
};

// `line` without the color `logcat -v color` wraps it in: a leading SGR sequence
// ("\x1b[38;5;75m") and a trailing reset ("\x1b[0m"), each only when present.
std::string_view withoutColor(std::string_view line);

// Splits `line` (no line break, no carriage return), color removed first. Never fails: an unknown
// layout is raw.
LogLine parseLogLine(std::string_view line);

}  // namespace talvex::explain
