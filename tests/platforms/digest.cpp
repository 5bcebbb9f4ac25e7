// Prints the rows of tests/data/digests.txt as this platform makes them, or those of defaults and presets alone.
//
// larkmoor_digest [--presets]
#include <cstdio>
#include <cstring>
#include <exception>

#include "effects/digests.h"

int main(int argc, char** argv) {
    const bool isShort = argc == 2 && std::strcmp(argv[1], "--presets") == 0;
    if (argc > 1 && !isShort) {
        std::fprintf(stderr, "usage: larkmoor_digest [--presets]\n");
        return 2;
    }
    try {
        const auto walk = isShort ? eWalk::Presets : eWalk::PresetsAndFields;
        for (const std::string& line : digestsOf(larkmoor::Module::load(), walk)) std::printf("%s\n", line.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor_digest: %s\n", error.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
