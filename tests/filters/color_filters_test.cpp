// Black and White, Sepia, HSL Adjust.
#include "base/arith.h"
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

TEST(HslAdjust, WorkedPixels) {
    EXPECT_EQ((tPixel8{255, 255, 0, 255}), Through("HSL Adjust", tHSLADJUSTPROP{0.5, 1, 1}, {0, 0, 255, 255}));
    EXPECT_EQ((tPixel8{127, 127, 127, 255}), Through("HSL Adjust", tHSLADJUSTPROP{0, 0, 1}, {0, 0, 255, 255}));
}

} // namespace
