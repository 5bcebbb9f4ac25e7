#include "output_file.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <mutex>
#include <set>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

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

void renameTo(const fs::path& from, const fs::path& to) {
    std::error_code error;
    fs::rename(from, to, error);
    if (error) throw Error(fmt::format("cannot write {}: {}", to.string(), error.message()));
}

} // namespace

OutputFile::OutputFile(const std::string& path, bool overwrite) : m_path(path), m_overwrite(overwrite) {
    std::error_code ignored;
    const fs::file_status status = fs::status(path, ignored);
    if (path == "-" || (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status))) {
        m_direct = true;
        m_workPath = path;
        return;
    }
    if (fs::is_directory(status)) throw Error(fmt::format("{} is a folder", path));
    m_sequence = larkmoor::isSequence(path);
    if (!overwrite && (m_sequence ? !sequenceNumbers(path).empty() : fs::exists(status)))
        throw Error(fmt::format("{} is there already; -y overwrites it", path));

    // A link is written through, so that it stays one.
    const fs::path target = fs::is_symlink(path, ignored) ? fs::weakly_canonical(path, ignored) : fs::path(path);
    m_path = target;
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    const std::string name = target.filename();
    const std::string temporary = fmt::format(".{}.{}.part", name.substr(0, 200), ::getpid());
    if (!fs::is_directory(folder, ignored)) throw Error(fmt::format("cannot write {}: no such folder", path));

    const std::lock_guard guard(registryLock);
    if (m_sequence) {
        std::string plain = temporary;
        for (char& c : plain)
            if (c == '%') c = '_';
        m_workFolder = folder / plain;
        if (::mkdir(m_workFolder.c_str(), 0777) != 0)
            throw Error(fmt::format("cannot write {}: {}", path, reason(errno)));
        m_workPath = fs::path(m_workFolder) / name;
        registry().insert(m_workFolder);
    } else {
        m_workPath = folder / temporary;
        const int file = ::open(m_workPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (file < 0) throw Error(fmt::format("cannot write {}: {}", path, reason(errno)));
        ::close(file);
        registry().insert(m_workPath);
    }
    m_open = true;
}

OutputFile::~OutputFile() {
    discard();
}

void OutputFile::discard() {
    if (!m_open) return;
    const std::lock_guard guard(registryLock);
    const std::string& path = m_sequence ? m_workFolder : m_workPath;
    std::error_code ignored;
    fs::remove_all(path, ignored);
    registry().erase(path);
    m_open = false;
}

void OutputFile::commit() {
    if (!m_open) return;
    const fs::path target(m_path);
    const fs::path folder = target.has_parent_path() ? target.parent_path() : fs::path(".");
    if (m_sequence) {
        std::set<fs::path> files;
        for (const auto& entry : fs::directory_iterator(m_workFolder)) files.insert(entry.path());
        for (const fs::path& file : files) synchronise(file, false);
        const std::lock_guard guard(registryLock);
        for (const fs::path& file : files) renameTo(file, folder / file.filename());
        std::error_code ignored;
        fs::remove(m_workFolder, ignored);
        registry().erase(m_workFolder);
    } else {
        synchronise(m_workPath, false);
        const std::lock_guard guard(registryLock);
        // Someone else may have made the file since.
        if (!m_overwrite) {
            std::error_code error;
            fs::create_hard_link(m_workPath, target, error);
            if (error == std::errc::file_exists)
                throw Error(fmt::format("{} is there already; -y overwrites it", m_path));
            if (error)
                renameTo(m_workPath, target);
            else
                fs::remove(m_workPath, error);
        } else {
            renameTo(m_workPath, target);
        }
        registry().erase(m_workPath);
    }
    m_open = false;
    synchronise(folder, true);
}

void removeOutputsOnSignals() {
    std::signal(SIGPIPE, SIG_IGN);
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
    }).detach();
}

} // namespace larkmoor
