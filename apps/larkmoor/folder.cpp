#include "folder.h"

namespace fs = std::filesystem;

namespace larkmoor {

std::vector<fs::path> entriesOf(const fs::path& folder, std::error_code& error) {
    std::vector<fs::path> entries;
    error.clear();
    try {
        for (const fs::directory_entry& entry : fs::directory_iterator(folder)) entries.push_back(entry.path());
    } catch (const fs::filesystem_error& failure) {
        error = failure.code();
    }
    return entries;
}

} // namespace larkmoor
