# Buffer-queue helper: its dumps, limiter and registry; the road of one dump and its locks.
foreach(t bufferqueue_helper_test bufferqueue_helper_road_test)
    talvex_cc_test(NAME ${t}
        SRCS ${CMAKE_CURRENT_SOURCE_DIR}/${t}.cpp
        DEPS talvex_library_internals talvex_test_support)
endforeach()
