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

// The liblog logger API differs: Debian's liblog 29 has the pre-release two-argument logger,
// Android 11+ the one-argument `__android_log_message` logger. One file per side.
namespace talvex::test::platform {

enum class Logger {
    kCapture,  // every line to `LogCapture::add`
    kStderr,   // every line to stderr as "<priority> <text>", the tag never read
};

// Installs `logger` as liblog's logger.
void setLiblogLogger(Logger logger);

}  // namespace talvex::test::platform
