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

#pragma once

#include <android/log.h>

#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace talvex::test {

// One line as liblog hands it to a logger: libbase's LOG() lines arrive here too.
struct LogLine {
    int priority;
    std::string tag;
    std::string text;

    bool operator==(const LogLine& other) const {
        return priority == other.priority && tag == other.tag && text == other.text;
    }
};

inline void PrintTo(const LogLine& line, std::ostream* os) {
    *os << "{priority " << line.priority << ", tag \"" << line.tag << "\", \"" << line.text << "\"}";
}

// Returns liblog's default tag (the program's short name), which untagged lines arrive with.
std::string defaultTag();

// Lines as the hook module and the frame record log them: with the default tag.
LogLine infoLine(const std::string& text);
LogLine errorLine(const std::string& text);
LogLine debugLine(const std::string& text);

// Captures every liblog and libbase line of the process while it lives (one at a time), DEBUG
// and VERBOSE included.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Returns a copy of the lines captured so far, in arrival order.
    std::vector<LogLine> lines() const;
    // Returns the lines whose text contains `needle`.
    std::vector<LogLine> linesContaining(const std::string& needle) const;
    // Returns how many captured lines contain `needle`.
    size_t count(const std::string& needle) const;
    void clear();

    // Adds a line to the active capture, if any; called by the platform's logger.
    static void add(int priority, const char* tag, const char* message);

private:
    mutable std::mutex mMutex;
    std::vector<LogLine> mLines;
};

// Sends every later line to stderr as "<priority> <text>", through the process's exit, without
// reading tags (liblog's default tag is gone by then). Every host test binary starts so.
void logToStderrThroughExit();

}  // namespace talvex::test
