#include "pages/controls/color_picker.h"

#include <cmath>
#include <limits>
#include <sstream>

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

TEST(ColorMath, NamedColors) {
    const struct {
        tPickRgb rgb;
        tPickHsl hsl;
    } table[] = {
        {{0, 0, 0}, {-1, 0, 0}},        {{1, 1, 1}, {-1, 0, 1}},        {{0.5, 0.5, 0.5}, {-1, 0, 0.5}},
        {{1, 0, 0}, {0, 1, 0.5}},       {{1, 1, 0}, {1.0 / 6, 1, 0.5}}, {{0, 1, 0}, {2.0 / 6, 1, 0.5}},
        {{0, 1, 1}, {3.0 / 6, 1, 0.5}}, {{0, 0, 1}, {4.0 / 6, 1, 0.5}}, {{1, 0, 1}, {5.0 / 6, 1, 0.5}},
        {{1, 0.5, 0.5}, {0, 1, 0.75}},  {{0.25, 0, 0}, {0, 1, 0.125}},  {{0.25, 0.75, 0.5}, {2.5 / 6, 0.5, 0.5}},
    };
    for (const auto& row : table) {
        const tPickHsl hsl = RGBtoHSL(row.rgb);
        EXPECT_DOUBLE_EQ(hsl.hue, row.hsl.hue);
        EXPECT_DOUBLE_EQ(hsl.saturation, row.hsl.saturation);
        EXPECT_DOUBLE_EQ(hsl.luminance, row.hsl.luminance);
    }
    for (const double hue : {-1.0, 1.5, std::nan("")}) EXPECT_EQ(HSLtoRGB({hue, 1, 0.25}).green, 0.25);
    EXPECT_EQ(HSLtoRGB({1, 1, 0.5}).red, 1.0);
}

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

/// The test of both limits as written down, of encoded channels.
LONG PlainFlags(const double (&e)[3], double (&yuv)[3]) {
    constexpr double kRows[3][3] = {
        {0.144, 0.587, 0.299}, {0.436798, -0.289391, -0.147407}, {-0.099978, -0.514799, 0.614777}};
    for (int i = 0; i < 3; ++i) yuv[i] = kRows[i][0] * e[0] + kRows[i][1] * e[1] + kRows[i][2] * e[2];
    const double amplitude = yuv[1] * yuv[1] + yuv[2] * yuv[2];
    return ((1.2 - yuv[0]) * (1.2 - yuv[0]) < amplitude ? 1 : 0) |
           ((1.2162163 - yuv[0]) * (1.2162163 - yuv[0]) < amplitude ? 2 : 0);
}

TEST(ColorMath, GamutAgainstThePlainRules) {
    constexpr int kSteps = 33;
    int outside = 0;
    for (int i = 0; i < kSteps * kSteps * kSteps; ++i) {
        const auto level = [](int n) { return static_cast<float>(n % kSteps) / (kSteps - 1); };
        const tPickColor color{level(i), level(i / kSteps), level(i / kSteps / kSteps), 0.25f};
        double e[3], yuv[3];
        for (std::size_t c = 0; c < 3; ++c)
            e[c] = color[c] < 0.018 ? 4.5 * color[c] : 1.099 * std::pow(double{color[c]}, 0.45) - 0.099;
        const LONG flags = PlainFlags(e, yuv);
        ASSERT_EQ(TestGamut(color), flags) << i;
        ASSERT_NE(flags, kGamutNtsc) << "the wider limit fails alone";
        const tPickColor corrected = CorrectGamut(color);
        ASSERT_EQ(corrected[3], 0.25f);
        if (!flags) {
            ASSERT_EQ(corrected, color);
            continue;
        }
        ++outside;
        double u = yuv[1], v = yuv[2];
        const auto scale = [&](double s, double luma) {
            const double r = std::min(1.0, (s - (luma + s - 1.15)) / s);
            u *= r;
            v *= r;
        };
        scale(std::hypot(u, v), yuv[0]);
        scale(std::hypot(u, v) * 0.925, yuv[0] * 0.925 + 0.075);
        const double back[3] = {yuv[0] + 2.028398 * u, yuv[0] - 0.393931 * u - 0.580809 * v, yuv[0] + 1.140251 * v};
        for (std::size_t c = 0; c < 3; ++c) {
            const double linear = back[c] < 0.081 ? back[c] / 4.5 : std::pow((back[c] + 0.099) / 1.099, 1 / 0.45);
            ASSERT_NEAR(corrected[c], std::clamp(linear, 0.0, 1.0), 1e-7) << i;
        }
        ASSERT_EQ(TestGamut(corrected), 0) << i;
    }
    EXPECT_GT(outside, 100);
}

TEST(ColorMath, GamutOfNamedColors) {
    EXPECT_EQ(TestGamut({0, 1, 1, 1}), 3);
    EXPECT_EQ(TestGamut({1, 1, 0, 1}), 3);
    EXPECT_EQ(TestGamut({0, 0, 1, 1}), 0);
    for (const float grey : {0.0f, 1e-30f, 0.018f, 0.5f, 1.0f}) {
        const tPickColor color{grey, grey, grey, 1};
        EXPECT_EQ(TestGamut(color), 0);
        EXPECT_EQ(CorrectGamut(color), color);
    }
}

constexpr tScript kScripts[] = {
    {66,
     "set 1,0.5,0,0.25; tip @1; tip @2; tip @3; tip @9; tip @4; tip @10; tip @5; tip @11; tip @6; tip @12; tip @8; tip "
     "@13; leave; show",
     "*; Change Color Space to HSL; Pick Color from Screen; Red: 100.00%; Red: 100.00%; Green: 50.00%; Green: 50.00%; "
     "Blue: 0.00%; Blue: 0.00%; Alpha: 25.00%; Alpha: 25.00%; Hue: 30.00 deg. : Luminance: 50.00%; ; ; 1,0.5,0,0.25 "
     "hue 0.083333|100|50|0|25|"},
    {66,
     "set 1,0.5,0,0.25; press @1; tip @1; tip @2; tip @3; tip @9; tip @4; tip @10; tip @5; tip @11; tip @6; tip @12; "
     "tip @8; tip @13; show; set 0.25,0.25,0.25; tip @8; press @1; show",
     "*; *; Change Color Space to RGB; Pick Color from Screen; Hue: 30.00 deg.; Hue: 30.00 deg.; Saturation: 100.00%; "
     "Saturation: 100.00%; Luminance: 50.00%; Luminance: 50.00%; Alpha: 25.00%; Alpha: 25.00%; Hue: 30.00 deg. : "
     "Luminance: 50.00%; ; 1,0.5,0,0.25 hue 0.083333|8|100|50|25|; *; Luminance: 25.00%; *; 0.25,0.25,0.25,1 hue "
     "-1|25|25|25|100|Luminance: 25.00%"},
    {66, "set 1,1,0,0.5; move @7; show; press @7; show; press 320,120",
     "*; ; 1,1,0,0.5 hue 0.16667|100|100|0|50|Color Outside NTSC and PAL Gamut - Click Swatch to Correct; * cmd0 "
     "settled; 0.90776,0.90776,0.14647,0.5 hue 0.16667|91|91|15|50|; no"},
    {64, "set 1,1,0,0.5; move @7; show; set 1,0,0; show",
     "*; ; 1,1,0,0.5 hue 0.16667|100|100|0|Color Outside NTSC and PAL Gamut - Click Swatch to Correct; *; 1,0,0,1 hue "
     "0|100|0|0|"},
    {2, "set 1,1,0; press 320,120; show", "*; no; 1,1,0,1 hue 0.16667|100|100|0|100|"},
    {66, "set 0,0.5,0.5; press @3+40; show; move 500,-900; show; move 2147483647,5; show; release; show; release",
     "*; capture * cmd0; 0.27211,0.5,0.5,1 hue 0.5 drag 3|27|50|50|100|; * cmd0; 1,0.5,0.5,1 hue 0 drag "
     "3|100|50|50|100|Red: 100.00%; * cmd0; 1,0.5,0.5,1 hue 0 drag 3|100|50|50|100|Red: 100.00%; free * settled; "
     "1,0.5,0.5,1 hue 0|100|50|50|100|Red: 100.00%; no"},
    {66,
     "set 1,0.5,0.5; press 287,10; show; move 281,10; show; key escape; show; key escape; press 290,10; press @3+40; "
     "cancel; show",
     "*; capture *; 1,0.5,0.5,1 hue 0 drag 3|100|50|50|100|; * cmd0; 0.95918,0.5,0.5,1 hue 0 drag 3|96|50|50|100|Red: "
     "95.92%; * cmd0 free * settled; 1,0.5,0.5,1 hue 0|100|50|50|100|Red: 100.00%; no; capture *; free * settled "
     "capture * cmd0; free * settled; 0.27211,0.5,0.5,1 hue 0.5|27|50|50|100|Red: 27.21%"},
    {66, "press @6+20; show; move @6+30; release; show; press @5+20; press @4+20; show; release",
     "capture * cmd0; 0,0,0,0.13605 hue -1 drag 6|0|0|0|14|; * cmd0; free * settled; 0,0,0,0.20408 hue "
     "-1|0|0|0|20|Alpha: 20.41%; capture * cmd0; free * settled capture * cmd0; 0,0.13605,0.13605,0.20408 hue 0.5 drag "
     "4|0|14|14|20|Alpha: 20.41%; free * settled"},
    {66, "set 1,0.5,0.5; press 293,10; release; press 294,10", "*; capture *; free * settled; no"},
    {66, "set 0,0,1; press @1; set 0.5,0.5,0.5; show", "*; *; *; 0.5,0.5,0.5,1 hue -1|67|0|50|100|"},
    {kEcho | 66, "set 0,0,1; press @1; press @5+20; move @5+0; show; move @5+54; show; key escape; show; release",
     "*; *; capture * cmd0; * cmd0; 0,0,0,1 hue -1 drag 5|67|100|0|100|Luminance: 0.00%; * cmd0; 0,0,0.73469,1 hue "
     "0.66667 drag 5|67|100|37|100|Luminance: 36.73%; * cmd0 free * settled; 0,0,1,1 hue "
     "0.66667|67|100|50|100|Luminance: 50.00%; no"},
    {66, "press 0,64; show; move 131,0; show; move 131,129; show; release; show",
     "capture * cmd0; 1,0.0077519,0.0077519,1 hue 0 drag 8|100|1|1|100|; * cmd0; 1,1,1,1 hue -1 drag "
     "8|100|100|100|100|Luminance: 100.00%; * cmd0; 0,0,0,1 hue -1 drag 8|0|0|0|100|Luminance: 0.00%; free * settled; "
     "0,0,0,1 hue -1|0|0|0|100|Luminance: 0.00%"},
    {66,
     "set 0.25,0,0; focus 9; text 9 40; show; blur 9; show; text 9 12.5; key return 9; show; text 9 150; key return 9; "
     "text 9 -3; blur 9; show; text 9  7%; blur 9; show",
     "*; ; ; 0.25,0,0,1 hue 0|40|0|0|100|; * cmd0 settled; 0.4,0,0,1 hue 0|40|0|0|100|; ; * cmd0 settled; 0.125,0,0,1 "
     "hue 0|13|0|0|100|; ; * cmd0 settled; ; * cmd0 settled; 0,0,0,1 hue -1|0|0|0|100|; ; * cmd0 settled; 0.07,0,0,1 "
     "hue 0|7|0|0|100|"},
    {66,
     "set 0.25,0,0; text 9 ; blur 9; text 9 red; key return 9; text 9 .; blur 9; text 9 -; blur 9; text 9 25; blur 9; "
     "text 9 25; key return 9; show",
     "*; ; *; ; *; ; *; ; *; ; ; ; no; 0.25,0,0,1 hue 0|25|0|0|100|"},
    {66,
     "set 0.3333,0,0; focus 9; set 0.5,0,0; show; blur 9; show; focus 10; text 10 8; set 0.75,0.25,0; show; key escape "
     "10; show; key escape 10; text 10 60; focus 11; show",
     "*; ; *; 0.5,0,0,1 hue 0|33|0|0|100|; *; 0.5,0,0,1 hue 0|50|0|0|100|; ; ; *; 0.75,0.25,0,1 hue "
     "0.055556|75|8|0|100|; *; 0.75,0.25,0,1 hue 0.055556|75|25|0|100|; no; ; * cmd0 settled; 0.75,0.6,0,1 hue "
     "0.13333|75|60|0|100|"},
    {66, "focus 9; text 9 50; press @1; show; blur 9; show",
     "; ; *; 0,0,0,1 hue -1|0|0|0|100|; ; 0,0,0,1 hue -1|0|0|0|100|"},
    {66,
     "set 0.3333,0,0,0.95; focus 9; key up 9; show; up up 9; up up 9; key down 9+ctrl; show; blur 9; text 9 80; key "
     "down 9; show; blur 9; key up 12+ctrl; key up 12; show; key left 9; up down 9",
     "*; ; * cmd0; 0.34,0,0,0.95 hue 0|34|0|0|95|; settled; no; * cmd0; 0.24,0,0,0.95 hue 0|24|0|0|95|; settled; ; * "
     "cmd0; 0.79,0,0,0.95 hue 0|79|0|0|95|; settled; * cmd0; *; 0.79,0,0,1 hue 0|79|0|0|100|; no; settled"},
    {0, "key up 12; text 12 5; focus 12; blur 12; focus 0; show; press @6",
     "no; no; no; no; no; 0,0,0,1 hue -1|0|0|0|; capture * cmd0"},
    {66, "set 0,0,0,0.5; press @2; pick -1; pick 16724736; show",
     "*; pick; ; * cmd0 settled; 1,0.2,0,0.5 hue 0.033333|100|20|0|50|"},
    {66, "set -1,2,0.25,0.5; show; set nan,inf,-inf,nan; show; msg 1794,7,0; msg 1795,7,0; msg 1793,7,0; msg 1796,7,0",
     "*; 0,1,0.25,0.5 hue 0.375|0|100|25|50|; *; 0,1,0,0 hue 0.33333|0|100|0|0|; =0; =0; =0; =0"},
    {66, "when capture do cancel; press @3+40; show; when capture do release; press @8; show; move 9,9",
     "; capture free * settled; 0,0,0,1 hue -1|0|0|0|100|; ; capture free * settled; 0,0,0,1 hue -1|0|0|0|100|; "},
    {66, "when capture do press @4+20; press @3+40; show; move @3+0; show; release",
     "; capture free * settled capture * cmd0 * cmd0; 0,0.27211,0,1 hue 0.33333 drag 4|0|27|0|100|; * cmd0; 0,0,0,1 "
     "hue -1 drag 4|0|0|0|100|Green: 0.00%; free * settled"},
    {66, "when cmd0 do release; press @8; show; when cmd0 do set 1,0,0; press @5+9; move @5+20; show; release",
     "; capture * cmd0 free * settled; 0,0.96952,0.99225,1 hue 0.50382|0|97|99|100|; ; capture * cmd0 *; * cmd0; "
     "1,0,0.13605,1 hue 0.97732 drag 5|100|0|14|100|Blue: 13.61%; free * settled"},
    {66, "press @1; when cmd0 do press @1; press @3+40; show; move @4+30; show; release",
     "*; ; capture * cmd0 free * settled *; 0,0,0,1 hue -1|0|0|0|100|; ; 0,0,0,1 hue -1|0|0|0|100|Green: 0.00%; no"},
    {66, "set 1,1,0; when cmd0 do set 1,1,0; press @7; show; when * do press @7; press @7; show",
     "*; ; * cmd0 * settled; 1,1,0,1 hue 0.16667|100|100|0|100|; ; * capture * cmd0 cmd0 settled; 1,1,1,1 hue -1 drag "
     "8|100|100|100|100|"},
    {66, "focus 9; text 9 50; when cmd0 do blur 9; key return 9; show; when * do focus 10; text 9 60; blur 9; show",
     "; ; ; * cmd0 settled; 0.5,0,0,1 hue 0|50|0|0|100|; ; ; * cmd0 settled; 0.6,0,0,1 hue 0|60|0|0|100|"},
};

TEST(ColorPicker, Scripts) {
    for (const tScript& test : kScripts) EXPECT_EQ(tPicker(test.style).Play(test.script), test.log) << test.script;
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
