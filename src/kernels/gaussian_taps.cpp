#include "kernels/gaussian_taps.h"

#include <algorithm>
#include <cmath>

#include "kernels/gaussian_lanes.h"
#include "kernels/turn.h"
#include "kernels/unaligned.h"

namespace kw_gaussian {
namespace {

/// Vectors as wide as the registers of SSE2, AVX2 or AVX-512.
template <int kBytes>
struct tRegister {
    static constexpr int kReals = kBytes / 8;
    using tReals [[gnu::vector_size(kBytes)]] = double;
    using tRealPair [[gnu::vector_size(kBytes * 2)]] = double;
    using tFloats [[gnu::vector_size(kBytes)]] = float; ///< as many as two vectors of doubles
    using tWholes [[gnu::vector_size(kBytes)]] = std::int32_t;
};

/// A row's sum around column x, over `reach` pixels to each side and maybe a few more to the right: in parts.
template <class Register>
KWINLINE inline typename Register::tReals RowParts(const tAnyWord* row, LONG width, LONG x, LONG reach,
                                                   const tTaps& taps, LONG shift) {
    using tReals = typename Register::tReals;
    constexpr LONG kPart = 2 * Register::kReals;
    static_assert(kPart <= LONG{tTaps::kZeros});
    const double* const exact = taps.exact.data() + kFarReach - reach;
    const tAnyWord* pixels;
    std::uint32_t around[2 * kFarReach + kPart];
    if (x < reach || x + reach + kPart > width) {
        for (LONG i = 0; i < 2 * reach + kPart; ++i) around[i] = row[std::clamp<LONG>(x - reach + i, 0, width - 1)];
        pixels = around;
    } else {
        pixels = row + (x - reach);
    }
    tReals even{}, odd{};
    for (LONG i = 0; i < 2 * reach + 1; i += kPart) {
        const auto levels =
            KwRead<typename Register::tWholes>(reinterpret_cast<const std::byte*>(pixels + i)) >> shift & 255;
        const auto floats = __builtin_convertvector(levels, typename Register::tFloats);
        const auto reals = __builtin_convertvector(floats, typename Register::tRealPair);
        even += KwHalf<0, tReals>(reals) * KwRead<tReals>(exact + i);
        odd += KwHalf<1, tReals>(reals) * KwRead<tReals>(exact + i + Register::kReals);
    }
    return even + odd;
}

template <class Register>
KWINLINE inline std::optional<std::uint8_t> DecideWide(const tRows& source, const tTaps& across, const tTaps& down,
                                                       LONG x, LONG y, LONG shift) {
    constexpr double kRounding = 1e-11; // of some hundred operations on levels, amply
    const auto total = [](const typename Register::tReals& parts) KWINLINE {
        double sum = 0;
        for (int l = 0; l < Register::kReals; ++l) sum += parts[l];
        return sum;
    };
    const auto row = [&](LONG k, LONG reach) KWINLINE {
        return RowParts<Register>(KwWordRow(source, std::clamp<LONG>(y + k, 0, source.height - 1)), source.width, x,
                                  reach, across, shift);
    };
    const auto decided = [](double sum, double open) { return std::fabs(sum - std::floor(sum) - 0.5) > open; };

    // As if floats between the passes were not rounded, which mostly decides.
    const LONG acrossReach = across.reach + 4, downReach = down.reach + 4;
    typename Register::tReals parts{};
    for (LONG k = -downReach; k <= downReach; ++k) parts += row(k, acrossReach) * down.Exact(k);
    double sum = total(parts);
    if (decided(sum, kRounding + 255 * across.Beyond(acrossReach) * down.size + 256 * down.Beyond(downReach) +
                         Rounding(255) * down.size))
        return ToLevel(sum);

    const double error = kRounding + 255 * across.Beyond(across.farReach);
    double open = kRounding + 256 * down.Beyond(down.farReach);
    sum = 0;
    for (LONG k = -down.farReach; k <= down.farReach; ++k) {
        const double all = total(row(k, across.farReach));
        const double low = static_cast<double>(static_cast<float>(all - error));
        const double high = static_cast<double>(static_cast<float>(all + error));
        sum += down.Exact(k) * low;
        open += std::fabs(down.Exact(k)) * (high - low);
    }
    if (decided(sum, open)) return ToLevel(sum);
    return std::nullopt;
}
constexpr CKwBodies kDecide(KwWidths<DecideWide<tRegister<16>>, DecideWide<tRegister<32>>, DecideWide<tRegister<64>>>);

} // namespace

std::optional<std::uint8_t> Decide(const tRows& source, const tTaps& across, const tTaps& down, LONG x, LONG y,
                                   LONG shift) {
    return kDecide(source, across, down, x, y, shift);
}

double tTaps::Error(double most) const {
    double error = most * Beyond(reach), parts[2]{};
    const auto add = [&](double& part, double size, LONG k) {
        const double tap = std::fabs(Exact(k)), change = std::fabs(Exact(k) - static_cast<double>(floats[k]));
        part += size * tap;
        error += size * change + Rounding(size * tap) + Rounding(part);
    };
    for (LONG k = reach; k > 0; --k) {
        error += std::fabs(Exact(k)) * Rounding(2 * most);
        add(parts[k % 2], 2 * most, k);
    }
    double whole = parts[0] + parts[1];
    error += Rounding(whole);
    add(whole, most, 0);
    return error;
}

double Rounding(double size) {
    constexpr double kAmply = 1.000001; // what was rounded before may be a little larger than it should be
    return size > 0 ? std::ldexp(1.0, std::ilogb(size * kAmply) - 24) : 0.0;
}

std::optional<tTaps> TapsOf(const tGaussianCoefficients& c) {
    tTaps taps;
    std::array<double, kFarReach + 1> exact{};
    for (std::size_t k = 0; k < exact.size(); ++k) {
        double tap = k < 4 ? c.n[k] : 0.0;
        for (std::size_t j = 1; j <= std::min<std::size_t>(k, 4); ++j) tap -= c.d[j] * exact[k - j];
        exact[k] = taps.exact[kFarReach + k] = taps.exact[kFarReach - k] = tap;
        taps.total += k > 0 ? 2 * tap : tap;
        taps.size += std::fabs(k > 0 ? 2 * tap : tap);
    }
    for (LONG k = kFarReach; k > 0; --k) taps.beyond[k - 1] = taps.beyond[k] + 2 * std::fabs(taps.Exact(k));
    while (taps.farReach < kFarReach && !(taps.Beyond(taps.farReach) < 1e-16)) ++taps.farReach;
    while (taps.reach < kReach && !(taps.Beyond(taps.reach) < 1e-7)) taps.reach += kTogether;
    const bool normal = std::fabs(taps.total - 1) < 0.001; // not so of no radius, nor of an infinite one
    if (!normal || taps.farReach == kFarReach || !(taps.Beyond(taps.reach) < 1e-7)) return std::nullopt;
    for (LONG k = 0; k <= taps.reach; ++k) taps.floats[k] = static_cast<float>(taps.Exact(k));
    return taps;
}

} // namespace kw_gaussian
