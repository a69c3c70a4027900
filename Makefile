# The front door. Every target sets up what it needs and builds under build/.
#
#   make demo    renders frames, converts them there and back, says where the pictures are;
#                make demo PICTURES="a.png b.ppm" does it with pictures of your own
#   make test    builds and runs the tests
#
#   make asan | tsan | linux32   the tests under sanitizers, or as 32-bit programs
#   make win32                   the DLL, its modules and the command for 32-bit Windows
#   make win32-test              the tests of that, under Wine
#   make win32-package           build/zor-win32.zip, built twice to see that it comes out the same
#   make faults                  everything that can fail made to fail, and how many points that were
#   make valgrind                tests under valgrind's memory checker
#   make lint                    formatting, static analysis, folder rules
#   make bench                   benchmarks
#   make bench-instructions      instructions the row codec takes, held to their limits
#   make fuzz SECONDS=60         fuzzing; make fuzz32: as 32-bit programs
#   make install PREFIX=/usr/local

PICTURES ?=
PREFIX ?= /usr/local
SECONDS ?= 60
JOBS ?= $(shell nproc)
export PICTURES # names may hold what a shell would take for its own

configure = cmake --preset $(1) $(2) >/dev/null
build = $(call configure,$(1),$(2)) && cmake --build build/$(1) -j $(JOBS)
# Where a download fails (75), a module is left out, which is said. Any other failure counts.
fetch_libs = scripts/fetch_$(1)_libs.sh || [ $$? = 75 ]
win32_libs = scripts/setup.sh native win32 && { $(call fetch_libs,win32); }
package = cmake --preset win32 -B build/$(1) -DZOR_BUILD_TESTS=OFF >/dev/null && \
	cmake --build build/$(1) -j $(JOBS) && scripts/win32_package.sh build/$(1) build/$(1).zip
run_tests = ctest --test-dir build/$(1) --output-on-failure --no-tests=error -j $(JOBS)

.PHONY: demo test asan tsan linux32 win32 win32-test win32-package lint bench \
	bench-instructions fuzz fuzz32 install clean

demo:
	scripts/setup.sh native
	$(call build,native,-DZOR_BUILD_TESTS=OFF)
	scripts/demo.sh build/native demo

test:
	scripts/setup.sh native
	$(call build,native,-DZOR_BUILD_TESTS=ON)
	$(call run_tests,native)

asan tsan:
	scripts/setup.sh native
	$(call build,$@)
	$(call run_tests,$@)

linux32:
	scripts/setup.sh native linux32
	$(call fetch_libs,i386)
	$(call build,$@)
	$(call run_tests,$@)

win32:
	$(win32_libs)
	$(call build,$@,-DZOR_BUILD_TESTS=OFF)
	scripts/check_exports.sh build/win32/bin/zor.dll i686-w64-mingw32-objdump

win32-test:
	$(win32_libs)
	$(call build,win32,-DZOR_BUILD_TESTS=ON)
	scripts/check_exports.sh build/win32/bin/zor.dll i686-w64-mingw32-objdump
	scripts/win32_test.sh build/win32 -j $(JOBS)

win32-package:
	$(win32_libs)
	rm -rf build/package build/package-again
	$(call package,package)
	$(call package,package-again)
	cmp build/package.zip build/package-again.zip
	mv build/package.zip build/zor-win32.zip
	rm -rf build/package build/package-again build/package-again.zip
	sha256sum build/zor-win32.zip

lint:
	scripts/setup.sh native bench lint
	$(call build,native,-DZOR_BUILD_TESTS=ON)
	$(call configure,bench)
	scripts/lint.sh build/native build/bench

bench:
	scripts/setup.sh native bench
	$(call build,bench)
	scripts/bench.sh build/bench

bench-instructions:
	scripts/setup.sh native bench
	$(call configure,bench) && cmake --build build/bench -j $(JOBS) --target codec_instructions
	scripts/bench_instructions.sh build/bench

fuzz fuzz32:
	scripts/setup.sh native fuzz
	$(call build,$@)
	scripts/fuzz.sh build/$@ $(SECONDS)

install:
	scripts/setup.sh native
	$(call build,native,-DZOR_BUILD_TESTS=OFF -DCMAKE_INSTALL_PREFIX=$(PREFIX))
	cmake --install build/native

clean:
	rm -rf build demo

.PHONY: faults valgrind

faults:
	scripts/setup.sh native
	$(call build,asan)
	scripts/faults.sh build/asan

valgrind:
	scripts/setup.sh native valgrind
	$(call build,native,-DZOR_BUILD_TESTS=ON)
	scripts/valgrind.sh build/native
