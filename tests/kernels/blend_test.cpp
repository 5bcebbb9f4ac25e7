#include "kernels/blend.h"

#include "kernels/picture.h"

namespace {

TEST(AddScaled, ChecksInOrder) {
    CTestPicture p(4, 4, 4), q(4, 4, 4);
    p.Fill(1);
    q.Fill(2);
    CTestPicture expected = p;
    const RECT small{0, 0, 2, 2};
    const tView none{nullptr, nullptr, 0, nullptr}, noBits{nullptr, &small, 8, nullptr};
    EXPECT_EQ(E_POINTER, KwDibAddScaled(none, none, 4, 1, 7, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(noBits, q.View(), 4, 1, 7, 0, 0));
    EXPECT_EQ(E_NOTIMPL, KwDibAddScaled(p.View(), none, 4, 1, 7, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(p.View(), none, 4, 1, 2, 0, 0));
    EXPECT_EQ(E_POINTER, KwDibAddScaled(p.View(), noBits, 4, 1, 3, 0, 0));
    EXPECT_EQ(E_INVALIDARG, KwDibAddScaled(p.View(), q.View(&small), 4, 1, 2, 0, 0));
    EXPECT_EQ(E_NOTIMPL, KwDibAddScaled(p.View(), q.View(), 4, 1, 2, 0, 0));
    ExpectSame(p, expected);
}

} // namespace
