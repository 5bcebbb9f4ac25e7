#include "kernels/levels.h"

#include <cmath>

#include "base/arith.h"
#include "base/functions.h"

namespace {

/// Of KwPow(base, exponent) * scale, where a base of 0 gives 0 whatever the exponent. The C library's power, which is
/// much quicker, does where its last digits cannot matter; what is not finite is near everything.
std::int32_t TruncatedPower(double base, double exponent, double scale) {
    if (base == 0.0) return 0;
    const double quick = std::pow(base, exponent) * scale;
    const double away = std::fabs(quick - std::floor(quick + 0.5));
    return KwTrunc(away > 1e-9 * (1.0 + std::fabs(quick)) ? quick : KwPow(base, exponent) * scale);
}

} // namespace

bool KwBuildLevelsTable(void* table, LONG bytesPerPixel, const tLEVELSPROP* record) {
    if (!table || !record) return false;
    const bool bytes = bytesPerPixel == 4;
    const double invGamma = 1.0 / record->gamma;
    const double full = bytesPerPixel == 8 ? 65535.0 : 255.0;
    const auto level = [full](double fraction) { return std::int64_t{KwTrunc(full * fraction)}; };
    const std::int64_t inLow = level(record->inputStart), outLow = level(record->outputStart);
    const std::int64_t outHigh = level(record->outputEnd);
    std::int64_t inHigh = level(record->inputEnd);
    if (inHigh == inLow) ++inHigh;

    const std::int32_t slope =
        KwTrunc(static_cast<double>(outHigh - outLow) * 16384.0 / static_cast<double>(inHigh - inLow));
    std::int32_t sum = KwWrap32(outLow * 16384);
    const double unit = bytes ? 0.0000002393535539215686 : 0.0000000009313367856870375;
    const double scale = bytes ? 255.0 : 65535.0;
    for (std::int32_t i = 0; i < (bytes ? 256 : 65536); ++i) {
        std::int64_t entry = 0;
        if (i >= inLow && i < inHigh) {
            entry = invGamma == 1.0 ? sum / 16384 : TruncatedPower(sum * unit, invGamma, scale) & 0xFF;
            sum = KwWrap32(std::int64_t{sum} + slope);
        } else if (i >= inLow) {
            entry = outHigh;
        }
        if (bytes)
            static_cast<std::uint8_t*>(table)[i] = static_cast<std::uint8_t>(entry);
        else
            static_cast<std::uint16_t*>(table)[i] = static_cast<std::uint16_t>(entry);
    }
    return true;
}
