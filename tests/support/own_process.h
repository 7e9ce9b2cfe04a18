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

#include <gtest/gtest.h>

#include <cstdlib>

// Runs the statements given in a fresh process of its own (gtest's threadsafe death-test style
// re-executes the test binary), for cases that depend on process-lifetime state: hook caches,
// singletons, the loader. Assertion failures inside fail the parent test with the child's
// output; an ASSERT_* ends the child's statements. The child leaves through exit(), so unload
// runs and LeakSanitizer looks at it.
#define EXPECT_IN_OWN_PROCESS(...)                                \
    do {                                                          \
        GTEST_FLAG_SET(death_test_style, "threadsafe");           \
        auto talvexOwnProcessBody = [&]() { __VA_ARGS__; };       \
        EXPECT_EXIT(                                              \
            {                                                     \
                talvexOwnProcessBody();                           \
                std::exit(::testing::Test::HasFailure() ? 1 : 0); \
            },                                                    \
            ::testing::ExitedWithCode(0), "");                    \
    } while (0)
