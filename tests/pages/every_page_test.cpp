// What each page shows, and that each of its controls drives its own field and no other.
#include <algorithm>
#include <cfloat>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "pages/open_page.h"

namespace {

using larkmoor::EffectInfo;

/// Label, trackbar and edit. The value at a position is `base + position * factor`.
struct tSlider {
    LONG bar, edit;
    const char *label, *field;
    LONG low, high;
    double factor;
    int decimals = 3;
    double base = 0;
};
struct tNumber {
    LONG id;
    const char* field;
    double typed;
    int decimals;
};
struct tCheck {
    LONG id;
    const char *label, *field;
};
struct tRadio {
    LONG id;
    const char *label, *field;
    LONG value;
};
/// Items as they are shown, and the value of each.
struct tList {
    LONG id;
    const char *label, *field;
    std::vector<std::pair<const char*, LONG>> items;
};
/// Red, green, blue and alpha as fields and elements.
struct tColor {
    LONG id;
    const char* label;
    std::pair<const char*, LONG> channels[4];
};
struct tPlace {
    LONG id;
    std::pair<const char*, LONG> x, y;
};

struct tFacts {
    const char* effect;
    const char* caption;
    SIZE size; ///< 0: the page's own choice
    LONG topic = 0;
    std::vector<std::pair<const char*, const char*>> first; ///< fields to be set ahead
    std::vector<tSlider> sliders;
    std::vector<tNumber> numbers;
    std::vector<tCheck> checks;
    std::vector<tRadio> radios;
    std::vector<tList> lists;
    std::vector<tColor> colors;
    std::vector<tPlace> places;
    const char* labels = ""; ///< further texts, one a line
};

tColor Bgra(LONG id, const char* label, const char* field = "color") {
    return {id, label, {{field, 2}, {field, 1}, {field, 0}, {field, 3}}};
}
std::vector<tSlider> Border(const char* size) {
    return {{1211, 1212, size, "border", 0, 1000, 0.001}, {1213, 1214, "&Feather:", "feather", 0, 1000, 0.001}};
}
const std::vector<std::pair<const char*, LONG>> kShapes = {{"Circle", 0},
                                                           {"Oval", 1},
                                                           {"Oval side", 2},
                                                           {"Rectangle", 3},
                                                           {"Diamond", 4},
                                                           {"Square", 5},
                                                           {"Triangle", 6},
                                                           {"Triangle right", 7},
                                                           {"Triangle upside down", 8},
                                                           {"Triangle left", 9},
                                                           {"Arrowhead", 10},
                                                           {"Arrowhead right", 11},
                                                           {"Arrowhead upside down", 12},
                                                           {"Arrowhead left", 13}};
const std::vector<tSlider> kShapeSliders = {{1235, 1236, "&Feather:", "feather", 0, 100, 0.01, 2},
                                            {1237, 1238, "&Border:", "border", 0, 100, 0.01, 2},
                                            {1239, 1240, "Repeat &X:", "repeatX", 1, 100, 1, 0},
                                            {1241, 1242, "Repeat &Y:", "repeatY", 1, 100, 1, 0}};
std::vector<tSlider> CutterSliders() {
    std::vector<tSlider> all = kShapeSliders;
    all.push_back({1245, 1246, "Si&ze:", "size", 0, 100, 0.01, 2});
    return all;
}

const tFacts kPages[] = {
    {.effect = "DXTInvert",
     .caption = "Invert",
     .size = {220, 41},
     .topic = 1028,
     .sliders = {{1435, 1383, "&Blend amount:", "amount", 0, 1000, 0.001}}},
    {.effect = "DXTBrightnessContrast",
     .caption = "Brightness and Contrast",
     .size = {239, 72},
     .sliders = {{1017, 1020, "&Brightness:", "brightness", -100, 100, 0.01, 2},
                 {1016, 1021, "&Contrast:", "contrast", -100, 100, 0.01, 2},
                 {1318, 1319, "Contrast c&enter:", "contrastCenter", 0, 100, 0.01, 2}}},
    {.effect = "DXTLevels",
     .caption = "Levels",
     .size = {250, 118},
     .first = {{"inputEnd", "1"}},
     .sliders = {{1053, 1064, "I&nput start:", "inputStart", 0, 1000, 0.001},
                 {1055, 1065, "In&put end:", "inputEnd", 0, 1000, 0.001},
                 {1057, 1066, "&Output start:", "outputStart", 0, 1000, 0.001},
                 {1059, 1067, "O&utput end:", "outputEnd", 0, 1000, 0.001},
                 {1061, 1068, "&Gamma:", "gamma", 0, 1000, 4.55 * 0.001, 3, 0.45}},
     .lists =
         {{1063, "&Channel:", "channel", {{"All channels", 4}, {"Red", 2}, {"Green", 1}, {"Blue", 0}, {"Alpha", 3}}}}},
    {.effect = "DXTDesaturate",
     .caption = "Black and White",
     .size = {220, 41},
     .sliders = {{1435, 1383, "&Blend amount:", "blendAmount", 0, 1000, 0.001}}},
    {.effect = "DXTSepia",
     .caption = "Sepia",
     .size = {259, 145},
     .sliders = {{1109, 1111, "Blending &strength:", "strength", 0, 1000, 0.001},
                 {1108, 1110, "Blending &falloff:", "falloff", 0, 1000, 0.001}},
     .colors = {Bgra(1107, "&Color:")}},
    {.effect = "DXTHSLAdjust",
     .caption = "HSL Adjust",
     .size = {210, 71},
     .sliders = {{1022, 1029, "Add to &hue:", "addHue", 0, 100, 0.01, 2},
                 {1023, 1030, "&Saturation:", "saturation", 0, 200, 0.01, 2},
                 {1024, 1031, "&Luminance:", "luminance", 0, 200, 0.01, 2}}},
    {.effect = "DXTThreshold",
     .caption = "Threshold",
     .size = {216, 38},
     .sliders = {{1124, 1125, "&Threshold:", "threshold", 0, 100, 0.01, 2}}},
    {.effect = "DXTNoise",
     .caption = "Add Noise",
     .size = {230, 80},
     .sliders = {{1143, 1048, "&Noise level:", "level", 0, 1000, 0.001}},
     .checks = {{1144, "&Monochromatic", "monochromatic"},
                {1146, "&Gaussian Noise", "gaussian"},
                {1145, "&Animate", "animate"}}},
    {.effect = "DXTGaussianBlur",
     .caption = "Gaussian Blur",
     .size = {245, 75},
     .sliders = {{1006, 1014, "&Horizontal range:", "horizontalRange", 0, 1000, 0.001},
                 {1433, 1434, "&Vertical range:", "verticalRange", 0, 1000, 0.001}},
     .checks = {{1001, "&Red", "red"}, {1002, "&Green", "green"}, {1003, "&Blue", "blue"}, {1004, "&Alpha", "alpha"}},
     .labels = "Channels:"},
    {.effect = "DXTBlur",
     .caption = "Quick Blur",
     .size = {220, 41},
     .sliders = {{1435, 1383, "&Blend amount:", "blendAmount", 0, 1000, 0.001}}},
    {.effect = "DXTSharpen",
     .caption = "Sharpen",
     .size = {216, 37},
     .sliders = {{1112, 1113, "&Amount:", "amount", 0, 1000, 0.001}}},
    {.effect = "DXTFloatMedian",
     .caption = "Median",
     .size = {246, 86},
     .sliders = {{1300, 1301, "&Horizontal range:", "horizontalRange", 0, 1000, 0.001},
                 {1091, 1092, "&Vertical range:", "verticalRange", 0, 1000, 0.001},
                 {1094, 1095, "&Offset:", "offset", 0, 1000, 0.001}},
     .checks = {{1469, "&Circular area processing", "circular"}}},
    {.effect = "DXTMax",
     .caption = "Min and Max",
     .size = {256, 87},
     .sliders = {{1081, 1086, "&Horizontal range:", "horizontalRange", 0, 1000, 0.001},
                 {1083, 1088, "&Vertical range:", "verticalRange", 0, 1000, 0.001}},
     .checks = {{1466, "&Circular area processing", "circular"}},
     .radios = {{1082, "Minimum", "maximum", 0}, {1084, "Maximum", "maximum", 1}},
     .labels = "&Operation:"},
    {.effect = "DXTPixelate",
     .caption = "Pixelate",
     .size = {231, 56},
     .sliders = {{1091, 1337, "&Horizontal pixelization:", "horizontal", 0, 100, -0.01, 2, 1},
                 {1092, 1338, "&Vertical pixelization:", "vertical", 0, 100, -0.01, 2, 1}}},
    {.effect = "DXTWave",
     .caption = "Wave",
     .size = {245, 119},
     .sliders = {{1127, 1328, "&Vertical waves:", "verticalWaves", 0, 3200, 0.01},
                 {1128, 1329, "&Horizontal waves:", "horizontalWaves", 0, 3200, 0.01},
                 {1129, 1330, "V&ertical amplitude:", "verticalAmplitude", 0, 3200, 1.0 / 3200},
                 {1130, 1331, "H&orizontal amplitude:", "horizontalAmplitude", 0, 3200, 1.0 / 3200},
                 {1131, 1332, "Ve&rtical phase:", "verticalPhase", 0, 3200, 2 * M_PI / 3200},
                 {1132, 1333, "Hori&zontal phase:", "horizontalPhase", 0, 3200, 2 * M_PI / 3200}}},
    {.effect = "Dissolve",
     .caption = "Dissolve",
     .size = {},
     .first = {{"mode", "3"}},
     .sliders = {{1251, 1252, "&Red", "red", 0, 1000, 0.001},
                 {1253, 1254, "&Green", "green", 0, 1000, 0.001},
                 {1255, 1256, "&Blue", "blue", 0, 1000, 0.001},
                 {1257, 1258, "&Alpha", "alpha", 0, 1000, 0.001}},
     .lists = {{1247,
                "Select &Dissolve",
                "mode",
                {{"Additive Dissolve", 0},
                 {"Subtractive Dissolve", 1},
                 {"Subtractive Crossfade", 2},
                 {"Color Bleed", 3},
                 {"Pixel Color Morph", 4},
                 {"Threshold Dissolve", 5},
                 {"Threshold Appear", 6},
                 {"Fade Through Greyscale", 7},
                 {"Fade Through Color", 8},
                 {"R then G then B Crossfade", 9}}}},
     .colors = {{1249, nullptr, {{"red", 0}, {"green", 0}, {"blue", 0}, {"alpha", 0}}}},
     .labels = "Slow\nFast"},
    {.effect = "DXTKwWipe",
     .caption = "Linear Wipe",
     .size = {},
     .sliders = {{1171, 1172, "&Angle:", "angle", 0, 3600, 0.1, 1},
                 {1175, 1176, "&Feather:", "feather", 0, 1000, 0.001}}},
    {.effect = "DXTKwClock",
     .caption = "Clock Wipe",
     .size = {},
     .sliders = {{1183, 1184, "&Feather angle:", "feather", 0, 36000, 0.01, 2}},
     .radios = {{1181, "Clockwise", "direction", 0}, {1182, "Counterclockwise", "direction", 1}},
     .labels = "&Direction:"},
    {.effect = "DXTKwIris",
     .caption = "Iris",
     .size = {},
     .sliders = kShapeSliders,
     .numbers = {{1243, "centerX", 0.125, 3}, {1244, "centerY", 0.875, 3}},
     .lists = {{1233, "&Shape:", "shape", kShapes},
               {1234, "&Direction:", "direction", {{"Iris in", 1}, {"Iris out", 0}}}},
     .colors = {Bgra(1231, nullptr)},
     .places = {{1232, {"centerX", 0}, {"centerY", 0}}},
     .labels = "&Center X:\nC&enter Y:"},
    {.effect = "DXTKwPush",
     .caption = "Push",
     .size = {},
     .sliders = Border("&Size:"),
     .checks = {{1205, "&Push off previous image", "pushOff"}},
     .radios = {{1201, "Up", "direction", 0},
                {1202, "Down", "direction", 2},
                {1203, "Left", "direction", 3},
                {1204, "Right", "direction", 1}},
     .colors = {Bgra(1215, "&Color:")},
     .labels = "&Direction:\nBorder"},
    {.effect = "DXTKwSqueeze",
     .caption = "Squeeze",
     .size = {},
     .sliders = Border("Si&ze:"),
     .checks = {{1205, "Sq&ueeze previous image", "squeezeOld"}},
     .radios = {{1201, "Up", "type", 2},
                {1202, "Down", "type", 0},
                {1203, "Left", "type", 5},
                {1204, "Right", "type", 3},
                {1206, "Lateral", "type", 4},
                {1207, "Vertical", "type", 1}},
     .colors = {Bgra(1215, "&Color:")},
     .labels = "&Direction:\nBorder"},
    {.effect = "DXTKwBarn",
     .caption = "Barn Door",
     .size = {},
     .sliders = Border("&Size:"),
     .radios = {{1201, "Horizontal", "orientation", 1},
                {1202, "Vertical", "orientation", 0},
                {1203, "In", "direction", 0},
                {1204, "Out", "direction", 1}},
     .colors = {Bgra(1215, "&Color:")},
     .labels = "&Direction:\nBorder"},
    {.effect = "DXTKwZoom",
     .caption = "Zoom",
     .size = {},
     .sliders = Border("&Size:"),
     .radios = {{1201, "Zoom in", "direction", 0}, {1202, "Zoom out", "direction", 1}},
     .colors = {Bgra(1215, "&Color:")},
     .places = {{1217, {"anchor", 0}, {"anchor", 1}}},
     .labels = "&Location:\nBorder"},
    {.effect = "DXTKwCCutter",
     .caption = "Cookie Cutter",
     .size = {},
     .sliders = CutterSliders(),
     .numbers = {{1243, "centerX", 0.125, 3}, {1244, "centerY", 0.875, 3}},
     .lists = {{1233, "&Shape:", "shape", kShapes},
               {1234, "&Method:", "method", {{"Cut away all but section", 1}, {"Cut away section", 0}}}},
     .colors = {Bgra(1231, nullptr)},
     .places = {{1232, {"centerX", 0}, {"centerY", 0}}},
     .labels = "&Center X:\nC&enter Y:"},
    {.effect = "DXTChromaKeyFilter",
     .caption = "Chroma Keyer",
     .size = {220, 172},
     .first = {{"selectedMask", "0"}},
     .sliders = {{1162, 1320, "&Low threshold:", "transparencyMask.lowThreshold", 0, 1000, 0.001},
                 {1163, 1321, "&High threshold:", "transparencyMask.highThreshold", 0, 1000, 0.001},
                 {1164, 1322, "&Blur amount:", "transparencyMask.blurAmount", 0, 1000, 0.001}},
     .checks = {{1161, "Show &mask only", "maskOnly"}},
     .colors = {Bgra(1167, "&Color:")}},
    {.effect = "DXTKwMask",
     .caption = "Mask Generator",
     .size = {225, 105},
     .sliders = {{1069, 1324, "&Low in:", "lowIn", 0, 1000, 0.001},
                 {1070, 1325, "&High in:", "highIn", 0, 1000, 0.001},
                 {1075, 1326, "L&ow out:", "lowOut", 0, 1000, 0.001},
                 {1076, 1327, "H&igh out:", "highOut", 0, 1000, 0.001}},
     .checks = {{1072, "In&vert", "invert"}},
     .lists = {{1073, "&Type:", "type", {{"Luminance", 1}, {"Red", 2}, {"Green", 3}, {"Blue", 4}, {"Alpha", 0}}}}},
    {.effect = "DXSTestp",
     .caption = "Test Pattern",
     .size = {183, 45},
     .lists = {{1122,
                "&Test pattern type:",
                "type",
                {{"Color Bars (NTSC)", 7},
                 {"Color Bars (PAL)", 8},
                 {"Gradient", 5},
                 {"Pluge and Porches", 3},
                 {"Ramp", 4},
                 {"SMPTE Bars (NTSC)", 0},
                 {"SMPTE Bars (PAL)", 6},
                 {"White Porches", 1},
                 {"Yellow Porches", 2}}}}},
    {.effect = "DXTTimeCode",
     .caption = "Timecode",
     .size = {259, 105},
     .topic = 1031,
     .sliders = {{1478, 1479, "Timecode &width:", "width", 0, 1500, 1.5 * 0.00066666666, 3, 0.5},
                 {1097, 1098, "Timecode h&eight:", "height", 0, 1500, 1.5 * 0.00066666666, 3, 0.5}},
     .lists = {{1477,
                "&Timecode format:",
                "format",
                {{"Absolute Frames", 4},
                 {"Feet and Frames 16mm (40 fpf)", 15},
                 {"Feet and Frames 35mm (16 fpf)", 16},
                 {"Seconds", 2},
                 {"SMPTE 30 (30 fps, Audio)", 7},
                 {"SMPTE Drop (29.97 fps, Video)", 8},
                 {"SMPTE EBU (25 fps, Video)", 9},
                 {"SMPTE Film Sync (24 fps)", 10},
                 {"SMPTE Non-Drop (29.97 fps, Video)", 6},
                 {"Time", 1},
                 {"Time & Frames", 3}}},
               {1474, "&Horizontal alignment:", "horizontal", {{"Left", 0}, {"Middle", 1}, {"Right", 2}}},
               {1475, "&Vertical alignment:", "vertical", {{"Bottom", 2}, {"Middle", 1}, {"Top", 0}}}}},
    {.effect = "DXTBroadcastColors",
     .caption = "Broadcast Colors",
     .size = {278, 161},
     .topic = 1016,
     .sliders = {{1486, 1487, "Smoothness:", "lumaMinSmooth", 0, 1000, 0.001},
                 {1488, 1489, "Smoothness:", "lumaMaxSmooth", 0, 1000, 0.001},
                 {1490, 1491, "Smoothness:", "chromaMaxSmooth", 0, 1000, 0.001},
                 {1492, 1493, "Smoothness:", "compositeMinSmooth", 0, 1000, 0.001},
                 {1494, 1495, "Smoothness:", "compositeMaxSmooth", 0, 1000, 0.001}},
     .numbers = {{1481, "lumaMin", 7.25, 2},
                 {1482, "lumaMax", 90.5, 2},
                 {1483, "chromaMax", 60.75, 2},
                 {1484, "compositeMin", -30.25, 2},
                 {1485, "compositeMax", 120.5, 2}},
     .checks = {{1496, "&7.5 IRE setup", "setup"}, {1497, "Studio &RGB (16 to 235)", "studioRGB"}},
     .labels = "&Luma:\nMin:\nMax:\n&Chroma:\nCo&mposite:"},
    {.effect = "DXTBlackRestore",
     .caption = "Black Restore",
     .size = {222, 40},
     .sliders = {{1464, 1465, "&Threshold:", "threshold", 0, 1000, 0.001}}},
    {.effect = "DXTGamut",
     .caption = "Broadcast Colors",
     .size = {254, 68},
     .topic = 1016,
     .first = {{"smoothLow", "1"}, {"smoothUpper", "1"}},
     .sliders = {{1391, 1390, nullptr, "lowBound", 0, 1000, 0.001}, {1394, 1393, nullptr, "highBound", 0, 1000, 0.001}},
     .checks = {{1399, "Smooth lo&w bounds:", "smoothLow"},
                {1400, "Smooth &upper bounds:", "smoothUpper"},
                {1387, "&Invert out of range colors", "invert"}}},
    {.effect = "DXSText",
     .caption = "Text",
     .size = {322, 174},
     .sliders = {{1312, 1385, "&Tracking:", "tracking", 0, 2000, 0.001},
                 {1313, 1386, "&Leading:", "leading", 0, 2000, 0.001}},
     .lists = {{1174, "&Vertical alignment:", "vertical", {{"Top", 0}, {"Center", 1}, {"Bottom", 2}}},
               {1173, "Hori&zontal alignment:", "horizontal", {{"Left", 0}, {"Center", 1}, {"Right", 2}}}},
     .colors = {Bgra(1177, nullptr, "fore")},
     .labels = "&Font:\n&Text:\n&Color and Transparency"},
};

void PrintTo(const tFacts& facts, std::ostream* out) {
    *out << facts.effect;
}

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

class EveryPage : public testing::TestWithParam<tFacts> {};
INSTANTIATE_TEST_SUITE_P(Pages, EveryPage, testing::ValuesIn(kPages),
                         [](const auto& info) { return std::string(info.param.effect); });

enum class tChange { NO, YES, MAYBE };

/// Watches which bytes of a record a step changes.
class CRecordWatch {
  public:
    explicit CRecordWatch(const tOpenPage& page) : m_page(&page), m_before(page.effect.record()) {}
    /// The step changed nothing but these elements of fields.
    void Expect(std::initializer_list<std::pair<const char*, LONG>> parts, const std::string& what,
                tChange change = tChange::YES) {
        const std::vector<std::byte> after = m_page->effect.record();
        ASSERT_EQ(after.size(), m_before.size()) << what;
        std::vector<bool> allowed(after.size());
        for (const auto& [name, element] : parts) {
            const tFieldInfo& field = m_page->effect.info().field(name);
            const LONG size = field.type == KWTYPE_DOUBLE ? 8 : 4;
            std::fill_n(allowed.begin() + field.offset + element * size, size, true);
        }
        bool changed = false;
        for (std::size_t i = 0; i < after.size(); ++i) {
            if (after[i] == m_before[i]) continue;
            EXPECT_TRUE(allowed[i]) << what << " changes byte " << i;
            changed = true;
        }
        if (change != tChange::MAYBE) {
            EXPECT_EQ(changed, change == tChange::YES) << what;
        }
        m_before = after;
    }

  private:
    const tOpenPage* m_page;
    std::vector<std::byte> m_before;
};

TEST_P(EveryPage, ShowsWhatItHas) {
    const tFacts& facts = GetParam();
    tOpenPage page(facts.effect);
    SIZE size{};
    const char* title = nullptr;
    ASSERT_EQ(page.model->GetDialog(&size, &title), S_OK);
    EXPECT_STREQ(title, facts.caption);
    if (facts.size.cx) {
        EXPECT_EQ(size.cx, facts.size.cx);
    }
    if (facts.size.cy) {
        EXPECT_EQ(size.cy, facts.size.cy);
    }
    if (facts.topic) {
        page.page->Help(nullptr);
        EXPECT_EQ(page.sink->notices.back().x, facts.topic);
    }

    std::map<LONG, tPageControl> byId;
    std::multiset<std::string> texts;
    std::map<LONG, std::string> labels;
    for (const tPageControl& control : page.Controls()) {
        if (control.id) {
            EXPECT_TRUE(byId.emplace(control.id, control).second) << control.id << " twice";
        }
        if (control.kind == KWCONTROL_LABEL || control.kind == KWCONTROL_GROUP) texts.insert(control.text);
        if (control.kind == KWCONTROL_LABEL && control.buddy && !labels.contains(control.buddy))
            labels[control.buddy] = control.text;
    }
    EXPECT_EQ(page.Controls().front().id, kPageLogo);
    EXPECT_EQ(page.Text(kPageLogo), facts.caption);
    byId.erase(kPageLogo);

    const auto take = [&](LONG id, tPageControlKind kind) {
        EXPECT_TRUE(byId.contains(id)) << id;
        EXPECT_EQ(byId[id].kind, kind) << id;
        const tPageControl control = byId[id];
        byId.erase(id);
        return control;
    };
    for (const tSlider& slider : facts.sliders) {
        const tPageControl bar = take(slider.bar, KWCONTROL_TRACKBAR);
        take(slider.edit, KWCONTROL_EDIT);
        EXPECT_EQ(bar.minimum, slider.low) << slider.bar;
        EXPECT_EQ(bar.maximum, slider.high) << slider.bar;
        if (slider.label) {
            EXPECT_EQ(labels[slider.bar], slider.label);
        }
    }
    for (const tNumber& number : facts.numbers) take(number.id, KWCONTROL_EDIT);
    for (const tCheck& check : facts.checks) EXPECT_STREQ(take(check.id, KWCONTROL_CHECK).text, check.label);
    for (const tRadio& radio : facts.radios) EXPECT_STREQ(take(radio.id, KWCONTROL_RADIO).text, radio.label);
    for (const tList& list : facts.lists) {
        const tPageControl control = take(list.id, KWCONTROL_LIST);
        EXPECT_EQ(labels[list.id], list.label);
        ASSERT_EQ(control.itemCount, static_cast<LONG>(list.items.size())) << list.id;
        for (LONG i = 0; i < control.itemCount; ++i) EXPECT_EQ(page.Item(list.id, i), list.items[i].first);
        const char* none = nullptr;
        EXPECT_EQ(page.model->GetItem(list.id, control.itemCount, &none), E_INVALIDARG);
    }
    for (const tColor& color : facts.colors) {
        take(color.id, KWCONTROL_COLOR);
        if (color.label) {
            EXPECT_EQ(labels[color.id], color.label);
        }
    }
    for (const tPlace& place : facts.places) take(place.id, KWCONTROL_PLACEMENT);
    std::istringstream lines(facts.labels);
    for (std::string line; std::getline(lines, line);) EXPECT_TRUE(texts.contains(line)) << line;
    for (const auto& [id, control] : byId)
        EXPECT_TRUE(control.kind == KWCONTROL_LABEL || control.kind == KWCONTROL_GROUP ||
                    std::string_view(facts.effect) == "DXSText")
            << id << " is not expected";
}

bool Meet(const RECT& a, const RECT& b) {
    return a.left < b.right && b.left < a.right && a.top < b.bottom && b.top < a.bottom;
}
bool Holds(const RECT& outer, const RECT& inner) {
    return outer.left <= inner.left && outer.top <= inner.top && outer.right >= inner.right &&
           outer.bottom >= inner.bottom;
}

TEST_P(EveryPage, ControlsStandApart) {
    tOpenPage page(GetParam().effect);
    SIZE size{};
    page.model->GetDialog(&size, nullptr);
    const LONG modes = std::string_view(GetParam().effect) == "Dissolve" ? 10 : 1;
    for (LONG mode = 0; mode < modes; ++mode) {
        if (modes > 1) page.Choose(1247, mode);
        const std::vector<tPageControl> all = page.Controls();
        for (std::size_t i = 0; i < all.size(); ++i) {
            EXPECT_TRUE(Holds({0, 0, size.cx, size.cy}, all[i].place)) << all[i].id << " " << all[i].text;
            EXPECT_TRUE(all[i].place.left < all[i].place.right && all[i].place.top < all[i].place.bottom);
            if (all[i].buddy) page.Control(all[i].buddy);
            for (std::size_t k = i + 1; k < all.size(); ++k) {
                if (!all[i].visible || !all[k].visible) continue;
                const bool framed = (all[i].kind == KWCONTROL_GROUP && Holds(all[i].place, all[k].place)) ||
                                    (all[k].kind == KWCONTROL_GROUP && Holds(all[k].place, all[i].place));
                EXPECT_TRUE(framed || !Meet(all[i].place, all[k].place))
                    << all[i].id << " '" << all[i].text << "' meets " << all[k].id << " '" << all[k].text << "'";
            }
        }
    }
}

// Text has the same letter twice from the beginning ("&Text:", "&Tracking:"); a toolkit steps from one to the other.
const std::map<std::string, std::set<char>> kSharedMnemonics = {{"DXSText", {'t'}}};

TEST_P(EveryPage, MnemonicsAreUnique) {
    tOpenPage page(GetParam().effect);
    std::map<char, std::string> taken;
    const auto shared = kSharedMnemonics.find(GetParam().effect);
    for (const tPageControl& control : page.Controls()) {
        const bool label = control.kind == KWCONTROL_LABEL || control.kind == KWCONTROL_GROUP ||
                           control.kind == KWCONTROL_CHECK || control.kind == KWCONTROL_RADIO;
        const char* const mark = label ? std::strchr(control.text, '&') : nullptr;
        if (!mark) continue;
        const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(mark[1])));
        const bool known = shared != kSharedMnemonics.end() && shared->second.contains(letter);
        EXPECT_TRUE(taken.emplace(letter, control.text).second || known)
            << control.text << " and " << taken[letter] << " share a letter";
    }
}

TEST_P(EveryPage, ControlsDriveTheirFields) {
    const tFacts& facts = GetParam();
    tOpenPage page(facts.effect);
    for (const auto& [field, value] : facts.first) page.Set(field, value);
    CRecordWatch watch(page);

    for (const tSlider& slider : facts.sliders) {
        SCOPED_TRACE(slider.bar);
        const double start = page.Number(slider.field);
        const LONG span = slider.high - slider.low;
        for (const LONG position : {slider.low + span / 3 + 1, slider.low, slider.high - 1, slider.high}) {
            page.Drag(slider.bar, position);
            watch.Expect({{slider.field, 0}}, slider.field);
            const double value = slider.base + position * slider.factor;
            EXPECT_NEAR(page.Number(slider.field), value, 1e-6 * std::max(1.0, value));
            EXPECT_EQ(page.Text(slider.edit), Fixed(page.Number(slider.field), slider.decimals));
        }
        // The same by the edit, then from elsewhere.
        const double typed = slider.base + (slider.low + span / 2) * slider.factor;
        const std::string text = Fixed(typed, slider.decimals);
        page.Type(slider.edit, text);
        watch.Expect({{slider.field, 0}}, slider.field);
        EXPECT_NEAR(page.Number(slider.field), std::stod(text), 1e-6);
        EXPECT_EQ(page.Text(slider.edit), text);
        EXPECT_NEAR(page.Value(slider.bar), slider.low + span / 2, 1 + 0.0005 / std::fabs(slider.factor));
        const double other = slider.base + (slider.low + span / 4) * slider.factor;
        page.Set(slider.field, Fixed(other, 9));
        EXPECT_NEAR(page.Value(slider.bar), slider.low + span / 4, 1);
        EXPECT_EQ(page.Text(slider.edit), Fixed(page.Number(slider.field), slider.decimals));
        page.Set(slider.field, Fixed(start, 9));
        watch = CRecordWatch(page);
    }
    for (const tNumber& number : facts.numbers) {
        SCOPED_TRACE(number.id);
        page.Type(number.id, Fixed(number.typed, number.decimals));
        watch.Expect({{number.field, 0}}, number.field);
        EXPECT_EQ(page.Number(number.field), number.typed);
        EXPECT_EQ(page.Text(number.id), Fixed(number.typed, number.decimals));
    }
    for (const tCheck& check : facts.checks) {
        SCOPED_TRACE(check.id);
        for (int i = 0; i < 2; ++i) {
            const double wanted = page.Number(check.field) == 0;
            EXPECT_EQ(page.Value(check.id), wanted == 0);
            page.Click(check.id);
            watch.Expect({{check.field, 0}}, check.field);
            EXPECT_EQ(page.Number(check.field), wanted);
            EXPECT_EQ(page.Value(check.id), wanted);
        }
        page.Set(check.field, page.Value(check.id) ? "0" : "1");
        EXPECT_EQ(page.Value(check.id), page.Number(check.field));
        watch = CRecordWatch(page);
    }
    for (const tRadio& radio : facts.radios) {
        SCOPED_TRACE(radio.id);
        const bool already = page.Value(radio.id);
        for (int i = 0; i < 2; ++i) { // the second click changes nothing
            page.Click(radio.id);
            watch.Expect({{radio.field, 0}}, radio.field, i == 0 && !already ? tChange::YES : tChange::NO);
            EXPECT_EQ(page.Number(radio.field), radio.value);
            for (const tRadio& other : facts.radios)
                if (std::string_view(other.field) == radio.field) {
                    EXPECT_EQ(page.Value(other.id), other.id == radio.id) << other.id;
                }
        }
    }
    for (const tList& list : facts.lists) {
        SCOPED_TRACE(list.id);
        for (std::size_t i = 0; i < list.items.size(); ++i) {
            page.Choose(list.id, static_cast<LONG>(i));
            watch.Expect({{list.field, 0}}, list.field, tChange::MAYBE);
            EXPECT_EQ(page.Number(list.field), list.items[i].second);
        }
        for (const auto& [text, value] : list.items) {
            page.Set(list.field, std::to_string(value));
            EXPECT_EQ(page.Chosen(list.id), text);
        }
        watch = CRecordWatch(page);
    }
    for (const tColor& color : facts.colors) {
        SCOPED_TRACE(color.id);
        page.Send(color.id, KWEVENT_SIZE, 330, 130);
        double other[4];
        for (LONG i = 0; i < 4; ++i) other[i] = page.Number(color.channels[i].first, color.channels[i].second);
        for (LONG i = 0; i < 4; ++i) {
            const auto& [field, element] = color.channels[i];
            const bool whole = page.effect.info().field(field).count > 1; // its doubles are rounded to floats together
            page.Type(color.id, std::to_string(20 + i), i < 3 ? KWPART_EDIT1 + i : LONG{KWPART_ALPHA_EDIT});
            if (whole) {
                watch.Expect({{field, 0}, {field, 1}, {field, 2}, {field, 3}}, field);
            } else {
                watch.Expect({{field, element}}, field);
            }
            EXPECT_NEAR(page.Number(field, element), 0.2 + i * 0.01, 1e-7);
            for (LONG k = i + 1; k < 4; ++k)
                EXPECT_NEAR(page.Number(color.channels[k].first, color.channels[k].second), other[k], 1e-7) << k;
        }
        page.effect.applyPreset("0");
        if (page.Deliver() == 0) page.Command(kPageRefresh); // its presets are no affair of the effect's own
        tColorPickDetail detail{};
        page.model->GetDetail(color.id, &detail, sizeof detail);
        for (LONG i = 0; i < 4; ++i)
            EXPECT_EQ(detail.color[i < 3 ? 2 - i : 3],
                      static_cast<float>(page.Number(color.channels[i].first, color.channels[i].second)));
        watch = CRecordWatch(page);
    }
    for (const tPlace& place : facts.places) {
        SCOPED_TRACE(place.id);
        page.Send(place.id, KWEVENT_SIZE, 200, 120);
        page.Key(place.id, KWKEY_RIGHT);
        watch.Expect({{place.x.first, place.x.second}}, "x");
        page.Key(place.id, KWKEY_DOWN);
        watch.Expect({{place.y.first, place.y.second}}, "y");
        page.Send(place.id, KWEVENT_DOUBLE_PRESS, 20, 20); // adds no handle
        tPlacementDetail detail{};
        page.model->GetDetail(place.id, &detail, sizeof detail);
        EXPECT_EQ(detail.count, 1);
    }
}

// --- what no page may fall over

/// The fixed part of a record with every number of a kind.
void Fill(tOpenPage& page, double value) {
    const EffectInfo& info = page.effect.info();
    std::vector<std::byte> record = page.effect.record();
    if (const tFieldInfo* const text = info.textField()) record.resize(static_cast<std::size_t>(text->offset));
    for (const tFieldInfo& field : info.fields)
        for (LONG i = 0; i < field.count && field.type != KWTYPE_BYTES; ++i) {
            std::byte* const at = record.data() + field.offset + i * (field.type == KWTYPE_DOUBLE ? 8 : 4);
            const auto put = [&](auto number) { std::memcpy(at, &number, sizeof number); };
            if (field.type == KWTYPE_DOUBLE)
                put(value);
            else if (field.type == KWTYPE_FLOAT)
                put(static_cast<float>(std::clamp<double>(value, -FLT_MAX, FLT_MAX)));
            else
                put(static_cast<LONG>(std::isnan(value) ? -1.0 : std::clamp<double>(value, INT32_MIN, INT32_MAX)));
        }
    page.effect.setRecord(record);
    page.Command(kPageRefresh);
}

/// What a person, a toolkit and a hostile one may send, at random.
class CMonkey {
  public:
    explicit CMonkey(tOpenPage& page) : m_page(page), m_controls(page.Controls()) {
        std::erase_if(m_controls, [](const tPageControl& control) { return control.id == kPageLogo; }); // it talks
    }
    void Act() {
        const tPageControl& control = m_controls[m_random() % m_controls.size()];
        if (m_random() % 40 == 0) return Message(control);
        static const char* const texts[] = {"",    "0.5", "1e300", "-1e300", "nan",     "inf",  "abc",         "12,5",
                                            "100", "0",   "\xFF",  "a\nb",   "a\r\n\n", "%s$d", "\xE2\x82\xAC"};
        m_page.Send(control.id, static_cast<LONG>(m_random() % 19), Place(), Place(), Number(),
                    static_cast<ULONG>(m_random() % 4), static_cast<LONG>(m_random() % 16),
                    texts[m_random() % std::size(texts)]);
    }

  private:
    LONG Place() { return m_random() % 20 == 0 ? Wild() : static_cast<LONG>(m_random() % 400) - 50; }
    LONG Wild() {
        static constexpr LONG wild[] = {INT32_MIN, INT32_MAX, -1, 0, 1, 5000, 65536};
        return wild[m_random() % std::size(wild)];
    }
    LONG Number() {
        static constexpr LONG numbers[] = {
            0,          1,           KWKEY_TAB,  KWKEY_RETURN, KWKEY_ESCAPE,  KWKEY_UP,        KWKEY_DOWN,
            KWKEY_LEFT, KWKEY_RIGHT, KWKEY_HOME, KWKEY_END,    KWKEY_PAGE_UP, KWKEY_PAGE_DOWN, KWKEY_NUMPAD0,
            120,        -120,        0x112233,   -1,           2060};
        return m_random() % 20 == 0 ? Wild() : numbers[m_random() % std::size(numbers)];
    }
    void Message(const tPageControl& control) {
        if (control.kind == KWCONTROL_TRACKBAR || control.kind == KWCONTROL_SPINNER)
            m_page.model->SendControl(control.id, m_random() % 2 ? 1552 : 1553, m_random() % 2, Wild(), nullptr);
        else
            m_page.model->SendPage(m_random() % 2 ? WM_COMMAND : WM_HSCROLL,
                                   (m_random() % 3 ? static_cast<std::uintptr_t>(control.id) : 40500 + m_random() % 3) |
                                       (m_random() % 4 == 0 ? 512u << 16 : m_random() % 2 << 16),
                                   0, nullptr);
    }

    tOpenPage& m_page;
    std::vector<tPageControl> m_controls;
    std::minstd_rand m_random{20};
};

TEST_P(EveryPage, StandsWildRecordsAndEvents) {
    constexpr double kWild[] = {NAN, 1e300, -1e300, 0};
    for (const double value : kWild) {
        tOpenPage page(GetParam().effect);
        page.Send(1247, KWEVENT_SELECT, 0, 0, 3);
        for (const tPageControl& control : page.Controls()) page.Send(control.id, KWEVENT_SIZE, 200, 90);
        CMonkey monkey(page);
        Fill(page, value);
        for (int i = 0; i < 4000; ++i) {
            monkey.Act();
            if (i % 100 == 99) page.Deliver();
        }
        EXPECT_GT(page.sink->Count(KWNOTICE_APPLIED), 10);
        Fill(page, value);
        // Whatever went on, an edit still takes a number.
        for (const auto& [field, text] : GetParam().first) page.Set(field, text);
        for (const tSlider& slider : GetParam().sliders) {
            const double middle = slider.base + (slider.low + slider.high) / 2 * slider.factor;
            page.Type(slider.edit, Fixed(middle, slider.decimals));
            EXPECT_FALSE(page.Text(slider.edit).empty()) << slider.edit;
            EXPECT_TRUE(std::isfinite(page.Number(slider.field))) << slider.field;
        }
    }
    tOpenPage page(GetParam().effect);
    std::vector<std::byte> ones(page.effect.info().textField() ? 124 : page.effect.record().size(), std::byte{0xFF});
    page.effect.setRecord(ones);
    page.Command(kPageRefresh);
    for (const tPageControl& control : page.Controls())
        for (const LONG size : {0, 1, 2, 7, 333, 5000}) {
            if (control.id == kPageLogo) continue;
            page.Send(control.id, KWEVENT_SIZE, size, size / 2);
            page.Send(control.id, KWEVENT_PRESS, size / 3, size / 4);
            page.Send(control.id, KWEVENT_MOVE, size, size, 1);
            page.Send(control.id, KWEVENT_CANCEL);
        }
}

} // namespace
