#include "kernels/gaussian_lanes.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include "base/fits.h"
#include "kernels/even.h"
#include "kernels/fetch.h"
#include "kernels/gaussian_strips.h"
#include "kernels/ranges.h"
#include "kernels/turn.h"
#include "kernels/unaligned.h"

namespace kw_gaussian {
namespace {

/// Eight lines at a time are brought side by side. Lines filtered at once are three or four such groups: a recursion is
/// a chain of some fifteen cycles a position, which other lines fill, and what 32 remember fits in the registers of
/// AVX-512.
constexpr int kGroup = 8;

/// How lines stand side by side. Each of three or four channels has a group of eight neighbours; one channel has four
/// groups with neighbours too.
template <int kChannels>
struct tLanes {
    static constexpr int kLanes = kChannels == 3 ? 3 * kGroup : 4 * kGroup;
    static constexpr int kLines = kChannels == 1 ? kLanes : kGroup; ///< rows or columns of the picture
};

/// Vectors for the registers of SSE2, AVX and AVX-512; two at a time where numbers become wider or narrower, which
/// compilers do best to a whole register. `tRow`: what parts of rows are turned into columns.
struct tTwo {
    static constexpr int kWidth = 2;
    using tReals [[gnu::vector_size(16)]] = double;
    using tLongs [[gnu::vector_size(16)]] = std::int64_t;
    using tFloats [[gnu::vector_size(8)]] = float;
    using tRealPair [[gnu::vector_size(32)]] = double;
    using tFloatPair [[gnu::vector_size(16)]] = float;
    using tRow [[gnu::vector_size(16)]] = std::int32_t;
    using tRowFloats = tFloatPair;
};
struct tFour {
    static constexpr int kWidth = 4;
    using tReals [[gnu::vector_size(32)]] = double;
    using tLongs [[gnu::vector_size(32)]] = std::int64_t;
    using tFloats [[gnu::vector_size(16)]] = float;
    using tRealPair [[gnu::vector_size(64)]] = double;
    using tFloatPair [[gnu::vector_size(32)]] = float;
    using tRow [[gnu::vector_size(32)]] = std::int32_t;
    using tRowFloats = tFloatPair;
};
struct tEight {
    static constexpr int kWidth = 8;
    using tReals [[gnu::vector_size(64)]] = double;
    using tLongs [[gnu::vector_size(64)]] = std::int64_t;
    using tFloats [[gnu::vector_size(32)]] = float;
    using tRealPair [[gnu::vector_size(128)]] = double;
    using tFloatPair [[gnu::vector_size(64)]] = float;
    using tRow [[gnu::vector_size(32)]] = std::int32_t;
    using tRowFloats = tFloats;
};

template <class Vector>
KWINLINE inline typename Vector::tReals WithoutTiny(const typename Vector::tReals& v) {
    using tReals = typename Vector::tReals;
    const tReals size = reinterpret_cast<tReals>(reinterpret_cast<typename Vector::tLongs>(v) & INT64_MAX);
    return size < kTiny ? tReals{} : v;
}

/// Calls `body` with the number of each vector, or of each `kStep`th: written out, but for SSE2, where a loop is as
/// fast and compiles much sooner.
template <class Vector, int kVectors, int kStep = 1, class Body>
KWINLINE inline void ForVectors(Body body) {
    if constexpr (Vector::kWidth > 2) {
        KWUNROLL
        for (int j = 0; j < kVectors; j += kStep) body(j);
    } else {
        KWROLL
        for (int j = 0; j < kVectors; j += kStep) body(j);
    }
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

/// Positions from one look at what has come of them to the next; a multiple of 4 and of `kGroup`.
constexpr std::ptrdiff_t kStretch = 32;

/// Positions ahead of a walk that are fetched from memory meanwhile, a few with each one.
constexpr std::ptrdiff_t kSoon = 64;

/// The results of the last four positions of a walk, the oldest first.
template <int kLanes>
struct tState {
    alignas(64) double results[4][kLanes];
};

/// Filters `count` positions, a multiple of 4, and gives each one's results to `give(i, j, results)`, j counting
/// vectors. `x`: the newest values that the first position looks at. The order of the additions is that of the taps and
/// shows in the result; the taps that are 0 by construction (n4, d0, m0) are left out.
///
/// Returns whether a result was negative or so small that it counts as 0. Only with `kExact` the latter are made 0:
/// each position waits for the one before, and that would make it wait two thirds longer.
template <bool Causal, bool kExact, class Vector, int kVectors, class Give>
KWINLINE inline bool Stretch(const float* x, std::ptrdiff_t step, std::ptrdiff_t count, const tTaps& taps,
                             const tState<kVectors * Vector::kWidth>& before, tState<kVectors * Vector::kWidth>& after,
                             Give give) {
    using tReals = typename Vector::tReals;
    using tAll = std::array<tReals, kVectors>;
    const auto load = [=](std::ptrdiff_t i) KWINLINE {
        tAll all;
        ForVectors<Vector, kVectors, 2>([&](int j) KWINLINE {
            const auto floats = KwRead<typename Vector::tFloatPair>(x + i * step + j * Vector::kWidth);
            const auto reals = __builtin_convertvector(floats, typename Vector::tRealPair);
            all[j] = KwHalf<0, tReals>(reals);
            if (j + 1 < kVectors) all[j + 1] = KwHalf<1, tReals>(reals);
        });
        return all;
    };
    tAll values[4], results[4], least; // by position modulo 4
    for (int k = 1; k < 4; ++k) values[k] = load(k - 4);
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j < kVectors; ++j) results[k][j] = KwRead<tReals>(before.results[k] + j * Vector::kWidth);
    least.fill(tReals{} + kTiny);
    const double a0 = taps.x[0], a1 = taps.x[1], a2 = taps.x[2], a3 = taps.x[3];
    const double d1 = taps.y[0], d2 = taps.y[1], d3 = taps.y[2], d4 = taps.y[3];
    const auto go = [&](std::ptrdiff_t i, auto turn) KWINLINE {
        constexpr int at = decltype(turn)::value;
        values[at] = load(i + at);
        ForVectors<Vector, kVectors>([&](int j) KWINLINE {
            const auto value = [&](int k) KWINLINE { return values[(at + 4 - k) % 4][j]; };
            const auto result = [&](int k) KWINLINE { return results[(at + 4 - k) % 4][j]; };
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
            least[j] = v < least[j] ? v : least[j];
            if constexpr (kExact) v = WithoutTiny<Vector>(v);
            results[at][j] = v;
            give(i + at, j, v);
        });
    };
    for (std::ptrdiff_t i = 0; i < count; i += 4) {
        go(i, std::integral_constant<int, 0>{});
        go(i, std::integral_constant<int, 1>{});
        go(i, std::integral_constant<int, 2>{});
        go(i, std::integral_constant<int, 3>{});
    }
    for (int k = 0; k < 4; ++k)
        for (int j = 0; j < kVectors; ++j) KwWrite(after.results[k] + j * Vector::kWidth, results[k][j]);
    bool tiny = false;
    for (const tReals& each : least)
        for (int l = 0; l < Vector::kWidth; ++l) tiny |= each[l] < kTiny;
    return tiny;
}

/// Walks along the lines of `kVectors` vectors of `count` positions, `step` values apart; `x` holds the first one's.
/// Gives each position's results to `give(i, j, results)`, positions counted along the walk, where later ones replace
/// earlier ones, and calls `given(from, to)` when those of `kStretch` positions will not change any more; the first
/// such call may have from 1 to `kStretch` + 4. Once values and results have stopped changing, results stay until a
/// value changes: mattes are mostly so.
template <bool Causal, class Vector, int kVectors, class Give, class Given>
KWINLINE inline void Walk(const float* x, std::ptrdiff_t step, std::ptrdiff_t count, const tTaps& taps, Give give,
                          Given given) {
    using tReals = typename Vector::tReals;
    constexpr std::ptrdiff_t kLanes = kVectors * Vector::kWidth;
    constexpr int kBehind = Causal ? 0 : 1; // how far behind its position the walk's newest value lies
    tState<kLanes> states[2]{};
    // The beginning, and as many more as leave whole fours.
    const std::ptrdiff_t head = std::min(count, 5 + std::max<std::ptrdiff_t>(count - 5, 0) % 4);
    for (int j = 0; j < kVectors; ++j) {
        tReals near[8], far[8];
        for (std::ptrdiff_t i = 0; i < head; ++i) {
            const float* const from = x + i * step + j * Vector::kWidth;
            for (int l = 0; l < Vector::kWidth; ++l) near[i][l] = static_cast<double>(from[l]);
            tReals v = Causal && i > 0 ? taps.x[0] * near[i] : tReals{};
            for (std::ptrdiff_t k = 1; k < i && k < 4; ++k)
                v += taps.x[k - kBehind] * near[i - k] - taps.y[k - 1] * far[i - k];
            if (i > 4) v += (Causal ? tReals{} : taps.x[3] * near[i - 4]) - taps.y[3] * far[i - 4];
            for (std::ptrdiff_t k = i; k < 5; ++k) v += taps.edge[k] * near[0];
            far[i] = WithoutTiny<Vector>(v);
            give(i, j, far[i]);
            if (i >= head - 4) KwWrite(states[0].results[i - head + 4] + j * Vector::kWidth, far[i]);
        }
    }
    // How many positions from `from` on, at most up to `to`, have the same newest values as the one before.
    const auto even = [=](std::ptrdiff_t from, std::ptrdiff_t to) KWINLINE {
        const auto bits = [=](std::ptrdiff_t i, std::ptrdiff_t l)
                              KWINLINE { return std::bit_cast<std::uint32_t>(x[(i - kBehind) * step + l]); };
        std::ptrdiff_t i = from;
        for (; i < to; ++i) {
            std::uint32_t changes = 0;
            for (std::ptrdiff_t l = 0; l < kLanes; ++l) changes |= bits(i, l) ^ bits(from - 1, l);
            if (changes) break;
        }
        return i - from;
    };
    const auto same = [](const tState<kLanes>& state, const double* results) {
        return std::ranges::all_of(state.results,
                                   [=](const auto& each) { return std::memcmp(each, results, sizeof each) == 0; });
    };
    // With AVX-512 lines are so few vectors that a walk waits for its own results; narrower registers are always busy.
    constexpr bool kWaits = Vector::kWidth == 8;
    bool exact = !kWaits, settled = false;
    tState<kLanes>*now = &states[0], *next = &states[1];
    for (std::ptrdiff_t done = 0, i = head, end = head + (count - head) % kStretch; done < count; end += kStretch) {
        while (i < end) {
            const double* const results = now->results[0];
            const std::ptrdiff_t still = settled ? even(i, end) / 4 * 4 : 0;
            for (std::ptrdiff_t k = i; k < i + still; ++k)
                ForVectors<Vector, kVectors>(
                    [&](int j) KWINLINE { give(k, j, KwRead<tReals>(results + j * Vector::kWidth)); });
            i += still;
            if (i == end) break;
            // Four positions that come of four of the same tell whether results stay.
            const bool asks = same(*now, results) && even(i + 1, i + 4) == 3;
            const std::ptrdiff_t length = asks ? 4 : end - i;
            const float* const newest = x + (i - kBehind) * step;
            const auto giveOn = [=](std::ptrdiff_t k, int j, const tReals& v) KWINLINE { give(i + k, j, v); };
            if (exact || Stretch<Causal, !kWaits, Vector, kVectors>(newest, step, length, taps, *now, *next, giveOn))
                exact =
                    Stretch<Causal, true, Vector, kVectors>(newest, step, length, taps, *now, *next, giveOn) || !kWaits;
            settled = asks && same(*next, results);
            std::swap(now, next);
            i += length;
        }
        given(done, end);
        done = end;
    }
}

/// What a pass needs. `x` holds, position by position, the values of all lines.
struct tPass {
    const float* x;
    std::ptrdiff_t count;
    const tGaussianCoefficients& c;
    double* first; ///< room for `count` results of the first walk for each line
};

/// The first walk of `kLanes` lines.
template <int kLanes, class Vector>
KWINLINE inline void WalkAhead(const tPass& pass) {
    Walk<true, Vector, kLanes / Vector::kWidth>(
        pass.x, kLanes, pass.count, TapsOf<true>(pass.c),
        [=](std::ptrdiff_t i, int j, const typename Vector::tReals& y) KWINLINE {
            KwWrite(pass.first + i * kLanes + j * Vector::kWidth, y);
            if (j > 0) return;
            const float* const soon = pass.x + std::min(i + kSoon, pass.count - 1) * kLanes;
            KwFetch(soon, 0);
            KwFetch(soon, kCacheLine);
        },
        [](std::ptrdiff_t, std::ptrdiff_t) KWINLINE {});
}
template <int kLanes>
constexpr CKwBodies kWalkAhead(KwWidths<WalkAhead<kLanes, tTwo>, WalkAhead<kLanes, tFour>, WalkAhead<kLanes, tEight>>);

/// Positions whose sums wait to be taken away, and where each one's do.
constexpr std::ptrdiff_t kWaiting = 2 * kStretch;
KWINLINE constexpr std::ptrdiff_t Slot(std::ptrdiff_t position) {
    return position & (kWaiting - 1);
}

/// Gives the sums of both walks to `give(position, j, sum)`, j counting vectors, where later ones replace earlier ones,
/// and calls `given(from, to)` for fewer than `kWaiting` that will not change any more; `from` is a multiple of
/// `kStretch`.
template <int kLanes, class Vector, class Give, class Given>
KWINLINE inline void WalkBack(const tPass& pass, Give give, Given given) {
    using tReals = typename Vector::tReals;
    const std::ptrdiff_t last = pass.count - 1;
    Walk<false, Vector, kLanes / Vector::kWidth>(
        pass.x + last * kLanes, -kLanes, pass.count, TapsOf<false>(pass.c),
        [=](std::ptrdiff_t i, int j, const tReals& y)
            KWINLINE { give(last - i, j, KwRead<tReals>(pass.first + (last - i) * kLanes + j * Vector::kWidth) + y); },
        [=](std::ptrdiff_t from, std::ptrdiff_t to) KWINLINE { given(last + 1 - to, last + 1 - from); });
}

/// Row pass. `out`: the first of these rows in the first block of the plane between the passes, which holds the blocks
/// of columns one after the other, `blockSize` floats each.
template <int kChannels, class Vector>
KWINLINE inline void FilterRows(const tPass& pass, float* out, std::ptrdiff_t blockSize) {
    using tHere = tLanes<kChannels>;
    constexpr int kLanes = tHere::kLanes;
    alignas(64) float waiting[kWaiting * kLanes]{};
    float* const sums = waiting;
    WalkBack<kLanes, Vector>(
        pass,
        [=](std::ptrdiff_t position, int j, const typename Vector::tReals& sum) KWINLINE {
            KwWrite(sums + Slot(position) * kLanes + j * Vector::kWidth,
                    __builtin_convertvector(sum, typename Vector::tFloats));
            if (j > 0) return;
            // These rows' part of a block of columns is filled as a whole: each position stands for a share of it.
            const auto soon = static_cast<std::size_t>(std::max<std::ptrdiff_t>(position - kGroup * 4, 0));
            const float* const share = out + soon / tHere::kLines * blockSize + soon % tHere::kLines * kLanes;
            KwFetch<eFetch::toWrite>(share, 0);
            KwFetch<eFetch::toWrite>(share, kCacheLine);
        },
        [=](std::ptrdiff_t from, std::ptrdiff_t to) KWINLINE {
            using tRow = typename Vector::tRow;
            for (; from < to; from += kGroup) {
                float* const at = out + from / tHere::kLines * blockSize + from % tHere::kLines;
                for (int lane = 0; lane < kLanes; lane += kGroup) {
                    const float* const group = sums + Slot(from) * kLanes + lane;
                    float* const turned = at + (kChannels == 1 ? lane * kLanes : lane);
                    KwTurn<tRow, kGroup>([=](int p, int r) KWINLINE { return KwRead<tRow>(group + p * kLanes + r); },
                                         [=](int r, int p, const tRow& values)
                                             KWINLINE { KwWrite(turned + r * kLanes + p, values); });
                }
            }
        });
}

/// Where the pixels of a block of columns go. Two blocks of eight pixels fill a line of the processor's cache: the left
/// one's wait for the right one's, and no line is fetched twice.
struct tColumns {
    std::byte* first;       ///< the block's pixel at the top
    std::ptrdiff_t stride;  ///< bytes
    std::ptrdiff_t count;   ///< columns of the picture in this block
    LONG shift;             ///< bits in a pixel below the one channel
    std::uint32_t alpha;    ///< what three channels are given for the fourth, in its place
    std::uint32_t* waiting; ///< the pixels that wait, row by row
    bool wait;              ///< whether these do
    bool waited;            ///< whether the left block's did
};

/// Column pass over one block.
template <int kChannels, class Vector>
KWINLINE inline void FilterColumns(const tPass& pass, const tColumns& columns) {
    constexpr int kLanes = tLanes<kChannels>::kLanes, kLines = tLanes<kChannels>::kLines;
    alignas(64) std::int32_t lows[kWaiting * kLanes];
    std::int32_t* const words = lows;
    WalkBack<kLanes, Vector>(
        pass,
        [=](std::ptrdiff_t position, int j, const typename Vector::tReals& sum) KWINLINE {
            using tWhole [[gnu::vector_size(Vector::kWidth * 4)]] = std::int32_t;
            const auto low = reinterpret_cast<typename Vector::tLongs>(sum + kToLevel);
            KwWrite(words + Slot(position) * kLanes + j * Vector::kWidth, __builtin_convertvector(low, tWhole));
        },
        [=](std::ptrdiff_t from, std::ptrdiff_t to) KWINLINE {
            for (std::ptrdiff_t position = to; position-- > from;) {
                const std::int32_t* const own = words + Slot(position) * kLanes;
                std::uint32_t pixels[kLines];
                for (int l = 0; l < kLines; ++l) {
                    const auto level = [&](int channel) KWINLINE {
                        return std::uint32_t{Limited(own[channel * kGroup + l])} << channel * 8;
                    };
                    if constexpr (kChannels == 1)
                        pixels[l] = level(0) << columns.shift;
                    else
                        pixels[l] = level(0) | level(1) | level(2) | (kChannels == 3 ? columns.alpha : level(3));
                }
                std::uint32_t* const left = columns.waiting + position * kLines;
                if (columns.wait) {
                    std::memcpy(left, pixels, sizeof pixels);
                    continue;
                }
                std::byte* const at = columns.first + position * columns.stride;
                constexpr std::ptrdiff_t kRows = 24; // rows that come from memory meanwhile
                for (std::ptrdiff_t line = 0; line < kLines * 4; line += kCacheLine)
                    KwFetch<eFetch::toWrite>(at, line - std::min(position, kRows) * columns.stride);
                if (columns.waited) std::memcpy(at - sizeof pixels, left, sizeof pixels);
                tAnyWord* const all = reinterpret_cast<tAnyWord*>(at);
                const std::uint32_t others = kChannels == 1 ? ~(255u << columns.shift) : 0;
                if (columns.count < kLines) {
                    for (std::ptrdiff_t l = 0; l < columns.count; ++l) all[l] = (all[l] & others) | pixels[l];
                } else if constexpr (kChannels == 1) {
                    KWNODEPENDENCE
                    for (int l = 0; l < kLines; ++l) all[l] = (all[l] & others) | pixels[l];
                } else {
                    std::memcpy(at, pixels, sizeof pixels);
                }
            }
        });
}

/// Brings `rows` rows, up to those of the lanes, side by side; the last one stands in for those that are missing. `out`
/// has room for whole groups of positions.
template <int kChannels, class Vector>
KWINLINE inline void Interleave(const tRows& source, LONG y, LONG rows, LONG shift, float* out) {
    using tHere = tLanes<kChannels>;
    using tRow = typename Vector::tRow;
    for (std::ptrdiff_t line = 0; line < tHere::kLines; line += kGroup) {
        const std::byte* from[kGroup];
        for (LONG r = 0; r < kGroup; ++r)
            from[r] = source.Row<std::byte>(y + std::min(static_cast<LONG>(line) + r, rows - 1));
        KwTurnPixels<tRow>(from, 0, source.width, source.width,
                           [=](std::ptrdiff_t x, int r, const tRow& turned) KWINLINE {
                               KWUNROLL
                               for (int channel = 0; channel < kChannels; ++channel) {
                                   const tRow levels = turned >> (shift + channel * 8) & 255;
                                   KwWrite(out + x * tHere::kLanes + line + channel * kGroup + r,
                                           __builtin_convertvector(levels, typename Vector::tRowFloats));
                               }
                           });
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
    LONG shift;          ///< bits in a pixel below the one channel
    std::uint32_t alpha; ///< what stands in the place of a fourth channel
    float* plane;
    std::ptrdiff_t blockSize;
    void (*walkAhead)(const tPass&);
};

/// The rows `from` to `to`, counted in groups.
template <int kChannels, class Vector>
KWINLINE inline void RowGroups(const tJob& job, LONG from, LONG to, double* first, float* lines) {
    using tHere = tLanes<kChannels>;
    constexpr LONG kRows = tHere::kLines;
    for (LONG y = from * kRows; y < job.source.height && y < to * kRows; y += kRows) {
        Interleave<kChannels, Vector>(job.source, y, std::min(kRows, job.source.height - y), job.shift, lines);
        const tPass pass{lines, job.source.width, job.across, first};
        job.walkAhead(pass);
        FilterRows<kChannels, Vector>(pass, job.plane + std::ptrdiff_t{y} * tHere::kLanes, job.blockSize);
    }
}

/// The blocks `from` to `to` of the plane.
template <int kChannels, class Vector>
KWINLINE inline void ColumnBlocks(const tJob& job, LONG from, LONG to, double* first, float* room) {
    constexpr std::ptrdiff_t kColumns = tLanes<kChannels>::kLines;
    const auto waits = [=](LONG block) { return kColumns == kGroup && block % 2 == 0 && block + 1 < to; };
    for (LONG block = from; block < to; ++block) {
        const tPass pass{job.plane + block * job.blockSize, job.source.height, job.down, first};
        job.walkAhead(pass);
        FilterColumns<kChannels, Vector>(pass, {.first = job.destination.first + block * kColumns * 4,
                                                .stride = job.destination.stride,
                                                .count = std::min(kColumns, job.source.width - block * kColumns),
                                                .shift = job.shift,
                                                .alpha = job.alpha,
                                                .waiting = reinterpret_cast<std::uint32_t*>(room),
                                                .wait = waits(block),
                                                .waited = block > from && waits(block - 1)});
    }
}

template <int kChannels>
constexpr CKwBodies
    kRowGroups(KwWidths<RowGroups<kChannels, tTwo>, RowGroups<kChannels, tFour>, RowGroups<kChannels, tEight>>);
template <int kChannels>
constexpr CKwBodies kColumnBlocks(
    KwWidths<ColumnBlocks<kChannels, tTwo>, ColumnBlocks<kChannels, tFour>, ColumnBlocks<kChannels, tEight>>);

template <int kChannels>
void BlurAs(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
            const tGaussianCoefficients& down, LONG offset, std::uint32_t alpha, CKwScratch& scratch) {
    using tHere = tLanes<kChannels>;
    constexpr std::size_t kLanes = tHere::kLanes, kLines = tHere::kLines;
    constexpr std::size_t kBeyond = 16; // values that loads of a pair of vectors may take too many
    const std::size_t width = static_cast<std::size_t>(source.width), height = static_cast<std::size_t>(source.height);
    if (!KwFits(std::max(width, height) + kLines, kLanes * kLines * sizeof(double) * KwRanges())) return;
    const std::size_t blocks = (width + kLines - 1) / kLines;
    const std::size_t blockSize = (height + kLines - 1) / kLines * kLines * kLanes;
    const std::size_t ranges = KwRanges(), firstSize = std::max(width, height) * kLanes;
    const std::size_t linesSize = std::max((width + kGroup) * kLanes, height * kLines);
    if (!KwFits(blockSize, blocks)) return;
    CKwScratch large, firstScratch, linesScratch;
    const std::size_t planeSize = blocks * blockSize + kBeyond;
    const auto plane = Room<float>(planeSize > kMostKept ? large : scratch, planeSize);
    const auto first = Room<double>(firstScratch, ranges * firstSize);
    const auto lines = Room<float>(linesScratch, ranges * linesSize + kBeyond);
    if (plane.empty() || first.empty() || lines.empty()) return;
    // Columns of the last block that no group of the picture's reaches.
    const std::size_t reached = (width + kGroup - 1) / kGroup * kGroup - (blocks - 1) * kLines;
    if constexpr (kChannels == 1)
        for (std::size_t y = 0; y < blockSize / kLanes; ++y)
            for (std::size_t l = reached; l < kLanes; ++l) plane[(blocks - 1) * blockSize + y * kLanes + l] = 0.0f;

    const tJob job{.destination = destination,
                   .source = source,
                   .across = across,
                   .down = down,
                   .shift = offset * 8,
                   .alpha = alpha,
                   .plane = plane.data(),
                   .blockSize = static_cast<std::ptrdiff_t>(blockSize),
                   .walkAhead = kWalkAhead<tHere::kLanes>.Now()};
    const auto pass = [&](std::size_t count, auto body) {
        KwForRanges(static_cast<LONG>(count), [&](LONG from, LONG to, std::size_t i) {
            body(job, from, to, first.data() + i * firstSize, lines.data() + i * linesSize);
        });
    };
    pass(blockSize / kLanes / kLines, kRowGroups<kChannels>.Now());
    pass(blocks, kColumnBlocks<kChannels>.Now());
}

/// What both passes make of a channel that is `level` all over, where that is one level.
std::optional<std::uint8_t> BlurredEven(double level, const tRows& source, const tGaussianCoefficients& across,
                                        const tGaussianCoefficients& down) {
    CKwScratch scratch;
    const std::size_t most = static_cast<std::size_t>(std::max(source.width, source.height));
    const auto room = Room<double>(scratch, 4 * most);
    if (room.empty()) return std::nullopt;
    const auto filtered = [&](double value, LONG count, const tGaussianCoefficients& taps, std::size_t into) {
        const auto part = [&](std::size_t i) { return room.subspan(i * most, static_cast<std::size_t>(count)); };
        std::ranges::fill(part(0), value);
        PlainLine(part(0), taps, part(into), part(1));
        return part(into);
    };
    // Rounding may make a few values of one between the passes.
    std::array<float, 8> known{};
    std::size_t count = 0;
    std::optional<std::uint8_t> blurred;
    for (const double value : filtered(level, source.width, across, 2)) {
        const float between = static_cast<float>(value);
        if (std::find(known.begin(), known.begin() + count, between) != known.begin() + count) continue;
        if (count == known.size()) return std::nullopt;
        known[count++] = between;
        for (const double sum : filtered(static_cast<double>(between), source.height, down, 3)) {
            if (blurred && *blurred != ToLevel(sum)) return std::nullopt;
            blurred = ToLevel(sum);
        }
    }
    return blurred;
}

} // namespace

void BlurLanes(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
               const tGaussianCoefficients& down, LONG offset, LONG channels, CKwScratch& scratch) {
    if (channels == 1) {
        if (!BlurStrips(destination, source, across, down, offset, 1, 0, scratch))
            BlurAs<1>(destination, source, across, down, offset, 0, scratch);
        return;
    }
    // Pictures without transparency need three quarters of the work. Some of the rows tell them from most others.
    constexpr std::uint32_t kAlpha = 1u << 3;
    constexpr LONG kSome = 16;
    const tRows some{source.first, source.stride * kSome, source.width, (source.height + kSome - 1) / kSome};
    if (KwEvenChannels(some, kAlpha))
        if (const auto blurred = BlurredEven(*KwWordRow(source, 0) >> 24, source, across, down)) {
            const std::uint32_t alpha = std::uint32_t{*blurred} << 24;
            if (BlurStrips(destination, source, across, down, 0, 3, alpha, scratch)) return;
            if (KwEvenChannels(source, kAlpha)) return BlurAs<3>(destination, source, across, down, 0, alpha, scratch);
        }
    if (!BlurStrips(destination, source, across, down, 0, 4, 0, scratch))
        BlurAs<4>(destination, source, across, down, 0, 0, scratch);
}

} // namespace kw_gaussian
