#include "pages/controls/color_picker.h"

#include <cmath>
#include <limits>
#include <sstream>

#include "digest.h"
#include "pages/control_rig.h"

namespace {

constexpr ULONG kEcho = 1u << 31; ///< the page sets what it is told

struct tPicker : CControlRig<CColorPicker> {
    explicit tPicker(ULONG style = kColorPickAlpha | kColorPickGamut) : CControlRig(style) {
        echoes = style & kEcho;
        Play("size 330,130");
    }
    void Set(tPickColor color) { Message(kColorPickSet, 0, color.data()); }
    tColorPickDetail Detail() const { return CControlRig::Detail<tColorPickDetail>(); }
};

TEST(ColorMath, RoundTrips) {
    for (int i = 0; i < 21 * 21 * 21; ++i) {
        const tPickRgb rgb{i % 21 / 20.0, i / 21 % 21 / 20.0, i / 441 / 20.0};
        const tPickRgb back = HSLtoRGB(RGBtoHSL(rgb));
        ASSERT_NEAR(back.red, rgb.red, 1e-14);
        ASSERT_NEAR(back.green, rgb.green, 1e-14);
        ASSERT_NEAR(back.blue, rgb.blue, 1e-14);
    }
    EXPECT_DOUBLE_EQ(GammaEncode(0.0179), 4.5 * 0.0179);
    EXPECT_DOUBLE_EQ(GammaEncode(0.018), 1.099 * std::pow(0.018, 0.45) - 0.099);
    for (double c = 0; c <= 1; c += 1.0 / 512) EXPECT_NEAR(GammaDecode(GammaEncode(c)), c, 1e-15);
    EXPECT_LT(GammaDecode(-0.2), 0.0);
}

TEST(ColorMath, CorrectedColoursAreInsideBothLimits) {
    constexpr int kSteps = 33;
    Digest digest;
    for (int i = 0; i < kSteps * kSteps * kSteps; ++i) {
        const auto level = [](int n) { return static_cast<float>(n % kSteps) / (kSteps - 1); };
        const tPickColor color{level(i), level(i / kSteps), level(i / kSteps / kSteps), 0.25f};
        const LONG flags = TestGamut(color);
        ASSERT_NE(flags, kGamutNtsc) << "the wider limit fails alone";
        const tPickColor corrected = CorrectGamut(color);
        ASSERT_EQ(corrected == color, flags == 0) << i;
        ASSERT_EQ(TestGamut(corrected), 0) << i;
        ASSERT_EQ(corrected[3], 0.25f);
        digest.add(static_cast<std::uint64_t>(flags));
        digest.add(std::as_bytes(std::span(corrected)));
    }
    expectRow("kernels.txt", "CorrectGamut", digest.text());
}

TEST(ColorPicker, Scripts) {
    ExpectScripts("color_picker", [](ULONG style) { return std::make_unique<tPicker>(style); });
}

// A press on the swatch of a colour outside the limits gives what the swatch shows.
TEST(ColorPicker, TheSwatchCorrects) {
    tPicker p;
    p.Set({0, 1, 1, 0.5f});
    const tColorPickDetail before = p.Detail();
    EXPECT_EQ(before.gamutFlags, 3);
    p.Play("press @7");
    EXPECT_TRUE(std::ranges::equal(p.Detail().color, before.corrected));
    EXPECT_EQ(p.Detail().parts[KWPART_GAMUT], RECT{});
}

TEST(ColorPicker, Layout) {
    for (const ULONG style : {0u, 2u, 64u, 66u, ~0u}) {
        tPicker p(style);
        p.Set({0, 1, 1, 1});
        for (LONG w = 150; w < 700; w += 7) {
            for (LONG h = 70; h < 400; h += 11) {
                p.Send(KWEVENT_SIZE, w, h);
                const tColorPickDetail detail = p.Detail();
                for (LONG a = KWPART_SPACE; a <= KWPART_LAST; ++a) {
                    const RECT& r = detail.parts[a];
                    const bool shown =
                        a == KWPART_GAMUT ? style & 64 : (a != KWPART_ALPHA_BAR && a != KWPART_ALPHA_EDIT) || style & 2;
                    ASSERT_EQ(r.left < r.right && r.top < r.bottom, shown) << a << " at " << w << "x" << h;
                    if (!shown) continue;
                    ASSERT_GE(std::min(r.left, r.top), 0);
                    ASSERT_TRUE(r.right <= w && r.bottom <= h);
                    if (a != KWPART_FIELD) {
                        ASSERT_GE(std::min(r.right - r.left, r.bottom - r.top), 10) << a;
                    }
                    for (LONG b = KWPART_SPACE; b < a; ++b) {
                        const RECT& o = detail.parts[b];
                        ASSERT_FALSE(std::max(r.left, o.left) < std::min(r.right, o.right) &&
                                     std::max(r.top, o.top) < std::min(r.bottom, o.bottom))
                            << a << " over " << b << " at " << w << "x" << h;
                    }
                }
            }
        }
        for (const LONG w : {0, 1, 2, 9, 40, -1, 10000, std::numeric_limits<LONG>::min(), 2147483647}) {
            for (const LONG h : {0, 1, 2, 9, 40, -1, 10000, std::numeric_limits<LONG>::min(), 2147483647}) {
                EXPECT_EQ(p.Send(KWEVENT_SIZE, w, h), S_OK);
                for (const RECT& r : p.Detail().parts) {
                    EXPECT_TRUE(r == RECT{} || (r.left < r.right && r.top < r.bottom && r.left >= 0 && r.top >= 0));
                    EXPECT_TRUE(r == RECT{} || (r.right <= w && r.bottom <= h));
                }
            }
        }
    }
    tPicker p;
    const tColorPickDetail detail = p.Detail();
    EXPECT_EQ(detail.parts[KWPART_EDIT1].right - detail.parts[KWPART_EDIT1].left, 34);
    EXPECT_EQ(detail.parts[KWPART_FIELD], (RECT{0, 0, 132, 130}));
}

/// A part painted with a wide pitch; the bytes between rows must stay.
std::vector<std::uint8_t> Painted(const CColorPicker& control, LONG part, LONG width, LONG height, LONG pitch) {
    const auto step = static_cast<std::size_t>(std::abs(pitch));
    std::vector<std::uint8_t> bytes(step * static_cast<std::size_t>(height), 0xCD), out;
    std::uint8_t* const top = bytes.data() + (pitch < 0 ? step * static_cast<std::size_t>(height - 1) : 0);
    EXPECT_EQ(control.Paint(part, top, width, height, pitch), S_OK) << part;
    for (LONG y = 0; y < height; ++y) {
        const std::uint8_t* const row = top + std::ptrdiff_t{pitch} * y;
        out.insert(out.end(), row, row + width * 4);
        EXPECT_TRUE(std::all_of(row + width * 4, row + step, [](std::uint8_t b) { return b == 0xCD; }));
    }
    return out;
}

TEST(ColorPicker, Paint) {
    tPicker p;
    p.Set({0.2f, 0.4f, 0.6f, 0.8f});
    using tBytes = std::vector<std::uint8_t>;
    const struct {
        LONG part;
        bool hsl;
        tBytes row;
    } table[] = {
        {3, false, {51, 102, 0, 255, 51, 102, 128, 255, 51, 102, 255, 255}},
        {4, false, {51, 0, 153, 255, 51, 128, 153, 255, 51, 255, 153, 255}},
        {5, false, {0, 102, 153, 255, 128, 102, 153, 255, 255, 102, 153, 255}},
        {6, false, {51, 102, 153, 0, 51, 102, 153, 128, 51, 102, 153, 255}},
        {13, false, {51, 102, 153, 204, 51, 102, 153, 204, 51, 102, 153, 204}},
        {3, true, {51, 51, 153, 255, 153, 153, 51, 255, 51, 51, 153, 255}},
        {4, true, {102, 102, 102, 255, 51, 51, 153, 255, 0, 0, 204, 255}},
        {5, true, {0, 0, 0, 255, 64, 64, 191, 255, 255, 255, 255, 255}},
    };
    for (const auto& test : table) {
        if (test.hsl && !p.Detail().colorSpace) {
            p.Play("press @1");
            p.Set({0.2f, 0.2f, 0.6f, 1});
        }
        for (const LONG pitch : {12, 15, -13}) {
            tBytes expected = test.row;
            expected.insert(expected.end(), test.row.begin(), test.row.end());
            EXPECT_EQ(Painted(p.control, test.part, 3, 2, pitch), expected) << test.part;
        }
    }
    EXPECT_EQ(Painted(p.control, KWPART_FIELD, 3, 3, 17),
              (tBytes{255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 255, 0, 0,   255, 255, 255, 255,
                      0,   255, 0,   0,   255, 255, 0,   0,   0,   255, 0,   0,   0, 255, 0,   0,   0,   255}));
    EXPECT_EQ(Painted(p.control, 3, 1, 1, 4).size(), 4u);

    std::uint8_t pixel[4];
    const LONG least = std::numeric_limits<LONG>::min();
    EXPECT_EQ(p.control.Paint(8, nullptr, 1, 1, 4), E_POINTER);
    for (const LONG part : {-1, 0, 1, 2, 7, 9, 12, 14, 99, least})
        EXPECT_EQ(p.control.Paint(part, pixel, 1, 1, 4), E_INVALIDARG) << part;
    const LONG sizes[][3] = {{0, 1, 4}, {1, 0, 4},  {-1, 1, 4},        {1, least, 4},
                             {1, 1, 3}, {1, 1, -3}, {2147483647, 1, 4}};
    for (const auto& [w, h, pitch] : sizes) EXPECT_EQ(p.control.Paint(8, pixel, w, h, pitch), E_INVALIDARG);

    tPicker opaque(kColorPickGamut);
    opaque.Set({0, 1, 1, 0});
    EXPECT_EQ(Painted(opaque.control, 13, 1, 1, 4), (tBytes{0, 255, 255, 255}));
    EXPECT_EQ(Painted(opaque.control, 7, 1, 1, 4)[3], 255);
    EXPECT_EQ(opaque.control.Paint(6, pixel, 1, 1, 4), E_INVALIDARG);
}

} // namespace
