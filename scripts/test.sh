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

# Configures, builds and runs ctest for each preset named (default: all), then prints one
# closing line for the whole run. A build that fails counts as one failure; the rest still run.
set -uo pipefail
cd "$(dirname "$0")/.."

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(clang gcc cxx20 asan tsan)

passed=0
failed=0
for preset in "${presets[@]}"; do
    echo "=== preset $preset"
    if ! cmake --preset "$preset" >/dev/null || ! cmake --build --preset "$preset"; then
        echo "=== preset $preset: build failed" >&2
        failed=$((failed + 1))
        continue
    fi
    log="build/$preset/ctest.log"
    ctest --preset "$preset" | tee "$log"
    status=${PIPESTATUS[0]}
    summary=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
    if [ -z "$summary" ]; then
        failed=$((failed + 1))
        continue
    fi
    total=$(sed -E 's/.* out of ([0-9]+).*/\1/' <<<"$summary")
    bad=$(sed -E 's/.*passed, ([0-9]+) tests failed.*/\1/' <<<"$summary")
    passed=$((passed + total - bad))
    failed=$((failed + bad))
    # ctest failing with every test passed (e.g. no tests found) still fails the run.
    [ "$status" -eq 0 ] || [ "$bad" -gt 0 ] || failed=$((failed + 1))
done

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
