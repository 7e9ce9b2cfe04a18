// Host: Debian's liblog 29 (`__android_logger_data`, the message apart).
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

void toStderr(const struct __android_logger_data* data, const char* message) {
    fprintf(stderr, "%d %s\n", data->priority, message ? message : "");
}

}  // namespace

std::string defaultTag() {
    return program_invocation_short_name;
}

void platform::setLiblogLogger(Logger logger) {
    __android_log_set_logger(logger == Logger::kCapture ? &capture : &toStderr);
}

}  // namespace talvex::test
