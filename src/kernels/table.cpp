#include "kernels/table.h"

#include <bit>
#include <limits>

#include "kernels/blend.h"
#include "kernels/copy.h"

std::uint64_t CKwDraw::Bits() {
    std::uint64_t z = m_state += 0x9E3779B97F4A7C15;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9;
    z = (z ^ z >> 27) * 0x94D049BB133111EB;
    return z ^ z >> 31;
}

LONG CKwDraw::Within(LONG low, LONG high) {
    return low + static_cast<LONG>(Bits() % (static_cast<std::uint64_t>(high - low) + 1));
}

double CKwDraw::Real(double low, double high, double typical) {
    if (!m_random) return typical;
    const std::uint64_t kind = Bits() % 16;
    if (kind == 0) {
        using tLimits = std::numeric_limits<double>;
        constexpr double kWild[] = {0.0,
                                    -0.0,
                                    1e-300,
                                    1e9,
                                    -1e9,
                                    1e300,
                                    -1e300,
                                    2147483648.0,
                                    tLimits::infinity(),
                                    -tLimits::infinity(),
                                    tLimits::quiet_NaN()};
        return kWild[Bits() % std::size(kWild)];
    }
    if (kind == 1) return low;
    if (kind == 2) return high;
    return low + (high - low) * static_cast<double>(Bits() >> 11) * 0x1p-53;
}

LONG CKwDraw::Whole(LONG low, LONG high, LONG typical) {
    if (!m_random) return typical;
    return Bits() % 16 ? Within(low, high) : std::bit_cast<LONG>(static_cast<std::uint32_t>(Bits()));
}

bool CKwDraw::Flag(bool typical) {
    return m_random ? Bits() & 1 : typical;
}

namespace {

struct tMatte {
    double rgb[3];
};
tMatte DrawMatte(CKwDraw& draw) {
    return {{draw.Real(0, 1, 0.2), draw.Real(0, 1, 0.5), draw.Real(0, 1, 0.7)}};
}

constexpr tKernel kKernels[] = {
    {"KwDibCopy", 1, kTakesBoth | kInPlace, [](tKernelCall c) { return KwDibCopy(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibBlend", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) { return KwDibBlend(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(-0.2, 1.2, 0.3)); }},
    {"KwDibBlendSrcAlpha", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) { return KwDibBlendSrcAlpha(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibBlendSrcAlpha matte", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) { return KwDibBlendSrcAlpha(c.out, c.in[0], c.bytesPerPixel, DrawMatte(c.draw).rgb); }},
    {"KwDibAddScaled", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) {
         return KwDibAddScaled(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 0.7), 3, 0.0, 0.0);
     }},
    {"KwDibAddScaled offset", 1, kTakesBoth,
     [](tKernelCall c) {
         const double amount = c.draw.Real(0, 1, 0.7), x = c.draw.Real(-3, 3, 0.3), y = c.draw.Real(-3, 3, 0.6);
         return KwDibAddScaled(c.out, c.in[0], c.bytesPerPixel, amount, 3, x, y);
     }},
};

} // namespace

std::span<const tKernel> KwKernels() {
    return kKernels;
}
