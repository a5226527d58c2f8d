# SPDX-License-Identifier: Apache-2.0
#
# The few commands a newcomer needs. Each installs what it lacks, builds in build/<preset> and runs.
.DEFAULT_GOAL := help
.PHONY: help build run demo test test-slow asan tsan clang bench bench-agent coverage package format format-check spdx-check tidy check install clean

PRESET ?= dev
JOBS ?= $(shell nproc)

help: ## this list
	@grep -E '^[a-z-]+:.*##' $(MAKEFILE_LIST) | sed -E 's/:[^#]*## /\t/' | expand -t 16

.PRECIOUS: build/%/build.ninja

# A build folder is configured once; CMake itself notices changes after that.
build/%/build.ninja:
	@tools/install-deps build
	cmake --preset $* $(CMAKE_ARGS)

build-%: build/%/build.ninja
	cmake --build --preset $* -j $(JOBS)

build: ## everything, in build/dev
	@tools/install-deps build
	@$(MAKE) --no-print-directory build-$(PRESET)

run: build ## the agent, on a device and a store of its own in build/run; ends on ^C
	@mkdir -p build/run
	@echo "Talk to it from another terminal, for instance:"
	@echo "  build/$(PRESET)/bin/zpf --socket build/run/netconf.sock show"
	@build/$(PRESET)/bin/zpfd --store build/run/store --seed demo/native.xml --listen unix:build/run/netconf.sock \
		--slew 2 $(RUN_ARGS)

demo: build ## a client manages a running device, on one screen
	@tools/install-deps test
	@demo/demo build/$(PRESET)/bin

test: build ## all tests but the long ones
	@tools/install-deps test
	ctest --preset $(PRESET) -j $(JOBS) -LE slow $(CTEST_ARGS)

test-slow: build ## the long ones: a thousand power cuts, tens of thousands of edits
	@tools/install-deps test
	ctest --preset $(PRESET) -L slow

asan: ## all tests under AddressSanitizer and UBSan
	@$(MAKE) --no-print-directory test PRESET=asan

tsan: ## all tests under ThreadSanitizer
	@$(MAKE) --no-print-directory test PRESET=tsan

clang: ## all tests, built with clang
	@tools/install-deps check
	@$(MAKE) --no-print-directory test PRESET=dev-clang

bench: ## what is measured, beside libyang in the same run
	@tools/install-deps build bench
	@$(MAKE) --no-print-directory build-release
	@build/release/bin/zpf-bench $(BENCH_ARGS)

bench-agent: ## the agent beside another NETCONF server, rounds alternating
	@tools/install-deps build bench
	@$(MAKE) --no-print-directory build-release
	@build/release/bin/zpf-bench-agent $(BENCH_ARGS)

package: ## a Debian package, in build/release
	@$(MAKE) --no-print-directory build-release CMAKE_ARGS=-DZPF_TESTS=OFF
	cd build/release && cpack -G DEB

coverage: ## executed lines of the plug-in
	@tools/install-deps build coverage
	@$(MAKE) --no-print-directory test PRESET=coverage
	gcovr --root . --object-directory build/coverage --filter 'manageability/yang/framework/mapping/oc-attenuator/src/'

sources = git ls-files '*.c' '*.h' '*.cpp' '*.hpp'

format: ## formats all sources
	@tools/install-deps check
	$(sources) | xargs clang-format -i

format-check: ## says which sources are not formatted
	@tools/install-deps check
	$(sources) | xargs clang-format --dry-run --Werror

TIDY ?= manageability

# Over clang's own build: it does not read what g++ has precompiled, and does not know all of its options.
tidy: ## clang-tidy over what is shipped
	@tools/install-deps check
	@$(MAKE) --no-print-directory build-dev-clang
	@git ls-files '$(TIDY)/*.cpp' | grep -v /test/ | \
		xargs -P $(JOBS) -n 2 clang-tidy -p build/dev-clang --quiet

spdx-check: ## says which files lack their licence line
	@tools/check-spdx

check: format-check spdx-check tidy clang ## what CI checks besides the tests

install: build-release ## installs to PREFIX (default /usr/local)
	cmake --install build/release --prefix $(or $(PREFIX),/usr/local)

clean: ## removes build/
	rm -rf build
