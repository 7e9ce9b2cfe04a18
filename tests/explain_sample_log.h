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

// A log as the library writes it, built with the library's own printf formats: one stalled
// queue (core dump with no free slot, BLAST dump whose frame record holds a stuck frame, an old
// callback, a submitted buffer without release callback), plus trigger, limiter and compositor
// lines, with other processes' lines between them. Rendered in any logcat format and encoding.
#pragma once

#include <string>
#include <vector>

namespace talvex::explain::test {

struct SampleRecord {
    char priority;
    std::string tag;  // "" for a null tag: logcat shows the program's name
    int tid;
    std::string message;
    bool ours;
};

// The records in log order: the library's and the foreign ones between them.
std::vector<SampleRecord> sampleRecords();

enum class Encoding { kUtf8, kUtf8Crlf, kUtf16le };

// The records as `logcat -v <format>` prints them ("threadtime", "time", "brief", "process",
// "tag", "thread", "raw", "long", and threadtime with "year", "usec", "epoch", "monotonic",
// "zone"), in the given encoding. Modifiers follow after blanks: "uid" (numbers), "uid=NAME" (the
// library's process runs as NAME, the others as "root"), "color"; "uid" alone is threadtime's.
std::string renderSample(const std::string& format, Encoding encoding = Encoding::kUtf8);
std::string renderRecords(const std::vector<SampleRecord>& records, const std::string& format);

// The 1-based line of `needle` in the threadtime rendering, 0 when absent.
uint64_t sampleLineOf(const std::string& needle);

inline constexpr int kSamplePid = 1234;
inline constexpr int kSampleLayerId = 7;
inline constexpr const char* kSampleQueue = "com.app/Main#0";
inline constexpr const char* kSampleSurface = "com.app/Main";

}  // namespace talvex::explain::test
