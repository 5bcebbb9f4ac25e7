#include "filters/filter.h"
#include "kernels/mask_generator.h"

namespace {

tMASKPROP Record(LONG type, double lowIn = 0, double highIn = 1, double lowOut = 0, double highOut = 1,
                 LONG invert = 0) {
    return {type, 0, lowIn, highIn, lowOut, highOut, invert, 0};
}

TEST(MaskGenerator, WorkedPixels) {
    EXPECT_EQ((tPixel8{255, 255, 255, 255}), Through("Mask Generator", Record(1), {255, 255, 255, 7}));
    EXPECT_EQ((tPixel8{25, 25, 25, 25}), Through("Mask Generator", Record(1, 0.5, 1, 0.1, 1), {9, 9, 9, 200}));
    EXPECT_EQ((tPixel8{55, 55, 55, 55}), Through("Mask Generator", Record(0, 0, 1, 0, 1, -3), {9, 9, 9, 200}));
}

TEST(MaskGenerator, Refusals) {
    CTestPicture p(4, 4, 4), q(4, 5, 4);
    const tMASKPROP r = Record(1);
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), p.View(), 4, nullptr));
    EXPECT_EQ(E_INVALIDARG, KwDibMask(p.View(), q.View(), 4, &r));
    EXPECT_EQ(E_POINTER, KwDibMask(p.View(), {nullptr, nullptr, 0, nullptr}, 4, &r));
}

} // namespace
