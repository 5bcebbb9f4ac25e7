#include "platform/windows/programs/without_letters.h"

#include <cstddef>
#include <span>

#include <windows.h>

namespace {

HFONT WINAPI NoFont(const LOGFONTW*) {
    return nullptr;
}

} // namespace

bool KwTakeLettersAway() {
    auto* const module = reinterpret_cast<std::byte*>(GetModuleHandleW(L"larkmoor.dll"));
    if (!module) return false;
    const auto* const start = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(module + start->e_lfanew);
    const IMAGE_DATA_DIRECTORY& table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IAT];
    const FARPROC makesFonts = GetProcAddress(GetModuleHandleW(L"gdi32.dll"), "CreateFontIndirectW");
    for (FARPROC& import :
         std::span(reinterpret_cast<FARPROC*>(module + table.VirtualAddress), table.Size / sizeof(FARPROC))) {
        if (import != makesFonts) continue;
        DWORD protection = 0;
        if (!VirtualProtect(&import, sizeof import, PAGE_READWRITE, &protection)) return false;
        import = reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&NoFont));
        return VirtualProtect(&import, sizeof import, protection, &protection) != 0;
    }
    return false;
}
