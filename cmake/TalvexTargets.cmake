# Copyright (C) 2026 The libgui_talvex_utils Authors
#
# Licensed under the Apache License, Version 2.0 (the "License");
# you may not use this file except in compliance with the License.
# You may obtain a copy of the License at
#
#      http://www.apache.org/licenses/LICENSE-2.0
#
# Unless required by applicable law or agreed to in writing, software
# distributed under the License is distributed on an "AS IS" BASIS,
# WITHOUT WARRANTIES OR CONDITIONS OF ANY KIND, either express or implied.
# See the License for the specific language governing permissions and
# limitations under the License.

# Declarative helpers, one per kind of target (after Abseil's absl_cc_library / absl_cc_test).
include_guard(GLOBAL)

set(TALVEX_WARNINGS -Wall -Wextra -Werror -Wno-unused-parameter)

# talvex_cc_library(NAME n [SHARED] SRCS ... [DEPS ...] [PUBLIC_INCLUDES ...] [PRIVATE_INCLUDES ...])
function(talvex_cc_library)
    cmake_parse_arguments(A "SHARED" "NAME" "SRCS;DEPS;PUBLIC_INCLUDES;PRIVATE_INCLUDES" ${ARGN})
    if(A_SHARED)
        add_library(${A_NAME} SHARED ${A_SRCS})
    else()
        add_library(${A_NAME} STATIC ${A_SRCS})
        set_target_properties(${A_NAME} PROPERTIES POSITION_INDEPENDENT_CODE ON)
    endif()
    target_compile_options(${A_NAME} PRIVATE ${TALVEX_WARNINGS})
    target_include_directories(${A_NAME} PUBLIC ${A_PUBLIC_INCLUDES} PRIVATE ${A_PRIVATE_INCLUDES})
    target_link_libraries(${A_NAME} PUBLIC ${A_DEPS})
endfunction()

# talvex_cc_test(NAME n SRCS ... [DEPS ...]): a GoogleTest binary whose cases ctest runs one by one.
function(talvex_cc_test)
    if(NOT BUILD_TESTING)
        return()
    endif()
    cmake_parse_arguments(A "" "NAME" "SRCS;DEPS" ${ARGN})
    add_executable(${A_NAME} ${A_SRCS})
    target_compile_options(${A_NAME} PRIVATE ${TALVEX_WARNINGS})
    # tests/support/test_main.cpp: gtest's main with an unload-safe logger.
    target_link_libraries(${A_NAME} PRIVATE ${A_DEPS} talvex_test_main GTest::gtest GTest::gmock)
    gtest_discover_tests(${A_NAME} TEST_PREFIX "${A_NAME}." DISCOVERY_TIMEOUT 60
                         PROPERTIES TIMEOUT 120)
endfunction()

# talvex_cc_benchmark(NAME n SRCS ... [DEPS ...]): a Google Benchmark binary; ctest runs it once
# in functional mode (one tiny repetition) so benchmarks never rot.
function(talvex_cc_benchmark)
    cmake_parse_arguments(A "" "NAME" "SRCS;DEPS" ${ARGN})
    add_executable(${A_NAME} ${A_SRCS})
    target_compile_options(${A_NAME} PRIVATE ${TALVEX_WARNINGS})
    target_link_libraries(${A_NAME} PRIVATE ${A_DEPS} benchmark::benchmark)
    if(BUILD_TESTING)
        add_test(NAME ${A_NAME}.smoke COMMAND ${A_NAME} --benchmark_min_time=0.001)
    endif()
endfunction()
