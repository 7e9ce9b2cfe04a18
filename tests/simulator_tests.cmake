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

# The simulator behind `make run`: its options in-process, its scenarios as the program itself.
talvex_cc_test(NAME simulator_options_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/simulator_options_test.cpp
    DEPS talvex_simulator_lib)
talvex_cc_test(NAME simulator_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/simulator_test.cpp
    DEPS talvex_test_support)
# The command that starts the simulator: through the emulator when the tests run on another ABI
# (the cross builds run every test under qemu-user, and a shell cannot start an AArch64 file).
list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " TALVEX_EMULATOR_PREFIX)
set(TALVEX_SIMULATOR_COMMAND "${TALVEX_EMULATOR_PREFIX} $<TARGET_FILE:talvex_simulator>")
add_dependencies(simulator_test talvex_simulator)
target_compile_definitions(simulator_test PRIVATE
    TALVEX_SIMULATOR_PATH="${TALVEX_SIMULATOR_COMMAND}")

# A campaign of random stories, each scored against what it did: no finding missed, none made up.
# Fewer stories in the sanitizer builds and under an emulator, where each runs ten times slower;
# `make campaign` plays ten thousand.
if(TALVEX_SANITIZE OR CMAKE_CROSSCOMPILING)
    set(TALVEX_CAMPAIGN_STORIES 60)
else()
    set(TALVEX_CAMPAIGN_STORIES 300)
endif()
if(BUILD_TESTING)
    add_test(NAME simulator_campaign
             COMMAND talvex_simulator --campaign ${TALVEX_CAMPAIGN_STORIES} --seed 1 -j 4)
    set_tests_properties(simulator_campaign PROPERTIES
        PASS_REGULAR_EXPRESSION "every story scored clean" TIMEOUT 900)
endif()
