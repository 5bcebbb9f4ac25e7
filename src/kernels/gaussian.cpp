#include "kernels/gaussian.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <limits>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "base/arith.h"
#include "base/bodies.h"
#include "base/fits.h"
#include "base/functions.h"
#include "kernels/copy.h"
#include "kernels/ranges.h"
#include "kernels/unaligned.h"

namespace {

/// What is smaller is set to 0, against denormal numbers.
constexpr double kTiny = 0.00000000000000001;

/// 2^52 + 2^31. A sum with it is rounded to nearest, ties to even; its low word is the value's with its top bit turned,
/// that of not-a-number and infinity the one of 0.
constexpr double kToLevel = 4503601774854144.0;

/// The level of such a low word.
KWINLINE inline std::uint8_t Limited(std::int32_t low) {
    const std::int32_t level = low ^ INT32_MIN;
    return static_cast<std::uint8_t>(level < 0 ? 0 : level > 255 ? 255 : level);
}
KWINLINE inline std::uint8_t ToLevel(double value) {
    return Limited(static_cast<std::int32_t>(std::bit_cast<std::uint64_t>(value + kToLevel)));
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
               const tGaussianCoefficients& down, LONG offset, LONG channels, CKwScratch&) {
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

/// Lines filtered side by side, as vectors. Each line's recursion is a chain of some thirty cycles a position, which
/// the others fill; what all of them remember fits in the registers of AVX-512.
constexpr std::ptrdiff_t kLanes = 32;

/// Vectors for the registers of SSE2, AVX and AVX-512; two at a time where numbers become wider or narrower, which
/// compilers do best to a whole register.
struct tTwo {
    static constexpr int kWidth = 2;
    using tReals [[gnu::vector_size(16)]] = double;
    using tLongs [[gnu::vector_size(16)]] = std::int64_t;
    using tFloats [[gnu::vector_size(8)]] = float;
    using tRealPair [[gnu::vector_size(32)]] = double;
    using tLongPair [[gnu::vector_size(32)]] = std::int64_t;
    using tFloatPair [[gnu::vector_size(16)]] = float;
    using tWholePair [[gnu::vector_size(16)]] = std::int32_t;
};
struct tFour {
    static constexpr int kWidth = 4;
    using tReals [[gnu::vector_size(32)]] = double;
    using tLongs [[gnu::vector_size(32)]] = std::int64_t;
    using tFloats [[gnu::vector_size(16)]] = float;
    using tRealPair [[gnu::vector_size(64)]] = double;
    using tLongPair [[gnu::vector_size(64)]] = std::int64_t;
    using tFloatPair [[gnu::vector_size(32)]] = float;
    using tWholePair [[gnu::vector_size(32)]] = std::int32_t;
};
struct tEight {
    static constexpr int kWidth = 8;
    using tReals [[gnu::vector_size(64)]] = double;
    using tLongs [[gnu::vector_size(64)]] = std::int64_t;
    using tFloats [[gnu::vector_size(32)]] = float;
    using tRealPair [[gnu::vector_size(128)]] = double;
    using tLongPair [[gnu::vector_size(128)]] = std::int64_t;
    using tFloatPair [[gnu::vector_size(64)]] = float;
    using tWholePair [[gnu::vector_size(64)]] = std::int32_t;
    using tBytePair [[gnu::vector_size(16)]] = std::uint8_t;
};

template <class Vector>
KWINLINE inline typename Vector::tReals WithoutTiny(const typename Vector::tReals& v) {
    using tReals = typename Vector::tReals;
    const tReals size = reinterpret_cast<tReals>(reinterpret_cast<typename Vector::tLongs>(v) & INT64_MAX);
    return size < kTiny ? tReals{} : v;
}

template <class Vector, class Value>
KWINLINE inline Vector Load(const Value* from) {
    Vector values;
    std::memcpy(&values, from, sizeof values);
    return values;
}
template <class Vector, class Value>
KWINLINE inline void Store(Value* to, const Vector& values) {
    std::memcpy(to, &values, sizeof values);
}

/// Calls `body` with each of the constants 0 to `kCount` - 1 until it returns false; returns whether it never did.
template <int kCount, class Body>
KWINLINE inline bool Unrolled(Body body) {
    return [&]<int... k>(std::integer_sequence<int, k...>) KWINLINE {
        return (body(std::integral_constant<int, k>{}) && ...);
    }
    (std::make_integer_sequence<int, kCount>{});
}

/// The taps of one direction. The anti-causal half knows only the values before its position, so that both look at
/// four values and four results.
struct tTaps {
    double x[4], y[4]; ///< y: of the results of the positions before
    double edge[5];    ///< for positions off the line, in place of x and y
};

template <bool Causal>
tTaps TapsOf(const tGaussianCoefficients& c) {
    tTaps taps;
    for (int k = 0; k < 4; ++k) {
        taps.x[k] = Causal ? c.n[k] : c.m[k + 1];
        taps.y[k] = c.d[k + 1];
    }
    for (int k = 0; k < 5; ++k) taps.edge[k] = Causal ? c.n[k] - c.bn[k] : c.m[k] - c.bm[k];
    return taps;
}

/// Walks along the lines of `kVectors` vectors of `count` positions, `step` values apart; `x` holds the first one's.
/// Gives each position's results to `emit(position, results)`, position counted along the walk. The order of the
/// additions is that of the taps and shows in the result; the taps that are 0 by construction (n4, d0, m0) are left
/// out.
template <bool Causal, class Vector, int kVectors, class Emit>
KWINLINE inline void Walk(const float* x, std::ptrdiff_t step, std::ptrdiff_t count, const tTaps& taps, Emit emit) {
    using tReals = typename Vector::tReals;
    using tAll = std::array<tReals, kVectors>;
    constexpr int kBehind = Causal ? 0 : 1; // how far behind its position the walk's newest value lies
    const auto load = [=](std::ptrdiff_t i) KWINLINE {
        tAll all;
        KWUNROLL
        for (int j = 0; j < kVectors; j += 2) {
            const auto floats = Load<typename Vector::tFloatPair>(x + i * step + j * Vector::kWidth);
            const auto reals = __builtin_convertvector(floats, typename Vector::tRealPair);
            std::memcpy(&all[j], &reals, sizeof reals);
        }
        return all;
    };
    tAll near[5], far[5];
    for (int i = 0; i < 5; ++i) {
        near[i] = load(std::min<std::ptrdiff_t>(i, count - 1));
        for (int j = 0; j < kVectors; ++j) {
            tReals v = Causal && i > 0 ? taps.x[0] * near[i][j] : tReals{};
            for (int k = 1; k < i; ++k) v += taps.x[k - kBehind] * near[i - k][j] - taps.y[k - 1] * far[i - k][j];
            for (int k = i; k < 5; ++k) v += taps.edge[k] * near[0][j];
            far[i][j] = WithoutTiny<Vector>(v);
        }
        if (i < count) emit(i, far[i]);
    }
    // By position modulo 4.
    tAll values[4] = {near[4], near[1], near[2], near[3]}, results[4] = {far[4], far[1], far[2], far[3]};
    const double a0 = taps.x[0], a1 = taps.x[1], a2 = taps.x[2], a3 = taps.x[3];
    const double d1 = taps.y[0], d2 = taps.y[1], d3 = taps.y[2], d4 = taps.y[3];
    std::ptrdiff_t i = 5;
    const auto go = [&](auto turn) KWINLINE {
        if (i >= count) return false;
        constexpr int at = decltype(turn)::value + 9;
        values[(at - kBehind) % 4] = load(i - kBehind);
        KWUNROLL
        for (int j = 0; j < kVectors; ++j) {
            const auto value = [&](int k) KWINLINE { return values[(at - kBehind - k) % 4][j]; };
            const auto result = [&](int k) KWINLINE { return results[(at - k) % 4][j]; };
            tReals v;
            if constexpr (Causal) {
                v = a1 * value(1) - d1 * result(1);
                v = a0 * value(0) + v;
                v += a2 * value(2) - d2 * result(2);
                v += a3 * value(3) - d3 * result(3);
                v -= d4 * result(4);
            } else {
                v = a0 * value(0) - d1 * result(1);
                v += a1 * value(1) - d2 * result(2);
                v += a2 * value(2) - d3 * result(3);
                v += a3 * value(3) - d4 * result(4);
            }
            results[at % 4][j] = WithoutTiny<Vector>(v);
        }
        emit(i++, results[at % 4]);
        return true;
    };
    while (Unrolled<4>(go)) {
    }
}

/// What a pass needs. `x` holds, position by position, the values of all `kLanes` lines.
struct tPass {
    const float* x;
    std::ptrdiff_t count;
    const tGaussianCoefficients& c;
    double* first; ///< room for `count` * `kLanes` results of the first walk
};

/// Gives the sums of both walks to `emit(position, lane, sum)`, `sum(j)` being those of vector j from `lane` on.
template <class Vector, int kVectors, class Emit>
KWINLINE inline void FilterLines(const tPass& pass, Emit emit) {
    using tReals = typename Vector::tReals;
    using tAll = std::array<tReals, kVectors>;
    const tTaps causal = TapsOf<true>(pass.c), anticausal = TapsOf<false>(pass.c);
    const std::ptrdiff_t last = pass.count - 1;
    constexpr std::ptrdiff_t kAhead = 16; // positions that come from memory meanwhile
    for (std::ptrdiff_t lane = 0; lane < kLanes; lane += Vector::kWidth * kVectors) {
        double* const first = pass.first + lane;
        Walk<true, Vector, kVectors>(pass.x + lane, kLanes, pass.count, causal,
                                     [=](std::ptrdiff_t i, const tAll& y) KWINLINE {
                                         const float* const soon = pass.x + std::min(i + kAhead, last) * kLanes + lane;
                                         __builtin_prefetch(soon);
                                         __builtin_prefetch(soon + 16);
                                         KWUNROLL
                                         for (int j = 0; j < kVectors; ++j)
                                             Store(first + i * kLanes + j * Vector::kWidth, y[j]);
                                     });
        Walk<false, Vector, kVectors>(
            pass.x + last * kLanes + lane, -kLanes, pass.count, anticausal,
            [=](std::ptrdiff_t i, const tAll& y) KWINLINE {
                const double* const at = first + (last - i) * kLanes;
                emit(last - i, lane, [&](int j) KWINLINE { return Load<tReals>(at + j * Vector::kWidth) + y[j]; });
            });
    }
}

/// One step of turning eight rows of eight into columns: pairs of rows `kStep` apart change places of parts.
template <int kStep>
KWINLINE inline void SwapParts(tEight::tFloats (&rows)[8]) {
    constexpr auto low = [](int e) { return e & kStep ? 8 + e - kStep : e; };
    constexpr auto high = [](int e) { return e & kStep ? 8 + e : e + kStep; };
    KWUNROLL
    for (int i = 0; i < 8; ++i) {
        if (i & kStep) continue;
        const tEight::tFloats a = rows[i], b = rows[i + kStep];
        rows[i] = __builtin_shufflevector(a, b, low(0), low(1), low(2), low(3), low(4), low(5), low(6), low(7));
        rows[i + kStep] =
            __builtin_shufflevector(a, b, high(0), high(1), high(2), high(3), high(4), high(5), high(6), high(7));
    }
}

/// Eight rows and columns of `from` as columns and rows of `to`; rows of both are `kLanes` apart.
KWINLINE inline void StoreTurned(float* to, const float* from) {
    tEight::tFloats rows[8];
    KWUNROLL
    for (int i = 0; i < 8; ++i) rows[i] = Load<tEight::tFloats>(from + i * kLanes);
    SwapParts<1>(rows);
    SwapParts<2>(rows);
    SwapParts<4>(rows);
    KWUNROLL
    for (int i = 0; i < 8; ++i) Store(to + i * kLanes, rows[i]);
}

/// Row pass, `Channels` lines a row. `out`: the first of these rows in the first block of the plane between the passes,
/// which holds the blocks of `kLanes` columns one after the other, `blockSize` floats each.
template <int Channels, class Vector, int kVectors>
KWINLINE inline void FilterRows(const tPass& pass, float* out, std::ptrdiff_t blockSize) {
    alignas(64) float tile[8][kLanes]{}; // of one channel, to be turned: that of eight positions
    float(*const turned)[kLanes] = tile;
    FilterLines<Vector, kVectors>(pass, [=](std::ptrdiff_t position, std::ptrdiff_t lane, auto sum) KWINLINE {
        const std::ptrdiff_t column = position * Channels;
        float* to = out + column / kLanes * blockSize + column % kLanes + lane / Channels * kLanes;
        // The block that comes next, row by row while this one is filled.
        const float* const next =
            out + std::max<std::ptrdiff_t>(column / kLanes - 1, 0) * blockSize + column % kLanes / Channels * kLanes;
        __builtin_prefetch(next, 1);
        __builtin_prefetch(next + 16, 1);
        KWUNROLL
        for (int j = 0; j < kVectors; ++j) {
            const auto floats = __builtin_convertvector(sum(j), typename Vector::tFloats);
            const int at = j * Vector::kWidth;
            if constexpr (Channels == 4 && Vector::kWidth == 8) {
                Store(to + at / 4 * kLanes, __builtin_shufflevector(floats, floats, 0, 1, 2, 3));
                Store(to + at / 4 * kLanes + kLanes, __builtin_shufflevector(floats, floats, 4, 5, 6, 7));
            } else if constexpr (Channels == 4) {
                Store(to + at / 4 * kLanes + at % 4, floats);
            } else if constexpr (Vector::kWidth > 2) {
                Store(turned[position % 8] + lane + at, floats);
                constexpr int kBefore = 8 - Vector::kWidth;
                if (position % 8 == 0 && at % 8 == kBefore)
                    StoreTurned(to + (at - kBefore) * kLanes, turned[0] + lane + at - kBefore);
            } else {
                for (int l = 0; l < Vector::kWidth; ++l) to[(at + l) * kLanes] = floats[l];
            }
        }
    });
}

/// Column pass over one block. `lanes`: how many of its columns are the picture's. `Step`: bytes between two columns
/// of the destination, whose channel stands at bit `shift` of its pixels.
template <int Step, class Vector, int kVectors>
KWINLINE inline void FilterColumns(const tPass& pass, std::byte* destination, std::ptrdiff_t stride,
                                   std::ptrdiff_t lanes, [[maybe_unused]] LONG shift) {
    constexpr std::ptrdiff_t kCount = Vector::kWidth * kVectors;
    FilterLines<Vector, kVectors>(pass, [=](std::ptrdiff_t position, std::ptrdiff_t lane, auto sum) KWINLINE {
        std::byte* const to = destination + position * stride + lane * Step;
        constexpr std::ptrdiff_t kSoon = 12; // rows that come from memory meanwhile
        for (std::ptrdiff_t line = 0; line < kCount * Step; line += 64)
            __builtin_prefetch(to - std::min(position, kSoon) * stride + line, 1);
        alignas(64) std::int32_t words[kCount];
        std::uint8_t levels[kCount];
        KWUNROLL
        for (int j = 0; j < kVectors; j += 2) {
            using tWholePair = typename Vector::tWholePair;
            const typename Vector::tReals sums[] = {sum(j) + kToLevel, sum(j + 1) + kToLevel};
            auto low = __builtin_convertvector(Load<typename Vector::tLongPair>(sums), tWholePair);
            if constexpr (Vector::kWidth < 8) {
                Store(words + j * Vector::kWidth, low);
            } else { // bytes at once, which compilers do well to whole registers of AVX-512 alone
                low ^= INT32_MIN;
                low = low < 0 ? tWholePair{} : low > 255 ? tWholePair{} + 255 : low;
                Store(Step == 1 && lanes == kLanes ? reinterpret_cast<std::uint8_t*>(to) + j * Vector::kWidth
                                                   : levels + j * Vector::kWidth,
                      __builtin_convertvector(low, tEight::tBytePair));
            }
        }
        if constexpr (Vector::kWidth < 8)
            for (std::ptrdiff_t l = 0; l < kCount; ++l) levels[l] = Limited(words[l]);
        if (lanes < kLanes) {
            for (std::ptrdiff_t l = 0; l < std::min(kCount, lanes - lane); ++l)
                to[l * Step] = static_cast<std::byte>(levels[l]);
        } else if constexpr (Step == 1) {
            if constexpr (Vector::kWidth < 8) std::memcpy(to, levels, kCount);
        } else {
            tAnyWord* const pixels = reinterpret_cast<tAnyWord*>(to - shift / 8);
            KWNODEPENDENCE
            for (std::ptrdiff_t l = 0; l < kCount; ++l)
                pixels[l] = (pixels[l] & ~(255u << shift)) | std::uint32_t{levels[l]} << shift;
        }
    });
}

/// Brings `rows` rows, up to `kLanes` / `Channels`, side by side; the last one stands in for those that are missing.
/// One channel is turned eight pixels by eight rows at a time, where registers hold as much.
template <int Channels, class Vector>
KWINLINE inline void Interleave(const tRows& source, LONG y, std::ptrdiff_t rows, LONG offset, float* out) {
    constexpr std::ptrdiff_t kRows = kLanes / Channels, kPart = 32;
    constexpr bool kTurns = Channels == 1 && Vector::kWidth > 2;
    const std::byte* from[kRows];
    for (std::ptrdiff_t r = 0; r < kRows; ++r)
        from[r] = source.Row<std::byte>(y + static_cast<LONG>(std::min(r, rows - 1))) + offset * !kTurns;
    for (std::ptrdiff_t x = 0; x < source.width; x += kPart) {
        const std::ptrdiff_t count = std::min(kPart, source.width - x);
        if (kTurns && count == kPart) {
            float levels[kRows][kPart];
            for (std::ptrdiff_t r = 0; r < kRows; ++r) {
                const tAnyWord* const pixels = reinterpret_cast<const tAnyWord*>(from[r]) + x;
                for (std::ptrdiff_t i = 0; i < kPart; ++i)
                    levels[r][i] = static_cast<float>(static_cast<std::int32_t>(pixels[i] >> offset * 8 & 255));
            }
            for (std::ptrdiff_t i = 0; i < kPart; i += 8)
                for (std::ptrdiff_t r = 0; r < kRows; r += 8) StoreTurned(out + (x + i) * kLanes + r, &levels[r][i]);
            continue;
        }
        std::uint8_t levels[kPart * kLanes];
        for (std::ptrdiff_t i = 0; i < count; ++i)
            for (std::ptrdiff_t r = 0; r < kRows; ++r)
                std::memcpy(levels + i * kLanes + r * Channels, from[r] + offset * kTurns + (x + i) * 4, Channels);
        for (std::ptrdiff_t i = 0; i < count * kLanes; ++i) out[x * kLanes + i] = levels[i];
    }
}

/// Values of a plane that is kept for the next picture: 64 MB.
constexpr std::size_t kMostKept = std::size_t{16} << 20;

/// Room for `count` values, at the beginning of a line of the processor's cache.
template <class Value>
std::span<Value> Room(CKwScratch& scratch, std::size_t count) {
    void* const memory = KwFits(count, sizeof(Value)) ? scratch.Room(count * sizeof(Value)) : nullptr;
    return {static_cast<Value*>(memory), memory ? count : 0};
}

/// A picture on its way through both passes.
struct tJob {
    tRows destination, source;
    const tGaussianCoefficients &across, &down;
    LONG offset;
    float* plane;
    std::size_t blocks, blockSize;
};

/// The rows `from` to `to`, counted in groups of `kLanes` lines.
template <int Channels, class Vector, int kVectors>
KWINLINE inline void RowGroups(const tJob& job, LONG from, LONG to, double* first, float* lines) {
    constexpr LONG kRows = kLanes / Channels;
    for (LONG y = from * kRows; y < job.source.height && y < to * kRows; y += kRows) {
        Interleave<Channels, Vector>(job.source, y, std::min(kRows, job.source.height - y), job.offset, lines);
        FilterRows<Channels, Vector, kVectors>({lines, job.source.width, job.across, first},
                                               job.plane + std::ptrdiff_t{y} * kLanes,
                                               static_cast<std::ptrdiff_t>(job.blockSize));
    }
}

/// The blocks `from` to `to` of the plane.
template <int Channels, class Vector, int kVectors>
KWINLINE inline void ColumnBlocks(const tJob& job, LONG from, LONG to, double* first, float*) {
    const std::size_t columns = static_cast<std::size_t>(job.source.width) * Channels;
    for (auto block = static_cast<std::size_t>(from); block < static_cast<std::size_t>(to); ++block) {
        const std::size_t column = block * kLanes;
        FilterColumns<4 / Channels, Vector, kVectors>(
            {job.plane + block * job.blockSize, job.source.height, job.down, first},
            job.destination.first + job.offset + column * (4 / Channels), job.destination.stride,
            static_cast<std::ptrdiff_t>(std::min<std::size_t>(kLanes, columns - column)), job.offset * 8);
    }
}

template <int Channels>
constexpr CKwBodies
    kRowGroups(KwWidths<RowGroups<Channels, tTwo, 8>, RowGroups<Channels, tFour, 8>, RowGroups<Channels, tEight, 4>>);
template <int Channels>
constexpr CKwBodies kColumnBlocks(
    KwWidths<ColumnBlocks<Channels, tTwo, 8>, ColumnBlocks<Channels, tFour, 8>, ColumnBlocks<Channels, tEight, 4>>);

template <int Channels>
void BlurLanes(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset, CKwScratch& scratch) {
    constexpr std::size_t kRows = kLanes / Channels;
    const std::size_t width = static_cast<std::size_t>(source.width), height = static_cast<std::size_t>(source.height);
    if (!KwFits(std::max(width, height) + kRows, kLanes * kRows * sizeof(double) * KwRanges())) return;
    const std::size_t blocks = (width * Channels + kLanes - 1) / kLanes;
    const std::size_t blockSize = (height + kRows - 1) / kRows * kLanes * kRows;
    const std::size_t ranges = KwRanges(), firstSize = std::max(width, height) * kLanes;
    if (!KwFits(blockSize, blocks)) return;
    CKwScratch large, firstScratch, linesScratch;
    const auto plane = Room<float>(blocks * blockSize > kMostKept ? large : scratch, blocks * blockSize);
    const auto first = Room<double>(firstScratch, ranges * firstSize);
    const auto lines = Room<float>(linesScratch, ranges * width * kLanes);
    if (plane.empty() || first.empty() || lines.empty()) return;
    // Columns of the last block that the picture does not have.
    for (std::size_t y = 0; y < blockSize / kLanes; ++y)
        for (std::size_t l = width * Channels - (blocks - 1) * kLanes; l < kLanes; ++l)
            plane[(blocks - 1) * blockSize + y * kLanes + l] = 0.0f;

    const tJob job{destination, source, across, down, offset, plane.data(), blocks, blockSize};
    const auto pass = [&](std::size_t count, auto body) {
        KwForRanges(static_cast<LONG>(count), [&](LONG from, LONG to, std::size_t i) {
            body(job, from, to, first.data() + i * firstSize, lines.data() + i * width * kLanes);
        });
    };
    pass(blockSize / kLanes / kRows, kRowGroups<Channels>.Now());
    pass(blocks, kColumnBlocks<Channels>.Now());
}

void BlurFast(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
              const tGaussianCoefficients& down, LONG offset, LONG channels, CKwScratch& scratch) {
    (channels == 4 ? BlurLanes<4> : BlurLanes<1>)(destination, source, across, down, offset, scratch);
}
constexpr CKwBodies kBlur(BlurPlain, tKwBody{eKwLevel::Base, BlurFast});

HRESULT Blur(const tView& destination, const tView& source, LONG bytesPerPixel, double horizontalRadius,
             double verticalRadius, LONG offset, LONG channels, CKwScratch* kept = nullptr) try {
    tRows d, s;
    const HRESULT status = KwDibResolvePair(destination, source, bytesPerPixel, d, s);
    CKwScratch own;
    if (SUCCEEDED(status) && d.width > 0 && bytesPerPixel == 4)
        kBlur(d, s, KwGaussianCoefficients(KwGaussianSigma(horizontalRadius)),
              KwGaussianCoefficients(KwGaussianSigma(verticalRadius)), offset, channels, kept ? *kept : own);
    return status;
} catch (const std::exception&) { // no memory for the plain form
    return S_OK;
}

} // namespace

void* CKwScratch::Room(std::size_t bytes) {
    constexpr std::size_t kLargePage = std::size_t{2} << 20;
    if (m_memory && bytes <= m_bytes) return m_memory.get();
    m_memory.reset();
    // At 3840x2160 touching small pages for the first time costs a quarter of a blur.
    const std::size_t page = bytes < 8 * kLargePage ? 64 : kLargePage;
    m_bytes = (bytes + page - 1) / page * page;
    m_memory.reset(KwAllocateAligned(page, m_bytes));
    return m_memory.get();
}

double KwGaussianSigma(double radius) {
    // One and the same not-a-number, since its bits would show in the rounding.
    if (std::isnan(radius)) return std::numeric_limits<double>::quiet_NaN();
    const double reach = std::fabs(radius) + 1.5;
    return std::sqrt(-(reach * reach) / (2.0 * KwLog(0.00392156862745098)));
}

tGaussianCoefficients KwGaussianCoefficients(double sigma) {
    const double a0 = 1.6803f, a1 = 3.735f, b0 = 1.783f, b1 = 1.723f;
    const double c0 = -0.6803f, c1 = -0.2598f, w0 = 0.6318f, w1 = 1.997f;
    const double k = 1.0 / (sigma * 2.50662827463);
    const double A0 = a0 * k, A1 = a1 * k, C0 = c0 * k, C1 = c1 * k;
    const double E0 = KwExp(-b0 / sigma), E1 = KwExp(-b1 / sigma);
    const double sinP = KwSin(w0 / sigma), cosP = KwCos(w0 / sigma);
    const double sinQ = KwSin(w1 / sigma), cosQ = KwCos(w1 / sigma);

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
                          double verticalRadius, CKwScratch* kept) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, 0, 4, kept);
}

HRESULT KwDibGaussianBlurChannel(const tView& destination, const tView& source, LONG bytesPerPixel,
                                 double horizontalRadius, double verticalRadius, LONG channel) {
    return Blur(destination, source, bytesPerPixel, horizontalRadius, verticalRadius, KwDibChannelOffset(channel, 4),
                1);
}
