# The two commands of the README:
#   make demo   builds the library and runs the kopa command against kopad-sim on a private bus
#   make test   builds and runs every test
#   make test-armhf  cross-builds for 32-bit ARM and runs the tests under qemu-arm (also a stage
#                    of make test)
# Both install the Debian packages they need first (scripts/install-deps).

BUILD ?= build
JOBS ?= 2
CMAKE_FLAGS ?=

.PHONY: all demo test test-armhf docs deb deb-armhf build deps-demo deps-test deps-deb deps-qt clean

all: build

deps-demo:
	scripts/install-deps demo

deps-test:
	scripts/install-deps test

deps-deb:
	scripts/install-deps deb

deps-qt:
	scripts/install-deps qt

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKOPA_WARNINGS_AS_ERRORS=ON $(CMAKE_FLAGS)

# A build that make demo configured has the Qt Positioning plugin off: switched on again here.
build: $(BUILD)/CMakeCache.txt
	if grep -q '^KOPA_BUILD_QT_PLUGIN:BOOL=OFF' $(BUILD)/CMakeCache.txt; then \
		cmake -S . -B $(BUILD) -DKOPA_BUILD_QT_PLUGIN=ON $(CMAKE_FLAGS) >/dev/null; fi
	cmake --build $(BUILD) -j$(JOBS)

# The demo builds only what it runs: the libraries, kopa and kopad-sim. It needs no Qt, so it
# switches the Qt Positioning plugin off explicitly.
demo: deps-demo
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKOPA_WARNINGS_AS_ERRORS=ON \
		-DKOPA_BUILD_QT_PLUGIN=OFF $(CMAKE_FLAGS) >/dev/null
	cmake --build $(BUILD) -j$(JOBS) --target kopa kopad-sim kopa-bridge
	scripts/demo $(BUILD)

test: deps-test
	scripts/run-tests

test-armhf:
	scripts/install-deps test-armhf
	KOPA_TEST_STAGES=armhf scripts/run-tests

docs:
	scripts/install-deps docs
	mkdir -p build/docs
	KOPA_RELEASE=$$(sed -n 's/^project(KopaPositioning VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt) \
		doxygen docs/Doxyfile
	@echo "API reference: build/docs/html/index.html"

# The Debian packages, built with dpkg-buildpackage from a copy of the tree, into dist/.
deb: deps-deb
	scripts/build-deb dist

# The same packages cross-built for armhf against the project's armhf sysroot, into dist/armhf/.
deb-armhf:
	scripts/install-deps deb-armhf
	scripts/build-deb --arch armhf dist/armhf

# Speed and memory of the library against raw-libdbus and GDBus baselines, on a private bus
# with kopa-bench-service, a service that answers at once, so that the figures are the clients'.
.PHONY: bench
bench: deps-demo deps-qt $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS) --target kopa-bench kopa-bench-service
	KOPA_BUS_CONFIG=$(CURDIR)/bench/bench-system-bus.conf scripts/with-private-bus \
		bench/with-bench-service $(BUILD)/bench/kopa-bench-service $(BUILD)/bench/kopa-bench
	$(MAKE) bench-qt
	$(MAKE) bench-python
	$(MAKE) bench-bridge

# The Qt Positioning plugin's requestUpdate against the library's own asynchronous request and
# raw libdbus, in one run (docs/performance.md, "The Qt plugin").
.PHONY: bench-qt
bench-qt: deps-qt $(BUILD)/CMakeCache.txt
	cmake -S . -B $(BUILD) -DKOPA_BUILD_QT_PLUGIN=ON >/dev/null
	cmake --build $(BUILD) -j$(JOBS) --target kopa-qt-bench kopa-bench-service
	KOPA_BUS_CONFIG=$(CURDIR)/bench/bench-system-bus.conf scripts/with-private-bus \
		bench/with-bench-service $(BUILD)/bench/kopa-bench-service $(BUILD)/qt/bench/kopa-qt-bench

# The Python module against the library's own requests, raw libdbus and `kopa --json`, in one
# run on the same kind of bus and service (part of make bench).
.PHONY: bench-python
bench-python: $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS) --target kopa-bench kopa-bench-service kopa _kopapositioning
	KOPA_BUS_CONFIG=$(CURDIR)/bench/bench-system-bus.conf scripts/with-private-bus \
		bench/with-bench-service $(BUILD)/bench/kopa-bench-service \
		bench/python/kopa_python_bench.py $(BUILD) $(BENCH_ARGS)

# kopa-bridge: positions per second fanned out to 1, 10 and 100 watching clients and its CPU
# per position per client, beside the same subscription by raw libdbus and by kopa::Client
# alone (part of make bench).
.PHONY: bench-bridge
bench-bridge: $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS) --target kopa-bridge kopa-bridge-bench kopa-bench-service
	KOPA_BUS_CONFIG=$(CURDIR)/bench/bench-system-bus.conf scripts/with-private-bus \
		bench/with-bench-service $(BUILD)/bench/kopa-bench-service \
		$(BUILD)/bench/kopa-bridge-bench $(BUILD)/tools/kopa-bridge/kopa-bridge

# A bounded soak of the asynchronous path: requests per second and resident memory over time.
.PHONY: soak
soak: deps-demo deps-qt
	$(MAKE) build
	scripts/with-sim-bus --sim $(BUILD)/service/kopad-sim $(BUILD)/bench/soak/kopa-soak \
		--requests $(or $(SOAK_REQUESTS),400000)

clean:
	rm -rf $(BUILD) build-*
