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

# Cross build for AArch64 Linux (the ABI phones run) with Debian's cross g++ and the arm64
# builds of the platform libraries installed beside the native ones (multiarch:
# /usr/lib/aarch64-linux-gnu). Tests, and gtest's test discovery at build time, run under qemu's
# user-mode emulator (qemu-aarch64-run.sh). scripts/test-aarch64.sh installs everything and drives the build.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)

# The arm64 libbacktrace (under libutils) needs 7z.so from /usr/lib/p7zip, a path that is not
# per architecture: the package that ships it cannot be installed for two architectures, so
# that path holds the build machine's copy. TALVEX_AARCH64_7Z_DIR holds the arm64 copy; the
# linker resolves against it and the emulated loader finds it first.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TALVEX_AARCH64_7Z_DIR)
if(NOT TALVEX_AARCH64_7Z_DIR OR NOT EXISTS "${TALVEX_AARCH64_7Z_DIR}/7z.so")
    message(FATAL_ERROR "TALVEX_AARCH64_7Z_DIR must name a directory holding the arm64 7z.so "
                        "(scripts/test-aarch64.sh unpacks it from p7zip-full:arm64)")
endif()
string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${TALVEX_AARCH64_7Z_DIR}")
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -Wl,-rpath-link,${TALVEX_AARCH64_7Z_DIR}")
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/qemu-aarch64-run.sh ${TALVEX_AARCH64_7Z_DIR})

# pkg-config (libzip) must read the target's .pc files, not the build machine's.
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)
