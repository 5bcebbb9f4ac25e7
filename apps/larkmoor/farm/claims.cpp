#include "farm/claims.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fmt/format.h>

#include "json_node.h"

namespace larkmoor {

namespace fs = std::filesystem;

namespace {

constexpr std::chrono::seconds heartbeat{5};

std::string hostName() {
    char name[256] = {};
    return ::gethostname(name, sizeof(name) - 1) == 0 ? name : "unknown";
}

/// Numbers of processes mean something only within one boot and one space of numbers.
std::string machineName() {
    std::string boot;
    std::ifstream("/proc/sys/kernel/random/boot_id") >> boot;
    std::error_code ignored;
    return boot.empty() ? "" : boot + " " + fs::read_symlink("/proc/self/ns/pid", ignored).string();
}

void writeTo(int file, const fs::path& path, const std::string& text) {
    const bool written = file >= 0 && ::write(file, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    const int error = errno;
    if (file >= 0) ::close(file);
    if (!written) throw Error(fmt::format("cannot write {}: {}", path.string(), std::strerror(error)));
}

/// Makes a file that nobody else has made, with its text from the first moment on. @return false where it is there.
bool createExclusively(const fs::path& path, const std::string& text) {
    const fs::path fresh = path.parent_path() / fmt::format(".claim.{}.{}", hostName(), ::getpid());
    std::error_code ignored;
    writeTo(::open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666), fresh, text);
    const bool linked = ::link(fresh.c_str(), path.c_str()) == 0;
    const int error = errno;
    struct stat status {};
    // Over a network the answer may get lost, and the second try find the file of the first one.
    const bool mine = linked || (::stat(fresh.c_str(), &status) == 0 && status.st_nlink == 2);
    fs::remove(fresh, ignored);
    if (mine) return true;
    if (error == EEXIST) return false;
    // Some file systems have no links.
    const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (file < 0 && errno == EEXIST) return false;
    writeTo(file, path, text);
    return true;
}

/// 0 where there is no such file.
std::uint64_t inodeOf(const fs::path& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

std::string claimText() {
    return Json{{"host", hostName()}, {"process", ::getpid()}, {"machine", machineName()}}.dump() + "\n";
}

bool has(const std::vector<std::int64_t>& all, std::int64_t one) {
    return std::ranges::binary_search(all, one);
}

/// Where a worker begins, which goes on to the chunks behind: at the head of the longest row of free ones. Where
/// somebody comes along to that, about its middle, each at a place of his own, since many may look at the same time.
std::vector<std::int64_t>::const_iterator beginning(const std::vector<std::int64_t>& free,
                                                    const std::vector<std::int64_t>& claimed) {
    auto row = free.begin();
    std::ptrdiff_t length = 0;
    for (auto first = free.begin(); first != free.end();) {
        auto end = std::ranges::adjacent_find(first, free.end(), [](auto a, auto b) { return b != a + 1; });
        if (end != free.end()) ++end;
        if (end - first > length) {
            row = first;
            length = end - first;
        }
        first = end;
    }
    if (!has(claimed, *row - 1)) return row;
    const auto own = static_cast<std::ptrdiff_t>(std::hash<std::string>()(claimText()) >> 1);
    return row + (length + 2) / 4 + own % std::max<std::ptrdiff_t>(1, length / 2);
}

} // namespace

Claim::Claim(fs::path file, std::int64_t chunk)
    : m_file(std::move(file)), m_chunk(chunk), m_inode(inodeOf(m_file)), m_heart([this] { beat(); }) {}

void Claim::beat() {
    std::unique_lock lock(m_lock);
    while (!m_end.wait_for(lock, heartbeat, [&] { return m_ended; })) ::utimensat(AT_FDCWD, m_file.c_str(), nullptr, 0);
}

Claim::~Claim() {
    {
        const std::lock_guard guard(m_lock);
        m_ended = true;
    }
    m_end.notify_all();
    m_heart.join();
    std::error_code ignored;
    if (inodeOf(m_file) == m_inode) fs::remove(m_file, ignored);
}

std::optional<Claimant> claimantOf(const fs::path& claim) {
    std::ifstream file(claim);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    const Json json = Json::parse(text, nullptr, false);
    const auto has = [&](const char* key, auto is) { return json.contains(key) && is(json.at(key)); };
    const auto isText = [](const Json& value) { return value.is_string(); };
    const auto isNumber = [](const Json& value) { return value.is_number_integer(); };
    if (!json.is_object() || !has("host", isText) || !has("process", isNumber) || !has("machine", isText)) return {};
    return Claimant{json.at("host").get<std::string>(), json.at("process").get<std::int64_t>(),
                    json.at("machine").get<std::string>()};
}

StaleClaims::StaleClaims(const ChunkJob& job, double seconds) : m_seconds(seconds) {
    // The clocks of machines differ; what a fresh file gets is the folder's own.
    const fs::path probe = job.folder / "claims" / fmt::format(".clock.{}.{}", hostName(), ::getpid());
    std::error_code ignored;
    fs::remove(probe, ignored);
    m_now = fs::file_time_type::clock::now();
    std::ofstream(probe) << ' ';
    const auto time = fs::last_write_time(probe, ignored);
    if (!ignored) m_now = time;
    fs::remove(probe, ignored);
}

bool StaleClaims::isStale(const fs::path& claim) const {
    if (const auto claimant = claimantOf(claim);
        claimant && !claimant->machine.empty() && claimant->machine == machineName() &&
        ::kill(static_cast<pid_t>(claimant->process), 0) != 0 && errno == ESRCH)
        return true;
    std::error_code error;
    const auto touched = fs::last_write_time(claim, error);
    return !error && std::chrono::duration<double>(m_now - touched).count() > m_seconds;
}

std::unique_ptr<Claim> ChunkQueue::claim(std::int64_t chunk) const {
    const fs::path file = m_job.claimFile(chunk);
    if (!createExclusively(file, claimText())) return {};
    auto claim = std::make_unique<Claim>(file, chunk);
    // It may have been finished since the folder was looked through.
    if (fs::exists(m_job.chunkFile(chunk))) return {};
    return claim;
}

std::unique_ptr<Claim> ChunkQueue::take(std::int64_t chunk) const {
    const auto isThere = [](const fs::path& file) { return fs::exists(file); };
    if (m_failed.contains(chunk) || isThere(m_job.failureFile(chunk)) || isThere(m_job.chunkFile(chunk)) ||
        isThere(m_job.claimFile(chunk)))
        return {};
    return claim(chunk);
}

std::unique_ptr<Claim> ChunkQueue::take() {
    const std::vector<std::int64_t> done = numbersIn(m_job.folder / "chunks"),
                                    elsewhere = numbersIn(m_job.folder / "failed");
    std::vector<std::int64_t> claimed = numbersIn(m_job.folder / "claims"), fresh, tried, open;
    for (std::int64_t chunk = 0; chunk < m_job.count(); ++chunk) {
        if (has(done, chunk) || m_failed.contains(chunk)) continue;
        (has(claimed, chunk) ? open : has(elsewhere, chunk) ? tried : fresh).push_back(chunk);
    }
    for (std::vector<std::int64_t>* const free : {&fresh, &tried})
        while (!free->empty()) {
            const auto place = beginning(*free, claimed);
            const std::int64_t chunk = *place;
            if (auto taken = claim(chunk)) return taken;
            free->erase(place);
            claimed.insert(std::ranges::lower_bound(claimed, chunk), chunk);
        }
    std::optional<StaleClaims> stale;
    for (const std::int64_t chunk : open) {
        if (!stale) stale.emplace(m_job, m_stale);
        const fs::path file = m_job.claimFile(chunk);
        if (!stale->isStale(file)) continue;
        // Of several that see it, one gets to move it away.
        const fs::path away = m_job.folder / "claims" / fmt::format(".stale.{}.{}", hostName(), ::getpid());
        std::error_code error;
        fs::rename(file, away, error);
        if (error) continue;
        fs::remove(away, error);
        if (auto taken = claim(chunk)) return taken;
    }
    return {};
}

bool ChunkQueue::othersWork() const {
    const std::vector<std::int64_t> done = numbersIn(m_job.folder / "chunks");
    return std::ranges::any_of(numbersIn(m_job.folder / "claims"),
                               [&](std::int64_t chunk) { return !has(done, chunk); });
}

} // namespace larkmoor
