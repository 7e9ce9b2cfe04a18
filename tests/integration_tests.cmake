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


# libgui's integration patch (integration/android14) and the host model that plays it: every run of
# lines the patch adds must stand in the model.
# The interpreter by path: a cross build would run an imported target under its emulator.
find_package(Python3 REQUIRED COMPONENTS Interpreter)
add_test(NAME patch_in_model
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_CURRENT_SOURCE_DIR}/patch_in_model_test.py
            ${PROJECT_SOURCE_DIR})
