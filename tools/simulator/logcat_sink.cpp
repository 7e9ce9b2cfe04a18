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

#include "logcat_sink.h"

#include <android-base/logging.h>
#include <android/log.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utils/Timers.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <map>
#include <mutex>

namespace talvex::simulator {
namespace {

// The date the logs' times count from: 2026-11-24 00:00 UTC.
constexpr time_t kDayStart = 1795478400;

FILE* gOut = stdout;
std::atomic<FILE*> gCopy{nullptr};
std::atomic<bool> gReadTags{true};

char priorityLetter(int priority) {
    static constexpr char kLetters[] = "??VDIWEF";
    return priority >= 0 && priority < 8 ? kLetters[priority] : '?';
}

// Writes one line of a message: logcat prints every line of a message behind its own head.
void writeOne(const char* head, const char* text, size_t length) {
    char line[4096];
    snprintf(line, sizeof(line), "%s%.*s\n", head, static_cast<int>(length), text);
    // One write per line and stream, so lines of different threads never mix.
    fputs(line, gOut);
    fflush(gOut);
    if (FILE* copy = gCopy.load()) {
        fputs(line, copy);
        fflush(copy);
    }
}

// Thread ids as logged: the first thread to log gets the process id, the next ones follow. The
// map is never destroyed: the library's unload logs from a destructor that runs at exit, after
// this file's statics would be gone.
long stableTid() {
    static std::mutex& mutex = *new std::mutex;
    static std::map<long, long>& ids = *new std::map<long, long>;
    const long tid = static_cast<long>(syscall(SYS_gettid));
    std::lock_guard<std::mutex> lock(mutex);
    auto [it, added] = ids.emplace(tid, static_cast<long>(getpid()) + static_cast<long>(ids.size()));
    return it->second;
}

// Never destroyed either, for the same reason.
std::mutex& gDumpsMutex = *new std::mutex;
std::vector<std::string>& gCoreDumps = *new std::vector<std::string>;  // guarded by gDumpsMutex

// Notes a core dump's last line ("[<name>](id:...) dumpBbqStateDirectly end---").
void noteCoreDump(const char* text) {
    static constexpr char kEnd[] = " dumpBbqStateDirectly end---";
    const size_t length = strlen(text);
    if (length < sizeof(kEnd) - 1 || strcmp(text + length - (sizeof(kEnd) - 1), kEnd) != 0) return;
    if (text[0] != '[') return;
    const char* close = strstr(text, "](id:");
    if (close == nullptr) return;
    std::lock_guard<std::mutex> lock(gDumpsMutex);
    gCoreDumps.emplace_back(text + 1, close);
}

void writeLine(const struct __android_logger_data* data, const char* message) {
    // A fixed date plus the monotonic time: the same in every run of a simulated story.
    const nsecs_t now = systemTime(SYSTEM_TIME_MONOTONIC);
    const time_t seconds = static_cast<time_t>(kDayStart + now / 1000000000LL);
    tm date;
    gmtime_r(&seconds, &date);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &date);
    // Once tags may be gone (unload), the line is the program's and no dump's.
    const bool readTag = gReadTags && data->tag != nullptr;
    char head[256];
    snprintf(head, sizeof(head), "%s.%03ld %5d %5ld %c %s: ", stamp,
             static_cast<long>((now / 1000000) % 1000), getpid(), stableTid(),
             priorityLetter(data->priority),
             readTag ? data->tag : (gReadTags ? "" : program_invocation_short_name));
    const char* text = message ? message : "";
    if (readTag && strcmp(data->tag, "TalvexBufferQueueHelper") == 0) noteCoreDump(text);
    // A message's final newline ends its last line; it starts no empty one.
    do {
        const char* newline = strchr(text, '\n');
        const size_t length = newline ? static_cast<size_t>(newline - text) : strlen(text);
        writeOne(head, text, length);
        text = newline ? newline + 1 : text + length;
    } while (*text != '\0');
}

}  // namespace

void logToLogcatFormat(FILE* out, FILE* copy) {
    gOut = out;
    gCopy = copy;
    android::base::SetLogger(android::base::StderrLogger);  // libbase forwards to liblog
    android::base::SetMinimumLogSeverity(android::base::VERBOSE);
    __android_log_set_logger(&writeLine);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

std::vector<std::string> coreDumpsLogged() {
    std::lock_guard<std::mutex> lock(gDumpsMutex);
    return gCoreDumps;
}

void stopReadingTags() {
    gReadTags = false;
}

}  // namespace talvex::simulator
