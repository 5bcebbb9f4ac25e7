#include "kernels/table.h"

#include <bit>
#include <limits>
#include <vector>

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

const std::vector<tKernel>& KwKernels() {
    static const std::vector<tKernel> kernels = [] {
        std::vector<tKernel> all;
        for (const auto& part : {KwPixelKernels(), KwSpatialKernels()}) all.insert(all.end(), part.begin(), part.end());
        return all;
    }();
    return kernels;
}
