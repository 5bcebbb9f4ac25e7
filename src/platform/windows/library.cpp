#include "platform/library.h"

#include <filesystem>
#include <vector>

#include <windows.h>

const char* const kModuleFileName = "larkmoor.dll";

namespace {

std::string FileOf(HMODULE module) {
    std::vector<wchar_t> name(32768); // the longest that the system has
    const DWORD length = GetModuleFileNameW(module, name.data(), static_cast<DWORD>(name.size()));
    return std::filesystem::path(name.begin(), name.begin() + length).string();
}

} // namespace

void* KwOpenLibrary(const std::string& file, std::string& why) {
    HMODULE const library = LoadLibraryW(std::filesystem::path(file).c_str());
    if (!library) why = "the system's error is " + std::to_string(GetLastError());
    HMODULE kept = nullptr;
    if (library)
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                           reinterpret_cast<const wchar_t*>(library), &kept);
    return library;
}

void KwCloseLibrary(void* library) {
    FreeLibrary(static_cast<HMODULE>(library));
}

void* KwFindFunction(void* library, const char* name) {
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(library), name));
}

std::string KwFileOfAddress(const void* address) {
    HMODULE module = nullptr;
    return GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                              static_cast<const wchar_t*>(address), &module)
               ? FileOf(module)
               : std::string();
}

std::string KwProgramFile() {
    return FileOf(nullptr);
}
