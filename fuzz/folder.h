// A folder of the target's own for as long as it runs.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace larkmoor::fuzz {

class Folder {
  public:
    Folder() {
        std::string pattern = std::filesystem::temp_directory_path() / "larkmoor_fuzz_XXXXXX";
        if (!::mkdtemp(pattern.data())) std::abort();
        m_path = pattern;
    }
    ~Folder() { std::filesystem::remove_all(m_path); }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& path() const { return m_path; }

  private:
    std::filesystem::path m_path;
};

inline void write(const std::filesystem::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary) << content;
}

} // namespace larkmoor::fuzz
