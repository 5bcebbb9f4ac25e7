// The minimum and maximum filters over a rectangle.
//
// Its rim is made of rows and columns of one weight each. The two greatest values of such a piece and how often they
// occur slide along like the plain extreme. From these the levels of all pieces are taken one after the other, a block
// of lanes at once. Where a piece's third level counts, the cells themselves are gone through, as long as they are few.
// Where they are not, or the result lies so close to a whole number that the order of the sums shows, each lane is
// weighed on its own.
#include <cmath>

#include "kernels/min_max_levels.h"

namespace kw_min_max {
namespace {

/// Whether sums of such weights up to 1, and somewhat above, are exact.
bool IsExact(float weight) {
    return weight * 0x1p23f == std::floor(weight * 0x1p23f);
}

class CRectangle {
  public:
    CRectangle(const tTurned& picture, const tRows& destination, const tAREATABLE& area)
        : m_picture(picture), m_destination(destination), m_fullX(area.FullColumns(0)),
          m_fullY(area.FullRows()), m_weights{.row = area.Weight(0, m_fullY),
                                              .column = area.Weight(m_fullX, 0),
                                              .corner = area.Weight(m_fullX, m_fullY),
                                              .turn = picture.turn},
          m_weighing(picture, area, TakeCells()), m_columns(picture, m_fullY, HasColumns()) {}

    void Run() {
        for (LONG y = 0; y < m_picture.height; ++y) {
            m_columns.Next(m_column.get() + m_side, m_picture.stride);
            std::memcpy(m_scratch.get(), m_column.get() + m_windowStart, static_cast<std::size_t>(m_windowBytes));
            SlideMax(m_full.get(), m_scratch.get(), m_windowBytes, 2 * m_fullX - 1, m_rowBytes);
            std::memset(m_full.get() + m_rowBytes, 255, static_cast<std::size_t>(m_blockBytes - m_rowBytes));
            if (HasRows() || HasColumns()) {
                SlideRows(y);
                WeighRow(y);
            } else {
                kTurnRow(m_destination.Row<std::uint8_t>(y), m_full.get(), m_rowBytes, m_picture.turn);
            }
        }
    }

  private:
    bool HasRows() const { return m_weights.row > 0.0f; }
    bool HasColumns() const { return m_weights.column > 0.0f; }

    /// Fills the lists of the rim's cells and says how many there are; finds out when a result is in doubt.
    std::size_t TakeCells() {
        const auto add = [&](int piece, LONG dx, LONG dy, float weight) {
            if (weight > 0.0f) m_cells[piece].push_back({m_picture.stride * dy + std::ptrdiff_t{dx} * 4, dy, weight});
        };
        for (LONG i = 1 - m_fullX; i < m_fullX; ++i) {
            add(kTop, i, -m_fullY, m_weights.row);
            add(kBottom, i, m_fullY, m_weights.row);
        }
        for (LONG i = 1 - m_fullY; i < m_fullY; ++i) {
            add(kLeft, -m_fullX, i, m_weights.column);
            add(kRight, m_fullX, i, m_weights.column);
        }
        add(kTopLeft, -m_fullX, -m_fullY, m_weights.corner);
        add(kTopRight, m_fullX, -m_fullY, m_weights.corner);
        add(kBottomLeft, -m_fullX, m_fullY, m_weights.corner);
        add(kBottomRight, m_fullX, m_fullY, m_weights.corner);
        std::size_t count = 0;
        float steps = 64.0f; // roundings on the way to a sum of 1, and of a dozen levels' mean here and there
        for (const auto& piece : m_cells) {
            count += piece.size();
            if (!piece.empty()) steps += std::min(static_cast<float>(piece.size()), 1.0f / piece[0].weight + 1.0f);
        }
        const auto isClosedBy127 = [](float weight) { return weight == 0.0f || weight * 127.0f > 1.001f; };
        m_weights.mostCounted = isClosedBy127(m_weights.row) && isClosedBy127(m_weights.column) ? 127 : 255;
        m_weights.near = 255.0f * 0x1p-24f * steps;
        m_weights.rough = IsExact(m_weights.row) && IsExact(m_weights.column) ? 0 : 255;
        m_weights.roughCorners = IsExact(m_weights.corner) ? 0 : 255;
        return count;
    }

    std::uint8_t* RingRow(LONG y) const { return m_ring.get() + y % m_ringRows * 4 * m_blockBytes; }

    /// Brings the tops of the rim's rows down to those that row `y` needs.
    void SlideRows(LONG y) {
        for (; HasRows() && m_slid < m_picture.height && m_slid <= std::int64_t{y} + m_fullY; ++m_slid)
            SlideTops(RingRow(m_slid), m_blockBytes, m_picture.Row(m_slid) - m_side + m_windowStart, m_scratch.get(),
                      m_scratchPlane, m_windowBytes, 2 * m_fullX - 1, m_rowBytes);
    }

    tRim RimAt(LONG y) const {
        const std::ptrdiff_t reach = std::ptrdiff_t{m_fullX} * 4;
        const auto cells = [](LONG full) { return static_cast<std::uint8_t>(full < 128 ? 2 * full - 1 : 0); };
        tRim rim{.rowPlane = m_blockBytes,
                 .columnPlane = m_picture.stride,
                 .samples = m_picture.Row(y),
                 .rowCells = cells(m_fullX),
                 .columnCells = cells(m_fullY)};
        std::size_t count = 0;
        for (int piece = 0; piece < kPieces; ++piece) {
            rim.cells[piece] = CellsInside(m_cells[piece], y, m_picture.height);
            count += rim.cells[piece].size();
        }
        rim.hasFewCells = count < 255;
        std::ranges::fill(rim.pieces, m_none.get());
        if (HasColumns()) {
            rim.pieces[kLeft] = m_column.get() + m_side - reach;
            rim.pieces[kRight] = m_column.get() + m_side + reach;
        }
        const auto put = [&](LONG row, int left, int middle, int right) {
            rim.pieces[middle] = RingRow(row);
            if (!(m_weights.corner > 0.0f)) return;
            rim.pieces[left] = m_picture.Row(row) - reach;
            rim.pieces[right] = m_picture.Row(row) + reach;
        };
        if (HasRows() && y - m_fullY >= 0) put(y - m_fullY, kTopLeft, kTop, kTopRight);
        if (HasRows() && m_picture.height - y > m_fullY) put(y + m_fullY, kBottomLeft, kBottom, kBottomRight);
        return rim;
    }

    void WeighRow(LONG y) {
        tRim rim = RimAt(y);
        std::array<std::uint16_t, 4096> lanes;
        for (std::ptrdiff_t at = 0; at < m_rowBytes; at += std::ssize(lanes)) {
            std::uint8_t* const to = m_destination.Row<std::uint8_t>(y) + at;
            const std::uint8_t* const full = m_full.get() + at;
            const std::ptrdiff_t bytes = std::min(std::ssize(lanes), m_rowBytes - at);
            const std::uint16_t* const end = kSettleRow(rim, full, m_weights, to, bytes, lanes.data());
            for (const std::uint16_t* next = lanes.data(); next != end; ++next) {
                const std::ptrdiff_t lane = *next;
                tHit* hits = m_weighing.Hits();
                for (int piece = 0; piece < kPieces; ++piece)
                    if (rim.pieces[piece][lane] > full[lane])
                        hits = FindHits(rim.samples + lane, full[lane], rim.cells[piece], hits);
                to[lane] = m_weighing.Value({m_weighing.Hits(), hits}, static_cast<LONG>((at + lane) / 4), y,
                                            static_cast<LONG>(lane & 3), full[lane]);
            }
            for (const std::uint8_t*& piece : rim.pieces) piece += bytes;
            rim.samples += bytes;
        }
    }

    const tTurned& m_picture;
    const tRows& m_destination;
    LONG m_fullX, m_fullY; ///< cells of full weight from the centre on
    tRimWeights m_weights;
    std::vector<tCell> m_cells[kPieces];
    CWeighing m_weighing;
    CColumnMax m_columns;
    std::ptrdiff_t m_side = std::ptrdiff_t{m_picture.side} * 4, m_rowBytes = std::ptrdiff_t{m_picture.width} * 4;
    std::ptrdiff_t m_blockBytes = WholeBlocks(m_rowBytes), m_scratchPlane = m_picture.stride + kWidestBytes;
    std::int64_t m_ringRows = std::min<std::int64_t>(2 * std::int64_t{m_fullY} + 1, m_picture.height);
    tMemory m_ring = UnsetBytes(HasRows() ? m_ringRows * 4 : 0, m_blockBytes); ///< tops of the rim's row at each pixel
    tMemory m_column = Bytes(4, m_picture.stride), m_scratch = Bytes(4, m_scratchPlane);
    tMemory m_none = Bytes(4, m_picture.stride), m_full = Bytes(1, m_blockBytes);
    std::ptrdiff_t m_windowBytes = m_rowBytes + (2 * std::ptrdiff_t{m_fullX} - 2) * 4; ///< that a row's windows meet
    std::ptrdiff_t m_windowStart = m_side - (std::ptrdiff_t{m_fullX} - 1) * 4;
    LONG m_slid = 0; ///< rows in the ring so far
};

} // namespace

void FilterRect(const tTurned& picture, const tRows& destination, const tAREATABLE& area) {
    CRectangle(picture, destination, area).Run();
}

} // namespace kw_min_max
