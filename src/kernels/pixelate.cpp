#include "kernels/pixelate.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/copy.h"
#include "kernels/fetch.h"
#include "kernels/lut.h"
#include "kernels/row.h"
#include "kernels/unaligned.h"

namespace {

/// `count` blocks along a side of `size` pixels: where each begins, in 14-bit fixed point, and its whole pixels.
struct tBlocks {
    LONG size, count;
    std::int64_t step;

    tBlocks(LONG size, LONG count)
        : size(size), count(count), step(KwTrunc64(static_cast<double>(size) / count * 16384.0)) {}

    std::ptrdiff_t Begin(std::ptrdiff_t i) const { return static_cast<std::ptrdiff_t>(i * step >> 14); }
    std::ptrdiff_t Pixels() const { return static_cast<std::ptrdiff_t>(step >> 14); }
    /// As cells that leave no gap: the last one goes to the end.
    LONG CellEnd(LONG i) const { return i + 1 < count ? static_cast<LONG>(Begin(i + 1)) : size; }
};

/// Rows whose column sums fit 16 bits.
constexpr std::ptrdiff_t kRowsAtOnce = 257;
/// Blocks of up to this many pixels have sums of 16 bits, those below that many of 31.
constexpr std::int64_t kTinyBlock = 257, kSmallBlock = 1 << 23;

/// Few rows are over before a prefetcher has noticed them, so the next ones are asked for.
constexpr std::ptrdiff_t kRowsAsked = 8;

/// The sums of each column of `rows` rows, at most `kRowsAtOnce`. Bytes at even and at odd places are halves without a
/// conversion; the sums take turns again at the end.
template <class Bytes>
KWINLINE inline void SumColumns(std::uint16_t* sums, const std::uint8_t* row, std::ptrdiff_t stride,
                                std::ptrdiff_t rows, std::ptrdiff_t count) {
    using tHalves = tHalvesOf<Bytes>;
    constexpr std::ptrdiff_t kStep = sizeof(Bytes);
    std::ptrdiff_t i = 0;
    for (; i + kStep <= count; i += kStep) {
        tHalves even{}, odd{};
        for (std::ptrdiff_t y = 0; y < rows; ++y) {
            const auto bytes = reinterpret_cast<tHalves>(KwLoad<Bytes>(row + y * stride + i));
            even += bytes & 255;
            odd += bytes >> 8;
            if (rows <= kRowsAsked) KwFetch(row, (y + rows) * stride + i);
        }
        const auto turns = [&]<std::size_t... kAt>(std::index_sequence<kAt...>) KWINLINE {
            constexpr std::size_t kHalf = kStep / 4;
            const tHalves first = __builtin_shufflevector(even, odd, (kAt / 2 + kAt % 2 * 2 * kHalf)...);
            const tHalves second = __builtin_shufflevector(even, odd, (kHalf + kAt / 2 + kAt % 2 * 2 * kHalf)...);
            std::memcpy(sums + i, &first, sizeof first);
            std::memcpy(sums + i + kStep / 2, &second, sizeof second);
        };
        turns(std::make_index_sequence<kStep / 2>());
    }
    for (; i < count; ++i) {
        std::uint16_t sum = 0;
        for (std::ptrdiff_t y = 0; y < rows; ++y) sum = static_cast<std::uint16_t>(sum + row[y * stride + i]);
        sums[i] = sum;
    }
}
constexpr CKwBodies kSumColumns(KwWidths<SumColumns<tNarrow>, SumColumns<tMiddle>, SumColumns<tWide>>);

/// A pixel's four totals.
template <class Total>
struct tTotals {
    using tFour [[gnu::vector_size(sizeof(Total) * 4)]] = Total;
};

/// Adds up each block's share of column sums. Blocks of few pixels have loops of that length.
template <class Total>
KWINLINE inline void AddRow(Total* totals, const std::uint16_t* sums, const tBlocks& columns) {
    using tColumn = tTotals<std::uint16_t>::tFour;
    using tSum = typename tTotals<Total>::tFour;
    const std::ptrdiff_t count = columns.count;
    const std::int64_t step = columns.step;
    const auto add = [=](auto pixels) KWINLINE {
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            const std::uint16_t* from = sums + (i * step >> 14) * 4;
            tSum block;
            std::memcpy(&block, totals + i * 4, sizeof block);
            for (std::ptrdiff_t x = 0; x < pixels; ++x) {
                tColumn column;
                std::memcpy(&column, from + x * 4, sizeof column);
                block += __builtin_convertvector(column, tSum);
            }
            std::memcpy(totals + i * 4, &block, sizeof block);
        }
    };
    switch (columns.Pixels()) {
    case 1:
        return add(std::integral_constant<std::ptrdiff_t, 1>());
    case 2:
        return add(std::integral_constant<std::ptrdiff_t, 2>());
    case 3:
        return add(std::integral_constant<std::ptrdiff_t, 3>());
    default:
        return add(columns.Pixels());
    }
}
template <class Total>
constexpr CKwBodies kAddRow(KwClones<AddRow<Total>>);
KWINLINE inline void AddFloats(double* totals, const tAnyFloat* row, const tBlocks& columns) {
    const std::ptrdiff_t pixels = columns.Pixels(), count = columns.count;
    const std::int64_t step = columns.step;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const tAnyFloat* from = row + (i * step >> 14) * 4;
        double* to = totals + i * 4;
        for (std::ptrdiff_t x = 0; x < pixels; ++x)
            for (int c = 0; c < 4; ++c) to[c] += from[x * 4 + c];
    }
}
constexpr CKwBodies kAddFloats(KwClones<AddFloats>);

/// Totals over their blocks' pixels. Half a unit more than a total keeps its product with the rounded inverse away from
/// both neighbours of a quotient: it is half a pixel's part away from the next whole number, 1/514 at least where the
/// two roundings are those of floats, together 255 / 2^23 at most.
template <class Total>
KWINLINE inline void Means8(std::uint8_t* out, const Total* totals, std::ptrdiff_t count, std::ptrdiff_t pixels) {
    using tReal = std::conditional_t<sizeof(Total) == 2, float, double>;
    const tReal inverse = tReal{1} / static_cast<tReal>(pixels);
    for (std::ptrdiff_t i = 0; i < count; ++i)
        if constexpr (sizeof(Total) == 8)
            out[i] = static_cast<std::uint8_t>(totals[i] / static_cast<std::uint64_t>(pixels));
        else
            out[i] = static_cast<std::uint8_t>(static_cast<std::int32_t>(
                (static_cast<tReal>(static_cast<std::int32_t>(totals[i])) + tReal{0.5}) * inverse));
}
template <class Total>
constexpr CKwBodies kMeans8(KwClones<Means8<Total>>);

/// The means of one row of blocks, for each pixel form; this one is the definition for bytes.
class CPlainMeans8 {
  public:
    explicit CPlainMeans8(const tBlocks& columns) : m_columns(columns) {}

    void Row(const tRows& source, const tBlocks& rows, LONG i, std::byte* out) const {
        for (LONG at = 0; at < m_columns.count * 4; ++at) {
            std::int64_t sum = 0;
            for (std::ptrdiff_t y = rows.Begin(i); y < rows.Begin(i) + rows.Pixels(); ++y)
                for (std::ptrdiff_t x = m_columns.Begin(at / 4); x < m_columns.Begin(at / 4) + m_columns.Pixels(); ++x)
                    sum += source.Row<std::uint8_t>(static_cast<LONG>(y))[x * 4 + at % 4];
            out[at] = static_cast<std::byte>(sum / (std::int64_t{m_columns.Pixels()} * rows.Pixels()));
        }
    }

  private:
    tBlocks m_columns;
};

template <class Total>
class CMeans8 {
  public:
    explicit CMeans8(const tBlocks& columns)
        : m_columns(columns), m_sums(static_cast<std::size_t>(columns.size) * 4),
          m_totals(static_cast<std::size_t>(columns.count) * 4) {}

    void Row(const tRows& source, const tBlocks& rows, LONG i, std::byte* out) {
        const LONG begin = static_cast<LONG>(rows.Begin(i)), count = static_cast<LONG>(rows.Pixels());
        std::fill(m_totals.begin(), m_totals.end(), 0);
        for (std::ptrdiff_t y = 0; y < count; y += kRowsAtOnce) {
            kSumColumns(m_sums.data(), source.Row<std::uint8_t>(static_cast<LONG>(begin + y)), source.stride,
                        std::min(kRowsAtOnce, count - y), std::ssize(m_sums));
            kAddRow<Total>(m_totals.data(), m_sums.data(), m_columns);
        }
        kMeans8<Total>(reinterpret_cast<std::uint8_t*>(out), m_totals.data(), std::ssize(m_totals),
                       std::ptrdiff_t{count} * m_columns.Pixels());
    }

  private:
    tBlocks m_columns;
    std::vector<std::uint16_t> m_sums;
    std::vector<Total> m_totals;
};

class CMeansFloat {
  public:
    explicit CMeansFloat(const tBlocks& columns)
        : m_columns(columns), m_totals(static_cast<std::size_t>(columns.count) * 4) {}

    void Row(const tRows& source, const tBlocks& rows, LONG i, std::byte* out) {
        const LONG begin = static_cast<LONG>(rows.Begin(i)), count = static_cast<LONG>(rows.Pixels());
        std::fill(m_totals.begin(), m_totals.end(), 0.0);
        for (LONG y = 0; y < count; ++y) kAddFloats(m_totals.data(), KwFloatRow(source, begin + y), m_columns);
        const double inverse = 1.0 / static_cast<double>(std::int64_t{count} * m_columns.Pixels());
        tAnyFloat* to = reinterpret_cast<tAnyFloat*>(out);
        for (std::size_t k = 0; k < m_totals.size(); ++k) to[k] = static_cast<float>(m_totals[k] * inverse);
    }

  private:
    tBlocks m_columns;
    std::vector<double> m_totals;
};

/// Levels to doubles and back, as a fill does it.
constexpr auto kFilledLevels = [] {
    std::array<std::uint8_t, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = static_cast<std::uint8_t>(static_cast<double>(i) * 0.00392156862745098 * 255.0);
    return table;
}();
constexpr CKwLut kFilled(kFilledLevels.data());

/// A row of cells from one pixel each. Cells but the last, which may be wider, are written too wide, and mended by the
/// next one, so that their width does not vary. `below`: bytes to the next row of cells, asked for meanwhile.
void SpreadPlain8(tAnyWord* out, const tAnyWord* cells, const tBlocks& columns, std::ptrdiff_t) {
    for (LONG i = 0; i < columns.count; ++i)
        for (std::ptrdiff_t x = columns.Begin(i); x < columns.CellEnd(i); ++x) out[x] = cells[i];
}
KWINLINE inline void SpreadRow8(tAnyWord* out, const tAnyWord* cells, const tBlocks& columns, std::ptrdiff_t below) {
    const std::ptrdiff_t count = columns.count, size = columns.size, pixels = columns.Pixels();
    const std::int64_t step = columns.step;
    std::ptrdiff_t i = 0;
    const auto spread = [&](auto group) KWINLINE {
        constexpr std::ptrdiff_t kGroup = group;
        const std::ptrdiff_t written = (pixels / kGroup + 1) * kGroup;
        for (; i + 1 < count; ++i) {
            const auto begin = static_cast<std::ptrdiff_t>(i * step >> 14);
            if (size - begin < written) break;
            tAnyWord* const to = out + begin;
            const std::uint32_t value = cells[i];
            for (std::ptrdiff_t x = 0; x < written; x += kGroup) {
                KwFetch<eFetch::toWrite>(to + x, below);
                for (std::ptrdiff_t k = 0; k < kGroup; ++k) to[x + k] = value;
            }
        }
    };
    if (pixels < 4)
        spread(std::integral_constant<std::ptrdiff_t, 4>());
    else
        spread(std::integral_constant<std::ptrdiff_t, 16>());
    for (; i < count; ++i) {
        const std::uint32_t value = cells[i];
        for (auto x = static_cast<std::ptrdiff_t>(i * step >> 14); x < columns.CellEnd(static_cast<LONG>(i)); ++x)
            out[x] = value;
    }
}
constexpr CKwBodies kSpreadRow8(SpreadPlain8, KwClones<SpreadRow8>);
void SpreadRowFloat(std::byte* out, const std::byte* cells, const tBlocks& columns) {
    for (LONG i = 0; i < columns.count; ++i)
        for (std::ptrdiff_t x = columns.Begin(i); x < columns.CellEnd(i); ++x)
            std::memcpy(out + x * 16, cells + std::ptrdiff_t{i} * 16, 16);
}

template <class Means>
void Shrink(const tRows& d, const tRows& s, const tBlocks& columns, const tBlocks& rows) {
    Means means(columns);
    for (LONG y = 0; y < d.height; ++y) means.Row(s, rows, y, d.Row<std::byte>(y));
}

template <class Means>
void Pixelate(const tRows& d, const tRows& s, const tBlocks& columns, const tBlocks& rows) {
    constexpr bool kFloat = std::is_same_v<Means, CMeansFloat>;
    constexpr std::size_t kPixel = kFloat ? 16 : 4;
    Means means(columns);
    std::vector<std::byte> cells(static_cast<std::size_t>(columns.count) * kPixel);
    for (LONG i = 0; i < rows.count; ++i) {
        means.Row(s, rows, i, cells.data());
        const LONG begin = static_cast<LONG>(rows.Begin(i));
        std::byte* first = d.Row<std::byte>(begin);
        if constexpr (kFloat) {
            SpreadRowFloat(first, cells.data(), columns);
        } else {
            std::uint8_t* levels = reinterpret_cast<std::uint8_t*>(cells.data());
            KwLutRow(levels, levels, columns.count, kFilled, kMapAll, false);
            kSpreadRow8(reinterpret_cast<tAnyWord*>(first), reinterpret_cast<tAnyWord*>(levels), columns,
                        rows.Pixels() * d.stride);
        }
        for (LONG y = begin + 1; y < rows.CellEnd(i); ++y)
            std::memcpy(d.Row<std::byte>(y), first, static_cast<std::size_t>(d.width) * kPixel);
    }
}

/// Calls `body` with a null pointer of the class that makes the means.
template <class Body>
void WithMeans(LONG bytesPerPixel, const tBlocks& columns, const tBlocks& rows, Body&& body) {
    const std::int64_t pixels = std::int64_t{columns.Pixels()} * rows.Pixels();
    if (bytesPerPixel != 4)
        body(static_cast<CMeansFloat*>(nullptr));
    else if (KwLevel() == eKwLevel::Plain)
        body(static_cast<CPlainMeans8*>(nullptr));
    else if (pixels <= kTinyBlock)
        body(static_cast<CMeans8<std::uint16_t>*>(nullptr));
    else if (pixels < kSmallBlock)
        body(static_cast<CMeans8<std::uint32_t>*>(nullptr));
    else
        body(static_cast<CMeans8<std::uint64_t>*>(nullptr));
}

/// How many cells stand on a side of `size` pixels.
LONG Cells(double kept, LONG size) {
    return kept > 0.999 ? size : KwTrunc(kept * 0.5 * size + 1.0);
}

} // namespace

HRESULT KwDibAverageShrink(const tView& destination, const tView& source, LONG bytesPerPixel) try {
    tRows d, s;
    if (const HRESULT status = KwDibResolveClip(destination, bytesPerPixel, d); FAILED(status)) return status;
    if (const HRESULT status = KwDibResolveClip(source, bytesPerPixel, s); FAILED(status)) return status;
    if (d.width > s.width || d.height > s.height) return E_INVALIDARG;
    if (d.width == 0) return S_OK;
    const tBlocks columns(s.width, d.width), rows(s.height, d.height);
    WithMeans(bytesPerPixel, columns, rows, [&]<class Means>(Means*) { Shrink<Means>(d, s, columns, rows); });
    return S_OK;
} catch (const std::exception&) {
    return E_OUTOFMEMORY;
}

HRESULT KwDibPixelate(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontal,
                      double vertical) try {
    tRows d, s;
    if (const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s); FAILED(status))
        return status;
    if (d.width == 0) return S_OK;
    const LONG across = Cells(horizontal, d.width), down = Cells(vertical, d.height);
    if (across < 1 || down < 1) {
        const HRESULT status = KwDibCopy(destination, source, bytesPerPixel);
        return FAILED(status) ? status : E_INVALIDARG;
    }
    const tBlocks columns(d.width, across), rows(d.height, down);
    if (bytesPerPixel == 4 && across == d.width && down == d.height)
        for (LONG y = 0; y < d.height; ++y)
            KwLutRow(d.Row<std::uint8_t>(y), s.Row<std::uint8_t>(y), d.width, kFilled, kMapAll, false);
    else
        WithMeans(bytesPerPixel, columns, rows, [&]<class Means>(Means*) { Pixelate<Means>(d, s, columns, rows); });
    return S_OK;
} catch (const std::exception&) {
    KwDibCopy(destination, source, bytesPerPixel);
    return E_OUTOFMEMORY;
}
