// Prints the rows of tests/data/digests.txt as this platform makes them, or those of defaults and presets alone.
//
// larkmoor_digest [--presets]
// larkmoor_digest --too-large   on 32 bits: has to be refused a picture whose bytes are more than sizes tell
#include <cstdio>
#include <cstring>
#include <exception>

#include "effects/digests.h"

int main(int argc, char** argv) {
    const bool isShort = argc == 2 && std::strcmp(argv[1], "--presets") == 0;
    const bool isTooLarge = argc == 2 && std::strcmp(argv[1], "--too-large") == 0;
    if (argc > 1 && !isShort && !isTooLarge) {
        std::fprintf(stderr, "usage: larkmoor_digest [--presets | --too-large]\n");
        return 2;
    }
    try {
        if (isTooLarge) {
            const auto made = larkmoor::Surface::create(larkmoor::PixelFormat::Argb32, 1 << 15, 1 << 15);
            return made.view().data ? 0 : 1;
        }
        const auto walk = isShort ? eWalk::Presets : eWalk::PresetsAndFields;
        for (const std::string& line : digestsOf(larkmoor::Module::load(), walk)) std::printf("%s\n", line.c_str());
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor_digest: %s\n", error.what());
        return 1;
    }
    return std::fflush(stdout) == 0 ? 0 : 1;
}
