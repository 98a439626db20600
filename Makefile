# The two commands: `make run` and `make test`. Everything else here is a part of them.
SHELL := /bin/bash
.DEFAULT_GOAL := run

BUILD_DIR := build
ASAN_DIR  := build-asan
JOBS      ?= $(shell nproc)
# seconds per fuzz target for `make fuzz`
FUZZ_SECONDS ?= 600

SANITIZER_ENV := ASAN_OPTIONS=abort_on_error=1:detect_leaks=1:strict_string_checks=1 \
                 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

.PHONY: run test bootstrap build build-asan test-plain test-asan bench fuzz clean

run: build
	@echo "Melodrift is being built up from its core; there is no program to start yet."
	@echo "What exists so far (in $(BUILD_DIR)/):"
	@echo "  src/core     stream descriptor (youtube_url), watch-page parser (youtube_parser),"
	@echo "               HTML character-reference decoder"
	@echo "  tests/       unit tests over realistic watch pages        -> make test"
	@echo "  bench/       watch-page parser throughput                 -> make bench"
	@echo "  fuzz/        libFuzzer target for the parser and decoder  -> make fuzz"

bootstrap:
	@scripts/bootstrap

build: bootstrap
	@[ -f $(BUILD_DIR)/CMakeCache.txt ] || cmake -S . -B $(BUILD_DIR) -G Ninja \
	    -DCMAKE_BUILD_TYPE=RelWithDebInfo
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# AddressSanitizer + UndefinedBehaviorSanitizer, built with clang so that the
# libFuzzer targets come out of the same build.
build-asan: bootstrap
	@[ -f $(ASAN_DIR)/CMakeCache.txt ] || CC=clang CXX=clang++ cmake -S . -B $(ASAN_DIR) -G Ninja \
	    -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
	    -DMELODRIFT_SANITIZE=ON -DMELODRIFT_FUZZ=ON
	@cmake --build $(ASAN_DIR) -j $(JOBS)

test-plain: build
	cd $(BUILD_DIR) && ctest --output-on-failure -j $(JOBS)

test-asan: build-asan
	cd $(ASAN_DIR) && $(SANITIZER_ENV) ctest --output-on-failure -j $(JOBS)

test: test-plain test-asan

bench: build
	@for b in $(BUILD_DIR)/bench/bench_*; do [ -x "$$b" ] && "$$b"; done

# Grows each target's corpus in fuzz/corpus/<target>; findings land in fuzz/artifacts/.
fuzz: build-asan
	@mkdir -p fuzz/artifacts
	@for f in $(ASAN_DIR)/fuzz/fuzz_*; do \
	  name=$$(basename $$f); name=$${name#fuzz_}; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  dict=; [ -f fuzz/$$name.dict ] && dict=-dict=fuzz/$$name.dict; \
	  $(SANITIZER_ENV) $$f -max_total_time=$(FUZZ_SECONDS) -artifact_prefix=fuzz/artifacts/ $$dict \
	    fuzz/corpus/$$name tests/data || exit 1; \
	done

clean:
	rm -rf $(BUILD_DIR) $(ASAN_DIR)
