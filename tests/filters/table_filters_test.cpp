// Brightness and Contrast, Levels, Threshold: the tables and what is made of them.
#include <array>

#include "base/arith.h"
#include "filter.h"
#include "kernels/levels.h"

namespace {

/// The record of Brightness and Contrast, as hosts know it.
struct tBRIGHTCONTRASTPROP {
    double brightness, contrast, contrastCenter;
};

std::uint8_t Capped(std::uint8_t color, std::uint8_t alpha) {
    return color < alpha ? color : alpha;
}

tPixel8 Mapped(tPixel8 p, const std::array<int, 256>& table) {
    const auto map = [&](std::uint8_t c) { return Capped(static_cast<std::uint8_t>(table[c]), p.a); };
    return {map(p.b), map(p.g), map(p.r), p.a};
}

tPixelRule BrightnessContrast(const tBRIGHTCONTRASTPROP& r) {
    return {[r](tPixel8 p) {
                std::array<int, 256> table;
                if (std::abs(r.brightness) > 0.00001) {
                    const int offset = static_cast<int>(static_cast<float>(r.brightness) * 255.0);
                    for (int i = 0; i < 256; ++i) table[i] = std::clamp(i + offset, 0, 255);
                    p = Mapped(p, table);
                }
                if (std::abs(r.contrast) > 0.00001) {
                    const double c = std::abs(r.contrast), m = r.contrastCenter;
                    const int high = static_cast<int>(255.0 - (255.0 - m * 255.0) * c),
                              low = static_cast<int>(c * m * 255.0);
                    int sum = low * 16384;
                    const int step = static_cast<int>((high - low) * 64.0), top = std::max(high, low);
                    for (int i = 0; i < 256; ++i) {
                        if (r.contrast > 0)
                            table[i] = i < low ? 0 : i < top ? (i - low) * 255 / (top - low) : 255;
                        else
                            table[i] = sum / 16384;
                        sum += step;
                    }
                    p = Mapped(p, table);
                }
                return p;
            },
            nullptr};
}

TEST(BrightnessContrast, FollowsItsRule) {
    for (const auto& r : Records<tBRIGHTCONTRASTPROP>("Brightness and Contrast", {{1, 0, 0.5},
                                                                                  {-1, 0, 0.5},
                                                                                  {0, 1, 0.5},
                                                                                  {0, -1, 0.5},
                                                                                  {0.3, 0.7, 0},
                                                                                  {-0.2, -0.7, 1},
                                                                                  {0.00001, -0.00001, 0.5},
                                                                                  {0.00002, 1, 0.2}}))
        ExpectRule("Brightness and Contrast", r, [&] { return BrightnessContrast(r); });
}

std::vector<int> LevelsTable(const tLEVELSPROP& r, int bytesPerPixel) {
    const bool bytes = bytesPerPixel == 4;
    const double full = bytesPerPixel == 8 ? 65535 : 255, invGamma = 1.0 / r.gamma;
    const int inLow = int(full * r.inputStart), outLow = int(full * r.outputStart), outHigh = int(full * r.outputEnd);
    const int inHigh = int(full * r.inputEnd) + (int(full * r.inputEnd) == inLow);
    const int slope = int((outHigh - outLow) * 16384.0 / (inHigh - inLow));
    int sum = outLow * 16384;
    std::vector<int> table(bytes ? 256 : 65536);
    for (int i = 0; i < static_cast<int>(table.size()); ++i) {
        if (i < inLow) {
            table[i] = 0;
        } else if (i < inHigh) {
            const double k = bytes ? 0.0000002393535539215686 : 0.0000000009313367856870375;
            table[i] = invGamma == 1.0 ? sum / 16384 & (bytes ? 0xFF : 0xFFFF)
                                       : KwTrunc(std::pow(sum * k, invGamma) * (bytes ? 255.0 : 65535.0)) & 0xFF;
            sum += slope;
        } else {
            table[i] = outHigh;
        }
    }
    return table;
}

/// The channels that are mapped, by number.
bool Maps(const tLEVELSPROP& r, int c) {
    return r.channel == 3 || r.channel == 4 || r.channel == c;
}

tPixelRule Levels(const tLEVELSPROP& r) {
    return {[r, table = LevelsTable(r, 4)](tPixel8 p) {
                const auto map = [&](int c, std::uint8_t v) {
                    return Capped(Maps(r, c) ? static_cast<std::uint8_t>(table[v]) : v, p.a);
                };
                return tPixel8{map(0, p.b), map(1, p.g), map(2, p.r), p.a};
            },
            [r, table = LevelsTable(r, 16)](tPixelF p) {
                const auto map = [&](int c, float v) {
                    const double at = std::clamp(v * 65535.0, 0.0, 65535.0);
                    if (Maps(r, c)) v = static_cast<float>(table[static_cast<std::size_t>(at)]) * 0.000015259022f;
                    return v > p.a ? p.a : v;
                };
                return tPixelF{map(0, p.b), map(1, p.g), map(2, p.r), p.a};
            }};
}

TEST(Levels, FollowsItsRule) {
    auto records = Records<tLEVELSPROP>("Levels", {{0.5, 0.5, 0.2, 0.9, 1, 4, 0},
                                                   {0.2, 0.8, 0.9, 0.1, 1, 4, 0},
                                                   {0.2, 0.8, 0.9, 0.1, 0.45, 4, 0},
                                                   {0, 1, 0, 1, 1.0000001, 4, 0},
                                                   {1, 0, 0, 1, 5, 2, 0}});
    for (LONG channel = -1; channel < 6; ++channel) records.push_back({0.1, 0.8, 0.2, 0.9, 1.5, channel, 0});
    for (const tLEVELSPROP& r : records) ExpectRule("Levels", r, [&] { return Levels(r); });
}

TEST(Levels, TablesOfEveryPixelSize) {
    for (const LONG size : {4, 8, 16}) {
        const tLEVELSPROP r{0.25, 0.75, 0.5, 1, 1, 4, 0};
        std::vector<std::uint16_t> words(65536);
        ASSERT_TRUE(KwBuildLevelsTable(words.data(), size, &r));
        const std::vector<int> expected = LevelsTable(r, size);
        const auto* const bytes = reinterpret_cast<const std::uint8_t*>(words.data());
        for (std::size_t i = 0; i < expected.size(); ++i)
            ASSERT_EQ(expected[i], size == 4 ? bytes[i] : words[i]) << size << " at " << i;
        EXPECT_FALSE(KwBuildLevelsTable(nullptr, size, &r));
        EXPECT_FALSE(KwBuildLevelsTable(words.data(), size, nullptr));
    }
}

tPixelRule Threshold(float threshold) {
    const int n = static_cast<int>(threshold * 256.0);
    return {[n](tPixel8 p) {
                const auto map = [&](std::uint8_t c) { return Capped(c >= n ? 255 : 0, p.a); };
                return tPixel8{map(p.b), map(p.g), map(p.r), p.a};
            },
            [n](tPixelF p) {
                const auto map = [&](float c) {
                    const float v = static_cast<int>(std::clamp(c * 255.0, 0.0, 255.0)) >= n ? 255 * 0.003921569f : 0;
                    return v > p.a ? p.a : v;
                };
                return tPixelF{map(p.b), map(p.g), map(p.r), p.a};
            }};
}

TEST(Threshold, FollowsItsRuleBeyondTheClip) {
    for (const auto& r : Records<float>("Threshold", {0.0f, 1.0f, -3.0f, 0.9999f}))
        ExpectRule("Threshold", r, [&] { return Threshold(r); }, {.wholeFrame = true});
    EXPECT_EQ((tPixel8{0, 0, 0, 255}), Through("Threshold", 1.0f, {255, 0, 128, 255}));
    EXPECT_EQ((tPixel8{70, 70, 70, 70}), Through("Threshold", 0.0f, {0, 1, 70, 70}));
}

} // namespace
