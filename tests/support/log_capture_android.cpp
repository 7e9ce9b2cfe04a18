// Device: Android 11+ liblog (`__android_log_message`).
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

void toStderr(const struct __android_log_message* message) {
    fprintf(stderr, "%d %s\n", message->priority, message->message ? message->message : "");
}

}  // namespace

std::string defaultTag() {
    return getprogname();
}

void platform::setLiblogLogger(Logger logger) {
    __android_log_set_logger(logger == Logger::kCapture ? &capture : &toStderr);
}

}  // namespace talvex::test
