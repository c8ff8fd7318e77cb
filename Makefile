# Front door: `make run` starts monitoring, `make test` runs every test, `make bench` measures,
# `make install` / `make uninstall` put the program under PREFIX and take it away again,
# `make package` builds a Debian package of the same.
BUILD_DIR ?= build
PREFIX ?= /usr/local
BUILD_TYPE ?= RelWithDebInfo
OSTREL_GUI ?= ON
OSTREL_WERROR ?= OFF
JOBS ?= $(shell nproc)
OSTREL := $(BUILD_DIR)/ostrel

.PHONY: all deps configure build app test bench run install uninstall package format clean

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

# Built as the user; only the copying runs as root, and only where PREFIX is not the user's.
SUDO = $(shell [ "$$(id -u)" -eq 0 ] || [ -w "$(PREFIX)" ] || echo sudo)

install: app
	@$(SUDO) cmake --install $(BUILD_DIR) --prefix $(PREFIX) --strip

# Removes exactly what the last `make install` from this build folder wrote.
uninstall:
	@test -f $(BUILD_DIR)/install_manifest.txt || { echo "Nothing installed from $(BUILD_DIR)"; exit 1; }
	@$(SUDO) xargs -r -d '\n' rm -fv < $(BUILD_DIR)/install_manifest.txt

package: app
	@cd $(BUILD_DIR) && cpack --config CPackConfig.cmake

format:
	@git ls-files '*.cpp' '*.h' | xargs clang-format -i

clean:
	@rm -rf $(BUILD_DIR)
