# Thin front to CMake and scripts/. Everything but the packages stays inside the tree, in build/ and demo/.
PRESET ?= release
JOBS ?= $(shell nproc)
TEST_JOBS ?= $(shell expr 2 \* $(JOBS))
CONFIGURE ?=
MEDIA ?=
ENGINE ?= sqlite
DESTDIR ?=
FUZZ_SECONDS ?= 60

sources = $$(find src libs siblings tests tools bench fuzz -name '*.cc' -o -name '*.h' 2>/dev/null)

.PHONY: help deps build test demo bench fuzz package package-test install format format-check clean

help:
	@echo "make demo [MEDIA=folder]   index a folder (or a library made for it) and show the result;"
	@echo "          [ENGINE=postgresql]  with the databases on a PostgreSQL server made for it"
	@echo "make test [PRESET=asan]    build and run every test"
	@echo "make build [PRESET=...]    build only: release (the default), debug, asan"
	@echo "make bench                 measure"
	@echo "make fuzz [FUZZ_SECONDS=60]  feed the parsers of foreign bytes with mutated input, so long each"
	@echo "make package               Debian packages of the release build, in build/packages"
	@echo "make package-test          install, use, upgrade and purge them on a freshly fetched Debian (root, network)"
	@echo "make install [DESTDIR=]    install what was built"
	@echo "make format                format the sources; format-check only looks"
	@echo "make clean                 remove build/ and demo/"
	@echo
	@echo "All of them install the Debian packages that they need and that are missing."

deps:
	@scripts/install-deps

build: deps
	@cmake --preset $(PRESET) $(CONFIGURE) --log-level=WARNING
	cmake --build --preset $(PRESET) -j $(JOBS)

test: build
	ctest --preset $(PRESET) -j $(TEST_JOBS)

demo: build
	@scripts/demo --build build/$(PRESET) --engine $(ENGINE) $(if $(MEDIA),--media "$(MEDIA)")

bench: build
	@scripts/bench --build build/$(PRESET)

fuzz:
	@scripts/install-deps build test fuzz
	@cmake --preset fuzz $(CONFIGURE) --log-level=WARNING
	cmake --build --preset fuzz -j $(JOBS)
	@for program in build/fuzz/bin/*_fuzz; do \
	    name=$$(basename $$program _fuzz); mkdir -p build/fuzz/corpus/$$name; \
	    $$program -max_total_time=$(FUZZ_SECONDS) build/fuzz/corpus/$$name fuzz/corpus/$$name || exit 1; done

package: PRESET = release
package: build
	@scripts/make-packages --out build/packages

package-test: package
	@command -v debootstrap >/dev/null || apt-get -qq install -y debootstrap
	@scripts/fresh-root --debian build/debian --bind . -- \
	    "$$PWD/tests/package/lifecycle" "$$PWD/build/packages" "$$PWD"

install: build
	DESTDIR="$(DESTDIR)" cmake --install build/$(PRESET)

format:
	@scripts/install-deps format
	@clang-format -i $(sources)

format-check:
	@scripts/install-deps format
	@clang-format --dry-run -Werror $(sources)

clean:
	rm -rf build demo
