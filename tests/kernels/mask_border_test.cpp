#include "kernels/mask_border.h"

#include <limits>

#include "kernels/shape_reference.h"

namespace {

struct tSize {
    LONG width, height;
};

/// Masks of a part of a picture.
tReferenceMasks Draw(const RECT& shapeFrame, const RECT& part, LONG bytesPerPixel, double aspect, double progress,
                     bool fixedSize, tIRISINFO info) {
    tReferenceMasks masks{{part.right - part.left, part.bottom - part.top, bytesPerPixel},
                          {part.right - part.left, part.bottom - part.top, bytesPerPixel}};
    EXPECT_EQ(S_OK, KwCreateMaskBorder(&shapeFrame, &part, masks.cut.View(), masks.border.View(), bytesPerPixel, aspect,
                                       progress, fixedSize, &info));
    EXPECT_GE(info.repeatX, 1);
    EXPECT_GE(info.repeatY, 1);
    return masks;
}

TEST(MaskBorder, FollowsThePlainDrawing) {
    for (const tSize size : {tSize{61, 40}, {40, 61}, {1, 1}, {1, 30}, {30, 1}})
        for (const tIRISINFO& info : ShapeRecords())
            for (const double progress : {-0.5, 0.0, 0.03, 0.4, 0.77, 0.999, 1.0, 2.0})
                for (const LONG bytesPerPixel : {4, 16}) {
                    const double aspect = info.repeatX == 2 ? 1.25 : 1.0;
                    const bool fixedSize = info.repeatY == 0;
                    const RECT frame{0, 0, size.width, size.height};
                    tReferenceMasks actual = Draw(frame, frame, bytesPerPixel, aspect, progress, fixedSize, info);
                    tReferenceMasks expected =
                        ReferenceMasks(size.width, size.height, bytesPerPixel, aspect, progress, fixedSize, info);
                    SCOPED_TRACE(testing::Message() << "shape " << info.shape << " feather " << info.feather
                                                    << " border " << info.border << " progress " << progress << " size "
                                                    << size.width << "x" << size.height << "x" << bytesPerPixel);
                    ExpectSame(actual.cut, expected.cut);
                    ExpectSame(actual.border, expected.border);
                    if (testing::Test::HasFailure()) return;
                }
}

TEST(MaskBorder, PartsFitTogetherAnywhere) {
    const RECT frame{-7, 30, 150, 152};
    for (tIRISINFO info : ShapeRecords()) {
        tReferenceMasks whole = Draw(frame, frame, 4, 1.0, 0.45, false, info);
        for (const RECT& part : {RECT{-7, 30, 150, 60}, RECT{-7, 60, 150, 91}, RECT{20, 91, 60, 152}}) {
            tReferenceMasks actual = Draw(frame, part, 4, 1.0, 0.45, false, info);
            for (LONG y = part.top; y < part.bottom; ++y)
                for (LONG x = part.left; x < part.right; ++x) {
                    ASSERT_EQ(0,
                              std::memcmp(actual.cut.At(x - part.left, y - part.top), whole.cut.At(x + 7, y - 30), 4))
                        << "shape " << info.shape << " at " << x << ", " << y;
                    ASSERT_EQ(0, std::memcmp(actual.border.At(x - part.left, y - part.top),
                                             whole.border.At(x + 7, y - 30), 4));
                }
        }
    }
}

TEST(MaskBorder, EndsOfTheWay) {
    const RECT frame{0, 0, 33, 21};
    for (tIRISINFO info : ShapeRecords())
        for (const double progress : {0.0, 1.0}) {
            if (progress == 0.0) info.border = 0;
            tReferenceMasks masks = Draw(frame, frame, 4, 1.0, progress, false, info);
            for (LONG y = 0; y < 21; ++y)
                for (LONG x = 0; x < 33; ++x) ASSERT_EQ(progress == 0.0 ? 0 : 255, masks.cut.Pixel8(x, y).a);
        }
}

TEST(MaskBorder, ShapesOnlyGrow) {
    const RECT frame{0, 0, 64, 36};
    for (LONG shape = 0; shape < KW_SHAPE_COUNT; ++shape) {
        tIRISINFO info;
        info.shape = shape;
        CTestPicture before(64, 36, 4);
        for (int step = 0; step <= 200; ++step) {
            tReferenceMasks masks = Draw(frame, frame, 4, 1.0, step / 200.0, false, info);
            for (LONG y = 0; y < 36; ++y)
                for (LONG x = 0; x < 64; ++x)
                    ASSERT_GE(masks.cut.Pixel8(x, y).a, before.Pixel8(x, y).a) << "shape " << shape << " step " << step;
            before = masks.cut;
        }
    }
}

TEST(MaskBorder, HostileRecords) {
    const float wild[] = {std::numeric_limits<float>::quiet_NaN(),
                          std::numeric_limits<float>::infinity(),
                          -std::numeric_limits<float>::infinity(),
                          3e38f,
                          -3e38f,
                          1e9f,
                          -1e9f,
                          1e-40f};
    const double wildDoubles[] = {std::nan(""), HUGE_VAL, -HUGE_VAL, 1e300, -1e300, 0.0, 1e-300, 0.5};
    const RECT frame{0, 0, 37, 23};
    for (const LONG bytesPerPixel : {4, 16})
        for (LONG shape = 0; shape < KW_SHAPE_COUNT; ++shape)
            for (std::size_t i = 0; i < 8; ++i)
                for (int field = 0; field < 6; ++field) {
                    tIRISINFO info;
                    info.shape = shape;
                    info.border = 0.1f;
                    info.repeatX = info.repeatY = 3;
                    double aspect = 1.0, progress = 0.5;
                    if (field < 4) (&info.centerX)[field] = wild[i];
                    if (field == 4) aspect = wildDoubles[i];
                    if (field == 5) progress = wildDoubles[i], info.feather = 0.2f, info.red = wild[i];
                    Draw(frame, frame, bytesPerPixel, aspect, progress, i & 1, info).cut.CheckGuards();
                }
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
                Draw({0, 0, 200, 100}, {0, 0, 200, 100}, 4, 1.0, 0.6, false, info).cut.CheckGuards();
            }
    const RECT frames[] = {
        {INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}, {5, 5, 5, 5}, {9, 9, 0, 0}, {INT32_MAX - 1, 0, INT32_MAX, 3}};
    for (const RECT& frame : frames)
        for (const LONG shape : {0, 1, 3, 10}) {
            tIRISINFO info;
            info.shape = shape;
            info.repeatX = shape == 1 ? 2147483647 : 2;
            Draw(frame, {3, 4, 20, 30}, 4, 1.0, 0.5, false, info).cut.CheckGuards();
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
                Draw(frame, frame, bytesPerPixel, c.aspect, c.progress, fixedSize, info).cut.CheckGuards();
        }
}

TEST(MaskBorder, RefusesWhatIsMissing) {
    const RECT frame{0, 0, 8, 8};
    CTestPicture mask(8, 8, 4);
    tIRISINFO info;
    const tView none{nullptr, &frame, 32, nullptr}, frameless{mask.At(0, 0), nullptr, 32, nullptr};
    const auto run = [&](const RECT* shape, const RECT* part, const tView& cut, const tView& border,
                         tIRISINFO* record) {
        return KwCreateMaskBorder(shape, part, cut, border, 4, 1.0, 0.5, false, record);
    };
    EXPECT_EQ(E_POINTER, run(nullptr, &frame, mask.View(), none, &info));
    EXPECT_EQ(E_POINTER, run(&frame, nullptr, mask.View(), none, &info));
    EXPECT_EQ(E_POINTER, run(&frame, &frame, mask.View(), none, nullptr));
    EXPECT_EQ(E_POINTER, run(&frame, &frame, frameless, none, &info));
    EXPECT_EQ(E_INVALIDARG, run(&frame, &frame, none, none, &info));
    EXPECT_EQ(S_OK, run(&frame, &frame, mask.View(), none, &info));
    info.border = 0.5f;
    EXPECT_EQ(E_INVALIDARG, run(&frame, &frame, mask.View(), none, &info));
}

} // namespace
