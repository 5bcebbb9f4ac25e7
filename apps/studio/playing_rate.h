// How many frames a second are shown while a film plays, and how many were left out.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <deque>
#include <utility>

namespace larkmoor {

class PlayingRate {
  public:
    void restart() {
        m_shown.clear();
        m_dropped = 0;
    }
    /// A frame came to the screen, at a time in milliseconds.
    void shown(std::int64_t frame, std::int64_t time) {
        if (!m_shown.empty()) {
            const std::int64_t step = std::abs(frame - m_shown.back().first);
            if (step == 0) return;
            m_dropped += step - 1;
        }
        m_shown.emplace_back(frame, time);
        while (m_shown.back().second - m_shown.front().second > kSpan) m_shown.pop_front();
    }
    /// Over the last second; 0 before there are two.
    double rate() const {
        if (m_shown.size() < 2) return 0;
        const auto passed = static_cast<double>(m_shown.back().second - m_shown.front().second);
        return passed > 0 ? static_cast<double>(m_shown.size() - 1) * 1000 / passed : 0;
    }
    std::int64_t dropped() const { return m_dropped; }

  private:
    static constexpr std::int64_t kSpan = 1000;
    std::deque<std::pair<std::int64_t, std::int64_t>> m_shown;
    std::int64_t m_dropped = 0;
};

} // namespace larkmoor
