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

#include "fuzz/dump_log_checks.h"

#include <android/log.h>

#include <iterator>

namespace talvex::fuzz {
namespace {

constexpr char kHelperTag[] = "TalvexBufferQueueHelper";

bool contains(const std::string& text, const char* needle) {
    return text.find(needle) != std::string::npos;
}

}  // namespace

std::string checkCoreDumps(const std::vector<test::LogLine>& lines) {
    bool open = false;
    for (const test::LogLine& line : lines) {
        if (line.priority != ANDROID_LOG_ERROR || line.tag != kHelperTag) continue;
        const bool begins = contains(line.text, ") ---dumpBbqStateDirectly:");
        const bool ends = contains(line.text, ") dumpBbqStateDirectly end---");
        if ((begins && open) || (ends && !open)) return "unbalanced core dump: " + line.text;
        open = begins || (open && !ends);
    }
    return open ? "a core dump without its end line" : "";
}

std::string checkBlastDumps(const std::vector<test::LogLine>& lines, const std::string& queueName,
                            int expected) {
    static const char* const kMarkers[] = {
        "Talvex-Graphics:dumpBlastStateAndFrameRecordLocked Start, nowTime:",
        "---Dump BlastBufferQueue State START---",
        "---Dump BlastBufferQueue State END---",
        "---Dump Process ",
        "---Dump All Frame Record END---",
        "---Dump Current Process All Callback START",
        "---Dump Current Process All Callback Over"};
    const std::string prefix = "[" + queueName + "](";
    size_t next = 0;
    int dumps = 0;
    for (const test::LogLine& line : lines) {
        if (line.tag != kHelperTag || line.text.compare(0, prefix.size(), prefix) != 0) continue;
        if (!contains(line.text, kMarkers[next])) {
            for (const char* marker : kMarkers) {
                if (contains(line.text, marker)) return "dump marker out of order: " + line.text;
            }
            continue;
        }
        next = (next + 1) % std::size(kMarkers);
        if (next == 0) ++dumps;
    }
    if (next != 0 || dumps != expected) {
        return queueName + ": " + std::to_string(dumps) + " whole dumps, expected " +
               std::to_string(expected);
    }
    return "";
}

}  // namespace talvex::fuzz
