# One program without CMake, as frameworks for distributed testing build it:
#
#   make -j EXE=name [CXX=clang++] [ARCH=x86-64-v3]
#   ./name bench          searches fixed positions; the last line is "N nodes M nps"
#
# ARCH is what the compiler takes for -march: x86-64-v2 has the popcnt instruction, x86-64-v3 bmi2 and avx2
# as well, native is this machine. Without it the program runs on every machine of its kind. N is always
# the same.
#
# All else (tests, tools, book, installation) is built by CMake, see README.md.
EXE ?= corvantis
CXX ?= g++
CXXFLAGS ?= -O2
ARCH ?=

objects := build-make/$(notdir $(CXX))$(ARCH)
sources := $(filter-out driver/main.cpp, $(wildcard board/*.cpp eval/*.cpp book/*.cpp tablebases/*.cpp search/*.cpp driver/*.cpp)) \
    tools/engine_with_bench.cpp tools/common/bench.cpp tools/common/signature.cpp tools/common/text.cpp
flags := -std=c++20 -DNDEBUG -I. $(if $(ARCH),-march=$(ARCH)) $(CXXFLAGS)
# Windows has no threads of its own that the compiler knows, and nobody there has the compiler's libraries.
link := -pthread $(if $(or $(findstring mingw,$(CXX)),$(filter Windows_NT,$(OS))),-static)

$(EXE): $(sources:%.cpp=$(objects)/%.o)
	$(CXX) $(flags) -o $@ $^ $(LDFLAGS) $(link)

$(objects)/%.o: %.cpp
	@mkdir -p $(@D)
	$(CXX) $(flags) -MMD -c -o $@ $<

clean:
	rm -rf build-make $(EXE)

.PHONY: clean
-include $(sources:%.cpp=$(objects)/%.d)
