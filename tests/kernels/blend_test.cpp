#include "kernels/blend.h"
#include "kernels/copy.h"

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

/// What is copied and what is added reach differently far into the output: on the right, below, or on either side.
TEST(SumScaled, AddsWhereTheSecondPictureIs) {
    const RECT clip{1, 1, 6, 5}, before{-1, 1, 4, 5};
    const struct {
        LONG baseWidth, addedWidth, addedHeight;
        const RECT* addedClip;
    } cases[] = {{6, 4, 5, &clip}, {6, 6, 3, &clip}, {5, 6, 5, &before}};
    for (const LONG bytesPerPixel : {4, 16})
        for (const auto& c : cases) {
            CTestPicture base(c.baseWidth, 5, bytesPerPixel), added(c.addedWidth, c.addedHeight, bytesPerPixel);
            CTestPicture p(6, 5, bytesPerPixel);
            base.Fill(1);
            added.Fill(2);
            p.Fill(3);
            CTestPicture expected = p;
            const tView first = base.View(&clip), second = added.View(c.addedClip);
            ASSERT_EQ(S_OK, KwDibCopy(expected.View(&clip), first, bytesPerPixel));
            ASSERT_EQ(S_OK, KwDibAddScaled(expected.View(&clip), second, bytesPerPixel, 0.6, 3, 0, 0));
            EXPECT_EQ(S_OK, KwDibSumScaled(p.View(&clip), first, second, bytesPerPixel, 0.6));
            ExpectSame(p, expected);
            // What is added is the copy by then.
            ASSERT_EQ(S_OK, KwDibCopy(expected.View(&clip), first, bytesPerPixel));
            ASSERT_EQ(S_OK, KwDibAddScaled(expected.View(&clip), expected.View(&clip), bytesPerPixel, 0.6, 3, 0, 0));
            EXPECT_EQ(S_OK, KwDibSumScaled(p.View(&clip), first, p.View(&clip), bytesPerPixel, 0.6));
            ExpectSame(p, expected);
        }
}

} // namespace
