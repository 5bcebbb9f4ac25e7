// Black Restore, and the earlier filter of broadcast colours.
#include <array>

#include "filters/filter.h"
#include "kernels/gamut.h"

namespace {

tPixelRule BlackRestore(double threshold) {
    const int t = static_cast<int>(threshold * 255.0);
    const auto f = static_cast<float>(threshold);
    const auto rule = [](auto level) {
        return [level](auto p) { return p.b <= level && p.g <= level && p.r <= level ? decltype(p){0, 0, 0, p.a} : p; };
    };
    return {rule(t), rule(f)};
}

TEST(BlackRestore, FollowsItsRule) {
    for (const double threshold : {0.0, 0.02, 0.3, 0.75, 1.0, 7.0, -1.0})
        ExpectRule("Black Restore", threshold, [&] { return BlackRestore(threshold); });
    EXPECT_EQ((tPixel8{0, 0, 0, 255}), Through("Black Restore", 0.02, {5, 5, 5, 255}));
    EXPECT_EQ((tPixel8{5, 5, 6, 255}), Through("Black Restore", 0.02, {5, 5, 6, 255}));
}

struct tGamutRecord {
    double lowBound, highBound;
    LONG invert, smoothUpper, smoothLow, reserved;
};

std::array<int, 256> GamutCurve(const tGamutRecord& r) {
    const double low = static_cast<float>(r.lowBound), high = static_cast<float>(r.highBound);
    const double a = (low + 1) * 16, b = 235 - high * 20;
    const int ia = static_cast<int>(a) + 1, ib = static_cast<int>(b) + 1, m = 235 - ib;
    const double slope = static_cast<float>((a - 16) / a), f = static_cast<float>((235 - b) / (255 - b));
    const double g = 235 - f * 255;
    std::array<int, 256> table;
    for (int i = 0; i < 256; ++i) {
        double value = i;
        if (r.smoothLow && i < 16) value = (slope * i) * (i * 0.0625 * 0.5) + 16;
        if (r.smoothLow && i >= 16 && i < ia) {
            const double k = ia - i;
            value = i + (i * slope + 16 - i) * (k / (static_cast<int>(a) - 15) * 0.5);
        }
        const double line = f * i + g;
        if (r.smoothUpper && i >= ib && i < 235) value = (1 - double(i + m - 235) / m * 0.5) * (i - line) + line;
        if (r.smoothUpper && i >= 235) value = line + (0.5 - (i - 235) * 0.05 * 0.5) * (235 - line);
        table[static_cast<std::size_t>(i)] = static_cast<int>(std::clamp(value, 0.0, 255.0));
    }
    return table;
}

tPixelRule Gamut(const tGamutRecord& r) {
    return {[r, table = GamutCurve(r)](tPixel8 p) {
                const auto map = [&](std::uint8_t c) {
                    const int v = std::min(table[c], int{p.a});
                    return static_cast<std::uint8_t>(r.invert && (v < 16 || v > 235) ? 255 - v : v);
                };
                return tPixel8{map(p.b), map(p.g), map(p.r), p.a};
            },
            nullptr};
}

constexpr const char* kGamut = "(Legacy Plug-In) Broadcast Colors";

TEST(Gamut, FollowsItsRule) {
    for (const double low : {0.0, 0.4, 1.0})
        for (const double high : {0.0, 0.37, 1.0})
            for (const LONG flags : {0, 1, 2, 3, 4, 5, 6, 7}) {
                const tGamutRecord r{low, high, flags & 1, flags & 2, flags & 4, 0};
                ExpectRule(kGamut, r, [&] { return Gamut(r); });
            }
}

TEST(Gamut, WorkedNumbers) {
    const tGamutRecord start{0, 1, 0, 1, 0, 0}, clamp{0, 0, 0, 1, 1, 0}, inverts{0, 1, 1, 1, 0, 0};
    const struct {
        tGamutRecord record;
        tPixel8 in, out;
    } kCases[] = {
        {start, {0, 215, 255, 255}, {0, 215, 235, 255}},  {start, {0, 200, 255, 128}, {0, 128, 128, 128}},
        {clamp, {0, 128, 255, 255}, {16, 128, 235, 255}}, {inverts, {255, 100, 7, 255}, {235, 100, 248, 255}},
        {inverts, {0, 5, 100, 10}, {255, 250, 245, 10}}, // not capped again
    };
    for (const auto& c : kCases) EXPECT_EQ(c.out, Through(kGamut, c.record, c.in));

    // Both knees join without a step; the lower one is half way between the two lines where they meet.
    std::uint8_t table[256];
    BuildGamutCurve(table, 1.0, 1.0, true, true);
    EXPECT_EQ(16, table[0]);
    EXPECT_EQ(20, table[16]);
    EXPECT_EQ(32, table[32]);
    for (int i = 1; i < 256; ++i) EXPECT_LE(table[i - 1], table[i]) << i;
}

} // namespace
