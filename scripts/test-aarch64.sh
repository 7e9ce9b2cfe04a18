#!/usr/bin/env bash
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

# Cross-builds the library, its tests and tools for AArch64 (the ABI phones run) and runs every
# test under qemu's user-mode emulator (preset "aarch64", cmake/aarch64-linux-gnu.cmake).
# Installs what it needs first. Ends with ctest's summary; non-zero exit on any failure.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh aarch64

# The arm64 7z.so that the arm64 libbacktrace loads (see cmake/aarch64-linux-gnu.cmake): taken
# from the arm64 package, which cannot be installed beside the native one.
deps=build/aarch64-deps
if [ ! -f "$deps/7z.so" ]; then
    unpack=$(mktemp -d)
    trap 'rm -rf "$unpack"' EXIT
    sandbox=()
    [ "$(id -u)" -ne 0 ] || sandbox=(-o APT::Sandbox::User=root)
    (cd "$unpack" && apt-get "${sandbox[@]}" download -qq p7zip-full:arm64)
    dpkg-deb -x "$unpack"/p7zip-full_*_arm64.deb "$unpack/root"
    mkdir -p "$deps"
    cp "$unpack/root/usr/lib/p7zip/7z.so" "$deps/7z.so"
fi

cmake --preset aarch64 >/dev/null
cmake --build --preset aarch64
ctest --preset aarch64
