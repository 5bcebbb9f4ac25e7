#include "kernels/invert.h"

#include "kernels/picture.h"

namespace {

TEST(Invert, HalfAlphaComesBackALittleDarker) {
    CTestPicture d(2, 1, 4), s(2, 1, 4);
    s.Pixel8(0, 0) = {128, 0, 0, 128};
    ASSERT_EQ(S_OK, KwDibInvert(d.View(), s.View(), 4, 1.0));
    EXPECT_EQ(0, d.Pixel8(0, 0).b);
    EXPECT_EQ(127, d.Pixel8(0, 0).g);
}

} // namespace
