# The simulator behind `make run`.
talvex_cc_test(NAME simulator_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/simulator_test.cpp
    DEPS talvex_simulator_lib talvex_test_support)
