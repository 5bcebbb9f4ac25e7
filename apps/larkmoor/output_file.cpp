#include "output_file.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "folder.h"
#include "host/error.h"
#include "media/sequence.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

/// Held while names change, so that a signal finds each output either temporary or final.
std::mutex registryLock;
std::set<std::string>& registry() {
    static std::set<std::string> paths;
    return paths;
}

std::string reason(int error) {
    return std::strerror(error);
}

/// Makes a file or folder last through a loss of power, as far as its system can.
void synchronise(const fs::path& path, bool folder) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | (folder ? O_DIRECTORY : 0));
    if (file < 0) return;
    const int status = ::fsync(file);
    const int error = errno;
    ::close(file);
    if (status != 0 && !folder && error != EINVAL)
        throw Error(fmt::format("cannot write {}: {}", path.string(), reason(error)));
}

/// What a name leads to through symbolic links, also where nothing is there yet.
fs::path targetOf(fs::path path) {
    constexpr int mostLinks = 40;
    std::error_code error;
    for (int links = 0; links < mostLinks && fs::is_symlink(path, error); ++links) {
        const fs::path next = fs::read_symlink(path, error);
        if (error) break;
        path = path.parent_path() / next;
    }
    return path;
}

fs::path folderOf(const fs::path& path) {
    return path.has_parent_path() ? path.parent_path() : fs::path(".");
}

void renameTo(const fs::path& from, const fs::path& to) {
    std::error_code error, ignored;
    const fs::file_status there = fs::status(to, ignored);
    if (fs::is_regular_file(there)) fs::permissions(from, there.permissions(), ignored);
    fs::rename(from, to, error);
    if (error) throw Error(fmt::format("cannot write {}: {}", to.string(), error.message()));
}

/// Gives a file the name `to` or, where that is a symbolic link, the name it leads to, maybe on another file system.
void moveThrough(const fs::path& from, const fs::path& to) {
    const fs::path target = targetOf(to);
    std::error_code error;
    if (target == to) return renameTo(from, to);
    const PartFile part(folderOf(target), target.filename(), false);
    fs::copy_file(from, part.path(), fs::copy_options::overwrite_existing, error);
    if (!error) fs::rename(part.path(), target, error);
    if (!error) return;
    std::error_code ignored;
    fs::remove(part.path(), ignored);
    throw Error(fmt::format("cannot write {}: {}", to.string(), error.message()));
}

/// The files that a path stands for and that are there: itself, or those of a sequence.
std::vector<std::string> filesOf(const std::string& path) {
    if (!isSequence(path)) return {path};
    const fs::path folder = folderOf(path);
    std::vector<std::string> files;
    for (const int number : sequenceNumbers(path))
        files.push_back(folder / fs::path(sequenceName(path, number)).filename());
    return files;
}

} // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite, const Numbers& numbers)
    : m_path(path), m_overwrite(overwrite) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (path == "-" || (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status))) {
        m_direct = true;
        m_workPath = path;
        return;
    }
    if (fs::is_directory(status)) throw Error(fmt::format("{} is a folder", path));
    m_sequence = larkmoor::isSequence(path);
    const auto isWritten = [&](int number) {
        return number >= numbers.first && (!numbers.end || number < *numbers.end);
    };
    if (!overwrite && (m_sequence ? std::ranges::any_of(sequenceNumbers(path), isWritten) : fs::exists(status)))
        throw Error(fmt::format("{} is there already; -y overwrites it", path));

    const fs::path target = m_sequence ? fs::path(path) : targetOf(path);
    m_path = target;
    const fs::path folder = folderOf(target);
    if (!fs::is_directory(folder, ignored)) throw Error(fmt::format("cannot write {}: no such folder", path));

    const std::lock_guard guard(registryLock);
    m_part = PartFile(folder, target.filename(), m_sequence);
    m_workPath = m_sequence ? (fs::path(m_part.path()) / target.filename()).string() : m_part.path();
    registry().insert(m_part.path());
    m_open = true;
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::discard() {
    if (!m_open) return;
    const std::lock_guard guard(registryLock);
    std::error_code ignored;
    fs::remove_all(m_part.path(), ignored);
    registry().erase(m_part.path());
    m_open = false;
}

void OutputFile::commit() {
    if (!m_open) return;
    const fs::path target(m_path);
    const fs::path folder = folderOf(target);
    if (m_sequence) {
        std::error_code error;
        const auto entries = entriesOf(m_part.path(), error);
        if (error) throw Error(fmt::format("cannot read the folder {}: {}", m_part.path(), error.message()));
        const std::set<fs::path> files(entries.begin(), entries.end());
        for (const fs::path& file : files) synchronise(file, false);
        const std::lock_guard guard(registryLock);
        for (const fs::path& file : files) moveThrough(file, folder / file.filename());
        std::error_code ignored;
        fs::remove(m_part.path(), ignored);
    } else {
        const fs::path work(m_workPath);
        synchronise(work, false);
        const std::lock_guard guard(registryLock);
        // Someone else may have made the file since.
        if (!m_overwrite) {
            std::error_code error;
            fs::create_hard_link(work, target, error);
            if (error == std::errc::file_exists)
                throw Error(fmt::format("{} is there already; -y overwrites it", m_path));
            // Nothing behind this asks for memory: what stands under its name has not failed.
            if (error)
                renameTo(work, target);
            else
                fs::remove(work, error);
        } else {
            renameTo(work, target);
        }
    }
    m_open = false;
    synchronise(folder, true);
    const std::lock_guard guard(registryLock);
    registry().erase(m_part.path());
}

std::string readText(const std::string& path) {
    std::error_code ignored;
    if (fs::is_directory(path, ignored)) throw Error(fmt::format("{} is a folder", path));
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text{std::istreambuf_iterator<char>(file), {}};
    if (!file) throw Error(fmt::format("cannot read {}{}", path, errno ? ": " + reason(errno) : ""));
    return text;
}

void writeWhole(const std::string& path, std::string_view content, bool overwrite) {
    OutputFile output(path, overwrite);
    errno = 0;
    std::ofstream file(output.workPath(), std::ios::binary);
    file.write(content.data(), static_cast<std::streamsize>(content.size()));
    file.close();
    if (!file) throw Error(fmt::format("cannot write {}{}", path, errno ? ": " + reason(errno) : ""));
    output.commit();
}

void refuseInputs(const std::string& output, std::span<const std::string> inputs) {
    using Identity = std::pair<dev_t, ino_t>;
    const auto identityOf = [](const std::string& path) {
        struct stat status {};
        const bool there = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
        return there ? std::optional(Identity(status.st_dev, status.st_ino)) : std::nullopt;
    };
    std::map<Identity, std::string> read;
    for (const std::string& input : inputs)
        for (const std::string& file : filesOf(input))
            if (const auto identity = identityOf(file)) read.emplace(*identity, file);
    for (const std::string& file : filesOf(output)) {
        const auto identity = identityOf(file);
        const auto found = identity ? read.find(*identity) : read.end();
        if (found == read.end()) continue;
        throw Error(file == found->second
                        ? fmt::format("{} is read and cannot be overwritten; choose another output", file)
                        : fmt::format("{} is {}, which is read; choose another output", file, found->second));
    }
}

void removeOutputsOnSignals() {
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction now {};
        // What the parent switched off (nohup, a background job) stays off.
        if (::sigaction(number, nullptr, &now) == 0 && now.sa_handler == SIG_IGN) continue;
        sigaddset(&signals, number);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals] {
        int number = 0;
        if (::sigwait(&signals, &number) != 0) return;
        // The lock is kept for good: no output reaches its final name any more.
        registryLock.lock();
        std::error_code ignored;
        for (int turn = 0; turn < 3; ++turn)
            for (const std::string& path : registry()) fs::remove_all(path, ignored);
        std::signal(number, SIG_DFL);
        sigset_t one;
        sigemptyset(&one);
        sigaddset(&one, number);
        ::pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
        ::raise(number);
        // The first process of a container does not end by a signal of its own.
        ::_exit(128 + number);
    }).detach();
}

} // namespace larkmoor
