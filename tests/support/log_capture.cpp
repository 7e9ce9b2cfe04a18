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

// The platform-independent half of the log capture; log_capture_<platform>.cpp feeds it.
#include "log_capture.h"

#include <android-base/logging.h>
#include <android/log.h>

#include <atomic>

#include "log_capture_platform.h"

namespace talvex::test {
namespace {

std::atomic<LogCapture*> gActive{nullptr};

// libbase's logger forwards to liblog, so liblog's logger sees LOG() lines too; DEBUG included.
void routeThroughLiblog(platform::Logger logger) {
    android::base::SetLogger(android::base::StderrLogger);
    android::base::SetMinimumLogSeverity(android::base::VERBOSE);
    platform::setLiblogLogger(logger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

}  // namespace

void logToStderrThroughExit() {
    routeThroughLiblog(platform::Logger::kStderr);
}

LogLine infoLine(const std::string& text) {
    return {ANDROID_LOG_INFO, defaultTag(), text};
}
LogLine errorLine(const std::string& text) {
    return {ANDROID_LOG_ERROR, defaultTag(), text};
}
LogLine debugLine(const std::string& text) {
    return {ANDROID_LOG_DEBUG, defaultTag(), text};
}

LogCapture::LogCapture() {
    gActive.store(this);
    routeThroughLiblog(platform::Logger::kCapture);
}

LogCapture::~LogCapture() {
    // Later lines, the unload lines among them, go to stderr: never to a capture gone away.
    platform::setLiblogLogger(platform::Logger::kStderr);
    gActive.store(nullptr);
}

void LogCapture::add(int priority, const char* tag, const char* message) {
    LogCapture* self = gActive.load();
    if (self == nullptr) return;
    std::lock_guard<std::mutex> lock(self->mMutex);
    self->mLines.push_back({priority, tag ? tag : "", message ? message : ""});
}

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLines;
}

std::vector<LogLine> LogCapture::linesContaining(const std::string& needle) const {
    std::vector<LogLine> out;
    for (const LogLine& line : lines()) {
        if (line.text.find(needle) != std::string::npos) out.push_back(line);
    }
    return out;
}

size_t LogCapture::count(const std::string& needle) const {
    return linesContaining(needle).size();
}

void LogCapture::clear() {
    std::lock_guard<std::mutex> lock(mMutex);
    mLines.clear();
}

}  // namespace talvex::test
