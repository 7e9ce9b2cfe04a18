// Host: Debian's liblog 29 (`__android_logger_data`, message apart).
#include <android-base/logging.h>
#include <android/log.h>
#include <errno.h>

#include <cstdio>

#include "log_capture.h"
#include "log_capture_platform.h"

namespace talvex::test {
namespace {

void capture(const struct __android_logger_data* data, const char* message) {
    LogCapture::add(data->priority, data->tag, message);
}

void discard(const struct __android_logger_data*, const char*) {}

void toStderr(const struct __android_logger_data* data, const char* message) {
    fprintf(stderr, "%d %s\n", data->priority, message ? message : "");
}

void route(__android_logger_function logger) {
    // libbase's logger must forward to liblog, so the logger below sees LOG() lines too.
    android::base::SetLogger(android::base::StderrLogger);
    android::base::SetMinimumLogSeverity(android::base::VERBOSE);
    __android_log_set_logger(logger);
    __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
}

}  // namespace

std::string defaultTag() {
    return program_invocation_short_name;
}

void logToStderrThroughExit() {
    route(&toStderr);
}

namespace platform {

void installCaptureLogger() {
    route(&capture);
}

void installDiscardLogger() {
    __android_log_set_logger(&discard);
}

}  // namespace platform
}  // namespace talvex::test
