#include "kernels/clock.h"

#include "kernels/picture.h"

namespace {

/// The definition for frames that start at 0. `out` covers `clip`.
void Reference(CTestPicture& out, CTestPicture& source, const RECT& clip, const tCLOCKPROP& prop, double progress) {
    const double p = progress < 0 ? 0 : progress > 1 ? 1 : progress;
    const double F = prop.feather * 0.017453292519943295, limit = (F + 6.283185307179586) * p;
    const int cx = source.Width() / 2, cy = source.Height() / 2;
    for (LONG row = clip.top; row < clip.bottom; ++row)
        for (LONG col = clip.left; col < clip.right; ++col) {
            const double x = prop.direction ? cx - col : col - cx, y = cy - row + 0.5;
            double th = std::atan2(x, y);
            if (th < 0) th += 6.283185307179586;
            if (th >= limit) continue;
            double r = std::sqrt(x * x + y * y);
            if (r < 2.0) r = 2.0;
            const double al = std::asin(1.414 / r), wd = F > al ? F : al;
            const double e = std::min(limit - wd, F + 6.283185307179586);
            const bool part = p < 1 && th > e;
            const double t = 1 - (th - e) / wd, w = 3 * t * t - 2 * t * t * t;
            for (int c = 0; c < 4; ++c) {
                if (out.BytesPerPixel() == 4) {
                    std::uint8_t& d = out.At(col - clip.left, row - clip.top)[c];
                    const int s = source.At(col, row)[c];
                    d = static_cast<std::uint8_t>(part ? d + (s - d) * static_cast<int>(w * 255 + 0.5) / 256 : s);
                } else {
                    float& d = (&out.PixelF(col - clip.left, row - clip.top).b)[c];
                    const float s = (&source.PixelF(col, row).b)[c];
                    d = part ? d + (s - d) * static_cast<float>(w) : s;
                }
            }
        }
}

TEST(Clock, FollowsTheDefinition) {
    for (const LONG bytesPerPixel : {4, 16})
        for (const auto& [w, h] : {std::pair{1, 1}, {2, 2}, {1, 40}, {61, 1}, {301, 47}, {46, 90}}) {
            const RECT whole{0, 0, w, h}, part{w / 3, h / 4, w, h};
            CTestPicture source(w, h, bytesPerPixel);
            source.Fill(2, true);
            for (const RECT& clip : {whole, part})
                for (const LONG direction : {0, 1})
                    for (const double feather : {0.0, 0.3, 30.0, 220.0, 360.0, -20.0, 5000.0})
                        for (const double progress : {-1.0, 0.0, 0.05, 0.25, 0.3, 0.5, 0.62, 0.75, 0.93, 1.0, 2.0}) {
                            CTestPicture out(clip.right - clip.left, clip.bottom - clip.top, bytesPerPixel);
                            out.Fill(1, true);
                            CTestPicture expected = out;
                            const tCLOCKPROP prop{direction, 0, feather};
                            ASSERT_EQ(S_OK, KwDibClock(out.View(), source.View(&clip), bytesPerPixel, &prop, progress));
                            Reference(expected, source, clip, prop, progress);
                            ASSERT_TRUE(out == expected)
                                << w << "x" << h << " direction " << direction << " feather " << feather << " progress "
                                << progress << ": " << out.FirstDifference(expected);
                            out.CheckGuards();
                        }
        }
}

TEST(Clock, WildNumbersFollowTheDefinitionToo) {
    CTestPicture source(21, 13, 4);
    source.Fill(2);
    const RECT whole{0, 0, 21, 13};
    for (const double feather : {std::nan(""), double{INFINITY}, -double{INFINITY}, 1e300, -1e300})
        for (const double progress : {std::nan(""), 0.0, 0.4, 1.0}) {
            CTestPicture out(21, 13, 4);
            CTestPicture expected = out.Fill(1);
            const tCLOCKPROP prop{0, 0, feather};
            EXPECT_EQ(S_OK, KwDibClock(out.View(), source.View(), 4, &prop, progress));
            Reference(expected, source, whole, prop, progress);
            ExpectSame(out, expected);
        }
}

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
