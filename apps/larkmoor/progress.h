// How far the work is, on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "film.h"

namespace larkmoor {

/// A line on standard error, rewritten a few times a second: frames, percent, frames a second, time left. Silent when
/// standard error is no terminal.
class Progress {
  public:
    Progress();
    ~Progress();
    void show(std::int64_t done, std::optional<std::int64_t> total);

  private:
    using Clock = std::chrono::steady_clock;
    void print(Clock::time_point now) const;

    std::optional<std::int64_t> m_total;
    std::int64_t m_done = 0;
    bool m_shown;
    Clock::time_point m_start, m_printed;
};

/// Shows a run's progress on the terminal.
Watch watchTerminal();

} // namespace larkmoor
