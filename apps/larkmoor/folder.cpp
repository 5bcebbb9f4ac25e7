#include "folder.h"

#include <cerrno>
#include <memory>
#include <string_view>

#include <dirent.h>

namespace fs = std::filesystem;

namespace larkmoor {

std::vector<fs::path> entriesOf(const fs::path& folder, std::error_code& error) {
    std::vector<fs::path> entries;
    error.clear();
    const std::unique_ptr<DIR, int (*)(DIR*)> open(::opendir(folder.c_str()), &::closedir);
    int failure = open ? 0 : errno;
    while (open) {
        errno = 0;
        const dirent* const entry = ::readdir(open.get());
        if (!entry) {
            failure = errno;
            break;
        }
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") entries.push_back(folder / name);
    }
    if (failure != 0) error.assign(failure, std::generic_category());
    return entries;
}

} // namespace larkmoor
