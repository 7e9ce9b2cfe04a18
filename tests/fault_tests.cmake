# Faults around the library: the platform failing under the dump road, the dumper held up.
talvex_cc_test(NAME fault_dump_road_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/fault_dump_road_test.cpp
    DEPS talvex_library_internals talvex_test_support)
