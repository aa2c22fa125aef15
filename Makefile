# Front door of the build. The real work is CMake + Ninja in build*/.
#
#   make              build (build/)
#   make check        install missing packages, build, run every test
#   make demo         install missing packages, build, run the demo
#   make check-asan   the tests under ASan + UBSan (build-asan/), then a short
#                     run of the fuzz targets (fuzz/, clang++ only)
#   make check-tsan   the tests under TSan (build-tsan/)
#   make bench        build and run the benchmarks (optimised, build-bench/)
#   make install PREFIX=/some/where
#   make clean

BUILD      ?= build
PREFIX     ?= /usr/local
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
CTEST_ARGS ?= --output-on-failure -j $(JOBS)
GENERATOR  := -G Ninja

.PHONY: all deps configure check demo check-asan check-tsan fuzz-smoke bench install clean

all: configure
	cmake --build $(BUILD) -j $(JOBS)

deps:
	./scripts/install-deps.sh

configure:
	@test -f $(BUILD)/build.ninja || cmake -S . -B $(BUILD) $(GENERATOR) -DCMAKE_BUILD_TYPE=RelWithDebInfo

check: deps all
	cd $(BUILD) && ctest $(CTEST_ARGS)

demo: deps all
	TARVOLKHOME=$(CURDIR)/$(BUILD)/home ZIMBRELHOME=$(CURDIR)/$(BUILD)/home/zimbrel \
	    $(BUILD)/examples/demo

check-asan: deps
	@test -f build-asan/build.ninja || cmake -S . -B build-asan $(GENERATOR) \
	    -DCMAKE_BUILD_TYPE=Debug -DTVK_SANITIZE=address -DTVK_BUILD_BENCH=OFF
	cmake --build build-asan -j $(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 \
	    UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 ctest $(CTEST_ARGS)
	$(MAKE) --no-print-directory fuzz-smoke

# The libFuzzer targets need clang++; they build in build-asan/fuzz and run
# FUZZ_SECONDS each from the committed corpus.
FUZZ_SECONDS ?= 3
fuzz-smoke:
	@if command -v clang++ >/dev/null 2>&1; then \
	    test -f build-asan/fuzz/build.ninja || cmake -S fuzz -B build-asan/fuzz $(GENERATOR) \
	        -DCMAKE_CXX_COMPILER=clang++ -DCMAKE_BUILD_TYPE=Debug; \
	    cmake --build build-asan/fuzz -j $(JOBS) && \
	    cmake -DFUZZ_SECONDS=$(FUZZ_SECONDS) build-asan/fuzz >/dev/null && \
	    cmake --build build-asan/fuzz --target fuzz_smoke; \
	else \
	    echo "clang++ not found: fuzz targets skipped"; \
	fi

check-tsan: deps
	@test -f build-tsan/build.ninja || cmake -S . -B build-tsan $(GENERATOR) \
	    -DCMAKE_BUILD_TYPE=Debug -DTVK_SANITIZE=thread -DTVK_BUILD_BENCH=OFF
	cmake --build build-tsan -j $(JOBS)
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 ctest $(CTEST_ARGS)

bench: deps
	@test -f build-bench/build.ninja || cmake -S . -B build-bench $(GENERATOR) \
	    -DCMAKE_BUILD_TYPE=Release -DTVK_BUILD_TESTS=OFF
	cmake --build build-bench -j $(JOBS) --target run_benchmarks

install: all
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf build build-asan build-tsan build-bench
