#!/usr/bin/env bash
# Configures, builds and runs ctest for each preset named (default: all), then prints one
# closing line for the whole run.
set -uo pipefail
cd "$(dirname "$0")/.."

presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(clang gcc cxx20 asan tsan)

passed=0
failed=0
for preset in "${presets[@]}"; do
    echo "=== preset $preset"
    if ! cmake --preset "$preset" >/dev/null || ! cmake --build --preset "$preset"; then
        echo "build failed: $preset" >&2
        exit 1
    fi
    ctest --preset "$preset" | tee "build/$preset/ctest.log"
    status=${PIPESTATUS[0]}
    summary=$(grep -E 'tests passed, [0-9]+ tests failed out of [0-9]+' "build/$preset/ctest.log")
    total=$(sed -E 's/.* out of ([0-9]+).*/\1/' <<<"$summary")
    bad=$(sed -E 's/.*passed, ([0-9]+) tests failed.*/\1/' <<<"$summary")
    passed=$((passed + ${total:-0} - ${bad:-0}))
    failed=$((failed + ${bad:-0}))
    [ "$status" -eq 0 ] || [ "${bad:-0}" -gt 0 ] || failed=$((failed + 1))
done

echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ]
