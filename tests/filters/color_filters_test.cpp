// Black and White, Sepia, HSL Adjust.
#include "base/arith.h"
#include "base/level.h"
#include "filter.h"
#include "kernels/hsl_adjust.h"
#include "kernels/sepia.h"

namespace {

std::uint8_t Capped(int color, std::uint8_t alpha) {
    return std::min(static_cast<std::uint8_t>(color), alpha);
}
float CappedF(float color, float alpha) {
    return color > alpha ? alpha : color;
}

tPixelRule BlackAndWhite(double amount) {
    return {[amount](tPixel8 p) {
                const int w = static_cast<std::uint8_t>(static_cast<int>((1.0 - amount) * 255.0 + 0.5));
                const int grey = std::min((p.b + p.g + p.r) / 3, int{p.a});
                const auto blend = [&](int s) { return static_cast<std::uint8_t>(grey + (s - grey) * w / 256); };
                return tPixel8{blend(p.b), blend(p.g), blend(p.r), p.a};
            },
            [amount](tPixelF p) {
                const float grey = CappedF((p.r + p.g + p.b) * 0.33333334f, p.a);
                const auto w = static_cast<float>(1.0 - amount);
                return tPixelF{grey + (p.b - grey) * w, grey + (p.g - grey) * w, grey + (p.r - grey) * w, p.a};
            }};
}

TEST(BlackAndWhite, FollowsItsRule) {
    for (const auto& r : Records<double>("Black and White", {0.998, -0.004, 1.5, -2.0}))
        ExpectRule("Black and White", r, [&] { return BlackAndWhite(r); });
    // At no grey at all the picture comes back a little short.
    EXPECT_EQ((tPixel8{1, 86, 254, 255}), Through("Black and White", 0.0, {0, 85, 255, 255}));
}

TEST(BlackAndWhite, WithoutAnInputWorksInPlace) {
    larkmoor::Effect effect = larkmoor::module().create(larkmoor::module().find("Black and White"));
    CTestPicture output(1, 1, 4);
    output.Pixel8(0, 0) = {10, 20, 60, 255};
    effect.render({}, SurfaceOn(output, larkmoor::PixelFormat::PremultipliedArgb32));
    EXPECT_EQ((tPixel8{30, 30, 30, 255}), output.Pixel8(0, 0));
}

tPixelRule Sepia(const tSEPIAPROP& r, bool caps = true) {
    constexpr double kThird = 0.3333333333333333;
    const double s = r.strength, k = s * 1.5, b = (s - kThird) * 1.5;
    const int stage = s <= kThird ? 1 : s <= 0.6666666666666666 ? 2 : 3;
    std::vector<int> table;
    double weight =
        stage == 2 ? static_cast<int>((s - kThird) * 1.5 * 255.0) : static_cast<int>(std::clamp(b, 0.0, 1.0) * 255.0);
    for (int i = 0; i < 256; ++i, weight -= r.falloff)
        table.push_back(static_cast<int>(std::clamp(weight, 0.0, 255.0)));
    const double tones[] = {r.color.blue, r.color.green, r.color.red};
    const int wk = static_cast<int>((stage == 1 ? k : std::clamp(k, 0.0, 1.0)) * 255.0);
    return {[=](tPixel8 p) {
                const int g = (p.b + p.g + p.r) / 3;
                const auto map = [&](int c, double tone) {
                    const int to = static_cast<int>(tone * 255.0), c1 = stage == 3 ? g : c + (g - c) * wk / 256;
                    const int value = stage == 1 ? c1 : c1 + (to - c1) * table[static_cast<std::size_t>(g)] / 256;
                    return caps ? Capped(value, p.a) : static_cast<std::uint8_t>(value);
                };
                return tPixel8{map(p.b, tones[0]), map(p.g, tones[1]), map(p.r, tones[2]), p.a};
            },
            [=](tPixelF p) {
                const float sum = p.r + p.g + p.b;
                const double grey = stage == 1 ? double{sum * 0.33333334f} : sum * kThird;
                const auto map = [&](double c, double tone) {
                    const double c1 = stage == 3 ? grey : (grey - c) * k + c;
                    const double value = stage == 1 ? c1 : (tone - c1) * (grey * -r.falloff + b) + c1;
                    return caps ? CappedF(static_cast<float>(value), p.a) : static_cast<float>(value);
                };
                return tPixelF{map(p.b, tones[0]), map(p.g, tones[1]), map(p.r, tones[2]), p.a};
            }};
}

TEST(Sepia, FollowsItsRule) {
    const auto check = [](const tSEPIAPROP& r) {
        // The whole frame is toned; only the clip gets the input and the cap.
        const tPixelRule outside = Sepia(r, false);
        ExpectRule("Sepia", r, [&] { return Sepia(r); },
                   {.outsideBytes = outside.bytes,
                    .outsideFloats = outside.floats,
                    .sizes = {{1, 1}, {1, 7}, {67, 9}, {1100, 3}}});
    };
    for (const auto& r : Records<tSEPIAPROP>("Sepia")) check(r);
    for (const double strength : {0.1, 0.3333333333333333, 0.3334, 0.6666666666666666, 0.6667, 1.0, 1.7, -0.4})
        for (const double falloff : {0.0, 0.2, 1.0, -0.5}) check({{1, 0.2, 0.5, 0.3}, strength, falloff});
}

// The plain definition of the colour model, apart from the one under test.

struct tModel {
    double hue = 0, saturation = 0, luminance = 0;
};

tModel ModelOf(double red, double green, double blue) {
    tModel c;
    const double mx = std::max({red, green, blue}), mn = std::min({red, green, blue}), sum = mx + mn, d = mx - mn;
    c.luminance = sum * 0.5;
    if (c.luminance <= 0) return c;
    if (d <= 0) {
        c.saturation = d;
        return c;
    }
    c.saturation = c.luminance <= 0.5 ? d / sum : d / (2.0 - mx - mn);
    const double inv = 1.0 / d, rc = (mx - red) * inv, gc = (mx - green) * inv, bc = (mx - blue) * inv;
    const double h = red == mx     ? green != mn ? 1.0 - gc : bc + 5.0
                     : green == mx ? blue != mn ? 3.0 - bc : rc + 1.0
                     : red != mn   ? 5.0 - rc
                                   : gc + 3.0;
    c.hue = h * 0.16666666666666666;
    return c;
}

/// Red, green, blue; false where they stay.
bool ColorsOf(const tModel& c, double (&rgb)[3]) {
    const double s = c.saturation, l = c.luminance, M = l <= 0.5 ? (s + 1.0) * l : l + s - l * s;
    if (M <= 0) {
        rgb[0] = rgb[1] = rgb[2] = 0;
        return true;
    }
    const double h6 = c.hue * 6.0;
    const int sextant = KwTrunc(h6);
    const double m = 2 * l - M, f = ((M - m) / M) * (h6 - sextant) * M, q = M - f, p = m + f;
    const double table[7][3] = {{M, p, m}, {q, M, m}, {m, M, p}, {m, q, M}, {p, m, M}, {M, m, q}, {M, p, m}};
    if (sextant < 0 || sextant > 6) return false;
    std::copy_n(table[sextant], 3, rgb);
    return true;
}

tModel Adjusted(tModel c, const tHSLADJUSTPROP& r) {
    c.hue += r.addHue;
    if (c.hue > 1.0) c.hue -= 1.0;
    c.saturation = std::clamp(c.saturation * r.saturation, 0.0, 1.0);
    c.luminance = std::clamp(c.luminance * r.luminance, 0.0, 1.0);
    return c;
}

tPixelRule HslAdjust(const tHSLADJUSTPROP& r) {
    return {[r](tPixel8 p) {
                constexpr double k = 0.00392156862745098;
                double rgb[3];
                if (ColorsOf(Adjusted(ModelOf(p.r * k, p.g * k, p.b * k), r), rgb))
                    p = {KwByte(int(rgb[2] * 255.0)), KwByte(int(rgb[1] * 255.0)), KwByte(int(rgb[0] * 255.0)), p.a};
                return tPixel8{Capped(p.b, p.a), Capped(p.g, p.a), Capped(p.r, p.a), p.a};
            },
            [r](tPixelF p) {
                double rgb[3];
                if (ColorsOf(Adjusted(ModelOf(p.r, p.g, p.b), r), rgb))
                    p = {static_cast<float>(rgb[2]), static_cast<float>(rgb[1]), static_cast<float>(rgb[0]), p.a};
                return tPixelF{CappedF(p.b, p.a), CappedF(p.g, p.a), CappedF(p.r, p.a), p.a};
            }};
}

TEST(HslAdjust, FollowsItsRule) {
    for (const auto& r : Records<tHSLADJUSTPROP>("HSL Adjust"))
        ExpectRule("HSL Adjust", r, [&] { return HslAdjust(r); });
    for (const double hue : {1.0, 0.2, -0.1, -2.5, 3.7})
        for (const double saturation : {1.3, -1.0})
            for (const double luminance : {1.0, 0.4, 2.0}) {
                const tHSLADJUSTPROP r{hue, saturation, luminance};
                ExpectRule("HSL Adjust", r, [&] { return HslAdjust(r); });
            }
    EXPECT_EQ((tPixel8{255, 255, 0, 255}), Through("HSL Adjust", tHSLADJUSTPROP{0.5, 1, 1}, {0, 0, 255, 255}));
    EXPECT_EQ((tPixel8{127, 127, 127, 255}), Through("HSL Adjust", tHSLADJUSTPROP{0, 0, 1}, {0, 0, 255, 255}));
}

TEST(HslAdjust, EveryKindOfColorGivesTheSameBytesInBothBodies) {
    // All colours of 43 levels a channel, so every order and every tie of the three.
    constexpr LONG kLevels = 43;
    CTestPicture source(kLevels * kLevels, kLevels, 4);
    for (LONG y = 0; y < kLevels; ++y)
        for (LONG x = 0; x < kLevels * kLevels; ++x)
            source.Pixel8(x, y) = {static_cast<std::uint8_t>(x % kLevels * 6 + x % 4),
                                   static_cast<std::uint8_t>(x / kLevels * 6 + x % 2), static_cast<std::uint8_t>(y * 6),
                                   static_cast<std::uint8_t>(x % 7 ? 255 : y * 5)};
    for (const tHSLADJUSTPROP& r : {tHSLADJUSTPROP{0, 1, 1},
                                    {1, 1, 1},
                                    {0.5, 1, 1},
                                    {1.0 / 6, 0.7, 1.2},
                                    {0.937, 1e300, 0.9},
                                    {0.25, 2, 2},
                                    {0, -1, 1},
                                    {0.1, 1, 0},
                                    {0.4, 1, -1}}) {
        CTestPicture wide = source, plain = source;
        EXPECT_EQ(S_OK, KwDibHslAdjust(wide.View(), wide.View(), 4, &r));
        const eKwLevel before = KwLimitLevel(eKwLevel::Plain);
        EXPECT_EQ(S_OK, KwDibHslAdjust(plain.View(), source.View(), 4, &r));
        KwLimitLevel(before);
        ExpectSame(wide, plain);
    }
}

} // namespace
