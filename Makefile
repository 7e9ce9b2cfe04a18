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

# The README's two commands: `make run` (the main job) and `make test` (every test, every build).
# Both install what a fresh Debian machine lacks first.

TEST_PRESETS ?= clang gcc cxx20 asan tsan
SIM_ARGS ?=
CAMPAIGN ?= 10000
CAMPAIGN_SEED ?= 1
JOBS ?= $(shell n=$$(nproc); [ $$n -gt 64 ] && n=64; echo $$n)

.PHONY: all deps run test campaign bench fuzz format clean
all: run

deps:
	@bash scripts/install-deps.sh

build/%/build.ninja: CMakeLists.txt CMakePresets.json | deps
	cmake --preset $* >/dev/null

RUN_DIR := build/run

# Plays the simulator, then explains its log as one would a device's logcat: findings on screen,
# the HTML timeline and the Perfetto trace beside the log. talvex-explain exits 1 when it has
# findings, which is what a stall should give.
run: deps build/clang/build.ninja
	cmake --build --preset clang --target talvex_simulator talvex-explain
	@mkdir -p $(RUN_DIR)
	./build/clang/tools/simulator/talvex_simulator --out $(RUN_DIR)/logcat.txt $(SIM_ARGS)
	@echo
	@echo "=== talvex-explain $(RUN_DIR)/logcat.txt"
	@./build/clang/tools/explain/talvex-explain $(RUN_DIR)/logcat.txt \
		--html $(RUN_DIR)/report.html --trace $(RUN_DIR)/trace.json --json $(RUN_DIR)/dumps.json; \
		status=$$?; [ $$status -le 1 ]

test: deps
	@bash scripts/test.sh $(TEST_PRESETS)

# Random stories scored against what each one did: CAMPAIGN of them from CAMPAIGN_SEED, JOBS at
# once. Exits 1 if talvex-explain missed a finding or made one up.
campaign: deps build/clang/build.ninja
	cmake --build --preset clang --target talvex_simulator
	./build/clang/tools/simulator/talvex_simulator --campaign $(CAMPAIGN) --seed $(CAMPAIGN_SEED) \
		-j $(JOBS)

BENCHMARKS := frame_record_benchmark bufferqueue_helper_benchmark soak_benchmark explain_benchmark \
	simulator_benchmark

bench: deps build/clang/build.ninja
	cmake --build --preset clang --target $(BENCHMARKS)
	@for b in $(BENCHMARKS); do echo "=== $$b"; ./build/clang/bench/$$b || exit 1; done

# The fuzzers for longer than CI's smoke run: FUZZ_SECONDS per harness (default ten minutes).
fuzz:
	FUZZ_SECONDS=$${FUZZ_SECONDS:-600} bash scripts/fuzz-smoke.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
