// Prints the rows of tests/data/digests.txt, every effect made by the system's own CoCreateInstance, titles and
// timecodes without letters.
#include <cstdio>
#include <exception>

#include "effects/digests.h"
#include "platform/windows/programs/registered.h"
#include "platform/windows/programs/without_letters.h"

int main(int, char**) {
    try {
        const auto module = larkmoor::Module::load({}, KwRegisteredClass);
        if (!KwTakeLettersAway()) throw larkmoor::Error("the module goes on drawing letters");
        for (const std::string& line : digestsOf(module, eWalk::PresetsAndFields)) std::printf("%s\n", line.c_str());
        std::fprintf(stderr, "%zu effects\n", module.effects().size());
        return module.effects().empty();
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor_registered_digest: %s\n", error.what());
        return 1;
    }
}
