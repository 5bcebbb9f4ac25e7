// The minimum and maximum filters over an ellipse.
//
// Along each row the greatest sample within a half width comes from tables of the greatest over powers of two; every
// row of the area takes it at its own half width.
#include "kernels/min_max_rim.h"

namespace kw_min_max {
namespace {

KWINLINE inline void MaxRow(std::uint8_t* __restrict to, const std::uint8_t* __restrict from, std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) to[i] = std::max(to[i], from[i]);
}
constexpr CKwBodies kMaxRow(KwClones<MaxRow>);

constexpr LONG kStripPixels = 128; ///< keeps what a strip collects in the second-level cache

class CEllipse {
  public:
    CEllipse(const tTurned& picture, const tRows& destination, const tAREATABLE& area)
        : m_picture(picture), m_destination(destination), m_reachX(picture.side) {
        for (LONG dy = 1 - area.rows; dy < area.rows; ++dy) {
            const LONG full = area.FullColumns(std::abs(dy));
            if (dy >= 0 && full > 0) m_widths.push_back(full);
            for (LONG dx = 1 - area.columns; dx < area.columns; ++dx)
                if (const float weight = area.Weight(std::abs(dx), std::abs(dy)); std::abs(dx) >= full && weight > 0.0f)
                    m_cells.push_back({picture.stride * dy + std::ptrdiff_t{dx} * 4, dy, weight});
        }
        m_reachY = static_cast<LONG>(m_widths.size()) - 1;
        m_ringRows = std::min<std::int64_t>(2 * std::int64_t{m_reachY} + 1, picture.height);
        m_rowBytes = (std::ptrdiff_t{kStripPixels} + 2 * std::ptrdiff_t{m_reachX}) * 4;
        m_levels = std::bit_width(static_cast<std::uint32_t>(2 * m_widths[0] - 1));
        m_tables = Bytes(m_levels, m_rowBytes);
        m_ring = Bytes(m_ringRows, kStripBytes + kBlockBytes);
    }

    void Run(const tAREATABLE& area) {
        CWeighing weighing(m_picture, area, m_cells.size());
        for (m_left = 0; m_left < m_picture.width; m_left += std::min(kStripPixels, m_picture.width - m_left)) {
            m_bytes = std::ptrdiff_t{std::min(kStripPixels, m_picture.width - m_left)} * 4;
            for (LONG y = 0; y < m_ringRows; ++y) Clear(Collected(y));
            LONG done = 0;
            for (LONG y = 0; y < m_picture.height; ++y) {
                Collect(y);
                const LONG complete = y == m_picture.height - 1 ? y + 1 : y - m_reachY + 1;
                for (; done < complete; ++done) Finish(done, weighing);
            }
        }
    }

  private:
    static constexpr std::ptrdiff_t kStripBytes = kStripPixels * 4;

    /// The greatest sample of the cells of full weight, for one row of the strip.
    std::uint8_t* Collected(LONG y) { return m_ring.get() + y % m_ringRows * (kStripBytes + kBlockBytes); }

    void Clear(std::uint8_t* collected) {
        std::memset(collected, 0, static_cast<std::size_t>(m_bytes));
        std::memset(collected + m_bytes, 255, kBlockBytes);
    }

    /// Takes row `y` into all rows that reach it.
    void Collect(LONG y) {
        std::uint8_t* row = m_tables.get();
        std::ptrdiff_t valid = m_bytes + 2 * std::ptrdiff_t{m_reachX} * 4;
        std::memcpy(row, m_picture.Row(y) + (std::ptrdiff_t{m_left} - m_reachX) * 4, static_cast<std::size_t>(valid));
        for (LONG level = 1; level < m_levels; ++level, row += m_rowBytes) {
            const std::ptrdiff_t step = std::ptrdiff_t{4} << (level - 1);
            valid -= step;
            kMaxRows(row + m_rowBytes, row, row + step, valid);
        }
        std::array<std::uint8_t, kStripBytes> best;
        LONG known = 0;
        for (LONG dy = 0; dy <= m_reachY; ++dy) {
            const LONG width = m_widths[static_cast<std::size_t>(dy)];
            if (width != known) {
                known = width;
                const LONG level = std::bit_width(static_cast<std::uint32_t>(2 * width - 1)) - 1;
                const std::uint8_t* table = m_tables.get() + level * m_rowBytes;
                const std::ptrdiff_t first = std::ptrdiff_t{m_reachX} - width + 1;
                const std::ptrdiff_t second = std::ptrdiff_t{m_reachX} + width - (std::ptrdiff_t{1} << level);
                kMaxRows(best.data(), table + first * 4, table + second * 4, m_bytes);
            }
            if (dy <= y) kMaxRow(Collected(y - dy), best.data(), m_bytes);
            if (dy > 0 && dy < m_picture.height - y) kMaxRow(Collected(y + dy), best.data(), m_bytes);
        }
    }

    void Finish(LONG y, CWeighing& weighing) {
        std::uint8_t* full = Collected(y);
        std::uint8_t* to = m_destination.Row<std::uint8_t>(y) + std::ptrdiff_t{m_left} * 4;
        kTurnRow(to, full, m_bytes, m_picture.turn);
        const std::span<const tCell> cells = CellsInside(m_cells, y, m_picture.height);
        for (std::ptrdiff_t i = 0; i < m_bytes; i += kBlockBytes) {
            const tHit* end = kFindHits(m_picture.Row(y) + std::ptrdiff_t{m_left} * 4 + i, full + i, cells.data(),
                                        std::ssize(cells), weighing.Hits());
            if (end != weighing.Hits()) weighing.Store(end, m_left + static_cast<LONG>(i / 4), y, full + i, to + i);
        }
        Clear(full);
    }

    const tTurned& m_picture;
    const tRows& m_destination;
    LONG m_reachX, m_reachY;
    std::vector<LONG> m_widths; ///< cells of full weight from the centre on, in each row of the quadrant
    std::vector<tCell> m_cells; ///< the rim, from the top left on
    std::int64_t m_ringRows;
    std::ptrdiff_t m_rowBytes, m_bytes = 0;
    LONG m_levels, m_left = 0;
    tMemory m_tables; ///< a row, then the greatest of 2, 4, 8... of its samples from each on
    tMemory m_ring;
};

} // namespace

void FilterEllipse(const tTurned& picture, const tRows& destination, const tAREATABLE& area) {
    CEllipse(picture, destination, area).Run(area);
}

} // namespace kw_min_max
