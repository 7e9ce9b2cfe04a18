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
