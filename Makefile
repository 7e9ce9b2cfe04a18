# The README's two commands: `make run` (the main job) and `make test` (every test, every build).
# Both install what a fresh Debian machine lacks first.

TEST_PRESETS ?= clang gcc cxx20 asan tsan
SIM_ARGS ?=

.PHONY: all deps run test bench fuzz format clean
all: run

deps:
	@bash scripts/install-deps.sh

build/%/build.ninja: CMakeLists.txt CMakePresets.json | deps
	cmake --preset $* >/dev/null

run: deps build/clang/build.ninja
	cmake --build --preset clang --target talvex_simulator
	./build/clang/tools/simulator/talvex_simulator $(SIM_ARGS)

test: deps
	@bash scripts/test.sh $(TEST_PRESETS)

bench: deps build/clang/build.ninja
	cmake --build --preset clang --target frame_record_benchmark
	./build/clang/bench/frame_record_benchmark

# The fuzzers for longer than CI's smoke run: FUZZ_SECONDS per harness (default ten minutes).
fuzz:
	FUZZ_SECONDS=$${FUZZ_SECONDS:-600} bash scripts/fuzz-smoke.sh

format:
	git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	rm -rf build
