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

# talvex-explain: the parser on hand-made logs in every format, the findings, the outputs.
add_library(talvex_explain_sample STATIC ${CMAKE_CURRENT_SOURCE_DIR}/explain_sample_log.cpp)
target_include_directories(talvex_explain_sample PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
target_compile_options(talvex_explain_sample PRIVATE ${TALVEX_WARNINGS})

foreach(t explain_parser_test explain_output_test explain_html_test)
    talvex_cc_test(NAME ${t}
        SRCS ${CMAKE_CURRENT_SOURCE_DIR}/${t}.cpp
        DEPS talvex_explain_lib talvex_explain_sample)
endforeach()

# The analyzer on the simulator's real logs: each story yields the findings it played out.
talvex_cc_test(NAME explain_simulator_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/explain_simulator_test.cpp
    DEPS talvex_story_truth)
add_dependencies(explain_simulator_test talvex_simulator)
target_compile_definitions(explain_simulator_test PRIVATE
    TALVEX_SIMULATOR_PATH="${TALVEX_SIMULATOR_COMMAND}")

# The scorer a campaign holds the analyzer to, on a real story, and the truth file it reads.
talvex_cc_test(NAME story_score_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/story_score_test.cpp
    DEPS talvex_story_truth)
add_dependencies(story_score_test talvex_simulator)
target_compile_definitions(story_score_test PRIVATE
    TALVEX_SIMULATOR_PATH="${TALVEX_SIMULATOR_COMMAND}")
