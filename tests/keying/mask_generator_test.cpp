#include "filters/filter.h"
#include "kernels/mask_generator.h"

namespace {

tMASKPROP Record(LONG type, double lowIn = 0, double highIn = 1, double lowOut = 0, double highOut = 1,
                 LONG invert = 0) {
    return {type, 0, lowIn, highIn, lowOut, highOut, invert, 0};
}

double Curve(double v, double lowIn, double highIn, double rangeIn, double lowOut, double rangeOut) {
    const double u = v <= lowIn ? 0.0 : v >= highIn ? 1.0 : (v - lowIn) / rangeIn;
    return u * rangeOut + lowOut;
}

tPixelRule Mask(const tMASKPROP& r) {
    const auto pick = [r](const auto& p, auto mean) {
        return r.type == 0 ? p.a : r.type == 2 ? p.r : r.type == 3 ? p.g : r.type == 4 ? p.b : mean;
    };
    return {[=](tPixel8 p) {
                const int byte = pick(p, static_cast<std::uint8_t>((p.b + p.g + p.r) / 3));
                const double v = (r.invert ? 255 - byte : byte) * 0.00392156862745098;
                const auto out = static_cast<std::uint8_t>(static_cast<int>(
                    Curve(v, r.lowIn, r.highIn, r.highIn - r.lowIn, r.lowOut, r.highOut - r.lowOut) * 255.0));
                return tPixel8{out, out, out, out};
            },
            [=](tPixelF p) {
                float v = pick(p, (p.b + p.g + p.r) * 0.33333334f);
                if (r.invert) v = 1.0f - v;
                const auto f = [](double narrowed) { return static_cast<float>(narrowed); };
                const float out =
                    f(Curve(v, f(r.lowIn), f(r.highIn), f(r.highIn - r.lowIn), f(r.lowOut), f(r.highOut - r.lowOut)));
                return tPixelF{out, out, out, out};
            }};
}

TEST(MaskGenerator, FollowsItsRule) {
    for (LONG type = -1; type < 7; ++type)
        for (const tMASKPROP& r :
             {Record(type), Record(type, 0, 1, 0, 1, 1), Record(type, 0.2, 0.7, 0.1, 0.9, -3),
              Record(type, 0.5, 0.5, 0.3, 0.6), Record(type, 0.8, 0.2, 1, 0), Record(type, 0, 1, -1, 3)})
            ExpectRule("Mask Generator", r, [&] { return Mask(r); }, {.sizes = {{1, 1}, {1, 7}, {67, 9}, {2100, 2}}});
    EXPECT_EQ((tPixel8{255, 255, 255, 255}), Through("Mask Generator", Record(1), {255, 255, 255, 7}));
    EXPECT_EQ((tPixel8{25, 25, 25, 25}), Through("Mask Generator", Record(1, 0.5, 1, 0.1, 1), {9, 9, 9, 200}));
}

TEST(MaskGenerator, Refusals) {
    CTestPicture p(4, 4, 4), q(4, 5, 4);
    const tMASKPROP r = Record(1);
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), p.View(), 4, nullptr));
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), q.View(), 4, &r));
    EXPECT_EQ(E_POINTER, KwDibMask(p.View(), {nullptr, nullptr, 0, nullptr}, 4, &r));
}

} // namespace
