// Text of record fields, and names as people type them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "frame/fields.h"
#include "host/module.h"
#include "host/names.h"
#include "host/plug_in.h"
#include "platform/font.h"

namespace larkmoor {
namespace {

using testing::HasSubstr;

struct Record {
    double size;
    float opacity;
    LONG passes;
    LONG invert;
    LONG shape;
    float color[4]; // blue, green, red, alpha
    double center[2];
    float tint[3]; // hue, saturation, lightness
    tLOGFONT font;
};

constexpr tFieldChoice kShapes[] = {{"Circle", 0}, {"Long Box", 1}, {"-", 2}, {"Star", 7}};

EffectInfo info() {
    EffectInfo made;
    made.name = "Smear";
    made.fields = {KwNumber(KWMEMBER(Record, size), {"Blur &Size:", "", 0, 100, 0.01, "", "pixels"}),
                   KwNumber(KWMEMBER(Record, opacity), {"", "", 0, 1, 0.01}),
                   KwWhole(KWMEMBER(Record, passes), {"", "", 1, 10, 1}),
                   KwSwitch(KWMEMBER(Record, invert), "", ""),
                   KwChoice(KWMEMBER(Record, shape), "", "", kShapes),
                   KwColor(KWMEMBER(Record, color), KWTYPE_FLOAT, "bgra", "", ""),
                   KwPoint(KWMEMBER(Record, center), {"", "", 0, 1, 0.01}),
                   KwColor(KWMEMBER(Record, tint), KWTYPE_FLOAT, "hsl", "", ""),
                   {.name = "font",
                    .label = "",
                    .components = "",
                    .kind = KWFIELD_FONT,
                    .type = KWTYPE_BYTES,
                    .offset = offsetof(Record, font),
                    .count = sizeof(tLOGFONT)}};
    made.presets = {{"Reset to None", {}}, {"Very-Soft", {}}, {"3", {}}};
    return made;
}

struct Bytes {
    Record record{};
    std::span<std::byte> span() { return std::as_writable_bytes(std::span(&record, 1)); }
};

TEST(HostFields, TextGoesInAndOut) {
    const struct {
        const char *field, *given, *read;
    } rows[] = {
        {"size", "12.5", "12.5"},
        {"size", " +3e2 ", "300"}, // beyond the page's range, which nothing checks
        {"size", "-1", "-1"},
        {"opacity", "0.1", "0.1"},
        {"passes", "4", "4"},
        {"passes", "4.0", "4"},
        {"passes", "-2147483648", "-2147483648"},
        {"invert", "On", "on"},
        {"invert", "yes", "on"},
        {"invert", "1", "on"},
        {"invert", "FALSE", "off"},
        {"invert", "5", "5"},
        {"shape", "star", "Star"},
        {"shape", "long_box", "Long Box"},
        {"shape", "-", "-"},
        {"shape", "7", "Star"},
        {"shape", "3", "3"},
        {"color", "#FF8000", "1,0.5019608,0,1"},
        {"color", "#ff800033", "1,0.5019608,0,0.2"},
        {"color", "0.25, 0.5, 0.75", "0.25,0.5,0.75,1"},
        {"color", "0.25,0.5,2,0", "0.25,0.5,2,0"},
        {"center", "0.5,-0.25", "0.5,-0.25"},
        {"tint", "0.1,0.2,0.3", "0.1,0.2,0.3"},
        {"font", " Liberation  Sans oblique bold 20 ", "Liberation  Sans Bold Italic 20"},
        {"font", "Bold -4096", "Bold -4096"},
        {"font", "Arial 3", "Arial 3 0"},
    };
    const EffectInfo effect = info();
    for (const auto& row : rows) {
        Bytes bytes;
        ASSERT_NO_THROW(setFieldText(effect.field(row.field), bytes.span(), row.given)) << row.given;
        EXPECT_EQ(fieldText(effect.field(row.field), bytes.span()), row.read) << row.field << " " << row.given;
    }
    Bytes bytes;
    setFieldText(effect.field("color"), bytes.span(), "1,0.5,0.25,0");
    EXPECT_EQ(bytes.record.color[0], 0.25f) << "blue stands first";
    EXPECT_EQ(bytes.record.color[2], 1.0f);
}

TEST(HostFields, JunkIsRefusedWithWhatIsTakenAndChangesNothing) {
    using namespace std::string_view_literals;
    const struct {
        const char* field;
        std::string_view given;
        const char* taken;
    } rows[] = {
        {"size", "abc", "the field \"size\" takes a number from 0 to 100 pixels, not \"abc\""},
        {"size", "", "not \"\""},
        {"size", "nan", "a number"},
        {"size", "inf", "a number"},
        {"size", "1e999", "a number"},
        {"size", "1,5", "a number"},
        {"size", "0x10", "a number"},
        {"size", "5px", "a number"},
        {"size", "+-5", "a number"},
        {"opacity", "1e39", "a number from 0 to 1"},
        {"passes", "1.5", "a whole number from 1 to 10"},
        {"passes", "2147483648", "a whole number"},
        {"invert", "maybe", "takes on or off"},
        {"shape", "square", "\"Circle\", \"Long Box\", \"-\" or \"Star\""},
        {"shape", "1.5", "\"Star\" or a number from 0 to 7"},
        {"color", "#FF80", "#RRGGBB, #RRGGBBAA or numbers from 0 to 1 as red,green,blue,alpha"},
        {"color", "#GG8000", "#RRGGBB"},
        {"color", "#+1+1+1", "#RRGGBB"},
        {"color", "1,0", "#RRGGBB"},
        {"color", "1,0,0,1,1", "#RRGGBB"},
        {"color", "0,0,1e39,1", "#RRGGBB"},
        {"center", "1", "a point as x,y"},
        {"center", "1,", "a point as x,y"},
        {"tint", "#FF8000", "numbers from 0 to 1 as h,s,l"},
        {"font", " 20 ", "a font as family, style and pixels"},
        {"font", "Arial 4097", "a font"},
        {"font", "A name of thirty-two characters.", "a font"},
        {"font", "Arial  \0 04"sv, "a font"},
    };
    const EffectInfo effect = info();
    for (const auto& row : rows) {
        Bytes bytes;
        std::memset(bytes.span().data(), 0x3E, sizeof(Record));
        const Bytes before = bytes;
        try {
            setFieldText(effect.field(row.field), bytes.span(), row.given);
            ADD_FAILURE() << row.field << " took " << row.given;
        } catch (const Error& error) {
            EXPECT_THAT(error.what(), HasSubstr(row.taken));
        }
        EXPECT_EQ(std::memcmp(&bytes, &before, sizeof bytes), 0) << row.field << " " << row.given;
    }
}

TEST(HostFields, ValuesBeyondTheRangeAreTold) {
    const struct {
        const char *field, *given, *fault;
    } rows[] = {
        {"size", "0", ""},
        {"size", "100", ""},
        {"size", "-0.001", "takes a number from 0 to 100 pixels, not \"-0.001\""},
        {"size", "100.001", "from 0 to 100"},
        {"opacity", "1", ""},
        {"opacity", "1.0001", "from 0 to 1"},
        {"passes", "10", ""},
        {"passes", "0", "a whole number from 1 to 10, not \"0\""},
        {"invert", "1", ""},
        {"invert", "2", "on or off"},
        {"shape", "7", ""},
        {"shape", "3", "\"Star\" or a number from 0 to 7, not \"3\""},
        {"color", "0,1,0,1", ""},
        {"color", "255,0,0,1", "numbers from 0 to 1 as red,green,blue,alpha, not \"255,0,0,1\""},
        {"color", "0,0,-0.1,1", "numbers from 0 to 1"},
        {"center", "0,1", ""},
        {"center", "0,1.5", "a point as x,y, each a number from 0 to 1"},
    };
    const EffectInfo effect = info();
    for (const auto& row : rows) {
        Bytes bytes;
        setFieldText(effect.field(row.field), bytes.span(), row.given);
        const std::string fault = fieldFault(effect.field(row.field), bytes.span()).value_or("");
        EXPECT_THAT(fault, HasSubstr(row.fault)) << row.field << " " << row.given;
        EXPECT_EQ(fault.empty(), !*row.fault) << fault;
    }
    Bytes bytes;
    bytes.record.size = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(fieldFault(effect.field("size"), bytes.span()));
    // A bound that floats only come near.
    tFieldInfo near = effect.field("opacity");
    near.minimum = 0.1;
    bytes.record.opacity = 0.1f;
    near.maximum = 0.7;
    EXPECT_FALSE(fieldFault(near, bytes.span()));
    bytes.record.opacity = 0.7f;
    EXPECT_FALSE(fieldFault(near, bytes.span()));
}

TEST(HostFields, NothingOutsideTheRecordIsTouched) {
    EffectInfo effect = info();
    std::vector<std::byte> small(offsetof(Record, tint) + 11);
    EXPECT_THROW(fieldText(effect.field("tint"), small), Error);
    EXPECT_THROW(setFieldText(effect.field("tint"), small, "0,0,0"), Error);
    effect.fields[0].offset = -8;
    EXPECT_THROW(fieldText(effect.fields[0], small), Error);
    effect.fields[0].offset = INT32_MAX;
    EXPECT_THROW(setFieldText(effect.fields[0], small, "1"), Error);
}

TEST(HostFields, WildRecordsHaveText) {
    Bytes bytes;
    bytes.record.size = std::numeric_limits<double>::quiet_NaN();
    bytes.record.opacity = 1e30f;
    EXPECT_EQ(fieldText(info().field("size"), bytes.span()), "nan");
    EXPECT_EQ(fieldText(info().field("opacity"), bytes.span()), "1e+30");
}

std::string sentenceOf(auto&& call) {
    try {
        call();
    } catch (const Error& error) {
        return error.what();
    }
    return {};
}

TEST(HostNames, FieldsAndPresetsByName) {
    const EffectInfo effect = info();
    EXPECT_EQ(&effect.field("S-I z_e"), &effect.fields[0]);
    EXPECT_EQ(&effect.field("blur size"), &effect.fields[0]);
    EXPECT_EQ(sentenceOf([&] { effect.field("opacty"); }), "Smear has no field \"opacty\"; did you mean \"opacity\"?");
    EXPECT_EQ(&effect.preset("very soft"), &effect.presets[1]);
    EXPECT_EQ(&effect.preset("0"), &effect.presets[0]);
    EXPECT_EQ(&effect.preset("3"), &effect.presets[2]) << "a name goes before a number";
    EXPECT_THAT(sentenceOf([&] { effect.preset("9"); }), HasSubstr("numbers 0 to 2"));
    EXPECT_THAT(sentenceOf([&] { effect.preset("99999999999999999999999"); }), HasSubstr("numbers 0 to 2"));
    EXPECT_THAT(sentenceOf([&] { effect.preset("reset"); }), HasSubstr("did you mean \"Reset to None\"?"));
    EXPECT_THAT(sentenceOf([] { EffectInfo().preset("x"); }), HasSubstr("no presets at all"));
}

TEST(HostNames, NearestAreOffered) {
    const std::vector<Candidate> effects = {{"Gaussian Blur", {"DXTGaussianBlur"}},
                                            {"Quick Blur", {"DXTBlur"}},
                                            {"Invert", {"DXTInvert"}},
                                            {"Push", {"DXTKwPush"}},
                                            {"Linear Wipe", {"DXTKwWipe"}}};
    EXPECT_EQ(didYouMean("Gausian Blur", effects), "did you mean \"Gaussian Blur\"?");
    EXPECT_EQ(didYouMean("blur", effects), "did you mean \"Gaussian Blur\" or \"Quick Blur\"?");
    EXPECT_EQ(didYouMean("dxtinvret", effects), "did you mean \"Invert\"?");
    EXPECT_EQ(didYouMean("inv", effects), "did you mean \"Invert\"?");
    EXPECT_THAT(didYouMean("zzzzzz", effects), HasSubstr(" or ")) << "three all the same";
    EXPECT_EQ(didYouMean("x", {}), "");
    EXPECT_NO_THROW(didYouMean(std::string(100000, 'b'), effects));
    EXPECT_FALSE(sameName("-", "_"));
    EXPECT_EQ(inQuotes("a\nb"), "\"a b\"");
    EXPECT_LT(inQuotes(std::string(1000, 'x')).size(), 70u);
}

// What hosts send of "#RRGGBB" in floats is its bytes again.
TEST(HostPlugIns, ChannelsTakeWholeSteps) {
    for (int step = 0; step < 256; ++step) EXPECT_EQ(wholeStep(static_cast<float>(step) / 255.0f), step / 255.0);
    for (const double between : {0.5, 18.001 / 255, 17.999 / 255, 1.5}) EXPECT_EQ(wholeStep(between), between);
}

// Any part that has changed counts; a field that has not, or does not take what it is given, keeps its default.
TEST(HostPlugIns, RecordsTakeWhatHasChanged) {
    const tFieldInfo at = KwPoint({"at", 0, KWTYPE_DOUBLE}, {"", "", 0, 1, 0.01});
    EffectInfo info;
    info.defaults.resize(2 * sizeof(double));
    const auto text = [&](bool x, bool y, const char* second) {
        const FieldPart parts[] = {{}, {&at, x, "0.25"}, {&at, y, second}};
        return fieldText(at, recordOfParts(info, parts));
    };
    EXPECT_EQ(text(true, false, "0.5"), "0.25,0.5");
    EXPECT_EQ(text(false, true, "0.5"), "0.25,0.5");
    EXPECT_EQ(text(false, false, "0.5"), "0,0");
    EXPECT_EQ(text(true, true, "?"), "0,0");
}

TEST(HostPlugIns, ElementsHaveWords) {
    const tFieldInfo color = info().field("color"), plain = info().field("opacity");
    EXPECT_EQ(elementWords(color, 0, 4).name, "Red");
    EXPECT_EQ(elementWords(color, 3, 4).label, " alpha");
    EXPECT_EQ(elementWords(plain, 1, 2).label, " 2");
    EXPECT_EQ(elementWords(info().field("center"), 0, 2).label, " X");
    EXPECT_EQ(elementWords(plain, 0, 1).name, "");
}

} // namespace
} // namespace larkmoor
