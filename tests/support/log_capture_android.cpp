// Device: Android 11+ liblog (`__android_log_message`).
#include <android-base/logging.h>
#include <android/log.h>
#include <stdlib.h>

#include <cstdio>

#include "log_capture.h"
#include "log_capture_platform.h"

namespace talvex::test {
namespace {

void capture(const struct __android_log_message* message) {
    LogCapture::add(message->priority, message->tag, message->message);
}

void discard(const struct __android_log_message*) {}

void toStderr(const struct __android_log_message* message) {
    fprintf(stderr, "%d %s\n", message->priority, message->message ? message->message : "");
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
    return getprogname();
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
