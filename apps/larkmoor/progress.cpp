#include "progress.h"

#include <algorithm>
#include <cstdio>

#include <unistd.h>

#include <fmt/format.h>

namespace larkmoor {

Progress::Progress() : m_shown(::isatty(STDERR_FILENO) == 1), m_start(Clock::now()), m_printed(m_start) {}

Progress::~Progress() {
    if (!m_shown || m_done == 0) return;
    print(Clock::now());
    std::fputc('\n', stderr);
}

void Progress::show(std::int64_t done, std::optional<std::int64_t> total) {
    m_done = done;
    m_total = total;
    if (!m_shown) return;
    const auto now = Clock::now();
    if (now - m_printed < std::chrono::milliseconds(200)) return;
    m_printed = now;
    print(now);
}

void Progress::print(Clock::time_point now) const {
    const double seconds = std::max(1e-3, std::chrono::duration<double>(now - m_start).count());
    const double speed = static_cast<double>(m_done) / seconds;
    std::string line = fmt::format("\r{} frames, {:.1f} frames a second", m_done, speed);
    if (m_total && *m_total > 0) {
        const std::int64_t left = std::max<std::int64_t>(0, *m_total - m_done);
        const auto wait = static_cast<std::int64_t>(static_cast<double>(left) / speed + 0.5);
        line = fmt::format("\r{} of {} frames, {}%, {:.1f} frames a second, {}:{:02} left", m_done, *m_total,
                           std::min<std::int64_t>(100, 100 * m_done / *m_total), speed, wait / 60, wait % 60);
    }
    fmt::print(stderr, "{}\x1b[K", line);
    std::fflush(stderr);
}

Watch watchTerminal() {
    const auto progress = std::make_shared<Progress>();
    return {
        .progress = [progress](std::int64_t done, std::optional<std::int64_t> total) { progress->show(done, total); }};
}

} // namespace larkmoor
