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

# Installs what a fresh Debian machine lacks; a no-op when all is present.
#   scripts/install-deps.sh          the host build, its checks and tests
#   scripts/install-deps.sh aarch64  the AArch64 cross build and qemu (scripts/test-aarch64.sh)
set -euo pipefail

host_packages=(
    cmake ninja-build make clang g++ python3
    libgtest-dev libgmock-dev googletest libbenchmark-dev
    android-libutils-dev android-liblog-dev android-libbase-dev android-libcutils-dev
    nlohmann-json3-dev libcli11-dev zlib1g-dev libzip-dev pkg-config chromium
    # The locking analysis compiles against libc++'s annotated headers (cmake/ThreadSafety.cmake).
    libc++-14-dev libc++abi-14-dev
    # The sanitizer and libFuzzer runtimes: clang's own package recommends them, and
    # --no-install-recommends leaves them out (the asan, tsan and fuzz builds do not link).
    libclang-rt-14-dev
    # scripts/check-style.sh
    clang-format-14 clang-tidy-14 git
)

# The arm64 builds of everything the library and its tests link, beside the native ones.
aarch64_packages=(
    g++-aarch64-linux-gnu qemu-user
    android-libutils-dev:arm64 android-liblog-dev:arm64 android-libbase-dev:arm64
    android-libcutils-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64 libbenchmark-dev:arm64
    zlib1g-dev:arm64 libzip-dev:arm64
)

case "${1:-host}" in
    host) packages=("${host_packages[@]}") ;;
    aarch64) packages=("${host_packages[@]}" "${aarch64_packages[@]}") ;;
    *)
        echo "usage: $0 [host|aarch64]" >&2
        exit 2
        ;;
esac

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"

# The arm64 packages are installed side by side with the native ones (multiarch).
if [ "${1:-host}" = aarch64 ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
    echo "install-deps: adding the arm64 architecture" >&2
    $sudo dpkg --add-architecture arm64
fi

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "install-deps: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
