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

# talvex-explain throughput against grep on a generated logcat; ctest runs it on 8 MB.
add_executable(explain_benchmark ${CMAKE_CURRENT_SOURCE_DIR}/explain_benchmark.cpp)
target_compile_options(explain_benchmark PRIVATE ${TALVEX_WARNINGS})
target_link_libraries(explain_benchmark PRIVATE talvex_explain_lib)
if(BUILD_TESTING)
    add_test(NAME explain_benchmark.smoke COMMAND explain_benchmark 8)
endif()
