#include "kernels/clock.h"

#include "kernels/picture.h"

namespace {

TEST(Clock, EndsAreTheTwoPictures) {
    CTestPicture out(40, 30, 4), source(40, 30, 4);
    CTestPicture before = out.Fill(1);
    source.Fill(2);
    const tCLOCKPROP prop{0, 0, 30.0};
    KwDibClock(out.View(), source.View(), 4, &prop, 0.0);
    ExpectSame(out, before);
    KwDibClock(out.View(), source.View(), 4, &prop, 1.0);
    ExpectSame(out, source);
    EXPECT_EQ(E_POINTER, KwDibClock(out.View(), source.View(), 4, nullptr, 0.5));
}

} // namespace
