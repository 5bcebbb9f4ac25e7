#include "kernels/gaussian.h"

#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <vector>

#include "base/arith.h"
#include "base/bodies.h"
#include "kernels/copy.h"

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {

/// What is smaller is set to 0, against denormal numbers.
constexpr double kTiny = 0.00000000000000001;

/// Rounds to nearest, ties to even, by the sum with 2^52 + 2^31, whose low word is then the value's with its top bit
/// turned; not-a-number and infinity give 0.
KWINLINE inline std::uint8_t ToLevel(double value) {
    const auto low = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(value + 4503601774854144.0));
    const auto level = static_cast<std::int32_t>(low ^ 0x80000000u);
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}

/// The definition for one line: both walks from end to end, and their sum.
std::vector<double> PlainLine(const std::vector<double>& x, const tGaussianCoefficients& c) {
    const auto count = std::ssize(x);
    std::vector<double> ahead(x.size()), back(x.size());
    const auto walk = [&](std::vector<double>& y, const double* taps, const double* ends, std::ptrdiff_t from,
                          std::ptrdiff_t step) {
        const auto at = [=](std::ptrdiff_t i) { return static_cast<std::size_t>(from + i * step); };
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            double v = 0.0;
            for (std::ptrdiff_t k = 0; k < 5; ++k)
                v += k < i ? taps[k] * x[at(i - k)] - c.d[k] * y[at(i - k)] : (taps[k] - ends[k]) * x[at(0)];
            y[at(i)] = std::fabs(v) < kTiny ? 0.0 : v;
        }
    };
    walk(ahead, c.n, c.bn, 0, 1);
    walk(back, c.m, c.bm, count - 1, -1);
    for (std::size_t i = 0; i < x.size(); ++i) ahead[i] += back[i];
    return ahead;
}

/// The definition: line by line, the first pass kept as floats. `offset` and `channels`: which of a pixel's.
void BlurPlain(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset, LONG channels) {
    const LONG width = source.width, height = source.height;
    for (LONG c = offset; c < offset + channels; ++c) {
        std::vector<std::vector<double>> columns(static_cast<std::size_t>(width));
        for (LONG y = 0; y < height; ++y) {
            std::vector<double> row;
            for (LONG x = 0; x < width; ++x) row.push_back(source.Row<std::uint8_t>(y)[std::ptrdiff_t{x} * 4 + c]);
            const std::vector<double> line = PlainLine(row, across);
            for (std::size_t x = 0; x < line.size(); ++x)
                columns[x].push_back(static_cast<double>(static_cast<float>(line[x])));
        }
        for (LONG x = 0; x < width; ++x) {
            const std::vector<double> line = PlainLine(columns[static_cast<std::size_t>(x)], down);
            for (LONG y = 0; y < height; ++y)
                destination.Row<std::uint8_t>(y)[std::ptrdiff_t{x} * 4 + c] =
                    ToLevel(line[static_cast<std::size_t>(y)]);
        }
    }
}

/// Lines filtered side by side. Each line's recursion is a chain of some thirty cycles a position, which the others
/// fill; the scratch of one block of lines stays in the second cache at usual picture sizes.
constexpr std::ptrdiff_t kLanes = 32;
/// Positions a line looks back, rounded up to a power of two.
constexpr std::ptrdiff_t kRing = 8;

struct tTaps {
    double x[5], y[5], edge[5]; ///< edge: for positions off the line, in place of x and y
};

template <bool Causal>
tTaps TapsOf(const tGaussianCoefficients& c) {
    tTaps taps;
    for (int k = 0; k < 5; ++k) {
        taps.x[k] = Causal ? c.n[k] : c.m[k];
        taps.y[k] = c.d[k];
        taps.edge[k] = taps.x[k] - (Causal ? c.bn[k] : c.bm[k]);
    }
    return taps;
}

/// One direction's walk over `kLanes` lines: what it remembers of the last positions, by step modulo `kRing`.
struct tWalk {
    alignas(64) double x[kRing][kLanes];
    alignas(64) double y[kRing][kLanes];
};

/// Takes in the values of step `i`.
template <class Value>
KWINLINE inline void Take(tWalk& walk, std::ptrdiff_t i, const Value* in) {
    double* __restrict x = walk.x[i % kRing];
    for (std::ptrdiff_t l = 0; l < kLanes; ++l) x[l] = static_cast<double>(in[l]);
}

/// Step `i` of a walk over values taken in before; `end` holds those of step 0. Returns the lines' results. The order
/// of the additions is that of the taps and shows in the result; the taps that are 0 by construction (n4, d0, m0) are
/// left out.
template <bool Causal, class Value>
KWINLINE inline const double* Step(tWalk& walk, std::ptrdiff_t i, const Value* end, const tTaps& taps) {
    double* __restrict y = walk.y[i % kRing];
    const double* x0 = walk.x[i % kRing];
    if (i >= 5) {
        const double* x1 = walk.x[(i - 1) % kRing];
        const double* x2 = walk.x[(i - 2) % kRing];
        const double* x3 = walk.x[(i - 3) % kRing];
        const double* x4 = walk.x[(i - 4) % kRing];
        const double* y1 = walk.y[(i - 1) % kRing];
        const double* y2 = walk.y[(i - 2) % kRing];
        const double* y3 = walk.y[(i - 3) % kRing];
        const double* y4 = walk.y[(i - 4) % kRing];
        const double a0 = taps.x[0], a1 = taps.x[1], a2 = taps.x[2], a3 = taps.x[3], a4 = taps.x[4];
        const double d1 = taps.y[1], d2 = taps.y[2], d3 = taps.y[3], d4 = taps.y[4];
        KWNODEPENDENCE
        for (std::ptrdiff_t l = 0; l < kLanes; ++l) {
            double v = a1 * x1[l] - d1 * y1[l];
            if constexpr (Causal) v = a0 * x0[l] + v;
            v += a2 * x2[l] - d2 * y2[l];
            v += a3 * x3[l] - d3 * y3[l];
            if constexpr (Causal)
                v -= d4 * y4[l];
            else
                v += a4 * x4[l] - d4 * y4[l];
            y[l] = std::fabs(v) < kTiny ? 0.0 : v;
        }
    } else {
        for (std::ptrdiff_t l = 0; l < kLanes; ++l) {
            double v = i > 0 ? taps.x[0] * x0[l] : 0.0;
            for (std::ptrdiff_t k = 1; k < i; ++k) v += taps.x[k] * walk.x[i - k][l] - taps.y[k] * walk.y[i - k][l];
            for (std::ptrdiff_t k = i; k < 5; ++k) v += taps.edge[k] * static_cast<double>(end[l]);
            y[l] = std::fabs(v) < kTiny ? 0.0 : v;
        }
    }
    return y;
}

/// Filters `kLanes` lines of `count` positions; `x` holds position by position all lines' values. Both walks go at
/// once, so that one fills the other's waits: the first to come to a position leaves its result in `first` (`count` *
/// `kLanes`), the second gives the sum to `emit(position, sums)`.
template <class Value, class Emit>
KWINLINE inline void FilterLines(const Value* x, std::ptrdiff_t count, const tGaussianCoefficients& c, double* first,
                                 Emit emit) {
    const tTaps causal = TapsOf<true>(c), anticausal = TapsOf<false>(c);
    const Value* last = x + (count - 1) * kLanes;
    tWalk ahead, back;
    const auto meet = [=](std::ptrdiff_t position, const double* y, bool isFirst) KWINLINE {
        double* __restrict at = first + position * kLanes;
        if (isFirst) {
            for (std::ptrdiff_t l = 0; l < kLanes; ++l) at[l] = y[l];
        } else {
            alignas(64) double sums[kLanes];
            for (std::ptrdiff_t l = 0; l < kLanes; ++l) sums[l] = at[l] + y[l];
            emit(position, sums);
        }
    };
    // Values come in one step early: stores narrower than the loads that follow need time to land.
    Take(ahead, 0, x);
    Take(back, 0, last);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        const std::ptrdiff_t j = count - 1 - i;
        if (j > 0) {
            Take(ahead, i + 1, x + (i + 1) * kLanes);
            Take(back, i + 1, x + (j - 1) * kLanes);
        }
        meet(i, Step<true>(ahead, i, x, causal), i <= j);
        meet(j, Step<false>(back, i, last, anticausal), i < j);
    }
}

/// Row pass. `x`: per position, the lanes' bytes, `Channels` a row. `out`: the first of these rows in the first block
/// of the plane between the passes, which holds the blocks of `kLanes` columns one after the other, `blockSize` floats
/// each.
template <int Channels>
KWINLINE inline void FilterRows(const std::uint8_t* x, std::ptrdiff_t count, const tGaussianCoefficients& c,
                                double* first, float* out, std::ptrdiff_t blockSize) {
    FilterLines(x, count, c, first, [=](std::ptrdiff_t position, const double* y) KWINLINE {
        const std::ptrdiff_t column = position * Channels;
        float* __restrict to = out + column / kLanes * blockSize + column % kLanes;
        for (std::ptrdiff_t row = 0; row < kLanes / Channels; ++row)
            for (int channel = 0; channel < Channels; ++channel)
                to[row * kLanes + channel] = static_cast<float>(y[row * Channels + channel]);
    });
}

/// Column pass over one block. `lanes`: how many of its columns are the picture's. `step`: bytes between two columns
/// of the destination.
template <int Step>
KWINLINE inline void FilterColumns(const float* x, std::ptrdiff_t count, const tGaussianCoefficients& c, double* first,
                                   std::byte* destination, std::ptrdiff_t stride, std::ptrdiff_t lanes) {
    FilterLines(x, count, c, first, [=](std::ptrdiff_t position, const double* y) KWINLINE {
        std::uint8_t levels[kLanes];
        for (std::ptrdiff_t l = 0; l < kLanes; ++l) levels[l] = ToLevel(y[l]);
        std::byte* to = destination + position * stride;
        if (Step == 1 && lanes == kLanes)
            std::memcpy(to, levels, kLanes);
        else
            for (std::ptrdiff_t l = 0; l < lanes; ++l) to[l * Step] = static_cast<std::byte>(levels[l]);
    });
}

KWINLINE inline void PixelRows(const std::uint8_t* x, std::ptrdiff_t count, const tGaussianCoefficients& c,
                               double* first, float* out, std::ptrdiff_t blockSize) {
    FilterRows<4>(x, count, c, first, out, blockSize);
}
constexpr CKwBodies kPixelRows(KwClones<PixelRows>);
KWINLINE inline void ChannelRows(const std::uint8_t* x, std::ptrdiff_t count, const tGaussianCoefficients& c,
                                 double* first, float* out, std::ptrdiff_t blockSize) {
    FilterRows<1>(x, count, c, first, out, blockSize);
}
constexpr CKwBodies kChannelRows(KwClones<ChannelRows>);
KWINLINE inline void PixelColumns(const float* x, std::ptrdiff_t count, const tGaussianCoefficients& c, double* first,
                                  std::byte* destination, std::ptrdiff_t stride, std::ptrdiff_t lanes) {
    FilterColumns<1>(x, count, c, first, destination, stride, lanes);
}
constexpr CKwBodies kPixelColumns(KwClones<PixelColumns>);
KWINLINE inline void ChannelColumns(const float* x, std::ptrdiff_t count, const tGaussianCoefficients& c, double* first,
                                    std::byte* destination, std::ptrdiff_t stride, std::ptrdiff_t lanes) {
    FilterColumns<4>(x, count, c, first, destination, stride, lanes);
}
constexpr CKwBodies kChannelColumns(KwClones<ChannelColumns>);

/// Brings `rows` rows, up to `kLanes` / `Channels`, side by side; the last one stands in for those that are missing.
template <int Channels>
void Interleave(const tRows& source, LONG y, std::ptrdiff_t rows, LONG offset, std::uint8_t* out) {
    constexpr std::ptrdiff_t kRows = kLanes / Channels;
    const std::byte* from[kRows];
    for (std::ptrdiff_t r = 0; r < kRows; ++r)
        from[r] = source.Row<std::byte>(y + static_cast<LONG>(std::min(r, rows - 1))) + offset;
    for (std::ptrdiff_t x = 0; x < source.width; ++x)
        for (std::ptrdiff_t r = 0; r < kRows; ++r)
            std::memcpy(out + x * kLanes + r * Channels, from[r] + x * 4, Channels);
}

struct tFree {
    void operator()(void* memory) const { std::free(memory); }
};
template <class Value>
using tScratch = std::unique_ptr<Value[], tFree>;

/// Room for `count` values, or null. Large blocks ask for large pages: at 3840x2160 touching small ones for the first
/// time costs a quarter of the call.
template <class Value>
tScratch<Value> Scratch(std::size_t count) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    if (count > std::numeric_limits<std::size_t>::max() / 2 / sizeof(Value)) return nullptr;
    const std::size_t page = count * sizeof(Value) < 8 * kLargePage ? 64 : kLargePage;
    const std::size_t bytes = (count * sizeof(Value) + page - 1) / page * page;
    void* memory = std::aligned_alloc(page, bytes);
#ifdef __linux__
    if (memory && page == kLargePage) madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return tScratch<Value>(static_cast<Value*>(memory));
}

template <int Channels>
void BlurLanes(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset) {
    constexpr std::ptrdiff_t kRows = kLanes / Channels;
    const std::size_t width = static_cast<std::size_t>(source.width), height = static_cast<std::size_t>(source.height);
    const std::size_t blocks = (width * Channels + kLanes - 1) / kLanes;
    const std::size_t blockSize = (height + kRows - 1) / kRows * kLanes * kRows;
    if (blockSize > std::numeric_limits<std::size_t>::max() / blocks) return;
    const auto plane = Scratch<float>(blocks * blockSize);
    const auto first = Scratch<double>(std::max(width, height) * kLanes);
    const auto lines = Scratch<std::uint8_t>(width * kLanes);
    if (!plane || !first || !lines) return;
    // Columns of the last block that the picture does not have.
    for (std::size_t y = 0; y < blockSize / kLanes; ++y)
        for (std::size_t l = width * Channels - (blocks - 1) * kLanes; l < kLanes; ++l)
            plane[(blocks - 1) * blockSize + y * kLanes + l] = 0.0f;

    for (LONG y = 0; y < source.height;) {
        const std::ptrdiff_t rows = std::min<std::ptrdiff_t>(kRows, source.height - y);
        Interleave<Channels>(source, y, rows, offset, lines.get());
        (Channels == 4 ? kPixelRows : kChannelRows)(lines.get(), source.width, across, first.get(),
                                                    plane.get() + std::ptrdiff_t{y} * kLanes, blockSize);
        y += static_cast<LONG>(rows);
    }
    for (std::size_t block = 0; block < blocks; ++block) {
        const std::size_t column = block * kLanes;
        const std::size_t lanes = std::min<std::size_t>(kLanes, width * Channels - column);
        (Channels == 4 ? kPixelColumns : kChannelColumns)(
            plane.get() + block * blockSize, source.height, down, first.get(),
            destination.first + offset + column * (4 / Channels), destination.stride, lanes);
    }
}

void BlurFast(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
              const tGaussianCoefficients& down, LONG offset, LONG channels) {
    (channels == 4 ? BlurLanes<4> : BlurLanes<1>)(destination, source, across, down, offset);
}
constexpr CKwBodies kBlur(BlurPlain, tKwBody{eKwLevel::Base, BlurFast});

HRESULT Blur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
             double verticalRadius, LONG offset, LONG channels) try {
    tRows d, s;
    const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s);
    if (SUCCEEDED(status) && d.width > 0 && bytesPerPixel == 4)
        kBlur(d, s, KwGaussianCoefficients(KwGaussianSigma(horizontalRadius)),
              KwGaussianCoefficients(KwGaussianSigma(verticalRadius)), offset, channels);
    return status;
} catch (const std::exception&) { // no memory for the plain form
    return S_OK;
}

} // namespace

double KwGaussianSigma(double radius) {
    // One and the same not-a-number, since its bits would show in the rounding.
    if (std::isnan(radius)) return std::numeric_limits<double>::quiet_NaN();
    const double reach = std::fabs(radius) + 1.5;
    return std::sqrt(-(reach * reach) / (2.0 * std::log(0.00392156862745098)));
}

tGaussianCoefficients KwGaussianCoefficients(double sigma) {
    const double a0 = 1.6803f, a1 = 3.735f, b0 = 1.783f, b1 = 1.723f;
    const double c0 = -0.6803f, c1 = -0.2598f, w0 = 0.6318f, w1 = 1.997f;
    const double k = 1.0 / (sigma * 2.50662827463);
    const double A0 = a0 * k, A1 = a1 * k, C0 = c0 * k, C1 = c1 * k;
    const double E0 = std::exp(-b0 / sigma), E1 = std::exp(-b1 / sigma);
    const double sinP = std::sin(w0 / sigma), cosP = std::cos(w0 / sigma);
    const double sinQ = std::sin(w1 / sigma), cosQ = std::cos(w1 / sigma);

    tGaussianCoefficients c{};
    c.n[0] = A0 + C0;
    c.n[1] = E0 * (A1 * sinP - (2.0 * C0 + A0) * cosP) + E1 * (C1 * sinQ - (2.0 * A0 + C0) * cosQ);
    c.n[2] = 2.0 * E0 * E1 * (c.n[0] * cosQ * cosP - A1 * sinP * cosQ - C1 * cosP * sinQ) + A0 * E1 * E1 + C0 * E0 * E0;
    c.n[3] = E0 * E1 * E1 * (A1 * sinP - A0 * cosP) + E0 * E0 * E1 * (C1 * sinQ - C0 * cosQ);
    c.d[1] = -2.0 * E1 * cosQ - 2.0 * E0 * cosP;
    c.d[2] = 4.0 * E0 * E1 * cosP * cosQ + E1 * E1 + E0 * E0;
    c.d[3] = -2.0 * E0 * E1 * E1 * cosP - 2.0 * E0 * E0 * E1 * cosQ;
    c.d[4] = E0 * E0 * E1 * E1;
    for (int i = 1; i < 5; ++i) c.m[i] = c.n[i] - c.d[i] * c.n[0];

    double sumN = 0.0, sumM = 0.0, sumD = 0.0;
    for (int i = 0; i < 5; ++i) {
        sumN += c.n[i];
        sumM += c.m[i];
        sumD += c.d[i];
    }
    sumD = 1.0 + sumD;
    const bool whole = std::fabs(sumD) <= kTiny;
    const double ratioN = whole ? 1.0 : sumN / sumD;
    const double ratioM = whole ? 1.0 : sumM / sumD;
    for (int i = 0; i < 5; ++i) {
        c.bn[i] = ratioN * c.d[i];
        c.bm[i] = ratioM * c.d[i];
    }
    return c;
}

HRESULT KwDibGaussianBlur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
                          double verticalRadius) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, 0, 4);
}

HRESULT KwDibGaussianBlurChannel(const tView& destination, const tView& source, LONG bytesPerPixel,
                                 double horizontalRadius, double verticalRadius, LONG channel) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, KwDibChannelOffset(channel, 4),
                1);
}
