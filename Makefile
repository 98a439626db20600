# The two commands: `make run` and `make test`. Everything else here is a part of them.
SHELL := /bin/bash
.DEFAULT_GOAL := run

BUILD_DIR := build
ASAN_DIR  := build-asan
TSAN_DIR  := build-tsan
JOBS      ?= $(shell nproc)
# seconds per fuzz target for `make fuzz`
FUZZ_SECONDS ?= 600

SANITIZER_ENV := ASAN_OPTIONS=abort_on_error=1:detect_leaks=1:strict_string_checks=1 \
                 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

.PHONY: run test bootstrap build build-asan build-tsan test-plain test-asan test-tsan bench fuzz package clean

# The programs alone (the web engine's plugin comes with them): half the build of the tests.
run: bootstrap
	@$(CONFIGURE_PLAIN)
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target melodrift melodrift-cli melodrift-service
	@scripts/run-demo $(BUILD_DIR)

bootstrap:
	@scripts/bootstrap

CONFIGURE_PLAIN = [ -f $(BUILD_DIR)/CMakeCache.txt ] || cmake -S . -B $(BUILD_DIR) -G Ninja \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo

build: bootstrap
	@$(CONFIGURE_PLAIN)
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# AddressSanitizer + UndefinedBehaviorSanitizer, built with clang so that the
# libFuzzer targets come out of the same build.
build-asan: bootstrap
	@[ -f $(ASAN_DIR)/CMakeCache.txt ] || CC=clang CXX=clang++ cmake -S . -B $(ASAN_DIR) -G Ninja \
	    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
	    -DMELODRIFT_SANITIZE=ON -DMELODRIFT_FUZZ=ON
	@cmake --build $(ASAN_DIR) -j $(JOBS)

# ThreadSanitizer, for the tests that run threads (servers, workers).
build-tsan: bootstrap
	@[ -f $(TSAN_DIR)/CMakeCache.txt ] || CC=clang CXX=clang++ cmake -S . -B $(TSAN_DIR) -G Ninja \
	    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" -DMELODRIFT_TSAN=ON
	@cmake --build $(TSAN_DIR) -j $(JOBS)

test-plain: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

test-asan: build-asan
	cd $(ASAN_DIR) && $(SANITIZER_ENV) ctest --output-on-failure -j $(JOBS)

test-tsan: build-tsan
	cd $(TSAN_DIR) && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1:suppressions=$(CURDIR)/tests/tsan.supp ctest --output-on-failure -j $(JOBS)

test: test-plain test-asan test-tsan

# The Debian package of the programs, in build/.
package: build
	cd $(BUILD_DIR) && cpack

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

# Grows each target's corpus in fuzz/corpus/<target> for FUZZ_SECONDS; findings land in
# fuzz/artifacts/. `make fuzz-watch_page` runs one target.
FUZZ_TARGETS := $(patsubst fuzz/fuzz_%.cpp,%,$(wildcard fuzz/fuzz_*.cpp))
SEEDS_watch_page := tests/data/watch
SEEDS_parser_result_archive := tests/data/parser_result
SEEDS_tbxml := tests/data/feeds
SEEDS_image_decoder := tests/data/pictures
SEEDS_ytdlp_json := tests/data/ytdlp
SEEDS_release_files := tests/data/releases

fuzz: $(addprefix fuzz-,$(FUZZ_TARGETS))

fuzz-%: build-asan
	@mkdir -p fuzz/artifacts fuzz/corpus/$*
	$(SANITIZER_ENV) $(ASAN_DIR)/fuzz/fuzz_$* -max_total_time=$(FUZZ_SECONDS) -artifact_prefix=fuzz/artifacts/ \
	  $(if $(wildcard fuzz/$*.dict),-dict=fuzz/$*.dict) fuzz/corpus/$* $(SEEDS_$*)

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR) $(TSAN_DIR)
