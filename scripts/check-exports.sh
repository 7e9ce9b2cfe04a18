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

# Checks that libgui_talvex_utils.so exports the API and nothing else (ctest library_exports).
# usage: scripts/check-exports.sh path/to/libgui_talvex_utils.so
# Lists every defined dynamic symbol outside the API families and every required API name that
# is missing; exits 1 if there is either. Keep in step with libgui_talvex_utils.map.txt.
set -euo pipefail

if [ $# -ne 1 ] || [ ! -f "$1" ]; then
    echo "usage: $0 path/to/libgui_talvex_utils.so (a built library)" >&2
    exit 2
fi
library=$1

# The API families of the version script, as extended regular expressions on demangled names.
allowed=(
    '^talvex_libgui_vendor_hook_init$'
    '^((vtable|typeinfo|typeinfo name) for )?android::libgui_interface::hook::'
    '^((vtable|typeinfo|typeinfo name) for )?android::TalvexFrameRecord'
    '^((vtable|typeinfo|typeinfo name) for )?android::TalvexBufferQueueHelper'
    '^((vtable|typeinfo|typeinfo name) for )?android::talvexgui::'
    '^((vtable|typeinfo|typeinfo name) for )?android::Singleton<android::TalvexFrameRecord>::'
    '^((vtable|typeinfo|typeinfo name) for )?android::Singleton<android::TalvexBufferQueueHelper>::'
    # Names the sanitizers' instrumentation may define in an instrumented library.
    '^_{2,3}(asan|odr_asan|tsan|ubsan|sancov)'
)

# Names libgui, the vendor entry and the tests rely on (substrings of demangled names).
required=(
    'talvex_libgui_vendor_hook_init'
    'android::libgui_interface::hook::getFrameRecordIns()'
    'android::libgui_interface::hook::getBufferQueueHelper()'
    'android::libgui_interface::hook::getTestExampleClassInstance()'
    'android::libgui_interface::hook::registerClass('
    'android::libgui_interface::hook::newInstance('
    'android::libgui_interface::hook::hook_module_init()'
    'android::libgui_interface::hook::hook_module_exit()'
    'android::libgui_interface::hook::ensure_hook_module_init()'
    'android::libgui_interface::hook::HOOK_REGISTER_MAP'
    'android::libgui_interface::hook::libgui_ext_name'
    'android::libgui_interface::hook::libgui_ext_handle'
    'android::libgui_interface::hook::createTalvexFrameRecordFactory()'
    'android::TalvexFrameRecord::createRealImplFactory()'
    'android::TalvexBufferQueueHelper::createRealImplFactory()'
    'android::TalvexBufferQueueHelper::dumpBQCoreState('
    'android::TalvexBufferQueueHelper::dumpBlastStateAndFrameRecordLocked('
)

if ! listing=$(nm -DC --defined-only "$library"); then
    echo "check-exports: nm could not read $library" >&2
    exit 2
fi
# "address type name": keep the name, which may hold spaces; drop a symbol version if any.
names=$(sed -E 's/^[0-9a-fA-F]* +[A-Za-z] +//; s/@.*$//' <<<"$listing" | sort -u)

pattern=$(IFS='|'; echo "${allowed[*]}")
offenders=$(grep -Ev "$pattern" <<<"$names" || true)

missing=()
for name in "${required[@]}"; do
    grep -qF -- "$name" <<<"$names" || missing+=("$name")
done

status=0
if [ -n "$offenders" ]; then
    echo "check-exports: $library exports $(wc -l <<<"$offenders") symbol(s) outside the API;" \
         "hide them or, if they are API, add them to libgui_talvex_utils.map.txt and this script:" >&2
    sed 's/^/  /' <<<"$offenders" >&2
    status=1
fi
if [ ${#missing[@]} -gt 0 ]; then
    echo "check-exports: $library does not export these API names;" \
         "check libgui_talvex_utils.map.txt and TALVEX_EXPORT:" >&2
    printf '  %s\n' "${missing[@]}" >&2
    status=1
fi
[ $status -ne 0 ] || echo "check-exports: $(wc -l <<<"$names") exported symbols, all API"
exit $status
