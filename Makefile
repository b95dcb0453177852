# The two commands of the README:
#   make demo   builds the library and runs the kopa command against kopad-sim on a private bus
#   make test   builds and runs every test
# Both install the Debian packages they need first (scripts/install-deps).

BUILD ?= build
JOBS ?= 2
CMAKE_FLAGS ?=

.PHONY: all demo test docs build deps-demo deps-test clean

all: build

deps-demo:
	scripts/install-deps demo

deps-test:
	scripts/install-deps test

$(BUILD)/CMakeCache.txt:
	cmake -S . -B $(BUILD) -DCMAKE_BUILD_TYPE=RelWithDebInfo -DKOPA_WARNINGS_AS_ERRORS=ON $(CMAKE_FLAGS)

build: $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j$(JOBS)

demo: deps-demo
	$(MAKE) build KOPA_DEMO=1
	scripts/demo $(BUILD)

test: deps-test
	scripts/run-tests

docs:
	scripts/install-deps docs
	doxygen docs/Doxyfile
	@echo "API reference: build/docs/html/index.html"

clean:
	rm -rf $(BUILD) build-*
