#include "kernels/channel_min.h"

#include "kernels/over_shapes.h"

namespace {

template <class Value>
void DefineMin(CTestPicture& d, LONG to, CTestPicture& s, LONG from, LONG radius, Value none) {
    const auto value = [](CTestPicture& p, LONG x, LONG y, LONG c) -> Value& {
        return reinterpret_cast<Value*>(p.At(x, y))[c];
    };
    const std::int64_t r = radius;
    for (LONG y = 0; y < d.Height(); ++y)
        for (LONG x = 0; x < d.Width(); ++x) {
            Value least = none;
            for (std::int64_t v = std::max<std::int64_t>(y - r, 0); v < std::min<std::int64_t>(y + r, d.Height()); ++v)
                for (std::int64_t u = std::max<std::int64_t>(x - r, 0); u < std::min<std::int64_t>(x + r, d.Width());
                     ++u) {
                    const Value at = value(s, static_cast<LONG>(u), static_cast<LONG>(v), from);
                    if (at < least) least = at;
                }
            value(d, x, y, to) = least;
        }
}

TEST(ChannelMin, FollowsTheDefinition) {
    for (const LONG radius : {0, 1, 2, 3, 5, 8, 13, 70, INT32_MAX, -1, INT32_MIN}) {
        SCOPED_TRACE(radius);
        CompareOverShapes(
            4, [&](const tView& d, const tView& s) { return KwDibChannelMin(d, 1, s, 2, radius, 4); },
            [&](CTestPicture& d, CTestPicture& s) { DefineMin<std::uint8_t>(d, 1, s, 2, radius, 255); });
        CompareOverShapes(
            16, [&](const tView& d, const tView& s) { return KwDibChannelMin(d, 3, s, 7, radius, 16); },
            [&](CTestPicture& d, CTestPicture& s) { DefineMin<float>(d, 3, s, 0, radius, 10.0f); });
    }
}

TEST(ChannelMin, WorksInPlaceBetweenChannels) {
    CTestPicture s(90, 40, 4), d = s.Fill(1, true);
    DefineMin<std::uint8_t>(d, 0, s, 3, 4, 255);
    ASSERT_EQ(S_OK, KwDibChannelMin(s.View(), 0, s.View(), 3, 4, 4));
    ExpectSame(s, d);
}

TEST(ChannelMin, GreatValuesAndNotANumberDoNotCount) {
    CTestPicture s(3, 1, 16), d(3, 1, 16), expected(3, 1, 16);
    s.PixelF(0, 0).b = std::numeric_limits<float>::quiet_NaN();
    s.PixelF(1, 0).b = 11.0f;
    s.PixelF(2, 0).b = 4.0f;
    expected.PixelF(0, 0).b = expected.PixelF(1, 0).b = 10.0f;
    expected.PixelF(2, 0).b = 4.0f;
    ASSERT_EQ(S_OK, KwDibChannelMin(d.View(), 0, s.View(), 0, 1, 16));
    ExpectSame(d, expected);
}

} // namespace
