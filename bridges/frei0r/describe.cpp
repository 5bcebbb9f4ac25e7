// larkmoor-frei0r-describe MODULE FOLDER    writes the descriptions for Kdenlive, MLT and Shotcut below the folder
// larkmoor-frei0r-describe MODULE           prints the reference of parameters
#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "descriptions.h"

int main(int argc, char** argv) {
    using namespace larkmoor;
    namespace fs = std::filesystem;
    if (argc < 2 || argc > 3) {
        std::fputs("usage: larkmoor-frei0r-describe MODULE [FOLDER]\n", stderr);
        return 2;
    }
    try {
        const frei0r::Catalog catalog(argv[1]);
        if (argc == 2) {
            std::puts("# Parameters of the frei0r plug-ins\n\n"
                      "Made by `larkmoor-frei0r-describe`. How to use them: [plug-ins.md](plug-ins.md).");
            for (const frei0r::Plugin& plugin : catalog.plugins())
                std::printf("\n%s", frei0r::referenceOf(plugin).c_str());
            return 0;
        }
        for (const char* const part : {"kdenlive", "mlt-7", "shotcut"}) fs::remove_all(fs::path(argv[2]) / part);
        std::vector<frei0r::Description> all{frei0r::kdenliveGroupsOf(catalog.plugins())};
        for (const frei0r::Plugin& plugin : catalog.plugins()) {
            std::ranges::move(frei0r::shotcutOf(plugin), std::back_inserter(all));
            all.push_back(frei0r::kdenliveOf(plugin));
            all.push_back(frei0r::mltOf(plugin));
        }
        for (const frei0r::Description& one : all) {
            const fs::path path = fs::path(argv[2]) / one.path;
            fs::create_directories(path.parent_path());
            std::ofstream file(path, std::ios::binary);
            file << one.text;
            file.close();
            if (!file) throw Error("cannot write " + path.string());
        }
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "larkmoor-frei0r-describe: %s\n", error.what());
        return 1;
    }
}
