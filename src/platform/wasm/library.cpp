// The module is part of the program.
#include "platform/library.h"

#include <string_view>

#include "platform/exports.h"

const char* const kModuleFileName = "larkmoor.wasm";

namespace {

struct tExport {
    std::string_view name;
    void* function;
};

/// What a host asks for by name. A function's address has no constant form as a pointer to data.
const tExport kExports[] = {{"DllCanUnloadNow", reinterpret_cast<void*>(&DllCanUnloadNow)},
                            {"DllEnumObjects2", reinterpret_cast<void*>(&DllEnumObjects2)},
                            {"DllGetClassObject", reinterpret_cast<void*>(&DllGetClassObject)}};

} // namespace

std::string KwModuleBeside(const void*) {
    return {};
}

std::string KwModuleFile(const std::string&, std::string&) {
    return kModuleFileName;
}

void* KwOpenLibrary(const std::string&, std::string&) {
    return const_cast<tExport*>(kExports);
}

void KwCloseLibrary(void*) {}

void* KwFindFunction(void*, const char* name) {
    for (const tExport& row : kExports)
        if (row.name == name) return row.function;
    return nullptr;
}
