# Quorva: build, demo, tests and benchmarks.
#
#   make demo    build only the library, the quorva tool and asia_demo; run the Asia example and
#                quorva beliefs
#   make build   RelWithDebInfo build of everything (libraries, tool, examples, tests, benchmarks)
#   make test    Debug build with AddressSanitizer + UBSan, run every test
#   make tsan    ThreadSanitizer build, run the Quorva-area tests (the multi-threaded ones)
#   make bench   Release build, run every benchmark and quorva bench on every shipped net
#   make fuzz    clang build with libFuzzer, run each fuzzer for FUZZ_SECONDS (default 30) seconds,
#                starting from its kept corpus (fuzz/corpus/<fuzzer>) and seeds (fuzz/seeds/<fuzzer>)
#   make fuzz-long  run each fuzzer for FUZZ_LONG_SECONDS (default 600) seconds, or for
#                FUZZ_LONG_RUNS inputs when that is set, then minimise
#                its kept corpus, the seeds and what the run found (-merge=1) into fuzz/corpus/<fuzzer>
#   make clean   remove the build directories
#
# Every target first installs the Debian packages it needs when they are missing.
# When ccache is installed every build goes through it (CCACHE_DISABLE=1 turns it off).

DEMO_PACKAGES := cmake g++ make pkg-config libutf8proc-dev libcli11-dev nlohmann-json3-dev libboost-math-dev \
  libpugixml-dev libcpp-httplib-dev libgraphviz-dev
DEB_PACKAGES := $(DEMO_PACKAGES) libgtest-dev libbenchmark-dev pybind11-dev python3-dev python3-numpy \
  python3-pytest python3-pandas python3-distributed chromium chromium-driver python3-selenium
FUZZ_PACKAGES := clang libclang-rt-14-dev
FUZZ_SECONDS ?= 30
# Which fuzzers fuzz and fuzz-long run (names or patterns in $(FUZZ_DIR)/fuzz).
FUZZERS ?= fuzz_*
# The sanitizers the fuzzers are built with ('leak' alone runs long runs about twice as fast),
# and the build directory that goes with them.
FUZZ_SANITIZE ?= address
FUZZ_DIR ?= $(if $(filter address,$(FUZZ_SANITIZE)),build-fuzz,build-fuzz-$(subst $(comma),-,$(FUZZ_SANITIZE)))
comma := ,
FUZZ_LONG_SECONDS ?= 600
# When set, each long run stops after this many inputs instead of after FUZZ_LONG_SECONDS.
FUZZ_LONG_RUNS ?=
FUZZ_LONG_LIMIT = $(if $(FUZZ_LONG_RUNS),-runs=$(FUZZ_LONG_RUNS),-max_total_time=$(FUZZ_LONG_SECONDS))
FUZZ_FLAGS := -timeout=10 -rss_limit_mb=2048 -print_final_stats=1
# The kept corpus and the seeds of fuzzer $$name, those that exist (for use inside the loops below).
FUZZ_INPUTS = $$(for d in fuzz/corpus/$$name fuzz/seeds/$$name; do [ -d $$d ] && echo $$d; done)
SUDO := $(if $(filter 0,$(shell id -u)),,sudo)
APT := $(SUDO) env DEBIAN_FRONTEND=noninteractive apt-get
JOBS := -j2
CCACHE := $(shell command -v ccache 2>/dev/null)
# ccache sees paths relative to the checkout, so a clean checkout elsewhere reuses what was built.
ifneq ($(CCACHE),)
export CCACHE_BASEDIR := $(CURDIR)
export CCACHE_NOHASHDIR := 1
endif
CMAKE := cmake $(if $(CCACHE),-DCMAKE_C_COMPILER_LAUNCHER=$(CCACHE) -DCMAKE_CXX_COMPILER_LAUNCHER=$(CCACHE))
# Every net the project ships, for quorva bench (Link, at about 0.7 s an update, stops after 14 s).
BENCH_NETS := $(sort $(wildcard tests/data/*.bif))

.PHONY: all deps demo-deps fuzz-deps build demo test tsan bench fuzz-build fuzz fuzz-long clean

all: build

# Installs the packages named in $(PACKAGES) that are missing.
deps demo-deps fuzz-deps:
	@missing=""; \
	for p in $(PACKAGES); do \
	  dpkg -s $$p >/dev/null 2>&1 || missing="$$missing $$p"; \
	done; \
	if [ -n "$$missing" ]; then \
	  echo "Installing:$$missing"; \
	  $(APT) update && $(APT) install -y --no-install-recommends $$missing; \
	fi

deps: PACKAGES = $(DEB_PACKAGES)
demo-deps: PACKAGES = $(DEMO_PACKAGES)
fuzz-deps: PACKAGES = $(FUZZ_PACKAGES)

build: deps
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo -DQUORVA_TESTS=ON -DQUORVA_BENCH=ON
	cmake --build build $(JOBS)

# Builds only what the demo runs.  A fresh build/ is configured without tests and benchmarks (so
# their packages are not needed); one configured before keeps its settings.
demo: demo-deps
	$(CMAKE) -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  $(if $(wildcard build/CMakeCache.txt),,-DQUORVA_TESTS=OFF -DQUORVA_BENCH=OFF)
	cmake --build build $(JOBS) --target quorva_tool asia_demo
	./build/asia_demo
	@echo
	@echo "== quorva beliefs examples/asia.dne  (no findings)"
	./build/quorva beliefs examples/asia.dne
	@echo
	@echo "== quorva beliefs examples/asia.dne -f smoking=f1 -f positive_XraY=d1  (a smoker with an abnormal X-ray)"
	./build/quorva beliefs examples/asia.dne -f smoking=f1 -f positive_XraY=d1

test: deps
	$(CMAKE) -S . -B build-asan -DCMAKE_BUILD_TYPE=Debug \
	  -DQUORVA_SANITIZE=address,undefined -DQUORVA_BENCH=OFF
	cmake --build build-asan $(JOBS)
	ctest --test-dir build-asan --output-on-failure $(JOBS)

tsan: deps
	$(CMAKE) -S . -B build-tsan -DCMAKE_BUILD_TYPE=Debug \
	  -DQUORVA_SANITIZE=thread -DQUORVA_BENCH=OFF
	cmake --build build-tsan $(JOBS) --target test_Quorva
	TSAN_OPTIONS=halt_on_error=1 ctest --test-dir build-tsan --output-on-failure -L Quorva $(JOBS)

bench: deps
	$(CMAKE) -S . -B build-release -DCMAKE_BUILD_TYPE=Release -DQUORVA_TESTS=OFF
	cmake --build build-release $(JOBS)
	@set -e; found=0; \
	for b in build-release/bench/bench_*; do \
	  [ -x "$$b" ] && [ -f "$$b" ] || continue; \
	  found=1; echo "== $$b"; "$$b"; \
	done; \
	[ $$found = 1 ] || echo "No benchmarks in build-release/bench."
	@echo "== quorva bench on every shipped net (build-release/bench-table.md)"
	./build-release/quorva bench $(BENCH_NETS) --cases 200 --max-seconds 14 > build-release/bench-table.md
	@cat build-release/bench-table.md

fuzz-build: deps fuzz-deps
	CC=clang CXX=clang++ $(CMAKE) -S . -B $(FUZZ_DIR) -DCMAKE_BUILD_TYPE=RelWithDebInfo \
	  -DQUORVA_FUZZ=ON -DQUORVA_TESTS=OFF -DQUORVA_BENCH=OFF -DQUORVA_FUZZ_SANITIZE=$(FUZZ_SANITIZE)
	cmake --build $(FUZZ_DIR) $(JOBS) --target fuzzers

# Every fuzz/fuzz_*.cpp is a fuzzer; what a short run finds stays in build-fuzz/corpus.
fuzz: fuzz-build
	@set -e; for f in $(addprefix $(FUZZ_DIR)/fuzz/,$(FUZZERS)); do \
	  [ -x "$$f" ] && [ -f "$$f" ] || continue; \
	  name=$$(basename "$$f"); mkdir -p "$(FUZZ_DIR)/corpus/$$name"; \
	  echo "== $$name for $(FUZZ_SECONDS) s"; \
	  "$$f" -max_total_time=$(FUZZ_SECONDS) $(FUZZ_FLAGS) "$(FUZZ_DIR)/corpus/$$name" $(FUZZ_INPUTS); \
	done

# A long run per fuzzer; then the kept corpus becomes the smallest set of inputs that covers
# what it, the seeds and the run cover.
fuzz-long: fuzz-build
	@set -e; for f in $(addprefix $(FUZZ_DIR)/fuzz/,$(FUZZERS)); do \
	  [ -x "$$f" ] && [ -f "$$f" ] || continue; \
	  name=$$(basename "$$f"); found="$(FUZZ_DIR)/long/$$name"; merged="$(FUZZ_DIR)/merged/$$name"; \
	  mkdir -p "$$found"; rm -rf "$$merged"; mkdir -p "$$merged"; \
	  echo "== $$name: $(FUZZ_LONG_LIMIT)"; \
	  "$$f" $(FUZZ_LONG_LIMIT) $(FUZZ_FLAGS) "$$found" $(FUZZ_INPUTS); \
	  "$$f" -merge=1 $(FUZZ_FLAGS) "$$merged" $(FUZZ_INPUTS) "$$found"; \
	  rm -rf "fuzz/corpus/$$name"; mkdir -p fuzz/corpus; mv "$$merged" "fuzz/corpus/$$name"; \
	  echo "== $$name: $$(ls "fuzz/corpus/$$name" | wc -l) inputs kept in fuzz/corpus/$$name"; \
	done

clean:
	rm -rf build build-asan build-tsan build-release build-fuzz build-fuzz-*
