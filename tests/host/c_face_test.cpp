// The face in C beside the one in C++.
#include "host/larkmoor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

#include "host/module.h"

namespace larkmoor {
namespace {

using testing::HasSubstr;

struct CFace : testing::Test {
    larkmoor_module* module = larkmoor_open(LARKMOOR_MODULE_FILE);
    larkmoor_effect* effect = nullptr;
    std::uint32_t pixels[3][8][4]{}; ///< two inputs, the output
    larkmoor_image images[3];

    CFace() {
        for (int i = 0; i < 3; ++i) images[i] = {sizeof images[i], pixels[i], 4, 8, 16, LARKMOOR_BGRA};
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 4; ++x) {
                pixels[0][y][x] = 0xFF102030u + static_cast<unsigned>(y * 0x10101);
                pixels[1][y][x] = 0xFFC0B0A0u;
            }
    }
    ~CFace() override {
        larkmoor_destroy(effect);
        larkmoor_close(module);
    }
    void make(const char* name) {
        larkmoor_destroy(effect);
        effect = larkmoor_create(module, name);
        ASSERT_TRUE(effect) << larkmoor_error();
    }
    int render(std::size_t inputs, int first = 0, int count = 0) {
        return larkmoor_render(effect, images, inputs, &images[2], first, count);
    }
    std::string get(const char* field) {
        char text[64] = "";
        EXPECT_GE(larkmoor_get(effect, field, text, sizeof text), 0) << larkmoor_error();
        return text;
    }
};

TEST_F(CFace, TellsWhatTheModuleHas) {
    const Module other = Module::load(LARKMOOR_MODULE_FILE);
    ASSERT_EQ(larkmoor_effect_count(module), other.effects().size());
    for (std::size_t i = 0; i < other.effects().size(); ++i) {
        const EffectInfo& expected = other.effects()[i];
        larkmoor_effect_info info{};
        info.size = sizeof info;
        ASSERT_EQ(larkmoor_describe_effect(module, i, &info), 0);
        EXPECT_EQ(info.name, expected.name);
        EXPECT_EQ(info.class_name, expected.className);
        EXPECT_EQ(info.kind, static_cast<int>(expected.kind));
        EXPECT_EQ(info.min_inputs, expected.minInputs);
        EXPECT_EQ(info.max_inputs, expected.maxInputs);
        ASSERT_EQ(info.field_count, expected.fields.size());
        ASSERT_EQ(info.preset_count, expected.presets.size());
        for (std::size_t f = 0; f < info.field_count; ++f) {
            const tFieldInfo& field = expected.fields[f];
            larkmoor_field_info told{};
            told.size = sizeof told;
            ASSERT_EQ(larkmoor_describe_field(module, i, f, &told), 0);
            EXPECT_STREQ(told.name, field.name);
            EXPECT_STREQ(told.label, field.label);
            EXPECT_STREQ(told.help, field.help);
            EXPECT_STREQ(told.unit, field.unit);
            EXPECT_EQ(told.kind, field.kind);
            EXPECT_EQ(told.minimum, field.minimum);
            EXPECT_EQ(told.maximum, field.maximum);
            EXPECT_EQ(told.step, field.step);
            ASSERT_EQ(told.choice_count, static_cast<std::size_t>(field.choiceCount));
            for (std::size_t c = 0; c < told.choice_count; ++c)
                EXPECT_STREQ(larkmoor_choice_text(module, i, f, c), field.choices[c].text);
            EXPECT_EQ(larkmoor_choice_text(module, i, f, told.choice_count), nullptr);
        }
        for (std::size_t p = 0; p < info.preset_count; ++p)
            EXPECT_EQ(larkmoor_preset_name(module, i, p), expected.presets[p].name);
        EXPECT_EQ(larkmoor_preset_name(module, i, info.preset_count), nullptr);
    }
}

TEST_F(CFace, AnOlderProgramGetsWhatItKnowsOf) {
    larkmoor_effect_info info;
    std::memset(static_cast<void*>(&info), 0x55, sizeof info);
    info.size = offsetof(larkmoor_effect_info, kind);
    ASSERT_EQ(larkmoor_describe_effect(module, 0, &info), 0);
    EXPECT_EQ(info.size, offsetof(larkmoor_effect_info, kind));
    EXPECT_STRNE(info.name, "");
    EXPECT_EQ(info.kind, 0x55555555);
    struct Newer {
        larkmoor_image image;
        std::uint64_t unknown;
    } inputs[2] = {{images[0], 1}, {images[1], 2}};
    for (Newer& input : inputs) input.image.size = sizeof input;
    make("Dissolve");
    ASSERT_EQ(larkmoor_seek(effect, 1), 0);
    ASSERT_EQ(larkmoor_render(effect, &inputs[0].image, 2, &images[2], 0, 0), 0) << larkmoor_error();
    EXPECT_EQ(std::memcmp(pixels[2], pixels[1], sizeof pixels[1]), 0);
    // Pictures of the first version end with the format.
    const std::size_t first = offsetof(larkmoor_image, format) + sizeof(int);
    make("Invert");
    images[0].size = images[2].size = first;
    EXPECT_EQ(render(1), 0) << larkmoor_error();
    EXPECT_EQ(pixels[2][5][2], pixels[0][5][2] ^ 0xFFFFFFu);
    images[0].size = first - 1;
    EXPECT_EQ(render(1), -1);
}

TEST_F(CFace, RendersRowsAndMoves) {
    make("Invert");
    ASSERT_EQ(render(1, 3, 2), 0) << larkmoor_error();
    for (int y = 0; y < 8; ++y) EXPECT_EQ(pixels[2][y][1], y == 3 || y == 4 ? pixels[0][y][1] ^ 0xFFFFFFu : 0u) << y;
    make("Brightness and Contrast");
    EXPECT_EQ(larkmoor_set(effect, "brightness", "0.75"), 0);
    EXPECT_EQ(get("brightness"), "0.75");
    EXPECT_EQ(larkmoor_apply(effect, "brightness=0.25"), 0) << larkmoor_error();
    EXPECT_EQ(get("brightness"), "0.25");
    EXPECT_EQ(larkmoor_animate(effect, "brightness", "-1", "1"), 0) << larkmoor_error();
    std::uint32_t last = 0;
    for (const double position : {0.0, 0.5, 1.0}) {
        ASSERT_EQ(larkmoor_seek(effect, position), 0) << larkmoor_error();
        ASSERT_EQ(render(1), 0) << larkmoor_error();
        EXPECT_GT(pixels[2][0][0], last) << position;
        last = pixels[2][0][0];
    }
    EXPECT_EQ(larkmoor_animate(effect, "brightness", nullptr, nullptr), 0);
    ASSERT_EQ(render(1), 0);
    EXPECT_LT(pixels[2][0][0], last);
    make("Test Pattern");
    ASSERT_EQ(render(0), 0) << larkmoor_error();
    make("Sepia");
    EXPECT_EQ(larkmoor_preset(effect, "0"), 0) << larkmoor_error();
    const std::string first = get("color");
    EXPECT_EQ(larkmoor_apply(effect, "Cold"), 0) << larkmoor_error();
    EXPECT_NE(get("color"), first);
    make("Text");
    EXPECT_EQ(larkmoor_apply(effect, "text=1+1=2"), 0) << larkmoor_error();
    EXPECT_EQ(get("text"), "1+1=2");
}

TEST_F(CFace, ReplacesWhatTheRowsHeld) {
    for (auto& row : pixels[0])
        for (auto& pixel : row) pixel &= 0x40FFFFFF;
    for (const int format : {LARKMOOR_BGRA, LARKMOOR_BGRA_PREMULTIPLIED}) {
        for (auto& image : images) image.format = format;
        for (const char* const name : {"Linear Wipe", "Push", "Dissolve", "Additive Dissolve", "Cookie Cutter"}) {
            make(name);
            larkmoor_seek(effect, 0.3);
            std::uint32_t got[2][8][4];
            for (const int turn : {0, 1}) {
                std::memset(pixels[2], turn * 0x5A, sizeof pixels[2]);
                ASSERT_EQ(render(std::strstr(name, "Cutter") ? 1 : 2, 2, 6), 0) << larkmoor_error();
                std::memcpy(got[turn], pixels[2], sizeof pixels[2]);
            }
            EXPECT_EQ(std::memcmp(got[0] + 2, got[1] + 2, sizeof got[0] - 2 * sizeof got[0][0]), 0) << name;
        }
    }
    // Beside an input that is narrower nothing is drawn.
    make("Invert");
    images[0].width = 2;
    std::memset(pixels[2], 0x5A, sizeof pixels[2]);
    ASSERT_EQ(render(1, 2, 5), 0) << larkmoor_error();
    for (int y = 0; y < 8; ++y) EXPECT_EQ(pixels[2][y][3], y < 2 || y == 7 ? 0x5A5A5A5Au : 0u) << y;
    images[0].width = 4;
    // Blended over a cleared output, white would lose a step.
    std::memset(pixels, 0xFF, sizeof pixels);
    make("Additive Dissolve");
    ASSERT_EQ(render(2), 0) << larkmoor_error();
    EXPECT_EQ(pixels[2][3][1], 0xFFFFFFFFu);
}

TEST_F(CFace, AnswersFaultsWithSentences) {
    make("Invert");
    larkmoor_image none{}, other = images[2], empty = images[2];
    other.format = 7;
    empty.data = nullptr;
    larkmoor_effect_info unsized{};
    const auto told = [](auto answer) { return answer ? std::string(answer < 0 ? larkmoor_error() : "") : ""; };
    const std::pair<std::string, const char*> rows[] = {
        {larkmoor_open("/nowhere.so") ? "" : larkmoor_error(), "/nowhere.so"},
        {larkmoor_create(module, "Invort") ? "" : larkmoor_error(), "Invert"},
        {larkmoor_create(nullptr, "Invert") ? "" : larkmoor_error(), "module is null"},
        {larkmoor_create(module, nullptr) ? "" : larkmoor_error(), "name is null"},
        {told(larkmoor_describe_effect(module, 999, &unsized)), "no effect of number 999"},
        {told(larkmoor_describe_effect(module, 0, &unsized)), "size"},
        {told(larkmoor_describe_effect(module, 0, nullptr)), "null"},
        {told(larkmoor_set(effect, "nothing", "1")), "nothing"},
        {told(larkmoor_set(effect, nullptr, "1")), "null"},
        {told(larkmoor_get(effect, "nothing", nullptr, 0)), "nothing"},
        {told(larkmoor_preset(effect, "nothing")), "nothing"},
        {told(larkmoor_apply(effect, "nothing")), "no preset"},
        {told(larkmoor_apply(effect, "nothing=1")), "no field"},
        {told(larkmoor_apply(effect, nullptr)), "null"},
        {told(larkmoor_animate(effect, "nothing", "0", "1")), "nothing"},
        {told(larkmoor_seek(effect, 1.5)), "0 to 1"},
        {told(larkmoor_render(effect, images, 3, &images[2], 0, 0)), "takes"},
        {told(larkmoor_render(effect, nullptr, 1, &images[2], 0, 0)), "null"},
        {told(larkmoor_render(effect, &none, 1, &images[2], 0, 0)), "size"},
        {told(larkmoor_render(effect, images, 1, &other, 0, 0)), "format 7"},
        {told(larkmoor_render(effect, images, 1, &empty, 0, 0)), "no pixels"},
        {told(render(1, 8, 1)), "rows"},
        {told(render(1, -1, 1)), "rows"},
        {told(render(1, 1, INT32_MAX)), "rows"},
        {told(render(1, INT32_MAX, INT32_MAX)), "rows"},
        {told(larkmoor_render(nullptr, images, 1, &images[2], 0, 0)), "null"},
    };
    for (const auto& [sentence, part] : rows) EXPECT_THAT(sentence, HasSubstr(part));
    larkmoor_close(nullptr);
    larkmoor_destroy(nullptr);
    char text[3] = "xx";
    make("Brightness and Contrast");
    larkmoor_set(effect, "brightness", "0.25");
    EXPECT_EQ(larkmoor_get(effect, "brightness", text, sizeof text), 4);
    EXPECT_STREQ(text, "0.");
}

} // namespace
} // namespace larkmoor
