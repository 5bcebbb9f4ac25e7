#include "kernels/channel_min.h"

#include <limits>

#include "kernels/picture.h"

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

// Great values and what is no number do not count.
TEST(ChannelMin, FollowsTheDefinition) {
    for (const LONG radius : {0, 1, 3, 8, 70, INT32_MAX, -1, INT32_MIN})
        for (const auto& [width, height] : {std::pair{1, 1}, {9, 1}, {6, 7}, {8, 40}, {1030, 3}}) {
            CTestPicture s(width, height, 4), d(width, height, 4);
            s.Fill(1, true);
            CTestPicture expected = d.Fill(2);
            DefineMin<std::uint8_t>(expected, 1, s, 2, radius, 255);
            ASSERT_EQ(S_OK, KwDibChannelMin(d.View(), 1, s.View(), 2, radius, 4));
            ExpectSame(d, expected);
            CTestPicture from(width, height, 16), to(width, height, 16);
            from.Fill(3, true);
            from.PixelF(0, 0).b = std::numeric_limits<float>::quiet_NaN();
            from.PixelF(width - 1, 0).b = 11.0f;
            CTestPicture wanted = to.Fill(4);
            DefineMin<float>(wanted, 3, from, 0, radius, 10.0f);
            ASSERT_EQ(S_OK, KwDibChannelMin(to.View(), 3, from.View(), 7, radius, 16));
            ExpectSame(to, wanted);
        }
}

} // namespace
