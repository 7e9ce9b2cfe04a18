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
#include <sys/time.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>

namespace talvex::simulator {
namespace {

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

void writeLine(const struct __android_logger_data* data, const char* message) {
    timeval now;
    gettimeofday(&now, nullptr);
    tm local;
    localtime_r(&now.tv_sec, &local);
    char stamp[32];
    strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
    char head[256];
    snprintf(head, sizeof(head), "%s.%03ld %5d %5ld %c %s: ", stamp,
             static_cast<long>(now.tv_usec / 1000), getpid(),
             static_cast<long>(syscall(SYS_gettid)), priorityLetter(data->priority),
             !gReadTags ? program_invocation_short_name : (data->tag ? data->tag : ""));
    const char* text = message ? message : "";
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

void stopReadingTags() {
    gReadTags = false;
}

}  // namespace talvex::simulator
