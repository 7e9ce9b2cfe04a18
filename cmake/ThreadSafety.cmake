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

# Clang's thread-safety analysis of the library's locking contracts (GUARDED_BY, REQUIRES,
# EXCLUDES), with its findings as errors.
#
# The analysis needs std::mutex to be a capability and std::lock_guard a scoped lock. libstdc++
# annotates neither; libc++ annotates both when _LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS is
# defined, which is how AOSP compiles every C++ module. Debian's platform libraries are built
# against libstdc++, so the library itself stays on libstdc++: each clang build compiles the same
# sources a second time against libc++'s headers into objects that are never linked.
include_guard(GLOBAL)
include(CheckCXXSourceCompiles)

set(_talvex_ts_default OFF)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND NOT CMAKE_CROSSCOMPILING)
    set(_talvex_ts_default ON)
endif()
option(TALVEX_THREAD_SAFETY "Check the locking annotations with clang against libc++"
       ${_talvex_ts_default})

set(TALVEX_THREAD_SAFETY_FLAGS
    -stdlib=libc++ -D_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS -Wthread-safety -Werror
    # Only the analysis matters for these objects; spare the optimizer's time.
    -O0 -g0)

if(TALVEX_THREAD_SAFETY)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "TALVEX_THREAD_SAFETY needs clang; configure with "
                            "-DTALVEX_THREAD_SAFETY=OFF for ${CMAKE_CXX_COMPILER_ID}")
    endif()
    set(CMAKE_REQUIRED_FLAGS "-stdlib=libc++ -D_LIBCPP_ENABLE_THREAD_SAFETY_ANNOTATIONS")
    check_cxx_source_compiles([[
        #include <mutex>
        std::mutex m;
        int v __attribute__((guarded_by(m)));
        int main() { std::lock_guard<std::mutex> l(m); return v; }
    ]] TALVEX_HAVE_ANNOTATED_LIBCXX)
    unset(CMAKE_REQUIRED_FLAGS)
    if(NOT TALVEX_HAVE_ANNOTATED_LIBCXX)
        message(FATAL_ERROR "The thread-safety check needs libc++'s headers (Debian: libc++-14-dev "
                            "libc++abi-14-dev; scripts/install-deps.sh installs them), or "
                            "-DTALVEX_THREAD_SAFETY=OFF")
    endif()
endif()

# talvex_thread_safety_check(NAME n LIKE target [EXCLUDE_FROM_ALL] SRCS ... [DEFINES ...]):
# compiles SRCS with the include directories, definitions and dependencies of `target`, against
# libc++ and with the analysis's findings as errors. The objects are never linked.
function(talvex_thread_safety_check)
    cmake_parse_arguments(A "EXCLUDE_FROM_ALL" "NAME;LIKE" "SRCS;DEFINES" ${ARGN})
    set(exclude "")
    if(A_EXCLUDE_FROM_ALL)
        set(exclude EXCLUDE_FROM_ALL)
    endif()
    add_library(${A_NAME} OBJECT ${exclude} ${A_SRCS})
    target_include_directories(${A_NAME} PRIVATE
        $<TARGET_PROPERTY:${A_LIKE},INCLUDE_DIRECTORIES>)
    target_compile_definitions(${A_NAME} PRIVATE
        $<TARGET_PROPERTY:${A_LIKE},COMPILE_DEFINITIONS> ${A_DEFINES})
    target_compile_options(${A_NAME} PRIVATE ${TALVEX_WARNINGS} ${TALVEX_THREAD_SAFETY_FLAGS})
    # Only the usage requirements (the dependencies' headers) matter: objects are not linked.
    target_link_libraries(${A_NAME} PRIVATE $<TARGET_PROPERTY:${A_LIKE},LINK_LIBRARIES>)
endfunction()
