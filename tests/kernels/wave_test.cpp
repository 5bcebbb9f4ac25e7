#include "kernels/wave.h"

#include "kernels/picture.h"

namespace {

TEST(Wave, StillWaterRepeatsTheLastColumnAndRowButOne) {
    CTestPicture s(20, 10, 4), d(20, 10, 4), expected(20, 10, 4);
    s.Fill(1);
    for (LONG y = 0; y < 10; ++y)
        for (LONG x = 0; x < 20; ++x) expected.Pixel8(x, y) = s.Pixel8(std::min(x, 18), std::min(y, 8));
    ASSERT_EQ(S_OK, KwDibWave(d.View(), s.View(), 4, {}));
    ExpectSame(d, expected);
}

} // namespace
