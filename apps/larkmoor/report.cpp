#include "report.h"

#include <algorithm>
#include <chrono>

#include <sys/resource.h>
#include <unistd.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "standard_files.h"

namespace larkmoor {

namespace {

using Json = nlohmann::ordered_json;
using Clock = std::chrono::steady_clock;

void tellJson(const Json& object) {
    tell(object.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n");
}

class Progress {
  public:
    Progress(std::string file, bool json) : m_file(std::move(file)), m_json(json) {}
    ~Progress() {
        if (m_done > 0) print(Clock::now(), true);
    }

    void show(std::int64_t done, std::optional<std::int64_t> total) {
        m_done = done;
        m_total = total;
        const auto now = Clock::now();
        if (now - m_printed < std::chrono::milliseconds(200)) return;
        m_printed = now;
        print(now, false);
    }

  private:
    void print(Clock::time_point now, bool last) const {
        const double seconds = std::max(1e-3, std::chrono::duration<double>(now - m_start).count());
        const double speed = static_cast<double>(m_done) / seconds;
        if (m_json) {
            Json object{{"event", "progress"}, {"file", m_file}, {"frames", m_done}};
            if (m_total) object["total"] = *m_total;
            object["seconds"] = seconds;
            return tellJson(object);
        }
        std::string line = fmt::format("\r{} frames, {:.1f} frames a second", m_done, speed);
        if (m_total && *m_total > 0) {
            const std::int64_t left = std::max<std::int64_t>(0, *m_total - m_done);
            const auto wait = static_cast<std::int64_t>(static_cast<double>(left) / speed + 0.5);
            line = fmt::format("\r{} of {} frames, {}%, {:.1f} frames a second, {}:{:02} left", m_done, *m_total,
                               std::min<std::int64_t>(100, 100 * m_done / *m_total), speed, wait / 60, wait % 60);
        }
        tell(line + (last ? "\x1b[K\n" : "\x1b[K"));
    }

    std::string m_file;
    bool m_json;
    std::optional<std::int64_t> m_total;
    std::int64_t m_done = 0;
    Clock::time_point m_start = Clock::now(), m_printed = m_start;
};

/// What this process took at most, in bytes, or one that it waited for. 0 where the system does not tell.
std::int64_t mostMemory() {
    std::int64_t most = 0;
    for (const auto whose : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        if (::getrusage(whose, &usage) == 0) most = std::max<std::int64_t>(most, usage.ru_maxrss);
    }
    return most * 1024; // kibibytes, as Linux and the BSDs count
}

} // namespace

Report::~Report() {
    takeWarnings({});
    if (!m_memory) return;
    const std::int64_t bytes = mostMemory();
    if (m_form == Form::Json)
        tellJson({{"event", "memory"}, {"bytes", bytes}});
    else
        tell(fmt::format("larkmoor: took {:.0f} MB of memory at most\n", static_cast<double>(bytes) / 1e6));
}

void Report::setForm(Form form) {
    m_form = form;
    if (form == Form::Quiet) takeWarnings([](std::string_view) {});
    if (form == Form::Json)
        takeWarnings([](std::string_view sentence) { tellJson({{"event", "note"}, {"text", sentence}}); });
}

void Report::error(std::string_view sentence) const {
    if (m_form == Form::Json)
        tellJson({{"event", "error"}, {"text", sentence}});
    else
        tell(fmt::format("larkmoor: {}\n", sentence));
}

Watch Report::watch(const std::string& file) const {
    const bool json = m_form == Form::Json;
    if (!json && (m_form == Form::Quiet || ::isatty(STDERR_FILENO) != 1)) return {};
    const auto progress = std::make_shared<Progress>(file, json);
    return {
        .progress = [progress](std::int64_t done, std::optional<std::int64_t> total) { progress->show(done, total); }};
}

} // namespace larkmoor
