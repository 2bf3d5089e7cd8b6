# One-word commands for a fresh Debian 12 machine (as root the missing packages
# are installed first).
#   make demo           build, then run the demo of the logging library
#   make test           build and run every test
#   make test-sanitize  the tests under ASan+UBSan, the concurrency tests under TSan
#   make test-slow      the long checks (label "slow"), which the others leave out
#   make bench          build and run the benchmarks (Release)
#   make fuzz           build the libFuzzer targets with clang, run each FUZZ_SECONDS
#   make format         clang-format the sources
#   make install        install the libraries, headers and tools under PREFIX
#   make deb            Debian packages (runtime and -dev) in build-deb/

JOBS ?= $(shell nproc)
CMAKE_FLAGS ?=
PACKAGES := build-essential cmake pkg-config libgtest-dev libgmock-dev libbenchmark-dev \
            libcairo2-dev libpango1.0-dev libx11-dev libgtk-3-dev xvfb xdotool \
            fonts-dejavu-core fontconfig libgraphicsmagick1-dev graphicsmagick \
            libcups2-dev cups-daemon cups-client poppler-utils zlib1g-dev libssl-dev \
            clang clang-format python3 tzdata binutils libdw-dev libunwind-dev file \
            dpkg-dev rsyslog libxrandr-dev openbox x11-utils fonts-wqy-zenhei

# `make demo` builds the library and the demo only, with these.
DEMO_PACKAGES := build-essential cmake zlib1g-dev libdw-dev libunwind-dev

# Only `make bench` needs these: the loggers that bench/compare_loggers runs side by
# side with ours. `make test` and CI do without them.
BENCH_PACKAGES := libspdlog-dev libgoogle-glog-dev libboost-log-dev

FUZZ_SECONDS ?= 20
PREFIX ?= /usr/local

.PHONY: all deps build demo test test-slow test-sanitize test-asan test-tsan bench fuzz format clean \
        install deb

all: build

deps:
	@tools/install-deps.sh $(PACKAGES)

build: deps
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=ON -DQD_BENCH=ON $(CMAKE_FLAGS)
	cmake --build build -j$(JOBS)

# Several threads logging every kind of event; it says where its output went. Only
# the library and the demo are built, so the test and benchmark packages are not
# needed.
demo:
	@tools/install-deps.sh $(DEMO_PACKAGES)
	cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DBUILD_TESTING=OFF -DQD_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build build -j$(JOBS) --target qdlog_demo
	cd build/tools/demo && ./qdlog_demo

test: build
	cd build && ctest -j$(JOBS) -LE slow --output-on-failure --timeout 300

test-slow: build
	cd build && ctest -j$(JOBS) -L slow --output-on-failure --timeout 1800

test-sanitize: test-asan test-tsan

# LeakSanitizer of GCC 12 misreads the thread-local block of a library loaded with
# dlopen (libdw, which the stack walker loads) and crashes; without TLS as a root it
# can only report more, never less.
test-asan: deps
	cmake -S . -B build-asan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQD_SANITIZE=address,undefined -DQD_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build build-asan -j$(JOBS)
	cd build-asan && ASAN_OPTIONS=detect_leaks=1:abort_on_error=0 LSAN_OPTIONS=use_tls=0:suppressions=$(CURDIR)/tests/lsan.supp \
	  UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
	  ctest -j$(JOBS) -LE slow --output-on-failure --timeout 600

# ThreadSanitizer needs the address-space layout it was built for: run without ASLR.
test-tsan: deps
	cmake -S . -B build-tsan -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQD_SANITIZE=thread -DQD_BENCH=OFF $(CMAKE_FLAGS)
	cmake --build build-tsan -j$(JOBS) --target concurrency_tests
	cd build-tsan && TSAN_OPTIONS=halt_on_error=1:second_deadlock_stack=1 \
	  setarch $$(uname -m) -R ctest -j$(JOBS) -L concurrency --output-on-failure --timeout 600

# Every benchmark program, one after the other, in a Release build; the last is the
# side-by-side comparison of loggers (a few minutes).
bench: deps
	@tools/install-deps.sh $(BENCH_PACKAGES)
	cmake -S . -B build-bench -DCMAKE_BUILD_TYPE=Release $(CMAKE_FLAGS)
	cmake --build build-bench -j$(JOBS) --target benchmarks
	@for b in build-bench/bench/*_bench; do \
	  if [ -f "$$b" ] && [ -x "$$b" ]; then echo "== $$b"; "$$b" || exit 1; fi; \
	done
	@echo "== build-bench/bench/compare_loggers"; build-bench/bench/compare_loggers

# Every libFuzzer target for FUZZ_SECONDS, with clang in its own build directory. The
# corpus grows in build-fuzz/corpus; tests/fuzz/seeds/<target> starts it.
fuzz: deps
	cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_C_COMPILER=clang \
	  -DCMAKE_CXX_COMPILER=clang++ -DQD_SANITIZE=address,undefined,fuzzer-no-link -DQD_FUZZ=ON \
	  -DQD_BENCH=OFF -DBUILD_TESTING=OFF $(CMAKE_FLAGS)
	cmake --build build-fuzz -j$(JOBS) --target fuzzers
	@for f in build-fuzz/tests/fuzz/fuzz_*; do \
	  if [ -f "$$f" ] && [ -x "$$f" ]; then \
	    n=$$(basename "$$f"); mkdir -p "build-fuzz/corpus/$$n"; \
	    echo "== $$n for $(FUZZ_SECONDS) s"; \
	    "$$f" -max_total_time=$(FUZZ_SECONDS) -max_len=4096 "build-fuzz/corpus/$$n" \
	      $$( [ -d "tests/fuzz/seeds/$$n" ] && echo "tests/fuzz/seeds/$$n" ) || exit 1; \
	  fi; \
	done

install: build
	cmake --install build --prefix $(PREFIX)
	@if [ "$$(id -u)" = 0 ]; then ldconfig; fi

# Release build of the installed products only, then CPack.
deb: deps
	cmake -S . -B build-deb -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
	  -DQD_BENCH=OFF -DBUILD_TESTING=OFF $(CMAKE_FLAGS)
	cmake --build build-deb -j$(JOBS)
	cd build-deb && cpack -G DEB

format:
	git ls-files '*.h' '*.cpp' | xargs clang-format -i

clean:
	rm -rf build build-asan build-tsan build-bench build-fuzz build-deb
