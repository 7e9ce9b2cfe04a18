# The simulator behind `make run`: its options in-process, its scenarios as the program itself.
talvex_cc_test(NAME simulator_options_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/simulator_options_test.cpp
    DEPS talvex_simulator_lib)
talvex_cc_test(NAME simulator_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/simulator_test.cpp
    DEPS talvex_test_support)
add_dependencies(simulator_test talvex_simulator)
target_compile_definitions(simulator_test PRIVATE
    TALVEX_SIMULATOR_PATH="$<TARGET_FILE:talvex_simulator>")
