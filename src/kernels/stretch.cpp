#include "kernels/stretch.h"

#include <cstring>
#include <memory>
#include <new>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/mix_row.h"

namespace {

/// One direction of a drawing.
struct tAxis {
    std::int64_t start, end;             ///< destination
    std::int64_t sourceStart, sourceEnd; ///< inside the source
    std::int64_t scale;                  ///< source units per 16384 of the destination
    std::int64_t step;                   ///< the same for interpolation, where the end pixels fall on each other
    LONG first, last;                    ///< output pixels touched, `last` exclusive
    LONG lowest, highest;                ///< source pixels that may be read, inclusive
    bool box;

    /// How much of an output pixel is covered, 0 to `kOnePixel`.
    std::int64_t Coverage(LONG pixel) const {
        return std::min(end, KwToFixed(pixel) + kOnePixel) - std::max(start, KwToFixed(pixel));
    }
    /// Where interpolation samples for an output pixel.
    std::int64_t Position(LONG pixel) const {
        return KwClamp(sourceStart + ((KwToFixed(pixel) - start) * step >> 14), KwToFixed(lowest), KwToFixed(highest));
    }
    bool IsShift() const { return !box && step == kOnePixel; }
    std::int64_t Shift() const { return sourceStart - start; }
};

bool MakeAxis(std::int64_t start, std::int64_t end, LONG outSize, std::int64_t sourceStart, std::int64_t sourceEnd,
              LONG sourceSize, bool smooth, tAxis& axis) {
    sourceStart = std::max<std::int64_t>(sourceStart, 0);
    sourceEnd = std::min(sourceEnd, KwToFixed(sourceSize));
    const std::int64_t sourceLength = sourceEnd - sourceStart, length = end - start;
    if (sourceLength < kOnePixel || length < kOnePixel / 16) return false;
    const std::int64_t scale = (sourceLength << 14) / length;
    std::int64_t step = 0;
    if (sourceLength == length)
        step = kOnePixel;
    else if (sourceLength >= 2 * kOnePixel && length > kOnePixel)
        step = ((sourceLength - kOnePixel) << 14) / (length - kOnePixel);
    axis = {start,
            end,
            sourceStart,
            sourceEnd,
            scale,
            step,
            static_cast<LONG>(std::clamp<std::int64_t>(KwFixedFloor(start), 0, std::max<LONG>(outSize, 0))),
            static_cast<LONG>(std::clamp<std::int64_t>(KwFixedCeil(end), 0, std::max<LONG>(outSize, 0))),
            static_cast<LONG>(KwFixedFloor(sourceStart)),
            static_cast<LONG>(KwFixedCeil(sourceEnd) - 1),
            smooth && scale > kOnePixel};
    return axis.first < axis.last;
}

std::int64_t FractionOf(std::int64_t position) {
    return position & (kOnePixel - 1);
}

/// The source pixels behind one output pixel: `head` and `tail` weigh the ends, `body` each one between. The weights
/// add up to 1. A single pixel has `head` alone.
struct tTaps {
    LONG first, count;
    double head, body, tail;
};

tTaps TapsOf(const tAxis& axis, LONG pixel) {
    if (!axis.box) {
        const std::int64_t position = axis.Position(pixel), f = FractionOf(position);
        const double part = static_cast<double>(f) / static_cast<double>(kOnePixel);
        return {static_cast<LONG>(KwFixedFloor(position)), f ? 2 : 1, 1.0 - part, 0.0, part};
    }
    const std::int64_t from = std::max(axis.start, KwToFixed(pixel));
    const std::int64_t to = std::min(axis.end, KwToFixed(pixel) + kOnePixel);
    const std::int64_t stop = std::min(axis.sourceEnd, axis.sourceStart + ((to - axis.start) * axis.scale >> 14));
    const std::int64_t begin = std::min(stop - 1, axis.sourceStart + ((from - axis.start) * axis.scale >> 14));
    const std::int64_t first = KwFixedFloor(begin), last = KwFixedFloor(stop - 1);
    if (first == last) return {static_cast<LONG>(first), 1, 1, 0, 0};
    const auto share = [length = stop - begin](std::int64_t part) {
        return static_cast<double>(part) / static_cast<double>(length);
    };
    return {static_cast<LONG>(first), static_cast<LONG>(last - first + 1), share(((first + 1) << 14) - begin),
            share(kOnePixel), share(stop - (last << 14))};
}

struct tImage {
    std::byte* bits;
    std::ptrdiff_t stride;

    template <class Form>
    typename Form::tChannel* Row(LONG y, LONG x = 0) const {
        return reinterpret_cast<typename Form::tChannel*>(bits + stride * y +
                                                          static_cast<std::ptrdiff_t>(x) * Form::kPixelSize);
    }
};

// Whole pictures shifted: copies, or two neighbours mixed.

KWINLINE inline void LerpRow8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::int16_t fraction,
                              std::ptrdiff_t count) {
    // (b - a) * 4 fits 16 bits, so the upper half of the product is the difference times fraction / 16384, floored:
    // the same as the weighted sum of both, shifted.
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto gap = static_cast<std::int16_t>((b[i] - a[i]) * 4);
        out[i] = static_cast<std::uint8_t>(a[i] + ((gap * fraction) >> 16));
    }
}
constexpr CKwBodies kLerpRow8(KwClones<LerpRow8>);
KWINLINE inline void LerpRowF(tAnyFloat* out, const tAnyFloat* a, const tAnyFloat* b, float fraction,
                              std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i) out[i] = KwBlendFloat(a[i], b[i], fraction);
}
constexpr CKwBodies kLerpRowF(KwClones<LerpRowF>);
void LerpRow(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::int64_t fraction,
             std::ptrdiff_t count) {
    kLerpRow8(out, a, b, static_cast<std::int16_t>(fraction), count);
}
void LerpRow(tAnyFloat* out, const tAnyFloat* a, const tAnyFloat* b, std::int64_t fraction, std::ptrdiff_t count) {
    kLerpRowF(out, a, b, static_cast<float>(fraction) / static_cast<float>(kOnePixel), count);
}

/// What is less than half a step of a byte cannot show there.
constexpr std::int64_t kInvisible = kOnePixel / 512;

/// A position for bytes: next to a whole pixel it is that pixel.
std::int64_t Snapped(tForm8, std::int64_t position) {
    const std::int64_t nearest = (position + kOnePixel / 2) >> 14 << 14;
    return position - nearest < kInvisible && nearest - position < kInvisible ? nearest : position;
}
std::int64_t Snapped(tFormF, std::int64_t position) {
    return position;
}

/// Samples for 1:1 with a fraction in one direction at most.
template <class Form>
class CShifted {
  public:
    using tChannel = typename Form::tChannel;
    using tRow = const tChannel*;

    CShifted(const tImage& source, const tAxis& x, const tAxis& y)
        : m_source(source), m_x(x), m_y(y), m_shift(Snapped(Form{}, x.Shift())) {}

    /// Whether there is no more than one fraction.
    static bool Fits(const tAxis& x, const tAxis& y) {
        return x.IsShift() && y.IsShift() &&
               (FractionOf(Snapped(Form{}, x.Shift())) == 0 || FractionOf(Snapped(Form{}, y.Shift())) == 0);
    }

    void SetRow(LONG row) {
        const std::int64_t position = Snapped(Form{}, m_y.Position(row));
        const auto y = static_cast<LONG>(KwFixedFloor(position));
        m_fractionY = FractionOf(position);
        m_upper = m_source.Row<Form>(y);
        m_lower = m_fractionY ? m_source.Row<Form>(y + 1) : m_upper;
    }

    void Samples(LONG from, LONG to, tChannel* out) const {
        const std::int64_t shift = KwFixedFloor(m_shift), fraction = FractionOf(m_shift);
        for (LONG x = from; x < to;) {
            const std::int64_t at = x + shift;
            // The last pixel has no neighbour to be mixed with.
            const std::int64_t end = m_x.highest + (fraction ? 0 : 1);
            const bool inside = at >= m_x.lowest && at < end;
            const auto n = inside ? static_cast<LONG>(std::min<std::int64_t>(to - x, end - at)) : 1;
            const std::ptrdiff_t place = std::clamp<std::int64_t>(at, m_x.lowest, m_x.highest) * 4;
            tChannel* target = out + std::ptrdiff_t{x - from} * 4;
            if (inside && fraction)
                LerpRow(target, m_upper + place, m_upper + place + 4, fraction, std::ptrdiff_t{n} * 4);
            else if (m_fractionY)
                LerpRow(target, m_upper + place, m_lower + place, m_fractionY, std::ptrdiff_t{n} * 4);
            else
                std::memmove(target, m_upper + place, static_cast<std::size_t>(n) * Form::kPixelSize);
            x += n;
        }
    }

  private:
    const tImage& m_source;
    const tAxis& m_x;
    const tAxis& m_y;
    std::int64_t m_shift, m_fractionY = 0;
    tRow m_upper = nullptr, m_lower = nullptr;
};

// Bytes with a moderate reduction: 16-bit arithmetic, rows first, and then columns as rows of a turned picture.

constexpr LONG kMostTaps = 16;
constexpr std::int64_t kModerate = (kMostTaps - 2) * kOnePixel; // scale; two more pixels may be touched at the ends

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

// Every other case: numbers wide enough for floats and for any number of bytes.

/// A row of numbers and what goes into it. Templates on the form: a float deduced from a pointer would have to be
/// aligned.
template <class Form>
void GatherRows(double* mid, const typename Form::tChannel* const* rows, const tTaps& t, std::ptrdiff_t count) {
    const typename Form::tChannel *a = rows[0], *b = rows[1], *c = rows[2];
    if (t.count == 2)
        for (std::ptrdiff_t i = 0; i < count; ++i) mid[i] = t.head * a[i] + t.tail * b[i];
    else
        for (std::ptrdiff_t i = 0; i < count; ++i) mid[i] = t.head * a[i] + t.body * c[i] + t.tail * b[i];
}

template <class Form>
void AddRows(double* mid, const typename Form::tChannel* const* rows, double body, std::ptrdiff_t count) {
    const typename Form::tChannel *a = rows[0], *b = rows[1], *c = rows[2], *d = rows[3];
    using tSum = std::conditional_t<Form::kPixelSize == 4, int, double>;
    for (std::ptrdiff_t i = 0; i < count; ++i)
        mid[i] += body * static_cast<double>(tSum{a[i]} + tSum{b[i]} + tSum{c[i]} + tSum{d[i]});
}

void Store(std::uint8_t& out, double v) {
    constexpr double kShort = 1.0 / 1024; // sums that should be whole may fall short by the rounding of the weights
    out = static_cast<std::uint8_t>(static_cast<int>(v + kShort));
}
void Store(tAnyFloat& out, double v) {
    out = static_cast<float>(v);
}

/// A row of `CScaled` between its two steps.
struct tNumbers {
    using tChannel = double;
};

template <class Form, class Row>
void GatherColumns(typename Form::tChannel* out, const typename Row::tChannel* row, const tTaps* taps,
                   std::ptrdiff_t count) {
    using From = typename Row::tChannel;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tTaps& t = taps[i];
        const From* p = row + std::ptrdiff_t{t.first} * 4;
        const From* last = p + std::ptrdiff_t{t.count - 1} * 4;
        double sum[4];
        for (int c = 0; c < 4; ++c) sum[c] = p[c] * t.head;
        for (p += 4; p < last; p += 4)
            for (int c = 0; c < 4; ++c) sum[c] += p[c] * t.body;
        for (int c = 0; t.count > 1 && c < 4; ++c) sum[c] += last[c] * t.tail;
        for (int c = 0; c < 4; ++c) Store(out[i * 4 + c], sum[c]);
    }
}

template <class Form>
class CScaled {
  public:
    using tChannel = typename Form::tChannel;

    CScaled(const tImage& source, const tAxis& x, const tAxis& y)
        : m_source(source), m_x(x), m_y(y), m_taps(new (std::nothrow) tTaps[Columns()]) {
        if (!m_taps) return;
        for (LONG c = x.first; c < x.last; ++c) m_taps[static_cast<std::size_t>(c - x.first)] = TapsOf(x, c);
        const tTaps& last = m_taps[Columns() - 1];
        m_left = m_taps[0].first;
        m_count = std::ptrdiff_t{last.first + last.count - m_left} * 4;
        for (std::size_t c = 0; c < Columns(); ++c) {
            m_taps[c].first -= m_left;
            m_same = m_same && m_taps[c].count == 1 && m_taps[c].first == static_cast<LONG>(c);
        }
        m_mid.reset(new (std::nothrow) double[static_cast<std::size_t>(m_count)]);
    }

    explicit operator bool() const { return m_taps && m_mid; }

    void SetRow(LONG row) {
        const tTaps t = TapsOf(m_y, row);
        const auto at = [&](LONG i) -> const tChannel* { return m_source.Row<Form>(t.first + i, m_left); };
        m_direct = t.count == 1 ? at(0) : nullptr;
        if (m_direct) return;
        const tChannel* rows[4] = {at(0), at(t.count - 1), at(t.count / 2), nullptr};
        // The rows between go in by fours; one, two or three are left over for the first sum.
        LONG i = 1;
        const LONG between = t.count - 2;
        if (between > 0 && between % 4 != 0) {
            rows[2] = at(i++);
            GatherRows<Form>(m_mid.get(), rows, t, m_count);
        } else {
            GatherRows<Form>(m_mid.get(), rows, {0, 2, t.head, 0.0, t.tail}, m_count);
        }
        for (; (t.count - 1 - i) % 4 != 0; ++i)
            for (std::ptrdiff_t k = 0; k < m_count; ++k) m_mid[static_cast<std::size_t>(k)] += t.body * at(i)[k];
        for (; i < t.count - 1; i += 4) {
            const tChannel* four[4] = {at(i), at(i + 1), at(i + 2), at(i + 3)};
            AddRows<Form>(m_mid.get(), four, t.body, m_count);
        }
    }

    void Samples(LONG from, LONG to, tChannel* out) const {
        const tTaps* taps = m_taps.get() + (from - m_x.first);
        const std::ptrdiff_t n = to - from;
        if (m_same && m_direct)
            std::memcpy(out, m_direct + std::ptrdiff_t{taps->first} * 4,
                        static_cast<std::size_t>(n) * Form::kPixelSize);
        else if (m_same)
            for (std::ptrdiff_t i = 0; i < n * 4; ++i)
                Store(out[i], m_mid[static_cast<std::size_t>(taps->first * 4 + i)]);
        else if (m_direct)
            GatherColumns<Form, Form>(out, m_direct, taps, n);
        else
            GatherColumns<Form, tNumbers>(out, m_mid.get(), taps, n);
    }

  private:
    std::size_t Columns() const { return static_cast<std::size_t>(m_x.last - m_x.first); }

    const tImage& m_source;
    const tAxis& m_x;
    const tAxis& m_y;
    std::unique_ptr<tTaps[]> m_taps; ///< for the output columns, from `m_left` on
    std::unique_ptr<double[]> m_mid;
    LONG m_left = 0;
    std::ptrdiff_t m_count = 0;         ///< numbers in the row
    bool m_same = true;                 ///< columns are copied one to one
    const tChannel* m_direct = nullptr; ///< a source row that stands for itself
};

std::uint16_t CoverageWeight(tForm8, std::int64_t x, std::int64_t y) {
    const std::int64_t coverage = x * y >> 14;
    return static_cast<std::uint16_t>(coverage > kOnePixel - kInvisible ? 255 : coverage * 255 >> 14);
}
float CoverageWeight(tFormF, std::int64_t x, std::int64_t y) {
    return static_cast<float>(x * y) / static_cast<float>(kOnePixel * kOnePixel);
}

/// Writes the samples; the ragged rim of the rectangle is blended.
template <class Form, class Sampler>
void Paint(const tImage& out, const tAxis& x, const tAxis& y, Sampler& sampler) {
    using tChannel = typename Form::tChannel;
    constexpr LONG kChunk = 256;
    std::remove_cv_t<std::conditional_t<sizeof(tChannel) == 1, std::uint8_t, float>> chunk[kChunk * 4];
    const LONG fullFirst = x.first + (x.Coverage(x.first) < kOnePixel ? 1 : 0);
    const LONG fullLast = std::max(fullFirst, x.last - (x.Coverage(x.last - 1) < kOnePixel ? 1 : 0));
    for (LONG row = y.first; row < y.last; ++row) {
        sampler.SetRow(row);
        const std::int64_t coverY = y.Coverage(row);
        const auto blended = [&](LONG from, LONG to, std::int64_t coverX) {
            sampler.Samples(from, to, chunk);
            tChannel* target = out.Row<Form>(row, from);
            KwMixRowBy(target, target, chunk, CoverageWeight(Form{}, coverX, coverY), to - from);
        };
        if (coverY == kOnePixel && fullFirst < fullLast) {
            sampler.Samples(fullFirst, fullLast, out.Row<Form>(row, fullFirst));
        } else {
            for (LONG c = fullFirst; c < fullLast; c += std::min(kChunk, fullLast - c))
                blended(c, std::min(fullLast, c + kChunk), kOnePixel);
        }
        if (x.first < fullFirst) blended(x.first, x.first + 1, x.Coverage(x.first));
        if (fullLast < x.last) blended(fullLast, fullLast + 1, x.Coverage(fullLast));
    }
}

template <class Form, class Sampler>
HRESULT PaintScaled(const tImage& out, const tImage& source, const tAxis& x, const tAxis& y) {
    Sampler sampler(source, x, y);
    if (!sampler) return E_OUTOFMEMORY;
    Paint<Form>(out, x, y, sampler);
    return S_OK;
}

} // namespace

HRESULT KwDibStretchBlit(void* outBits, tExtent outSize, LONG outStride, const tFixedRect* destination,
                         tFixedPoint offset, const void* sourceBits, tExtent sourceSize, LONG sourceStride,
                         const tFixedRect* source, LONG bytesPerPixel, bool smooth) {
    const auto whole = [](tExtent size) { return tFixedRect{0, 0, KwToFixed(size.width), KwToFixed(size.height)}; };
    const tFixedRect to = destination ? *destination : whole(outSize);
    const tFixedRect from = source ? *source : whole(sourceSize);
    tAxis x, y;
    if (!MakeAxis(to.left + offset.x, to.right + offset.x, outSize.width, from.left, from.right, sourceSize.width,
                  smooth, x) ||
        !MakeAxis(to.top + offset.y, to.bottom + offset.y, outSize.height, from.top, from.bottom, sourceSize.height,
                  smooth, y))
        return S_OK;

    const tImage out{static_cast<std::byte*>(outBits), outStride};
    const tImage in{static_cast<std::byte*>(const_cast<void*>(sourceBits)), sourceStride};
    const bool drawn = KwWithForm(bytesPerPixel, [&]<class Form>(Form) {
        if (!CShifted<Form>::Fits(x, y)) return false;
        CShifted<Form> sampler(in, x, y);
        Paint<Form>(out, x, y, sampler);
        return true;
    });
    if (drawn) return S_OK;
    if (bytesPerPixel != 4) return PaintScaled<tFormF, CScaled<tFormF>>(out, in, x, y);
    if (x.scale > kModerate || y.scale > kModerate) return PaintScaled<tForm8, CScaled<tForm8>>(out, in, x, y);
    return PaintScaled<tForm8, CScaledBytes>(out, in, x, y);
}
