// Prints the rows of defaults and presets of tests/data/digests.txt, every effect made by the system's own
// CoCreateInstance.
#include <cstdio>
#include <exception>

#include "effects/digests.h"
#include "platform/windows/programs/registered.h"

int main(int, char**) {
    try {
        const auto module = larkmoor::Module::load({}, KwRegisteredClass);
        for (const std::string& line : digestsOf(module, eWalk::Presets)) std::printf("%s\n", line.c_str());
        std::fprintf(stderr, "%zu effects\n", module.effects().size());
        return module.effects().empty();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor_registered_digest: %s\n", error.what());
        return 1;
    }
}
