# Front door: `make run` starts monitoring, `make test` runs every test, `make bench` measures.
BUILD_DIR ?= build
BUILD_TYPE ?= RelWithDebInfo
OSTREL_GUI ?= ON
OSTREL_WERROR ?= OFF
JOBS ?= $(shell nproc)
OSTREL := $(BUILD_DIR)/ostrel

.PHONY: all deps configure build app test bench run format clean

all: build

deps:
	@scripts/install-deps

configure: deps
	@cmake -S . -B $(BUILD_DIR) -G Ninja -DCMAKE_BUILD_TYPE=$(BUILD_TYPE) \
		-DOSTREL_GUI=$(OSTREL_GUI) -DOSTREL_WERROR=$(OSTREL_WERROR) >/dev/null

build: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS)

# `make run` needs only the executable, not the tests and benchmarks.
app: configure
	@cmake --build $(BUILD_DIR) -j $(JOBS) --target ostrel

test: build
	@ctest --test-dir $(BUILD_DIR) --output-on-failure -j $(JOBS)

bench: build
	@for b in $(BUILD_DIR)/bench/*_bench; do echo "== $$b"; $$b --benchmark_counters_tabular=true || exit 1; done

run: app
	@scripts/run-monitor $(OSTREL)

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR)
