#!/usr/bin/env bash
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
