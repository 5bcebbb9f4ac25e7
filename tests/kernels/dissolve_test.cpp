#include "kernels/dissolve.h"

#include "kernels/picture.h"

namespace {

tPixel8 Mix(LONG mode, float progress, tPixel8 first, tPixel8 second, const tDISSOLVEPROP& colour = {}) {
    CTestPicture out(1, 1, 4), a(1, 1, 4), b(1, 1, 4);
    a.Pixel8(0, 0) = first;
    b.Pixel8(0, 0) = second;
    tDISSOLVEPROP record = colour;
    record.mode = mode;
    EXPECT_EQ(S_OK, KwDibDissolve(out.View(), a.View(), b.View(), record, progress));
    return out.Pixel8(0, 0);
}

void ExpectPixel(tPixel8 expected, tPixel8 actual, const char* what) {
    EXPECT_EQ(0, std::memcmp(&expected, &actual, 4))
        << what << ": " << int{actual.b} << ' ' << int{actual.g} << ' ' << int{actual.r} << ' ' << int{actual.a};
}

TEST(Dissolve, WorkedCases) {
    const tPixel8 black{0, 0, 0, 255}, dark{10, 20, 30, 255}, bright{200, 150, 250, 255}, half{40, 50, 60, 128};
    ExpectPixel(bright, Mix(5, 0.0f, black, bright), "pure black passes at once");
    ExpectPixel(dark, Mix(5, 0.0f, dark, bright), "anything brighter waits");
    ExpectPixel(black, Mix(6, 1.0f, bright, black), "the second picture alone at the end");
    ExpectPixel(dark, Mix(3, 0.0f, dark, bright), "bleed starts with the first picture");
    ExpectPixel(bright, Mix(3, 1.0f, dark, bright), "and ends with the second");
    ExpectPixel({64, 0, 0, 128}, Mix(8, 1.0f, dark, bright, {0, 0, 0.5, 0.504, 0, 0}), "the last step is the colour");
    ExpectPixel({210, 170, 255, 255}, Mix(0, 0.5f, dark, bright), "half time shows both at full strength");
    ExpectPixel({190, 130, 220, 255}, Mix(1, 0.4999f, bright, dark), "the taken picture at full strength");
    ExpectPixel({200, 150, 250, 254}, Mix(2, 1.0f, half, bright), "the colour arrives, alpha stops one short");
    ExpectPixel(bright, Mix(4, 1.0f, half, bright), "morph arrives");
    ExpectPixel({0, 0, 0, 254}, Mix(9, 1.0f, {0, 0, 0, 0}, {0, 0, 0, 255}), "the last step stops one short");
}

} // namespace
