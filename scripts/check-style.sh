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

# The mechanical checks of the sources: clang-format on every tracked C++ file (nothing may
# change), then clang-tidy (.clang-tidy) over the library's sources with the flags of the clang
# build. Prints each finding and exits non-zero if there is any. tools/, tests/, bench/ and fuzz/
# are formatted but not tidied.
#   scripts/check-style.sh [build dir, default build/clang]
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/clang}
jobs=${CHECK_STYLE_JOBS:-2}

status=0

echo "=== clang-format"
if ! git ls-files -z '*.cpp' '*.h' | xargs -0 clang-format-14 --dry-run --Werror; then
    echo "check-style: formatting differs; run \`make format\` and commit the result" >&2
    status=1
fi

echo "=== clang-tidy"
if [ ! -f "$build/compile_commands.json" ]; then
    cmake --preset clang >/dev/null
fi
# The library's own compile commands only: the clang builds compile each library source twice
# (the second time against libc++ for the locking analysis), and tidying both would double the
# time and report every finding twice.
db=$(mktemp -d)
trap 'rm -rf "$db"' EXIT
python3 - "$build/compile_commands.json" "$db/compile_commands.json" <<'PY'
import json, sys
entries = json.load(open(sys.argv[1]))
kept = [e for e in entries if "/gui_talvex_utils.dir/" in e.get("output", e["command"])]
json.dump(kept, open(sys.argv[2], "w"), indent=1)
PY
mapfile -t sources < <(python3 -c '
import json, os, sys
root = os.getcwd() + "/"
for e in json.load(open(sys.argv[1])):
    print(os.path.relpath(e["file"], root))' "$db/compile_commands.json")
if [ ${#sources[@]} -eq 0 ]; then
    echo "check-style: no library sources in $build/compile_commands.json" >&2
    exit 1
fi
findings=$(mktemp)
trap 'rm -rf "$db" "$findings"' EXIT
if ! printf '%s\0' "${sources[@]}" |
        xargs -0 -n 1 -P "$jobs" clang-tidy-14 -p "$db" --quiet --warnings-as-errors='*' \
        >"$findings" 2>&1; then
    grep -v -E '^[0-9]+ warnings? (and [0-9]+ errors? )?generated\.$|^Suppressed [0-9]+ warnings' \
        "$findings" >&2 || true
    echo "check-style: clang-tidy has findings in the library's sources" >&2
    status=1
fi
echo "clang-tidy: ${#sources[@]} library sources checked"
exit $status
