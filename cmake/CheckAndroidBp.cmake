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

cmake_minimum_required(VERSION 3.25)
# Fails when Android.bp's library sources and CMake's drift apart. Run with
#   cmake -DSOURCE_DIR=... -DSOURCES="a.cpp;b.cpp" -P CheckAndroidBp.cmake
# A platform seam's host side (*_host.cpp) stands for its device side (*_android.cpp).
file(READ ${SOURCE_DIR}/Android.bp bp)

# The srcs of module "libgui_talvex_utils": from its name to the closing bracket of srcs.
string(FIND "${bp}" "name: \"libgui_talvex_utils\"," start)
if(start EQUAL -1)
    message(FATAL_ERROR "Android.bp has no module named libgui_talvex_utils")
endif()
string(SUBSTRING "${bp}" ${start} -1 module)
string(REGEX MATCH "srcs: \\[[^]]*\\]" srcs "${module}")
string(REGEX MATCHALL "\"[A-Za-z0-9_/.]+\\.cpp\"" listed "${srcs}")
set(bp_sources "")
foreach(quoted ${listed})
    string(REPLACE "\"" "" path ${quoted})
    list(APPEND bp_sources ${path})
endforeach()

set(cmake_sources "")
foreach(src ${SOURCES})
    string(REPLACE "_host.cpp" "_android.cpp" device_src ${src})
    list(APPEND cmake_sources ${device_src})
endforeach()

set(errors "")
foreach(src ${cmake_sources})
    if(NOT src IN_LIST bp_sources)
        string(APPEND errors "  Android.bp's libgui_talvex_utils lacks ${src}\n")
    endif()
endforeach()
foreach(src ${bp_sources})
    if(NOT src IN_LIST cmake_sources)
        string(APPEND errors "  Android.bp's libgui_talvex_utils has ${src}, CMake does not\n")
    endif()
endforeach()

# Every source any module names must exist.
string(REGEX MATCHALL "\"[A-Za-z0-9_/.]+\\.cpp\"" all_listed "${bp}")
foreach(quoted ${all_listed})
    string(REPLACE "\"" "" path ${quoted})
    if(NOT EXISTS ${SOURCE_DIR}/${path})
        string(APPEND errors "  Android.bp names ${path}, which does not exist\n")
    endif()
endforeach()

if(errors)
    message(FATAL_ERROR "Android.bp is out of step with CMakeLists.txt:\n${errors}")
endif()
message(STATUS "Android.bp and CMake build the same library sources")
