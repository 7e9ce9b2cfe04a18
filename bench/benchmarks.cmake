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

# Benchmarks, one binary per area; ctest runs each once in functional mode.
talvex_cc_benchmark(NAME frame_record_benchmark
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/frame_record_benchmark.cpp
    DEPS gui_talvex_utils talvex_host_platform android::base android::log android::utils)
# The benchmark reads the record's private headers (frame_record/) like the tests do.
target_include_directories(frame_record_benchmark PRIVATE ${PROJECT_SOURCE_DIR})
talvex_cc_benchmark(NAME bufferqueue_helper_benchmark
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/bufferqueue_helper_benchmark.cpp
    DEPS gui_talvex_utils talvex_host_platform android::base android::log android::utils)
talvex_cc_benchmark(NAME soak_benchmark
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/soak_benchmark.cpp
    DEPS gui_talvex_utils talvex_host_platform android::base android::log android::utils)
if(BUILD_TESTING)
    set_tests_properties(soak_benchmark.smoke PROPERTIES ENVIRONMENT TALVEX_SOAK_EVENTS=60000)
endif()

# The simulator's speed in simulated time, a story and a campaign; ctest plays a small one.
add_executable(simulator_benchmark ${CMAKE_CURRENT_SOURCE_DIR}/simulator_benchmark.cpp)
target_compile_options(simulator_benchmark PRIVATE ${TALVEX_WARNINGS})
add_dependencies(simulator_benchmark talvex_simulator)
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " TALVEX_BENCH_EMULATOR_PREFIX)
target_compile_definitions(simulator_benchmark PRIVATE
    TALVEX_SIMULATOR_PATH="${TALVEX_BENCH_EMULATOR_PREFIX} $<TARGET_FILE:talvex_simulator>")
if(BUILD_TESTING)
    add_test(NAME simulator_benchmark.smoke COMMAND simulator_benchmark 4 1 4)
endif()
