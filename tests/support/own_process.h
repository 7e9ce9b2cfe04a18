#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

// Runs `body` in a fresh process of its own (gtest's threadsafe death-test style re-executes the
// test binary), for cases that depend on process-lifetime state: hook caches, singletons, the
// loader. Assertion failures inside `body` fail the parent test with the child's output.
#define EXPECT_IN_OWN_PROCESS(body)                                \
    do {                                                           \
        GTEST_FLAG_SET(death_test_style, "threadsafe");            \
        EXPECT_EXIT(                                               \
            {                                                      \
                body;                                              \
                std::_Exit(::testing::Test::HasFailure() ? 1 : 0); \
            },                                                     \
            ::testing::ExitedWithCode(0), "");                     \
    } while (0)
