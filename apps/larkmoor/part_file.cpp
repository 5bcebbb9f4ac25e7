#include "part_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <random>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "folder.h"
#include "host/error.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view ending = ".larkmoor-part";
constexpr std::size_t digits = 16;
constexpr int mostTries = 100;
constexpr std::size_t longestName = 200; ///< bytes of the final name in a part's, of the 255 that file systems take

std::string partName(const std::string& name) {
    std::size_t length = std::min(name.size(), longestName);
    while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80) --length;
    std::string head = name.substr(0, length);
    // A part of a sequence is a folder and no pattern itself.
    for (char& c : head)
        if (c == '%') c = '_';
    std::random_device random;
    return fmt::format(".{}.{:08x}{:08x}{}", head, random(), random(), ending);
}

/// Whether the name still leads to what is open.
bool standsAt(int file, const fs::path& path) {
    struct stat open {
    }, named{};
    return ::fstat(file, &open) == 0 && ::lstat(path.c_str(), &named) == 0 && open.st_dev == named.st_dev &&
           open.st_ino == named.st_ino;
}

void removeDeadParts(const fs::path& folder) {
    std::error_code error, ignored;
    for (const fs::path& path : entriesOf(folder, error)) {
        if (!isPartName(path.filename())) continue;
        const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
        if (file < 0) continue;
        if (::flock(file, LOCK_EX | LOCK_NB) == 0 && standsAt(file, path)) fs::remove_all(path, ignored);
        ::close(file);
    }
}

} // namespace

bool isPartName(const std::string& name) {
    if (!name.starts_with('.') || !name.ends_with(ending)) return false;
    const std::string_view front = std::string_view(name).substr(0, name.size() - ending.size());
    const std::size_t dot = front.rfind('.');
    const std::string_view number = front.substr(dot + 1);
    return dot > 0 && number.size() == digits && number.find_first_not_of("0123456789abcdef") == number.npos;
}

PartFile::PartFile(const fs::path& folder, const std::string& name, bool isFolder) {
    removeDeadParts(folder);
    for (int tries = 0; tries < mostTries; ++tries) {
        const fs::path path = folder / partName(name);
        int file = -1;
        if (isFolder)
            file = ::mkdir(path.c_str(), 0777) == 0 ? ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC) : -1;
        else
            file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0 && errno == EEXIST) continue;
        if (file < 0) throw Error(fmt::format("cannot write {}: {}", (folder / name).string(), std::strerror(errno)));
        // Some file systems know no locks; parts on them are never taken for dead, as nobody gets a lock.
        while (::flock(file, LOCK_EX) != 0 && errno == EINTR) {
        }
        if (standsAt(file, path)) {
            m_path = path;
            m_lock = file;
            return;
        }
        // Another process has seen it before it was locked.
        ::close(file);
    }
    throw Error(fmt::format("cannot write {}: its temporary file disappears", name));
}

PartFile::~PartFile() {
    if (m_lock >= 0) ::close(m_lock);
}

} // namespace larkmoor
