#include "kernels/gaussian_strips.h"

#include <algorithm>
#include <atomic>
#include <bit>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>

#include "base/fits.h"
#include "kernels/fetch.h"
#include "kernels/gaussian_taps.h"
#include "kernels/ranges.h"
#include "kernels/row.h"
#include "kernels/turn.h"
#include "kernels/unaligned.h"

namespace kw_gaussian {
namespace {

/// Columns that are filtered both ways before the next ones are, so that what lies between stays in the cache.
constexpr LONG kStrip = 128;

/// Floats from one row of a strip to the next: an odd number of lines of the cache, lest rows take each other's place.
template <int kChannels>
constexpr std::ptrdiff_t kRow = kChannels* kStrip + 16;

/// Levels are counted from here, which halves the error of floats.
constexpr float kMiddle = 127.5f;

/// A picture on its way.
struct tJob {
    tRows destination, source;
    const tTaps &across, &down;
    LONG shift;          ///< bits in a pixel below the first channel
    std::uint32_t alpha; ///< what stands in the place of a fourth channel
    double total;        ///< what the first pass makes of 1
    float middle;        ///< what both passes make of `kMiddle`
    float sure;          ///< how far from a whole number a sum may be for floats to decide it
    std::atomic<bool>& failed;
};

/// a * b + c, rounded once where processors can: the sums are approximate anyway. Of the loop compilers make one
/// instruction, but one for each number where it is written out.
template <class Bytes>
KWINLINE inline tFloatsOf<Bytes> MultiplyAdd(const tFloatsOf<Bytes>& a, float b, const tFloatsOf<Bytes>& c) {
    if constexpr (sizeof(Bytes) == 16) {
        return a * b + c;
    } else {
        tFloatsOf<Bytes> sum;
        KWROLL
        for (std::size_t l = 0; l < sizeof(Bytes) / 4; ++l) sum[l] = __builtin_fmaf(a[l], b, c[l]);
        return sum;
    }
}

/// The sums at the vector `at` and at the next ones, each `step` floats from the one before.
template <class Bytes>
KWINLINE inline void Sum(const float* at, std::ptrdiff_t step, const tTaps& taps, tFloatsOf<Bytes> (&sums)[kTogether]) {
    using tFloats = tFloatsOf<Bytes>;
    const auto value = [=](LONG i) KWINLINE { return KwRead<tFloats>(at + i * step); };
    // Values before and after by position modulo 4: one step inward brings one new value to each.
    tFloats before[kTogether], after[kTogether];
    tFloats even[kTogether], odd[kTogether]; // parts of the sums, as each addition waits for the one before
    KWUNROLL
    for (LONG i = 0; i < kTogether; ++i) even[i] = odd[i] = tFloats{};
    KWUNROLL
    for (LONG i = 0; i < kTogether - 1; ++i) {
        before[i] = value(i - taps.reach);
        after[i + 1] = value(taps.reach + 1 + i);
    }
    LONG k = taps.reach;
    do {
        KWUNROLL
        for (LONG inward = 0; inward < kTogether; ++inward) {
            before[(inward + 3) % 4] = value(3 - k + inward);
            after[(4 - inward) % 4] = value(k - inward);
            const float tap = taps.floats[static_cast<std::size_t>(k - inward)];
            KWUNROLL
            for (LONG i = 0; i < kTogether; ++i) {
                tFloats& part = inward % 2 ? odd[i] : even[i];
                part = MultiplyAdd<Bytes>(before[(inward + i) % 4] + after[(4 - inward + i) % 4], tap, part);
            }
        }
        k -= kTogether;
    } while (k > 0);
    KWUNROLL
    for (LONG i = 0; i < kTogether; ++i) sums[i] = MultiplyAdd<Bytes>(value(i), taps.floats[0], even[i] + odd[i]);
}

/// What of a pixel is filtered.
template <int kChannels>
KWINLINE inline std::uint32_t Filtered(const tJob& job, std::uint32_t pixel) {
    return kChannels == 4 ? pixel : pixel & (kChannels == 1 ? 255u << job.shift : 0xffffff);
}

/// Filters as many rows as a vector has lanes, from row y on, at `count` columns from x on, a multiple of the lanes.
/// `out`: where the first of them goes. Returns what all pixels are that these come of, if they are the same.
template <int kChannels, class Bytes>
KWINLINE inline std::optional<std::uint32_t> FilterRows(const tJob& job, LONG x, LONG y, LONG count, float* out) {
    using tFloats = tFloatsOf<Bytes>;
    using tWholes = typename tBlock<sizeof(Bytes)>::tWholes;
    constexpr LONG kLanes = sizeof(Bytes) / 4;
    constexpr std::ptrdiff_t kStep = kChannels * kLanes; // floats from one column to the next
    const LONG reach = job.across.reach, width = job.source.width;
    alignas(64) float columns[(kStrip + 2 * kReach + kLanes) * kStep];
    const auto at = [&](std::ptrdiff_t column) KWINLINE { return columns + (column - x + reach) * kStep; };
    const std::byte* rows[kLanes];
    for (LONG r = 0; r < kLanes; ++r) rows[r] = job.source.Row<std::byte>(std::min(y + r, job.source.height - 1));
    const std::uint32_t one = KwWordRow(job.source, y)[x];
    tWholes changes{};
    KwTurnPixels<tWholes>(rows, std::max(x - reach, 0), std::min(x + count + reach, width), width,
                          [&](std::ptrdiff_t column, int, const tWholes& turned) KWINLINE {
                              if (column < width) changes |= turned ^ static_cast<std::int32_t>(one);
                              KWUNROLL
                              for (int channel = 0; channel < kChannels; ++channel) {
                                  const tWholes levels = turned >> (job.shift + channel * 8) & 255;
                                  KwWrite(at(column) + channel * kLanes,
                                          __builtin_convertvector(levels, tFloats) - kMiddle);
                              }
                          });
    if constexpr (kChannels == 3) {
        const std::uint32_t other = one ^ *KwWordRow(job.source, 0);
        if (KwIsAny<tWholes>((changes | static_cast<std::int32_t>(other)) & ~0xffffff)) job.failed = true;
    }
    if (!KwIsAny<tWholes>(changes & static_cast<std::int32_t>(Filtered<kChannels>(job, ~0u)))) {
        for (int channel = 0; channel < kChannels; ++channel) {
            const double level = static_cast<double>(one >> (job.shift + channel * 8) & 255) - double{kMiddle};
            for (LONG r = 0; r < kLanes; ++r)
                std::fill_n(out + r * kRow<kChannels> + channel * kStrip, count, static_cast<float>(level * job.total));
        }
        return Filtered<kChannels>(job, one);
    }
    for (LONG i = x - reach; i < 0; ++i) std::copy_n(at(0), kStep, at(i));
    for (LONG i = width; i < x + count + reach; ++i) std::copy_n(at(width - 1), kStep, at(i));
    for (LONG i = 0; i < count; i += kLanes)
        for (int channel = 0; channel < kChannels; ++channel) {
            tFloats sums[kLanes];
            for (LONG c = 0; c < kLanes; c += kTogether) {
                tFloats some[kTogether];
                Sum<Bytes>(at(x + i + c) + channel * kLanes, kStep, job.across, some);
                KWUNROLL
                for (LONG k = 0; k < kTogether; ++k) sums[c + k] = some[k];
            }
            KwTurn<tFloats, kLanes>([&](int c, int) KWINLINE { return sums[c]; },
                                    [=](int r, int, const tFloats& values) KWINLINE {
                                        KwWrite(out + r * kRow<kChannels> + channel * kStrip + i, values);
                                    });
        }
    return std::nullopt;
}

/// The same as `FilterColumns` where all pixels that these come of are the same.
template <int kChannels>
KWINLINE inline void FillColumns(const tJob& job, LONG x, LONG from, LONG to, LONG count) {
    std::uint32_t pixel = job.alpha;
    for (int channel = 0; channel < kChannels; ++channel) {
        const LONG shift = job.shift + channel * 8;
        const auto level = Decide(job.source, job.across, job.down, x, from, shift);
        if (!level) job.failed = true;
        pixel |= std::uint32_t{level.value_or(0)} << shift;
    }
    const std::uint32_t others = kChannels == 1 ? ~Filtered<kChannels>(job, ~0u) : 0;
    for (LONG y = from; y < to; ++y) {
        tAnyWord* const row = KwWordRow(job.destination, y) + x;
        for (LONG i = 0; i < count; ++i) row[i] = (row[i] & others) | pixel;
    }
}

/// Sets those levels of `count` pixels from (x, y) on that floats left open, `away` from whole numbers, in the channel
/// `shift` bits up. Returns how many those are.
std::ptrdiff_t DecideOpen(const tJob& job, LONG x, LONG y, LONG shift, const float* away, LONG count) {
    std::ptrdiff_t open = 0;
    for (LONG i = 0; i < count; ++i) {
        if (away[i] <= job.sure) continue;
        const auto level = Decide(job.source, job.across, job.down, x + i, y, shift);
        if (!level) job.failed = true;
        job.destination.Row<std::uint8_t>(y)[std::ptrdiff_t{x + i} * 4 + shift / 8] = level.value_or(0);
        ++open;
    }
    return open;
}

/// Filters the columns of `count` pixels from x on in the rows `from` to `to`. `top`: where the floats of row 0 begin.
/// Returns how many levels floats left open.
template <int kChannels, class Bytes>
KWINLINE inline std::ptrdiff_t FilterColumns(const tJob& job, LONG x, LONG from, LONG to, LONG count,
                                             const float* top) {
    using tFloats = tFloatsOf<Bytes>;
    using tWholes = typename tBlock<sizeof(Bytes)>::tWholes;
    constexpr LONG kLanes = sizeof(Bytes) / 4;
    constexpr float kToWhole = 0x1.8p23f; // a sum with it is rounded to nearest, and its lowest bits are the level's
    std::uint32_t base = job.alpha;
    for (int channel = 0; channel < kChannels; ++channel)
        base ^= std::bit_cast<std::uint32_t>(kToWhole) << (job.shift + channel * 8);
    std::ptrdiff_t open = 0;
    for (LONG i = 0; i < count; i += kLanes) {
        const LONG here = std::min(kLanes, count - i);
        for (LONG y = from; y < to; y += kTogether) {
            const tWholes bases = tWholes{} + static_cast<std::int32_t>(base);
            tWholes pixels[kTogether] = {bases, bases, bases, bases}, unsure{};
            alignas(64) float away[kChannels][kTogether][kLanes];
            KWUNROLL
            for (int channel = 0; channel < kChannels; ++channel) {
                tFloats sums[kTogether];
                Sum<Bytes>(top + y * kRow<kChannels> + channel * kStrip + i, kRow<kChannels>, job.down, sums);
                KWUNROLL
                for (LONG k = 0; k < kTogether; ++k) {
                    const tFloats sum = sums[k] + job.middle, shifted = sum + kToWhole;
                    const tWholes distance = reinterpret_cast<tWholes>(sum - (shifted - kToWhole)) & INT32_MAX;
                    KwWrite(away[channel][k], distance);
                    unsure |= std::bit_cast<std::int32_t>(job.sure) - distance;
                    pixels[k] ^= reinterpret_cast<tWholes>(shifted) << (job.shift + channel * 8);
                }
            }
            KWUNROLL
            for (LONG k = 0; k < kTogether; ++k) {
                if (y + k >= to) break;
                tAnyWord* const at = KwWordRow(job.destination, y + k) + x + i;
                const std::uint32_t others = kChannels == 1 ? ~(255u << job.shift) : 0;
                if (kChannels > 1 && here == kLanes) {
                    KwWrite(reinterpret_cast<std::byte*>(at), pixels[k]);
                    continue;
                }
                std::uint32_t words[kLanes];
                KwWrite(words, pixels[k]);
                for (LONG l = 0; l < here; ++l) at[l] = (at[l] & others) | words[l];
            }
            if (!KwIsAny<tWholes>(unsure & INT32_MIN)) continue;
            for (LONG k = 0; k < std::min(kTogether, to - y); ++k)
                for (int channel = 0; channel < kChannels; ++channel)
                    open += DecideOpen(job, x + i, y + k, job.shift + channel * 8, away[channel][k], here);
        }
    }
    return open;
}

/// The strips `from` to `to`. `plane`: room for what lies between the passes, row by row, channel by channel.
template <int kChannels, class Bytes>
KWINLINE inline void Strips(const tJob& job, LONG from, LONG to, float* plane) {
    constexpr LONG kLanes = sizeof(Bytes) / 4;
    const LONG height = job.source.height, reach = job.down.reach;
    const auto row = [=](LONG y) KWINLINE { return plane + (y + reach) * kRow<kChannels>; };
    const auto copy = [=](LONG y, LONG to) KWINLINE { std::copy_n(row(y), kRow<kChannels>, row(to)); };
    std::ptrdiff_t open = 0, seen = 0;
    for (LONG strip = from; strip < to; ++strip) {
        const LONG x = strip * kStrip, count = std::min(kStrip, job.source.width - x);
        LONG done = 0, sameFrom = 0;
        std::optional<std::uint32_t> same; // what all pixels from `sameFrom` on are, with those at the strip's sides
        for (LONG y = 0; y < height; y += kLanes) {
            const auto one = FilterRows<kChannels, Bytes>(job, x, y, (count + kLanes - 1) / kLanes * kLanes, row(y));
            if (one != same) sameFrom = y;
            same = one;
            for (LONG next = y + kLanes; next < std::min(y + 2 * kLanes, height); ++next)
                for (LONG i = 0; i < std::min(count + job.across.reach, job.source.width - x); i += 16)
                    KwFetch(KwWordRow(job.source, next), std::ptrdiff_t{x + i} * 4);
            const bool last = y + kLanes >= height;
            for (LONG k = -reach; y == 0 && k < 0; ++k) copy(0, k);
            for (LONG k = height; last && k < height + reach + kTogether; ++k) copy(height - 1, k);
            const LONG ready = last ? height : std::max((y + kLanes - reach) / kTogether * kTogether, done);
            if (same && sameFrom <= std::max(done - reach, 0) && done < ready)
                FillColumns<kChannels>(job, x, done, ready, count);
            else
                open += FilterColumns<kChannels, Bytes>(job, x, done, ready, count, row(0));
            done = ready;
            seen += std::ptrdiff_t{count} * kLanes;
            if (open > 64 + seen / 256) job.failed = true;
            if (job.failed) return;
        }
    }
}
template <int kChannels>
constexpr CKwBodies kStrips(KwWidths<Strips<kChannels, tNarrow>, Strips<kChannels, tMiddle>, Strips<kChannels, tWide>>);

bool ShareMemory(const tRows& a, const tRows& b) {
    const auto ends = [](const tRows& rows) {
        const auto first = reinterpret_cast<std::uintptr_t>(rows.Row<std::byte>(0));
        const auto last = reinterpret_cast<std::uintptr_t>(rows.Row<std::byte>(rows.height - 1));
        return std::pair{std::min(first, last), std::max(first, last) + std::uintptr_t{4} * rows.width};
    };
    return ends(a).first < ends(b).second && ends(b).first < ends(a).second;
}

} // namespace

bool BlurStrips(const tRows& destination, const tRows& source, const tGaussianCoefficients& across,
                const tGaussianCoefficients& down, LONG offset, LONG channels, std::uint32_t alpha,
                CKwScratch& scratch) {
    constexpr LONG kMostPixels = 1 << 30; // in a row or column, with what is counted beyond them
    if (std::max(source.width, source.height) > kMostPixels || ShareMemory(destination, source)) return false;
    const auto acrossTaps = TapsOf(across), downTaps = TapsOf(down);
    if (!acrossTaps || !downTaps) return false;
    const double middle = double{kMiddle} * acrossTaps->total * downTaps->total;
    // The definition rounds what comes of the first pass; here the middle is rounded, and the sum with it.
    const double error = acrossTaps->Error(kMiddle) * downTaps->size + downTaps->Error(kMiddle * acrossTaps->size) +
                         Rounding(255) * (downTaps->size + 1) +
                         std::fabs(middle - static_cast<double>(static_cast<float>(middle)));
    const double most = 255 * acrossTaps->size * downTaps->size; // and 255 - most the least
    if (error > 0.001 || most > 255.4) return false;

    constexpr std::size_t kBelow = kReach + kTogether + sizeof(tWide) / 4;
    const std::size_t rows = static_cast<std::size_t>(source.height) + kReach + kBelow;
    if (!KwFits(rows, kRow<4> * sizeof(float) * KwRanges())) return false;
    const std::size_t planeSize = rows * kRow<4>;
    float* const planes = static_cast<float*>(scratch.Room(planeSize * sizeof(float) * KwRanges()));
    if (!planes) return false;
    std::atomic<bool> failed = false;
    const tJob job{.destination = destination,
                   .source = source,
                   .across = *acrossTaps,
                   .down = *downTaps,
                   .shift = offset * 8,
                   .alpha = alpha,
                   .total = acrossTaps->total,
                   .middle = static_cast<float>(middle),
                   .sure = static_cast<float>(0.5 - error),
                   .failed = failed};
    const auto strips = (channels == 1 ? kStrips<1> : channels == 3 ? kStrips<3> : kStrips<4>).Now();
    KwForRanges((source.width + kStrip - 1) / kStrip,
                [&](LONG from, LONG to, std::size_t i) { strips(job, from, to, planes + i * planeSize); });
    return !failed;
}

} // namespace kw_gaussian
