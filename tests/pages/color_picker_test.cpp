#include "pages/controls/color_picker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "support/value_format.h"

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr LONG kId = 1107;

struct tOwner : IControlOwner {
    int commands = 0;
    LONG lets = 0; ///< a notice that lets the mouse go
    std::vector<tPageNotice> notices;
    CColorPicker* echo = nullptr;
    CColorPicker* control = nullptr;

    std::intptr_t OnControlMessage(CPageControl& from, UINT message, std::uintptr_t wParam, std::intptr_t) override {
        EXPECT_EQ(message, UINT{WM_COMMAND});
        EXPECT_EQ(wParam, std::uintptr_t{kId});
        EXPECT_EQ(from.Id(), kId);
        ++commands;
        if (echo) {
            float color[4];
            echo->Message(1794, 0, reinterpret_cast<std::intptr_t>(color));
            echo->Message(1795, 0, reinterpret_cast<std::intptr_t>(color));
        }
        return 0;
    }
    void OnControlNotice(const tPageNotice& notice) override {
        EXPECT_EQ(notice.control, kId);
        notices.push_back(notice);
        if (notice.code == lets) control->Event({KWEVENT_CANCEL, 0, 0, 0, 0, 0, nullptr});
    }
    int Count(LONG code, LONG x = 0) const {
        return static_cast<int>(
            std::ranges::count_if(notices, [=](const tPageNotice& n) { return n.code == code && n.x == x; }));
    }
    void Clear() {
        commands = 0;
        notices.clear();
    }
};

struct tPicker {
    tOwner owner;
    CColorPicker control;

    explicit tPicker(ULONG style = kColorPickAlpha | kColorPickGamut) : control(owner, kId, style) {
        Send(KWEVENT_SIZE, 330, 130);
    }
    HRESULT Send(LONG kind, LONG x = 0, LONG y = 0, LONG value = 0) {
        return control.Event({kind, x, y, value, 0, 0, nullptr});
    }
    HRESULT Key(LONG part, LONG key, ULONG modifiers = 0, LONG kind = KWEVENT_KEY) {
        return control.Event({kind, 0, 0, key, modifiers, part, nullptr});
    }
    HRESULT Edit(LONG kind, LONG part, const char* text = nullptr) {
        return control.Event({kind, 0, 0, 0, 0, part, text});
    }
    void Set(tPickColor color) {
        EXPECT_EQ(control.Message(1795, 0, reinterpret_cast<std::intptr_t>(color.data())), 0);
    }
    tPickColor Get() {
        tPickColor color{-1, -1, -1, -1};
        control.Message(1794, 0, reinterpret_cast<std::intptr_t>(color.data()));
        return color;
    }
    tColorPickDetail Detail() const {
        tColorPickDetail detail;
        EXPECT_EQ(control.Detail(&detail, sizeof detail), S_OK);
        return detail;
    }
    POINT Middle(LONG part) const {
        const RECT r = Detail().parts[part];
        return {(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    }
    HRESULT Press(LONG part) {
        const POINT at = Middle(part);
        return Send(KWEVENT_PRESS, at.x, at.y);
    }
    std::string Tip(LONG part) {
        const POINT at = Middle(part);
        Send(KWEVENT_MOVE, at.x, at.y);
        EXPECT_EQ(Detail().hoverPart, part);
        return Detail().tip;
    }
    void ToHsl() { ASSERT_EQ(Press(KWPART_SPACE), S_OK); }
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

TEST(ColorPicker, MessagesLimitAndDoNotNotify) {
    tPicker p;
    EXPECT_EQ(p.Get(), (tPickColor{0, 0, 0, 1}));
    p.owner.Clear();
    p.Set({0.25f, -1, 2, 0.5f});
    EXPECT_EQ(p.Get(), (tPickColor{0.25f, 0, 1, 0.5f}));
    EXPECT_EQ(p.owner.Count(KWNOTICE_CHANGED), 1);
    p.Set({kNan, kInf, -kInf, kNan});
    EXPECT_EQ(p.Get(), (tPickColor{0, 1, 0, 0}));
    EXPECT_EQ(p.owner.commands, 0);
    for (const UINT message : {0u, 1793u, 1794u, 1795u, 1796u}) EXPECT_EQ(p.control.Message(message, 7, 0), 0);
    EXPECT_EQ(p.control.Detail(nullptr, 8), E_POINTER);
    char few[3];
    EXPECT_EQ(p.control.Detail(few, sizeof few), S_OK);
}

TEST(ColorPicker, Tips) {
    tPicker p;
    p.Set({0, 0.5f, 1, 0.25f});
    const struct {
        LONG part;
        const char *rgb, *hsl;
    } table[] = {
        {1, "Change Color Space to HSL", "Change Color Space to RGB"},
        {2, "Pick Color from Screen", "Pick Color from Screen"},
        {3, "Red: 100.00%", "Hue: 30.00 deg."},
        {9, "Red: 100.00%", "Hue: 30.00 deg."},
        {4, "Green: 50.00%", "Saturation: 100.00%"},
        {10, "Green: 50.00%", "Saturation: 100.00%"},
        {5, "Blue: 0.00%", "Luminance: 50.00%"},
        {11, "Blue: 0.00%", "Luminance: 50.00%"},
        {6, "Alpha: 25.00%", "Alpha: 25.00%"},
        {12, "Alpha: 25.00%", "Alpha: 25.00%"},
        {8, "Hue: 30.00 deg. : Luminance: 50.00%", "Hue: 30.00 deg. : Luminance: 50.00%"},
        {13, "", ""},
    };
    for (const auto& row : table) EXPECT_EQ(p.Tip(row.part), row.rgb);
    p.ToHsl();
    for (const auto& row : table) EXPECT_EQ(p.Tip(row.part), row.hsl);
    p.Set({0.25f, 0.25f, 0.25f, 1});
    EXPECT_EQ(p.Tip(8), "Luminance: 25.00%");
    EXPECT_EQ(p.Detail().hue, -1.0);
    p.Set({0, 1, 1, 1});
    EXPECT_EQ(p.Tip(7), "Color Outside NTSC and PAL Gamut - Click Swatch to Correct");
    p.Set({0, 0, 1, 1});
    EXPECT_EQ(p.Detail().hoverPart, 0);
    EXPECT_STREQ(p.Detail().tip, "");
    p.Tip(3);
    p.Send(KWEVENT_LEAVE);
    EXPECT_STREQ(p.Detail().tip, "");
}

TEST(ColorPicker, GamutSwatch) {
    tPicker p;
    p.Set({0, 1, 1, 0.5f});
    const POINT swatch = p.Middle(KWPART_GAMUT);
    const tColorPickDetail detail = p.Detail();
    EXPECT_EQ(detail.gamutFlags, 3);
    p.owner.Clear();
    EXPECT_EQ(p.Send(KWEVENT_PRESS, swatch.x, swatch.y), S_OK);
    const tPickColor corrected = p.Get();
    EXPECT_TRUE(std::ranges::equal(corrected, detail.corrected));
    EXPECT_EQ(p.owner.commands, 1);
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 1);
    EXPECT_EQ(p.Detail().parts[KWPART_GAMUT], RECT{}) << "hidden again";
    EXPECT_EQ(p.Send(KWEVENT_PRESS, swatch.x, swatch.y), S_FALSE);
    EXPECT_EQ(p.Get(), corrected);
    EXPECT_EQ(p.owner.commands, 1);

    tPicker untested(kColorPickAlpha);
    untested.Set({0, 1, 1, 1});
    EXPECT_EQ(untested.Detail().gamutFlags, 0);
    EXPECT_EQ(untested.Detail().parts[KWPART_GAMUT], RECT{});
}

TEST(ColorPicker, DragOfABar) {
    tPicker p;
    p.Set({0.5f, 0.5f, 0, 1});
    const RECT bar = p.Detail().parts[3];
    const LONG y = bar.top + 1;
    p.owner.Clear();
    ASSERT_EQ(p.Send(KWEVENT_PRESS, bar.left + 40, y), S_OK);
    EXPECT_EQ(p.owner.Count(KWNOTICE_CAPTURE, 1), 1);
    EXPECT_EQ(p.Detail().dragPart, 3);
    const auto at = [&](LONG x) { return static_cast<float>(x / double(bar.right - bar.left - 1)); };
    EXPECT_EQ(p.Get(), (tPickColor{0.5f, 0.5f, at(40), 1}));
    p.Send(KWEVENT_MOVE, bar.left + 50, -900, 1);
    EXPECT_EQ(p.Get()[2], at(50));
    EXPECT_EQ(p.Detail().marks[3], bar.left + 50);
    p.Send(KWEVENT_MOVE, std::numeric_limits<LONG>::max(), y, 1);
    EXPECT_EQ(p.Get()[2], 1.0f);
    EXPECT_EQ(p.owner.commands, 3);
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 0);
    EXPECT_EQ(p.Send(KWEVENT_RELEASE, 0, 0), S_OK);
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 1);
    EXPECT_EQ(p.owner.Count(KWNOTICE_CAPTURE, 0), 1);
    EXPECT_EQ(p.Send(KWEVENT_RELEASE), S_FALSE);

    // The mark reaches beyond the bar, and taking it changes nothing yet.
    p.owner.Clear();
    EXPECT_EQ(p.Send(KWEVENT_PRESS, bar.right + 5, y), S_OK);
    EXPECT_EQ(p.Detail().dragPart, 3);
    EXPECT_EQ(p.owner.commands, 0);
    p.Send(KWEVENT_MOVE, bar.right - 1, y, 1);
    EXPECT_NEAR(p.Get()[2], at(bar.right - 1 - 6 - bar.left), 1e-6);
    EXPECT_EQ(p.Key(0, KWKEY_ESCAPE), S_OK);
    EXPECT_EQ(p.Get()[2], 1.0f);
    EXPECT_EQ(p.owner.commands, 2);
    EXPECT_EQ(p.Detail().dragPart, 0);
    EXPECT_EQ(p.Key(0, KWKEY_ESCAPE), S_FALSE);
    EXPECT_EQ(p.Send(KWEVENT_PRESS, bar.right + 6, y), S_FALSE) << "out of the mark's reach";

    p.Send(KWEVENT_PRESS, bar.left + 40, y);
    p.owner.Clear();
    EXPECT_EQ(p.Send(KWEVENT_CANCEL), S_OK);
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 1);
    EXPECT_EQ(p.Get()[2], at(40));
}

TEST(ColorPicker, GreyKeepsItsHueWhileDragged) {
    tPicker p;
    p.owner.echo = &p.control;
    p.Set({1, 0, 0, 1});
    p.ToHsl();
    const RECT bar = p.Detail().parts[5];
    const LONG y = bar.top + 1;
    p.Send(KWEVENT_PRESS, bar.left + 20, y);
    p.Send(KWEVENT_MOVE, bar.left, y, 1);
    EXPECT_EQ(p.Get(), (tPickColor{0, 0, 0, 1}));
    tColorPickDetail detail = p.Detail();
    EXPECT_EQ(detail.hue, -1.0);
    EXPECT_STREQ(detail.edits[9], "67");
    EXPECT_STREQ(detail.edits[10], "100");
    p.Send(KWEVENT_MOVE, bar.left + (bar.right - bar.left - 1) / 2, y, 1);
    EXPECT_NEAR(p.Detail().hue, 4.0 / 6, 1e-12);
    p.Key(0, KWKEY_ESCAPE);
    EXPECT_EQ(p.Get(), (tPickColor{1, 0, 0, 1}));
    EXPECT_NEAR(p.Detail().hue, 4.0 / 6, 1e-12);
}

TEST(ColorPicker, ADragMayEndWithinItsNotices) {
    for (const LONG part : {3, 4, 5, 6, 8})
        for (const LONG notice : {KWNOTICE_CAPTURE, KWNOTICE_CHANGED}) {
            tPicker p;
            p.owner.control = &p.control;
            p.owner.lets = notice;
            EXPECT_EQ(p.Press(part), S_OK);
            EXPECT_EQ(p.Detail().dragPart, 0);
            EXPECT_EQ(p.owner.Count(KWNOTICE_CAPTURE, 0), 1);
            p.owner.lets = 0;
            const tPickColor left = p.Get();
            p.Send(KWEVENT_MOVE, 320, 60, 1);
            EXPECT_EQ(p.Get(), left);
            if (notice == KWNOTICE_CAPTURE) {
                EXPECT_EQ(left, (tPickColor{0, 0, 0, 1})) << "let go before it began";
            }
        }
}

TEST(ColorPicker, Field) {
    tPicker p;
    const RECT field = p.Detail().parts[KWPART_FIELD];
    p.Send(KWEVENT_PRESS, field.left, field.top + (field.bottom - 1) / 2);
    EXPECT_NEAR(p.Get()[2], 1.0, 0.02) << "a grey becomes fully saturated";
    EXPECT_NEAR(p.Get()[1], 0.0, 0.02);
    p.Send(KWEVENT_MOVE, field.right - 1, field.top, 1);
    EXPECT_EQ(p.Get(), (tPickColor{1, 1, 1, 1}));
    EXPECT_EQ(p.Detail().fieldMark.x, field.right - 1);
    EXPECT_EQ(p.Detail().fieldMark.y, field.top);
    p.Send(KWEVENT_MOVE, field.right - 1, field.bottom - 1, 1);
    EXPECT_EQ(p.Get(), (tPickColor{0, 0, 0, 1}));
    p.Send(KWEVENT_RELEASE);
}

TEST(ColorPicker, Edits) {
    const std::string fraction = FormatText("$.1f", 12.5);
    const struct {
        const char* text;
        float red;
        const char* shown;
    } table[] = {
        {"40", 0.4f, "40"},   {fraction.c_str(), 0.125f, "13"},
        {"150", 1, "100"},    {"-3", 0, "0"},
        {" 7%", 0.07f, "7"},  {"", 0.25f, "25"},
        {"red", 0.25f, "25"}, {".", 0.25f, "25"},
        {"-", 0.25f, "25"},   {nullptr, 0.25f, "25"},
        {"25", 0.25f, "25"},
    };
    for (const bool key : {false, true}) {
        for (const auto& row : table) {
            tPicker p;
            p.Set({0, 0, 0.25f, 1});
            p.owner.Clear();
            EXPECT_EQ(p.Edit(KWEVENT_FOCUS, 9), S_OK);
            EXPECT_EQ(p.Edit(KWEVENT_TEXT, 9, row.text), S_OK);
            EXPECT_STREQ(p.Detail().edits[9], row.text ? row.text : "");
            key ? p.Key(9, KWKEY_RETURN) : p.Edit(KWEVENT_BLUR, 9);
            EXPECT_EQ(p.Get()[2], row.red) << row.text;
            EXPECT_STREQ(p.Detail().edits[9], row.shown);
            EXPECT_EQ(p.owner.commands, row.red != 0.25f);
            EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), row.red != 0.25f);
        }
    }
}

TEST(ColorPicker, TypingIsNotDisturbed) {
    tPicker p;
    p.Set({0, 0, 0.3333f, 1});
    EXPECT_STREQ(p.Detail().edits[9], "33");
    p.Edit(KWEVENT_FOCUS, 9);
    p.Set({0, 0, 0.5f, 1});
    EXPECT_STREQ(p.Detail().edits[9], "33");
    p.Edit(KWEVENT_BLUR, 9);
    EXPECT_EQ(p.Get()[2], 0.5f) << "what was shown is not read as if typed";
    EXPECT_STREQ(p.Detail().edits[9], "50");

    p.Edit(KWEVENT_FOCUS, 10);
    p.Edit(KWEVENT_TEXT, 10, "8");
    p.Set({0, 0.25f, 0.75f, 1});
    EXPECT_STREQ(p.Detail().edits[9], "75");
    EXPECT_STREQ(p.Detail().edits[10], "8");
    EXPECT_EQ(p.Key(10, KWKEY_ESCAPE), S_OK);
    EXPECT_STREQ(p.Detail().edits[10], "25");
    EXPECT_EQ(p.Key(10, KWKEY_ESCAPE), S_FALSE);
    p.Edit(KWEVENT_TEXT, 10, "60");
    p.Edit(KWEVENT_FOCUS, 11);
    EXPECT_EQ(p.Get()[1], 0.6f) << "the focus went on";
}

TEST(ColorPicker, KeysStep) {
    tPicker p;
    p.Set({0, 0, 0.3333f, 0.95f});
    p.owner.Clear();
    p.Edit(KWEVENT_FOCUS, 9);
    EXPECT_EQ(p.Key(9, KWKEY_UP), S_OK);
    EXPECT_EQ(p.Get()[2], 0.34f);
    EXPECT_STREQ(p.Detail().edits[9], "34");
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 0);
    EXPECT_EQ(p.Key(9, KWKEY_UP, 0, KWEVENT_KEY_UP), S_OK);
    EXPECT_EQ(p.owner.Count(KWNOTICE_SETTLED), 1);
    EXPECT_EQ(p.Key(9, KWKEY_DOWN, KWMOD_CTRL), S_OK);
    EXPECT_EQ(p.Get()[2], 0.24f);
    p.Edit(KWEVENT_TEXT, 9, "80");
    p.Key(9, KWKEY_DOWN);
    EXPECT_EQ(p.Get()[2], 0.79f);
    p.Edit(KWEVENT_BLUR, 9);
    EXPECT_EQ(p.Key(12, KWKEY_UP, KWMOD_CTRL), S_OK);
    EXPECT_EQ(p.Get()[3], 1.0f);
    p.owner.Clear();
    p.Key(12, KWKEY_UP);
    EXPECT_EQ(p.owner.commands, 0) << "at the end of the range";
    EXPECT_EQ(p.Key(9, KWKEY_LEFT), S_FALSE);

    tPicker opaque(0);
    EXPECT_EQ(opaque.Key(12, KWKEY_UP), S_FALSE);
    EXPECT_EQ(opaque.Edit(KWEVENT_TEXT, 12, "5"), S_FALSE);
    EXPECT_EQ(opaque.Detail().edits[12], nullptr);
    EXPECT_EQ(opaque.Detail().parts[6], RECT{});
}

TEST(ColorPicker, ScreenPicker) {
    tPicker p;
    p.Set({0, 0, 0, 0.5f});
    p.owner.Clear();
    EXPECT_EQ(p.Press(KWPART_PICKER), S_OK);
    EXPECT_EQ(p.owner.Count(KWNOTICE_PICK), 1);
    EXPECT_EQ(p.Send(KWEVENT_PICKED, 0, 0, -1), S_OK);
    EXPECT_EQ(p.owner.commands, 0);
    EXPECT_EQ(p.Send(KWEVENT_PICKED, 0, 0, 0xFF3300), S_OK);
    EXPECT_EQ(p.Get(), (tPickColor{0, 0.2f, 1, 0.5f}));
    EXPECT_EQ(p.owner.commands, 1);
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
            p.ToHsl();
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

TEST(ColorPicker, RandomEventsKeepColorsInRange) {
    std::mt19937 random(20240229);
    const auto pick = [&](std::int64_t low, std::int64_t high) {
        return static_cast<LONG>(low + static_cast<std::int64_t>(random()) % (high - low + 1));
    };
    const char* const texts[] = {nullptr,    "",   "50", "1e999", "-7", "abc", "99999999999999999999999999",
                                 "\xFF\xFE", "3,5"};
    const LONG keys[] = {KWKEY_RETURN, KWKEY_ESCAPE, KWKEY_UP, KWKEY_DOWN, KWKEY_LEFT, -1};
    const float wild[] = {0, 0.5f, 1, 1e-40f, -1, 7, kNan, kInf, -kInf, 3e38f};
    for (const ULONG style : {0u, 2u, 64u, 66u}) {
        tPicker p(style);
        p.owner.echo = style ? &p.control : nullptr;
        for (int i = 0; i < 20000; ++i) {
            const bool far = pick(0, 30) == 0;
            const LONG end = far ? 2147483647 : 340;
            tPageEvent event{pick(0, 18),
                             pick(far ? -2147483647 : -10, end),
                             pick(far ? -2147483647 : -10, end),
                             pick(-2, 0xFFFFFF),
                             static_cast<ULONG>(pick(0, 3)),
                             pick(8, 13),
                             texts[random() % std::size(texts)]};
            if (event.kind == KWEVENT_KEY || event.kind == KWEVENT_KEY_UP)
                event.value = keys[random() % std::size(keys)];
            if (event.kind == KWEVENT_SIZE && pick(0, 3)) continue;
            p.control.Event(event);
            if (pick(0, 20) == 0) {
                const auto any = [&] { return wild[random() % std::size(wild)]; };
                p.Set({any(), any(), any(), any()});
            }
            const tColorPickDetail d = p.Detail();
            for (int c = 0; c < 4; ++c)
                ASSERT_TRUE(d.color[c] >= 0 && d.color[c] <= 1 && d.corrected[c] >= 0 && d.corrected[c] <= 1);
            ASSERT_TRUE((d.hue == -1 || (d.hue >= 0 && d.hue <= 1)) && d.saturation >= 0 && d.saturation <= 1 &&
                        d.luminance >= 0 && d.luminance <= 1);
            ASSERT_TRUE(d.tip);
            std::uint8_t bits[5 * 24];
            p.control.Paint(pick(0, 14), bits, pick(0, 6), 5, 24);
        }
    }
}

} // namespace
