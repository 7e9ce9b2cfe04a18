#!/bin/sh
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

# Runs an AArch64 program under qemu's user-mode emulator:
#   qemu-aarch64-run.sh LIBDIR PROGRAM [ARGS...]
# with LIBDIR searched first by the emulated loader. Without a binfmt_misc entry the kernel cannot
# execute an AArch64 file, so a program that re-executes itself (gtest's death tests, the
# own-process cases) would stop at "Exec format error". The program is therefore told that it is
# DIR/.qemu/NAME, a link to this script that runs DIR/NAME under the emulator again; the name
# stays NAME, as the program's log tag expects.
set -eu
case "$0" in
    */.qemu/*)
        # Re-executed by the program itself; the environment already names LIBDIR.
        exec qemu-aarch64 -0 "$0" "${0%/.qemu/*}/${0##*/}" "$@"
        ;;
esac
libdir=$1
program=$2
shift 2
link="${program%/*}/.qemu/${program##*/}"
# Tests of one program may start at the same moment: whoever links first wins, the rest agree.
if [ ! -e "$link" ]; then
    mkdir -p "${link%/*}"
    ln -s "$(readlink -f "$0")" "$link" 2>/dev/null || [ -e "$link" ]
fi
exec qemu-aarch64 -E "LD_LIBRARY_PATH=$libdir" -0 "$link" "$program" "$@"
