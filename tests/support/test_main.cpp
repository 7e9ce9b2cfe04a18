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

// The main of every host test binary: gtest's, with a liblog logger that never reads a line's
// tag installed first. Debian's liblog keeps its default tag in a static string that is destroyed
// before the library's unload lines (the hook module's exit line); its own stderr logger would read it.
#include <gtest/gtest.h>

#include "support/log_capture.h"

int main(int argc, char** argv) {
    talvex::test::logToStderrThroughExit();
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
