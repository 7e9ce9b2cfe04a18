# Buffer-queue helper: its dumps, limiter and registry; the road of one dump and its locks.
talvex_cc_test(NAME bufferqueue_helper_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/bufferqueue_helper_test.cpp
    DEPS talvex_library_internals talvex_test_support)
