#include "log_capture.h"

#include <android-base/logging.h>

#include <algorithm>
#include <atomic>
#include <cstdio>

namespace talvex::test {
namespace {

std::atomic<LogCapture*> gActive{nullptr};

// Stands in while no capture is active, so lines never reach a destroyed capture.
void discard(const struct __android_logger_data*, const char*) {}

void toStderr(const struct __android_logger_data* data, const char* message) {
    fprintf(stderr, "%d %s\n", data->priority, message ? message : "");
}

}  // namespace

void logToStderrThroughExit() {
    android::base::SetLogger(android::base::StderrLogger);
    android::base::SetMinimumLogSeverity(android::base::VERBOSE);
    __android_log_set_logger(&toStderr);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

LogCapture::LogCapture() {
    // libbase's logger must forward to liblog, so that the sink below sees LOG() lines too.
    android::base::SetLogger(android::base::StderrLogger);
    android::base::SetMinimumLogSeverity(android::base::VERBOSE);
    gActive.store(this);
    __android_log_set_logger(&LogCapture::sink);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

LogCapture::~LogCapture() {
    __android_log_set_logger(&discard);
    gActive.store(nullptr);
}

void LogCapture::sink(const struct __android_logger_data* data, const char* message) {
    LogCapture* self = gActive.load();
    if (self == nullptr) return;
    std::lock_guard<std::mutex> lock(self->mMutex);
    self->mLines.push_back({data->priority, data->tag ? data->tag : "", message ? message : ""});
}

std::vector<LogLine> LogCapture::lines() const {
    std::lock_guard<std::mutex> lock(mMutex);
    return mLines;
}

std::vector<std::string> LogCapture::texts() const {
    std::vector<std::string> out;
    for (const LogLine& line : lines()) out.push_back(line.text);
    return out;
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
