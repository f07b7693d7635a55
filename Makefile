# The two set-up commands: `make run` and `make test`. Both install what is
# missing, configure and build first.
BUILD ?= build
BUILD_TYPE ?= RelWithDebInfo
CMAKE_FLAGS ?=
ZVWK = $(BUILD)/zvwk
# Lets checkouts side by side share ccache's objects (paths become relative).
export CCACHE_BASEDIR ?= $(abspath $(CURDIR)/..)

.PHONY: run test deps configure build fuzz bench asan docs clean

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

# The same tests with AddressSanitizer and UndefinedBehaviorSanitizer.
asan:
	$(MAKE) test BUILD=build-asan CMAKE_FLAGS="-DZV_SANITIZE=ON -DZV_BENCH=OFF"

# libFuzzer over the parser (FUZZ_TARGET=fuzz_plaintext: plainText's walk
# against its literal pipeline; FUZZ_TARGET=fuzz_snippet: streamed snippets
# against whole-input ones); FUZZ_SECONDS bounds the run.
FUZZ_SECONDS ?= 600
FUZZ_TARGET ?= fuzz_parser
FUZZ_CORPUS = build-fuzz/corpus$(if $(filter-out fuzz_parser,$(FUZZ_TARGET)),-$(FUZZ_TARGET))
fuzz: deps
	@CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZV_FUZZ=ON -DZV_BENCH=OFF > /dev/null
	@cmake --build build-fuzz --target $(FUZZ_TARGET)
	mkdir -p $(FUZZ_CORPUS)
	build-fuzz/fuzz/$(FUZZ_TARGET) -max_total_time=$(FUZZ_SECONDS) -max_len=65536 -timeout=10 $(FUZZ_CORPUS) samples

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
