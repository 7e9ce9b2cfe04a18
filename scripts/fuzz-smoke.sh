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

# Builds the libFuzzer harnesses (clang, ASan + UBSan) in build/fuzz and runs each for a while
# over its seed corpus: FUZZ_SECONDS per harness (default 20, the CI smoke run; `make fuzz` runs
# longer). New inputs go to build/fuzz/corpus/<name>, crashes to build/fuzz/artifacts/. Exits
# non-zero if a harness fails; ends with one line per harness: runs, seconds, exec/s.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${FUZZ_SECONDS:-20}
fuzzers=(hook_interface_fuzzer time_string_fuzzer explain_parser_fuzzer)
# Per harness: the hook harness checks the whole record after every call, so long inputs only
# slow it down; the parser's seeds are whole logcat files.
declare -A max_len=([hook_interface_fuzzer]=2048 [time_string_fuzzer]=16
                    [explain_parser_fuzzer]=65536)

bash scripts/install-deps.sh
# Debian ships libFuzzer in clang's runtime package, which clang only recommends.
if [ "$(clang -print-file-name=libclang_rt.fuzzer-x86_64.a)" = libclang_rt.fuzzer-x86_64.a ]; then
    package="libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev"
    sudo=""
    [ "$(id -u)" -eq 0 ] || sudo="sudo"
    echo "fuzz-smoke: installing $package (libFuzzer)" >&2
    $sudo apt-get update -qq
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends \
        "$package" >/dev/null
fi

cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DCMAKE_C_COMPILER=clang -DCMAKE_CXX_COMPILER=clang++ \
    -DTALVEX_SANITIZE=address,undefined -DTALVEX_FUZZ=ON >/dev/null
cmake --build build/fuzz --target "${fuzzers[@]}" -- -j"${FUZZ_JOBS:-2}"

mkdir -p build/fuzz/artifacts
summary=()
status=0
for f in "${fuzzers[@]}"; do
    name=${f%_fuzzer}
    mkdir -p "build/fuzz/corpus/$name"
    log="build/fuzz/$f.log"
    echo "fuzz-smoke: $f for ${seconds}s" >&2
    # The seed corpus is read only; what the run finds goes to the first directory.
    if ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1 \
        "build/fuzz/fuzz/$f" -max_total_time="$seconds" -max_len="${max_len[$f]}" -timeout=30 \
        -rss_limit_mb=2048 -print_final_stats=1 -artifact_prefix=build/fuzz/artifacts/"$name"- \
        "build/fuzz/corpus/$name" "fuzz/corpus/$name" >"$log" 2>&1; then
        runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
        secs=$(sed -n 's/^Done [0-9]* runs in \([0-9]*\) second.*/\1/p' "$log")
        rate=$(sed -n 's/^stat::average_exec_per_sec: *//p' "$log")
        summary+=("$f: ${runs:-?} runs in ${secs:-?} s, ${rate:-?} exec/s")
    else
        status=1
        tail -n 40 "$log" >&2
        summary+=("$f: FAILED (see $log and build/fuzz/artifacts/)")
    fi
done
printf '%s\n' "${summary[@]}"
exit $status
