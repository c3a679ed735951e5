# The project's commands. `make demo` prints the report of the bundled
# example cluster; `make test` builds and runs every test. Both install what
# the build needs first (tools/install-deps). `make fuzz` builds the fuzz
# targets with Clang (libFuzzer, address and undefined sanitizers) in
# build-fuzz and runs each for FUZZ_SECONDS. `make package` builds the
# Debian packages in build-package/packages; `make package-test` checks
# them (contents, lintian, the program and consumers run from them, the
# systemd units, bash completion).

BUILD ?= build
JOBS ?= $(shell nproc)
BUILD_TYPE ?= RelWithDebInfo
CMAKE_FLAGS ?=
FUZZ_SECONDS ?= 60

.PHONY: all deps configure build test demo bench fuzz package package-test \
  format format-check clean

all: build

deps:
	@tools/install-deps

configure: deps
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) $(CMAKE_FLAGS)

build: configure
	cmake --build $(BUILD) -j $(JOBS)

test: build
	ctest --test-dir $(BUILD) -j $(JOBS) --output-on-failure

demo: configure
	@cmake --build $(BUILD) -j $(JOBS) --target vesk-report >/dev/null
	@# The demo cluster fails its check by design: exit status 1 is expected.
	@$(BUILD)/cli/vesk-report --demo || [ $$? -eq 1 ]

bench: deps
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release \
	  -DVESK_BUILD_BENCH=ON -DVESK_BUILD_TESTS=OFF $(CMAKE_FLAGS)
	cmake --build build-bench -j $(JOBS)
	bench/run-all build-bench

fuzz: deps
	cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DCMAKE_CXX_COMPILER=clang++ -DVESK_BUILD_FUZZ=ON \
	  -DVESK_SANITIZE=address,undefined -DVESK_BUILD_TESTS=OFF \
	  -DVESK_INSTALL=OFF $(CMAKE_FLAGS)
	cmake --build build-fuzz -j $(JOBS) --target vesk_fuzz
	tests/fuzz/run-all build-fuzz $(FUZZ_SECONDS)

package: deps
	cmake -S . -B build-package -DCMAKE_BUILD_TYPE=Release \
	  -DCMAKE_INSTALL_PREFIX=/usr -DVESK_PACKAGE=ON -DVESK_BUILD_TESTS=OFF \
	  $(CMAKE_FLAGS)
	cmake --build build-package -j $(JOBS)
	rm -rf build-package/packages
	cd build-package && cpack -G DEB

package-test: package
	tests/package/package_test.sh build-package

format:
	git ls-files '*.cpp' '*.hpp' | xargs clang-format -i

format-check: format
	git diff --exit-code

clean:
	rm -rf build build-* 
