// Scaled bytes: 16-bit arithmetic, rows first, and then columns as rows of a turned picture.
#include <cstring>
#include <memory>
#include <new>

#include "base/bodies.h"
#include "kernels/stretch_paint.h"

namespace kw_stretch {
namespace {

/// The weights as parts of 65535.
struct tFineTaps {
    LONG first, count;
    std::uint16_t weights[kMostTaps + 3]; ///< read in fours
};

tFineTaps FineTapsOf(const tAxis& axis, LONG pixel) {
    const tTaps t = TapsOf(axis, pixel);
    tFineTaps fine{t.first, t.count, {}};
    double sum = 0.0;
    int done = 0;
    for (LONG i = 0; i < t.count; ++i) {
        sum += i == 0 ? t.head : i == t.count - 1 ? t.tail : t.body;
        const int next = std::min(65535, static_cast<int>(sum * 65535.0 + 0.5));
        fine.weights[i] = static_cast<std::uint16_t>(i == t.count - 1 ? 65535 - done : next - done);
        done = next;
    }
    return fine;
}

/// The upper half of a byte's product with a weight, in 1/256: it loses less than one of them.
KWINLINE inline std::uint16_t Weighed(std::uint8_t byte, std::uint16_t weight) {
    return static_cast<std::uint16_t>((std::uint32_t{static_cast<std::uint16_t>(byte << 8)} * weight) >> 16);
}

/// `count` values of kRows rows. Whole expressions instead of a loop over the rows: it stays in registers.
template <int kRows, class Finish>
KWINLINE inline void WeighSome(const std::uint8_t* const* rows, const std::uint16_t* weights, std::ptrdiff_t count,
                               Finish finish) {
    const std::uint8_t *a = rows[0], *b = rows[kRows > 1 ? 1 : 0], *c = rows[kRows > 2 ? 2 : 0];
    const std::uint8_t* d = rows[kRows > 3 ? 3 : 0];
    const std::uint16_t wa = weights[0], wb = weights[1], wc = weights[2], wd = weights[3];
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        auto sum = Weighed(a[i], wa);
        if constexpr (kRows > 1) sum = static_cast<std::uint16_t>(sum + Weighed(b[i], wb));
        if constexpr (kRows > 2) sum = static_cast<std::uint16_t>(sum + Weighed(c[i], wc));
        if constexpr (kRows > 3) sum = static_cast<std::uint16_t>(sum + Weighed(d[i], wd));
        finish(i, sum);
    }
}

/// A weighted sum of two or more rows of bytes, `bias` added in 1/256. `kBlock` values at a time where the rows are
/// many.
template <std::ptrdiff_t kBlock>
KWINLINE inline void Weigh(std::uint8_t* __restrict out, const std::uint8_t* const* rows, const tFineTaps& t,
                           std::uint16_t bias, std::ptrdiff_t count) {
    const auto store = [out, bias](std::ptrdiff_t i, std::uint16_t sum) {
        out[i] = static_cast<std::uint8_t>(static_cast<std::uint16_t>(sum + bias) >> 8);
    };
    switch (t.count) {
    case 2:
        return WeighSome<2>(rows, t.weights, count, store);
    case 3:
        return WeighSome<3>(rows, t.weights, count, store);
    case 4:
        return WeighSome<4>(rows, t.weights, count, store);
    default:
        break;
    }
    for (std::ptrdiff_t x = 0; x < count; x += kBlock) {
        const std::ptrdiff_t n = count - x < kBlock ? count - x : kBlock;
        std::uint16_t sums[kBlock];
        const std::uint8_t* four[4];
        const auto take = [&](LONG from) {
            for (LONG k = 0; k < 4; ++k) four[k] = rows[from + k] + x;
        };
        take(0);
        WeighSome<4>(four, t.weights, n,
                     [&](std::ptrdiff_t i, std::uint16_t sum) { sums[i] = static_cast<std::uint16_t>(sum + bias); });
        const auto add = [&](std::ptrdiff_t i, std::uint16_t sum) {
            sums[i] = static_cast<std::uint16_t>(sums[i] + sum);
        };
        LONG k = 4;
        for (; k + 4 <= t.count; k += 4) {
            take(k);
            WeighSome<4>(four, t.weights + k, n, add);
        }
        for (; k < t.count; ++k) {
            four[0] = rows[k] + x;
            WeighSome<1>(four, t.weights + k, n, add);
        }
        for (std::ptrdiff_t i = 0; i < n; ++i) out[x + i] = static_cast<std::uint8_t>(sums[i] >> 8);
    }
}

KWINLINE inline void WeighRows(std::uint8_t* out, const std::uint8_t* const* rows, const tFineTaps& t,
                               std::uint16_t bias, std::ptrdiff_t count) {
    Weigh<512>(out, rows, t, bias, count);
}
constexpr CKwBodies kWeighRows(KwClones<WeighRows>);

/// A truncating sum; with one half more it rounds.
std::uint16_t Bias(const tFineTaps& t, int half) {
    return static_cast<std::uint16_t>(t.count + 1 + half);
}

constexpr LONG kTile = 16;        // rows turned together: a column of them is 64 bytes
constexpr LONG kTurnColumns = 64; // output columns made together, so that the turned pictures stay in the first cache
constexpr LONG kTurnSource = (kTurnColumns + 1) * kMostTaps;

using tQuad [[gnu::vector_size(16)]] = std::uint32_t;

/// Turns 4 by 4 pixels.
KWINLINE inline void Turn(std::uint8_t* const* to, const std::uint8_t* const* from) {
    tQuad a, b, c, d;
    __builtin_memcpy(&a, from[0], 16);
    __builtin_memcpy(&b, from[1], 16);
    __builtin_memcpy(&c, from[2], 16);
    __builtin_memcpy(&d, from[3], 16);
    const tQuad ab = __builtin_shufflevector(a, b, 0, 4, 1, 5), cd = __builtin_shufflevector(c, d, 0, 4, 1, 5);
    const tQuad ef = __builtin_shufflevector(a, b, 2, 6, 3, 7), gh = __builtin_shufflevector(c, d, 2, 6, 3, 7);
    a = __builtin_shufflevector(ab, cd, 0, 1, 4, 5);
    b = __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
    c = __builtin_shufflevector(ef, gh, 0, 1, 4, 5);
    d = __builtin_shufflevector(ef, gh, 2, 3, 6, 7);
    __builtin_memcpy(to[0], &a, 16);
    __builtin_memcpy(to[1], &b, 16);
    __builtin_memcpy(to[2], &c, 16);
    __builtin_memcpy(to[3], &d, 16);
}

/// Scales `kTile` rows to `count` columns. `taps` count from pixel `left`, where the rows begin.
KWINLINE inline void WeighColumns(std::uint8_t* out, std::ptrdiff_t outStride, const std::uint8_t* const* rows,
                                  const tFineTaps* taps, std::ptrdiff_t count) {
    alignas(64) std::uint8_t source[kTurnSource * 64], result[kTurnColumns * 64];
    for (std::ptrdiff_t c = 0; c < count; c += kTurnColumns) {
        const std::ptrdiff_t n = count - c < kTurnColumns ? count - c : kTurnColumns;
        const std::ptrdiff_t first = taps[c].first, width = taps[c + n - 1].first + taps[c + n - 1].count - first;
        std::ptrdiff_t x = 0;
        for (; x + 4 <= width; x += 4)
            for (int r = 0; r < kTile; r += 4) {
                const std::ptrdiff_t at = (first + x) * 4;
                const std::uint8_t* from[4] = {rows[r] + at, rows[r + 1] + at, rows[r + 2] + at, rows[r + 3] + at};
                std::uint8_t* const base = source + x * 64 + r * 4;
                std::uint8_t* const to[4] = {base, base + 64, base + 128, base + 192};
                Turn(to, from);
            }
        for (; x < width; ++x)
            for (int r = 0; r < kTile; ++r) __builtin_memcpy(source + x * 64 + r * 4, rows[r] + (first + x) * 4, 4);

        for (std::ptrdiff_t i = 0; i < n; ++i) {
            const tFineTaps& t = taps[c + i];
            const std::uint8_t* column = source + (t.first - first) * 64;
            if (t.count == 1) {
                __builtin_memcpy(result + i * 64, column, 64);
                continue;
            }
            const std::uint8_t* columns[kMostTaps];
            for (LONG k = 0; k < t.count; ++k) columns[k] = column + k * 64;
            Weigh<64>(result + i * 64, columns, t, static_cast<std::uint16_t>(t.count + 1), 64);
        }

        for (x = 0; x + 4 <= n; x += 4)
            for (int r = 0; r < kTile; r += 4) {
                const std::uint8_t* base = result + x * 64 + r * 4;
                const std::uint8_t* const from[4] = {base, base + 64, base + 128, base + 192};
                std::uint8_t* to[4];
                for (int k = 0; k < 4; ++k) to[k] = out + (r + k) * outStride + (c + x) * 4;
                Turn(to, from);
            }
        for (; x < n; ++x)
            for (int r = 0; r < kTile; ++r)
                __builtin_memcpy(out + r * outStride + (c + x) * 4, result + x * 64 + r * 4, 4);
    }
}
constexpr CKwBodies kWeighColumns(KwClones<WeighColumns>);

/// Samples of bytes with at most `kMostTaps` pixels in each direction.
class CScaledBytes {
  public:
    CScaledBytes(const tImage& source, const tAxis& x, const tAxis& y)
        : m_source(source), m_x(x), m_y(y), m_columns(x.last - x.first),
          m_taps(new (std::nothrow) tFineTaps[static_cast<std::size_t>(m_columns)]) {
        if (!m_taps) return;
        for (LONG c = 0; c < m_columns; ++c) {
            m_taps[c] = FineTapsOf(x, x.first + c);
            m_taps[c].first -= m_left = c == 0 ? m_taps[0].first : m_left;
            m_same = m_same && m_taps[c].count == 1 && m_taps[c].first == c;
        }
        m_width = m_taps[m_columns - 1].first + m_taps[m_columns - 1].count;
        const std::size_t rows = m_same ? 0 : kTile;
        m_rows.reset(new (std::nothrow) std::uint8_t[rows * static_cast<std::size_t>(m_width) * 4]);
        m_done.reset(new (std::nothrow) std::uint8_t[rows * static_cast<std::size_t>(m_columns) * 4]);
    }

    explicit operator bool() const { return m_taps && m_rows && m_done; }

    void SetRow(LONG row) {
        m_row = row;
        if (m_same || (row >= m_tileFirst && row < m_tileLast)) return;
        m_tileFirst = row;
        m_tileLast = std::min(m_y.last, row + kTile);
        const std::uint8_t* rows[kTile];
        for (LONG r = 0; r < kTile; ++r) {
            std::uint8_t* mid = m_rows.get() + std::ptrdiff_t{r} * m_width * 4;
            rows[r] = row + r < m_tileLast ? Gathered(row + r, 0, m_width, mid, 128) : rows[r - 1];
        }
        kWeighColumns(m_done.get(), std::ptrdiff_t{m_columns} * 4, rows, m_taps.get(), m_columns);
    }

    void Samples(LONG from, LONG to, std::uint8_t* out) const {
        const LONG first = from - m_x.first;
        const std::uint8_t* done = out;
        if (m_same)
            done = Gathered(m_row, first, to - from, out, 0);
        else
            done = m_done.get() + (std::ptrdiff_t{m_row - m_tileFirst} * m_columns + first) * 4;
        if (done != out) std::memcpy(out, done, static_cast<std::size_t>(to - from) * 4);
    }

  private:
    /// Pixels of a row before its columns are scaled: the source's own where one row stands for itself, else in `out`.
    const std::uint8_t* Gathered(LONG row, LONG first, LONG count, std::uint8_t* out, int half) const {
        const tFineTaps t = FineTapsOf(m_y, row);
        const std::uint8_t* rows[kMostTaps];
        for (LONG k = 0; k < t.count; ++k) rows[k] = m_source.Row<tForm8>(t.first + k, m_left + first);
        if (t.count == 1) return rows[0];
        kWeighRows(out, rows, t, Bias(t, half - (half ? t.count / 2 : 0)), std::ptrdiff_t{count} * 4);
        return out;
    }

    const tImage& m_source;
    const tAxis& m_x;
    const tAxis& m_y;
    LONG m_columns;
    std::unique_ptr<tFineTaps[]> m_taps; ///< for the output columns, from `m_left` on
    std::unique_ptr<std::uint8_t[]> m_rows, m_done;
    LONG m_left = 0, m_width = 0; ///< source columns
    bool m_same = true;           ///< columns are copied one to one
    LONG m_row = 0, m_tileFirst = 0, m_tileLast = 0;
};

/// The definition of `CScaledBytes`, a sample at a time. Each product loses less than a 256th of a level; one for each
/// row or column makes up for that. Rows give the nearest level where columns are scaled after them, columns truncate.
class CPlainBytes {
  public:
    CPlainBytes(const tImage& source, const tAxis& x, const tAxis& y) : m_source(source), m_x(x), m_y(y) {
        const LONG left = FineTapsOf(x, x.first).first;
        for (LONG c = x.first; c < x.last; ++c) {
            const tFineTaps t = FineTapsOf(x, c);
            m_same = m_same && t.count == 1 && t.first - left == c - x.first;
        }
    }
    explicit operator bool() const { return true; }

    void SetRow(LONG row) { m_rows = FineTapsOf(m_y, row); }
    void Samples(LONG from, LONG to, std::uint8_t* out) const {
        for (LONG x = from; x < to; ++x) {
            const tFineTaps columns = FineTapsOf(m_x, x);
            for (LONG c = 0; c < 4; ++c)
                *out++ = Mean(columns, columns.count + 1, [&](LONG column) {
                    const LONG half = m_same ? 0 : 128 - m_rows.count / 2;
                    return Mean(m_rows, m_rows.count + 1 + half,
                                [&](LONG row) { return m_source.Row<tForm8>(row, column)[c]; });
                });
        }
    }

  private:
    template <class Level>
    static std::uint8_t Mean(const tFineTaps& t, LONG bias, Level levelOf) {
        if (t.count == 1) return levelOf(t.first);
        LONG sum = bias;
        for (LONG k = 0; k < t.count; ++k) sum += levelOf(t.first + k) * t.weights[k] / 256;
        return static_cast<std::uint8_t>(sum / 256);
    }

    const tImage& m_source;
    const tAxis& m_x;
    const tAxis& m_y;
    tFineTaps m_rows{};
    bool m_same = true; ///< columns are copied one to one
};

constexpr CKwBodies kPaintBytes(PaintScaled<tForm8, CPlainBytes>,
                                tKwBody{eKwLevel::Base, PaintScaled<tForm8, CScaledBytes>});

} // namespace

HRESULT PaintBytes(const tImage& out, const tImage& source, const tAxis& x, const tAxis& y) {
    return kPaintBytes(out, source, x, y);
}

} // namespace kw_stretch
