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

# Hook module: frame vocabulary, registry and loader, getters and fallbacks.
add_library(talvex_no_entry MODULE ${CMAKE_CURRENT_SOURCE_DIR}/support/no_entry_library.cpp)

talvex_cc_test(NAME frame_type_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/frame_type_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME hook_interface_abi_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_interface_abi_test.cpp
    DEPS gui_talvex_utils)
talvex_cc_test(NAME libgui_ext_interface_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/libgui_ext_interface_test.cpp
    DEPS talvex_library_internals talvex_test_support ${CMAKE_DL_LIBS})
talvex_cc_test(NAME hook_getters_test
    SRCS ${CMAKE_CURRENT_SOURCE_DIR}/hook_getters_test.cpp
    DEPS talvex_library_internals talvex_test_support)
target_compile_definitions(libgui_ext_interface_test PRIVATE
    TALVEX_NO_ENTRY_LIBRARY="$<TARGET_FILE:talvex_no_entry>")
add_dependencies(libgui_ext_interface_test talvex_no_entry)
