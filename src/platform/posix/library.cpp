#include "platform/library.h"

#include <filesystem>

#include <dlfcn.h>

const char* const kModuleFileName = "liblarkmoor.so";

void* KwOpenLibrary(const std::string& file, std::string& why) {
    void* const library = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    if (library) return library;
    const char* const text = dlerror();
    why = text ? text : "the system does not say why";
    return nullptr;
}

void KwCloseLibrary(void* library) {
    dlclose(library);
}

void* KwFindFunction(void* library, const char* name) {
    return dlsym(library, name);
}

std::string KwFileOfAddress(const void* address) {
    Dl_info place{};
    return dladdr(address, &place) && place.dli_fname ? place.dli_fname : "";
}

std::string KwProgramFile() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
}
