// Files under temporary names, and what dead processes left of theirs.
#pragma once

#include <filesystem>
#include <string>
#include <utility>

namespace larkmoor {

/// A file or folder beside the one that it is to become: ".NAME.RANDOM.larkmoor-part". It is locked as long as its
/// maker lives, which is how others tell; numbers of processes mean nothing to the next container that sees the folder.
class PartFile {
  public:
    PartFile() = default;
    /// Throws Error with a sentence about `name` when it cannot be made. Parts in the same folder that nobody holds a
    /// lock on are removed.
    PartFile(const std::filesystem::path& folder, const std::string& name, bool isFolder);
    ~PartFile();
    PartFile(PartFile&& other) noexcept { *this = std::move(other); }
    PartFile& operator=(PartFile&& other) noexcept {
        std::swap(m_path, other.m_path);
        std::swap(m_lock, other.m_lock);
        return *this;
    }

    const std::string& path() const { return m_path; }

  private:
    std::string m_path;
    int m_lock = -1;
};

/// Whether a file's name is that of a part.
bool isPartName(const std::string& name);

} // namespace larkmoor
