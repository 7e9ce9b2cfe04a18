#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks for the host build; a no-op when all is present.
set -euo pipefail

packages=(
    cmake ninja-build make clang g++ python3
    libgtest-dev libgmock-dev googletest libbenchmark-dev
    android-libutils-dev android-liblog-dev android-libbase-dev android-libcutils-dev
    nlohmann-json3-dev libcli11-dev zlib1g-dev libzip-dev pkg-config chromium
)

missing=()
for p in "${packages[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
echo "install-deps: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
