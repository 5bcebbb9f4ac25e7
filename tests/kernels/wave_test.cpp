#include "kernels/wave.h"

#include "kernels/over_shapes.h"

namespace {

std::int32_t Trunc(double v) {
    return v > -2147483649.0 && v < 2147483648.0 ? static_cast<std::int32_t>(v) : INT32_MIN;
}

void DefineWave(CTestPicture& d, CTestPicture& s, const tWAVEPROP& p) {
    const double W = d.Width(), H = d.Height();
    const double ax = W * p.verticalAmplitude, ay = H * p.horizontalAmplitude;
    const double kv = p.verticalWaves * 3.141, kh = p.horizontalWaves * 3.141;
    for (LONG y = 0; y < d.Height(); ++y) {
        std::int32_t running = Trunc(std::sin(y / H * kv + p.verticalPhase) * ax * 16384.0);
        for (LONG x = 0; x < d.Width(); ++x) {
            const std::int32_t sx = std::clamp(running, 0, std::max(d.Width() - 2, 0) * 16384);
            const std::int32_t sy = std::clamp(Trunc((std::sin(x / W * kh + p.horizontalPhase) * ay + y) * 16384.0), 0,
                                               std::max(d.Height() - 2, 0) * 16384);
            running = static_cast<std::int32_t>(static_cast<std::uint32_t>(running) + 16384u);
            const int fx = sx & 16383, fy = sy & 16383;
            const LONG left = sx / 16384, top = sy / 16384;
            const LONG right = std::min(left + 1, d.Width() - 1), bottom = std::min(top + 1, d.Height() - 1);
            for (LONG c = 0; c < 4; ++c) {
                if (d.BytesPerPixel() == 4) {
                    const int w11 = fx * fy / 16384, w01 = (16384 - fx) * fy / 16384;
                    const int w10 = (16384 - fy) * fx / 16384, w00 = (16384 - fy) * (16384 - fx) / 16384;
                    d.At(x, y)[c] =
                        static_cast<std::uint8_t>((w11 * s.At(right, bottom)[c] + w01 * s.At(left, bottom)[c] +
                                                   w10 * s.At(right, top)[c] + w00 * s.At(left, top)[c]) >>
                                                  14);
                } else {
                    const double a = fx * 0.00006103515625, b = fy * 0.00006103515625, w11 = a * b;
                    const float w01 = static_cast<float>((1 - a) * b), w10 = static_cast<float>((1 - b) * a);
                    const float w00 = static_cast<float>((1 - a) * (1 - b));
                    const auto at = [&](LONG u, LONG v) { return (&s.PixelF(u, v).b)[c]; };
                    (&d.PixelF(x, y).b)[c] = static_cast<float>(
                        w11 * static_cast<double>(at(right, bottom)) + static_cast<double>(w01 * at(left, bottom)) +
                        static_cast<double>(w10 * at(right, top)) + static_cast<double>(w00 * at(left, top)));
                }
            }
        }
    }
}

void Compare(LONG form, const tWAVEPROP& wave) {
    CompareOverShapes(
        form, [&](const tView& d, const tView& s) { return KwDibWave(d, s, form, wave); },
        [&](CTestPicture& d, CTestPicture& s) { DefineWave(d, s, wave); });
}

TEST(Wave, FollowsTheDefinition) {
    for (const LONG form : {4, 16}) {
        Compare(form, {0, 0, 0, 0, 0, 0});
        Compare(form, {5.4, 5.4, 0.05, 0.05, 0, 0});
        Compare(form, {20, 14, 0.3, 0.7, 0.8, 6.1});
        Compare(form, {10, 0, 0.04, 0, 0.8, 0});
        Compare(form, {0, 10, 0, 0.04, 0, 0.8});
        Compare(form, {1, 1, 1, 1, 1.5, 4.7});
    }
}

TEST(Wave, TakesWildValues) {
    for (const LONG form : {4, 16})
        for (int field = 0; field < 6; ++field)
            for (const double value : kWildValues) {
                double fields[6] = {5.4, 3.0, 0.2, 0.3, 0.1, 0.5};
                fields[field] = value;
                SCOPED_TRACE(testing::Message() << "field " << field << ": " << value);
                Compare(form, {fields[0], fields[1], fields[2], fields[3], fields[4], fields[5]});
            }
}

TEST(Wave, StillWaterRepeatsTheLastColumnAndRowButOne) {
    CTestPicture s(20, 10, 4), d(20, 10, 4), expected(20, 10, 4);
    s.Fill(1);
    for (LONG y = 0; y < 10; ++y)
        for (LONG x = 0; x < 20; ++x) expected.Pixel8(x, y) = s.Pixel8(std::min(x, 18), std::min(y, 8));
    ASSERT_EQ(S_OK, KwDibWave(d.View(), s.View(), 4, {}));
    ExpectSame(d, expected);
}

} // namespace
