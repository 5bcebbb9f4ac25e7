#include "kernels/gamut.h"

#include <algorithm>

#include "base/arith.h"

void BuildGamutCurve(std::uint8_t* table, double lowBound, double highBound, bool smoothLow, bool smoothUpper) {
    const double a = (double{static_cast<float>(lowBound)} + 1.0) * 16.0;
    const double b = 235.0 - double{static_cast<float>(highBound)} * 20.0;
    const std::int64_t ia = std::int64_t{KwTrunc(a)} + 1, ib = std::int64_t{KwTrunc(b)} + 1;
    const auto set = [table](std::int64_t i, double value) {
        if (i >= 0 && i < 256) table[i] = KwByte(KwTrunc(KwClamp(value, 0.0, 255.0)));
    };
    for (std::int64_t i = 0; i < 256; ++i) set(i, static_cast<double>(i));

    if (smoothLow) {
        const double r = double{static_cast<float>((a - 16.0) / a)};
        const double span = static_cast<double>(std::int64_t{KwTrunc(a)} - 15);
        for (std::int64_t i = 0; i < 16; ++i) {
            const double x = static_cast<double>(i);
            set(i, (r * x) * (x * 0.0625 * 0.5) + 16.0);
        }
        for (std::int64_t i = 16; i < std::min<std::int64_t>(ia, 256); ++i) {
            const double x = static_cast<double>(i), k = static_cast<double>(ia - i);
            set(i, x + (x * r + 16.0 - x) * (k / span * 0.5));
        }
    }
    if (smoothUpper) {
        const double f = double{static_cast<float>((235.0 - b) / (255.0 - b))};
        const double g = 235.0 - f * 255.0;
        const double m = static_cast<double>(235 - ib);
        for (std::int64_t i = std::max<std::int64_t>(ib, 0); i < 235; ++i) {
            const double x = static_cast<double>(i), line = f * x + g;
            set(i, (1.0 - (x + m - 235.0) / m * 0.5) * (x - line) + line);
        }
        for (std::int64_t i = 235; i < 256; ++i) {
            const double x = static_cast<double>(i), j = static_cast<double>(i - 235), line = f * x + g;
            set(i, line + (0.5 - j * 0.05 * 0.5) * (235.0 - line));
        }
    }
}

void KwBuildOutOfRangeTable(std::uint8_t* table) {
    for (std::int32_t i = 0; i < 256; ++i) table[i] = KwByte(i < 16 || i > 235 ? 255 - i : i);
}
