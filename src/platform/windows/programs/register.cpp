// Tells the system where the classes of the module are, so that CoCreateInstance makes them.
//
// larkmoor_register [--all-users] FILE            writes the keys of all classes of that larkmoor.dll
// larkmoor_register [--all-users] --remove FILE   removes them
//
// For this user alone, or for all, which takes an administrator; programs of administrators look at those of all alone,
// and so does Wine 8.
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

LSTATUS SetText(HKEY root, const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    return RegSetKeyValueW(root, key.c_str(), name, REG_SZ, text.c_str(),
                           static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t)));
}

LSTATUS Add(HKEY root, const CLSID& clsid, const char* description, const std::wstring& file) {
    const std::wstring key = KeyOf(clsid), server = key + L"\\InprocServer32";
    LSTATUS status = SetText(root, key, nullptr, std::wstring(description, description + std::strlen(description)));
    if (status == ERROR_SUCCESS) status = SetText(root, server, nullptr, file);
    return status == ERROR_SUCCESS ? SetText(root, server, L"ThreadingModel", L"Both") : status;
}

LSTATUS Remove(HKEY root, const CLSID& clsid) {
    const LSTATUS status = RegDeleteTreeW(root, KeyOf(clsid).c_str());
    return status == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : status;
}

} // namespace

int main(int argc, char** argv) {
    bool removes = false;
    HKEY root = HKEY_CURRENT_USER;
    const char* name = nullptr;
    bool understood = true;
    for (int i = 1; i < argc; ++i)
        if (std::strcmp(argv[i], "--remove") == 0)
            removes = true;
        else if (std::strcmp(argv[i], "--all-users") == 0)
            root = HKEY_LOCAL_MACHINE;
        else if (argv[i][0] == '-' || name)
            understood = false;
        else
            name = argv[i];
    if (!name || !understood) {
        std::fprintf(stderr, "usage: larkmoor_register [--all-users] [--remove] FILE, where FILE is larkmoor.dll\n");
        return 2;
    }
    std::error_code error;
    const std::filesystem::path file = std::filesystem::absolute(name, error);
    HMODULE const module = LoadLibraryW(file.c_str());
    const auto enumerate =
        module ? reinterpret_cast<Enumerate>(reinterpret_cast<void*>(GetProcAddress(module, "DllEnumObjects2")))
               : nullptr;
    if (!enumerate) {
        std::fprintf(stderr, "%s is not the module: name the file larkmoor.dll\n", name);
        return 1;
    }
    int count = 0;
    for (std::int32_t i = 0;; ++i, ++count) {
        GUID category{};
        CLSID clsid{};
        char description[512] = "";
        if (enumerate(i, &category, &clsid, description, sizeof description, nullptr, nullptr, nullptr) != S_OK) break;
        const LSTATUS status = removes ? Remove(root, clsid) : Add(root, clsid, description, file.wstring());
        if (status != ERROR_SUCCESS) {
            std::fprintf(stderr, "the system's registry refuses a class, error %ld; %d were done%s\n", status, count,
                         status == ERROR_ACCESS_DENIED ? "; run this as an administrator" : "");
            return 1;
        }
    }
    std::printf("%d classes %s\n", count, removes ? "removed" : "registered");
    return 0;
}
