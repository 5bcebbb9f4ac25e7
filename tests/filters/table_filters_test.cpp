// Brightness and Contrast, Levels, Threshold: the tables and what is made of them.
#include <array>

#include "digest.h"
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

TEST(Levels, TablesOfEveryPixelSize) {
    const tLEVELSPROP straight{0.25, 0.75, 0.5, 1, 1, 4, 0}, bent{0.5, 0.5, 0.2, 0.9, 0.45, 4, 0};
    for (const LONG size : {4, 8, 16}) {
        Digest digest;
        std::vector<std::uint16_t> words(65536);
        for (const tLEVELSPROP& r : {straight, bent}) {
            ASSERT_TRUE(KwBuildLevelsTable(words.data(), size, &r));
            digest.add(std::as_bytes(std::span(words)));
        }
        expectRow("kernels.txt", fmt::format("KwBuildLevelsTable {}", size), digest.text());
        EXPECT_FALSE(KwBuildLevelsTable(nullptr, size, &straight));
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
