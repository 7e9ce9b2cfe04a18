#!/usr/bin/env python3
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

"""Holds libgui's integration patch and the host model of libgui together.

Every run of lines a patch of integration/android14 adds to a libgui file must stand, in the
same order and as one run, in the host model of that file: the simulator and the tests then
run the patch's own lines. Whitespace is ignored (the two are formatted differently). Usage:
patch_in_model_test.py PROJECT_ROOT; exits 1 and names every run missing from the model.
"""

import pathlib
import re
import sys

# libgui's file -> the model files that hold its classes. libgui's own build file has no model.
MODEL_FILES = {
    "libs/gui/BLASTBufferQueue.cpp": ["host/gui/BLASTBufferQueue.cpp"],
    "libs/gui/BufferQueueProducer.cpp": ["host/gui/BufferQueueProducer.cpp"],
    "libs/gui/BufferQueueConsumer.cpp": ["host/gui/BufferQueueConsumer.cpp"],
    "libs/gui/SurfaceComposerClient.cpp": [
        "host/gui/SurfaceComposerClient.cpp",
        "host/gui/TransactionCompletedListener.cpp",
    ],
    "libs/gui/Android.bp": [],
}


def squeeze(text):
    return re.sub(r"\s+", "", text)


def added_runs(patch_text):
    """Yields (libgui file, first line number in the patch, text) per run of added lines."""
    path, run, start = None, [], 0
    for number, line in enumerate(patch_text.splitlines(), 1):
        if line.startswith("+++ "):
            path = line[len("+++ b/"):]
            continue
        if line.startswith("+") and path is not None:
            if not run:
                start = number
            run.append(line[1:])
            continue
        if run:
            yield path, start, "\n".join(run)
            run = []
        if line.startswith("diff --git"):
            path = None
    if run:
        yield path, start, "\n".join(run)


def main(root):
    root = pathlib.Path(root)
    patches = sorted((root / "integration" / "android14").glob("*.patch"))
    if not patches:
        print("no patches in integration/android14")
        return 1
    missing, checked = [], 0
    for patch in patches:
        for path, line, text in added_runs(patch.read_text()):
            if squeeze(text) == "":
                continue
            if path.startswith("libs/gui/include/gui/"):
                models = ["host/include/gui/" + path[len("libs/gui/include/gui/"):]]
            elif path in MODEL_FILES:
                models = MODEL_FILES[path]
            else:
                missing.append(f"{patch.name}:{line}: {path} has no model file")
                continue
            if not models:
                continue
            checked += 1
            if not any(squeeze(text) in squeeze((root / m).read_text()) for m in models):
                missing.append(f"{patch.name}:{line}: not in {' or '.join(models)}:\n{text}")
    for m in missing:
        print(m)
    print(f"{checked} runs of added lines checked, {len(missing)} missing from the model")
    return 1 if missing or checked == 0 else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1] if len(sys.argv) > 1 else "."))
