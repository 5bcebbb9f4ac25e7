#include "kernels/stretch.h"

#include <cstring>
#include <memory>
#include <new>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/stretch_paint.h"

namespace {

using namespace kw_stretch;

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

// Whole pictures shifted: copies, or two neighbours mixed.

void LerpPlain8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::int16_t fraction,
                std::ptrdiff_t count) {
    for (std::ptrdiff_t i = 0; i < count; ++i)
        out[i] = static_cast<std::uint8_t>((a[i] * (kOnePixel - fraction) + b[i] * fraction) / kOnePixel);
}
KWINLINE inline void LerpRow8(std::uint8_t* out, const std::uint8_t* a, const std::uint8_t* b, std::int16_t fraction,
                              std::ptrdiff_t count) {
    // (b - a) * 4 fits 16 bits, so the upper half of the product is the difference times fraction / 16384, floored:
    // the same as the weighted sum of both, shifted.
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const auto gap = static_cast<std::int16_t>((b[i] - a[i]) * 4);
        out[i] = static_cast<std::uint8_t>(a[i] + ((gap * fraction) >> 16));
    }
}
constexpr CKwBodies kLerpRow8(LerpPlain8, KwClones<LerpRow8>);
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
            const auto place = static_cast<std::ptrdiff_t>(std::clamp<std::int64_t>(at, m_x.lowest, m_x.highest)) * 4;
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
    return PaintBytes(out, in, x, y);
}
