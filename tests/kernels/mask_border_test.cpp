#include "kernels/mask_border.h"

#include "kernels/picture.h"
#include "kernels/shape_mix.h"

namespace {

/// The masks of a part of a picture, which have to end and to stay in their memory.
void Draw(const RECT& shapeFrame, const RECT& part, LONG bytesPerPixel, double aspect, double progress, bool fixedSize,
          tIRISINFO info) {
    CTestPicture cut(part.right - part.left, part.bottom - part.top, bytesPerPixel), border = cut;
    EXPECT_EQ(S_OK, KwCreateMaskBorder(&shapeFrame, &part, cut.View(), border.View(), bytesPerPixel, aspect, progress,
                                       fixedSize, &info));
    EXPECT_GE(info.repeatX, 1);
    EXPECT_GE(info.repeatY, 1);
    cut.CheckGuards();
    border.CheckGuards();
}

TEST(MaskBorder, HostileGridsAndFrames) {
    for (const LONG shape : {0, 3, 6, 10})
        for (const float border : {0.0f, 0.5f, 1e4f})
            for (const auto& [columns, rows] : {std::pair{2147483647, 2147483647}, {1000, 1}, {-5, 700}}) {
                tIRISINFO info;
                info.shape = shape;
                info.border = border;
                info.repeatX = columns;
                info.repeatY = rows;
                Draw({0, 0, 200, 100}, {0, 0, 200, 100}, 4, 1.0, 0.6, false, info);
            }
    const RECT frames[] = {
        {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, {5, 5, 5, 5}, {9, 9, 0, 0}, {INT32_MAX - 1, 0, INT32_MAX, 3}};
    for (const RECT& frame : frames)
        for (const LONG shape : {0, 1, 3, 10}) {
            tIRISINFO info;
            info.shape = shape;
            info.repeatX = shape == 1 ? 2147483647 : 2;
            Draw(frame, {3, 4, 20, 30}, 4, 1.0, 0.5, false, info);
            Draw(frame, {INT32_MIN, INT32_MAX - 30, INT32_MIN + 10, INT32_MAX}, 16, 1.0, 0.5, true, info);
        }
}

// Discs that lie over each other a million times, and yet leave a part of each row open: minutes if each were drawn.
TEST(MaskBorder, CostsWhatThePictureCosts) {
    const struct {
        LONG width, height, shape, columns, rows;
        float centerX, centerY, feather, border;
        double aspect, progress;
    } cases[] = {{2, 101, 0, 2667, 1835, 3.57166f, 0.723043f, 0.312725f, 0.508511f, 1.06865e+13, 1.41846e-09},
                 {112, 78, 0, 2120, 1444, 1.50866f, -1, -2.47613f, 1, 810.906, 0.000929255},
                 {68, 110, 0, 1278, 2858, -0.460349f, -1e+09f, -0.1f, 0.634817f, 2.86731e+11, 0.00394386},
                 {85, 89, 2, 2470, 1561339921, 1.97231f, -0.656772f, 207043, 0.377232f, 5.0682e-06, 0.114735},
                 {44, 24, 0, 2462, 2968, 5.10695e-05f, -0.716796f, 0.0972881f, 0.352973f, 5.25904e+06, 0.181359}};
    for (const auto& c : cases)
        for (const bool fixedSize : {false, true}) {
            tIRISINFO info{c.centerX, c.centerY, c.feather, c.border};
            info.shape = c.shape, info.repeatX = c.columns, info.repeatY = c.rows;
            const RECT frame{0, 0, c.width, c.height};
            for (const LONG bytesPerPixel : {4, 16})
                Draw(frame, frame, bytesPerPixel, c.aspect, c.progress, fixedSize, info);
        }
}

TEST(ShapeMix, NeedsARecord) {
    CTestPicture a(9, 7, 4), out(9, 7, 4);
    EXPECT_EQ(E_POINTER, KwDibIris(out.View(), a.View(), a.View(), 4, nullptr, 0.5, false, 1.0));
    EXPECT_EQ(E_POINTER, KwDibCutter(out.View(), a.View(), 4, nullptr, false, 1.0));
}

} // namespace
