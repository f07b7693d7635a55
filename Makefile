# The two set-up commands: `make run` and `make test`. Both install what is
# missing, configure and build first.
BUILD ?= build
BUILD_TYPE ?= RelWithDebInfo
CMAKE_FLAGS ?=
ZVWK = $(BUILD)/zvwk
# Lets checkouts side by side share ccache's objects (paths become relative).
export CCACHE_BASEDIR ?= $(abspath $(CURDIR)/..)

.PHONY: run test deps configure build fuzz fuzz-build fuzz-run fuzz-all reliability bench asan docs clean

# Only what the demonstration runs: the zvwk target, not the tests and
# benchmarks a full build adds.
run: configure
	@cmake --build $(BUILD) --target zvwk
	@scripts/run-samples $(ZVWK) samples

test: build
	scripts/run-tests $(BUILD)

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS) > /dev/null

build: configure
	@cmake --build $(BUILD)

# The same tests with AddressSanitizer and UndefinedBehaviorSanitizer, and the
# work counters the growth tests read (release builds leave them out).
asan:
	$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DZV_SANITIZE=ON -DZV_WORK_COUNTERS=ON -DZV_BENCH=OFF"

# libFuzzer, one target at a time: FUZZ_TARGET names it (fuzz/*.cpp say
# what each checks), FUZZ_SECONDS bounds the run, FUZZ_SEEDS adds seed
# folders to the target's committed seeds (fuzz/seeds/<target>) and its
# corpus in build-fuzz (e.g. FUZZ_SEEDS="samples /path/to/mail"), FUZZ_FLAGS
# more libFuzzer flags.
# fuzz-all runs every target, as many at once as there are cores, each
# target's output printed whole when it ends.
FUZZ_TARGETS = fuzz_parser fuzz_plaintext fuzz_snippet fuzz_selector fuzz_headcss fuzz_strings \
	fuzz_url fuzz_safeview fuzz_dark fuzz_links fuzz_script_messages fuzz_mail
FUZZ_SECONDS ?= 600
FUZZ_TARGET ?= fuzz_parser
FUZZ_SEEDS ?= samples
FUZZ_JOBS ?= $(shell nproc)
FUZZ_CORPUS = build-fuzz/corpus$(if $(filter-out fuzz_parser,$(FUZZ_TARGET)),-$(FUZZ_TARGET))
FUZZ_DICT = $(wildcard fuzz/$(FUZZ_TARGET:fuzz_%=%).dict)
fuzz-build: deps
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZV_FUZZ=ON -DZV_BENCH=OFF -DZV_TESTS=OFF > /dev/null
	@cmake --build build-fuzz --target $(FUZZ_TARGETS)

fuzz: fuzz-build
	@$(MAKE) --no-print-directory fuzz-run

# One target, already built: the runs of fuzz-all must not build at once.
fuzz-run:
	mkdir -p $(FUZZ_CORPUS)
	build-fuzz/fuzz/$(FUZZ_TARGET) -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -timeout=10 $(FUZZ_FLAGS) \
		$(if $(FUZZ_DICT),-dict=$(FUZZ_DICT)) $(FUZZ_CORPUS) $(wildcard fuzz/seeds/$(FUZZ_TARGET)) $(FUZZ_SEEDS)

fuzz-all: fuzz-build
	@$(MAKE) --no-print-directory -j$(FUZZ_JOBS) --output-sync=recurse $(FUZZ_TARGETS:%=fuzz-all-%)

fuzz-all-%:
	@$(MAKE) --no-print-directory fuzz-run FUZZ_TARGET=$*

# What CI runs after the tests: the sanitizer build's tests, then a minute of
# each fuzz target, with a fixed seed so that what a run finds can be found again.
reliability:
	$(MAKE) asan
	$(MAKE) fuzz-all FUZZ_SECONDS=60 FUZZ_FLAGS=-seed=1

bench: build
	scripts/run-benchmarks $(BUILD)

# The GObject library's API reference (gi-docgen), in $(BUILD)/docs/Zv-0.2.
docs: configure
	@cmake --build $(BUILD) --target zv-docs
	@echo "docs: $(BUILD)/docs/Zv-0.2/index.html"

# Installs the libraries, headers, zvwk, resources, CMake package and
# pkg-config files under PREFIX.
PREFIX ?= /usr/local
.PHONY: install deb
install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

# The Debian package (CPack) in $(BUILD), then the examples built against it.
deb: build
	cd $(BUILD) && cpack -G DEB
	scripts/test-install $(BUILD) $$(ls -t $(BUILD)/zvwebkit_*.deb | head -1)

clean:
	rm -rf build build-asan build-fuzz
