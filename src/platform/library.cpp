#include "platform/library.h"

#if !defined(__wasm__) // there the module is part of the program

#include <cstdlib>
#include <filesystem>

namespace fs = std::filesystem;

namespace {

/// Where the module may stand in relation to the folder of the program that runs.
constexpr const char* kFolders[] = {".", "../lib", "../lib64",
#if defined(__x86_64__)
                                    "../lib/x86_64-linux-gnu"
#elif defined(__aarch64__)
                                    "../lib/aarch64-linux-gnu"
#else
                                    "../lib/larkmoor"
#endif
};

} // namespace

std::string KwModuleBeside(const void* address) {
    if (std::getenv("LARKMOOR_MODULE")) return {};
    std::error_code error;
    const fs::path file = fs::canonical(KwFileOfAddress(address), error).parent_path() / kModuleFileName;
    return !error && fs::exists(file, error) ? file.string() : std::string();
}

std::string KwModuleFile(const std::string& path, std::string& looked) {
    std::string named = path;
    if (const char* const variable = std::getenv("LARKMOOR_MODULE"); named.empty() && variable) named = variable;
    if (named.empty()) named = KwModuleBeside(reinterpret_cast<const void*>(&KwModuleBeside));
    std::error_code error;
    if (!named.empty()) {
        // The system would look up a name without a folder on the library path.
        const fs::path file = fs::absolute(named, error);
        return error ? named : file.string();
    }
    const fs::path program = fs::path(KwProgramFile()).parent_path();
    for (const char* const folder : kFolders) {
        if (program.empty()) break;
        const fs::path file = (program / folder / kModuleFileName).lexically_normal();
        if (fs::exists(file, error)) return file.string();
        looked += file.string() + ", ";
    }
    std::string why;
    void* const found = KwOpenLibrary(kModuleFileName, why);
    if (!found) return {};
    KwCloseLibrary(found);
    return kModuleFileName;
}

#endif
