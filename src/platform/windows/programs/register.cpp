// Tells the system where the classes of the module are, for this user, so that CoCreateInstance makes them.
//
// larkmoor_register FILE            writes the keys of all classes of that larkmoor.dll
// larkmoor_register --remove FILE   removes them
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>

#include <windows.h>

namespace {

using Enumerate = HRESULT (*)(std::int32_t, GUID*, CLSID*, char*, std::int32_t, void*, void*, void*);

std::wstring KeyOf(const CLSID& clsid) {
    wchar_t text[40] = L"";
    StringFromGUID2(clsid, text, static_cast<int>(std::size(text)));
    return std::wstring(L"Software\\Classes\\CLSID\\") + text;
}

LSTATUS SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    return RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name, REG_SZ, text.c_str(),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

LSTATUS Add(const CLSID& clsid, const char* description, const std::wstring& file) {
    const std::wstring key = KeyOf(clsid), server = key + L"\\InprocServer32";
    LSTATUS status = SetText(key, nullptr, std::wstring(description, description + std::strlen(description)));
    if (status == ERROR_SUCCESS) status = SetText(server, nullptr, file);
    return status == ERROR_SUCCESS ? SetText(server, L"ThreadingModel", L"Both") : status;
}

LSTATUS Remove(const CLSID& clsid) {
    const LSTATUS status = RegDeleteTreeW(HKEY_CURRENT_USER, KeyOf(clsid).c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

} // namespace

int main(int argc, char** argv) {
    const bool removes = argc == 3 && std::strcmp(argv[1], "--remove") == 0;
    if (argc != 2 && !removes) {
        std::fprintf(stderr, "usage: larkmoor_register [--remove] FILE, where FILE is larkmoor.dll\n");
        return 2;
    }
    std::error_code error;
    const std::filesystem::path file = std::filesystem::absolute(argv[argc - 1], error);
    HMODULE const module = LoadLibraryW(file.c_str());
    const auto enumerate =
        module ? reinterpret_cast<Enumerate>(reinterpret_cast<void*>(GetProcAddress(module, "DllEnumObjects2")))
               : nullptr;
    if (!enumerate) {
        std::fprintf(stderr, "%s is not the module: name the file larkmoor.dll\n", argv[argc - 1]);
        return 1;
    }
    int count = 0;
    for (std::int32_t i = 0;; ++i, ++count) {
        GUID category{};
        CLSID clsid{};
        char description[512] = "";
        if (enumerate(i, &category, &clsid, description, sizeof description, nullptr, nullptr, nullptr) != S_OK) break;
        const LSTATUS status = removes ? Remove(clsid) : Add(clsid, description, file.wstring());
        if (status != ERROR_SUCCESS) {
            std::fprintf(stderr, "the system's registry refuses a class, error %ld; %d were done\n", status, count);
            return 1;
        }
    }
    std::printf("%d classes %s\n", count, removes ? "removed" : "registered");
    return 0;
}
