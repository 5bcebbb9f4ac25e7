#include "generators/time_code.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string_view>
#include <vector>

#include "host/module.h"
#include "platform/glyphs.h"

namespace {

using namespace larkmoor;

constexpr DWORD kGround = 0x80402010, kBlack = 0xFF000000;

struct tPicture {
    tPicture(int width, int height, DWORD fill, PixelFormat format = PixelFormat::PremultipliedArgb32)
        : width(width), height(height),
          pixels(static_cast<std::size_t>(width * height * bytesPerPixel(format) / 4), fill),
          surface(Surface::wrap({reinterpret_cast<std::byte*>(pixels.data()), width, height,
                                 std::ptrdiff_t{width} * bytesPerPixel(format), format})) {}
    int width, height;
    std::vector<DWORD> pixels;
    Surface surface;
};

class TimeCode : public testing::Test {
  protected:
    Effect effect = [] {
        static const Module module = Module::load(LARKMOOR_MODULE_FILE);
        return module.create(module.find("Timecode"));
    }();

    void Set(const tTIMECODEPROP& record) { effect.setRecord(std::as_bytes(std::span(&record, 1))); }

    std::vector<DWORD> Render(int width, int height, double rate, std::int64_t time) {
        tPicture input(width, height, kGround), output(width, height, 0);
        output.surface.setInfo({1.0, rate, time});
        effect.render(std::span(&input.surface, 1), output.surface);
        return output.pixels;
    }

    /// The rule once more, with the text given.
    static std::vector<DWORD> Expected(int w, int h, const tTIMECODEPROP& record, std::string_view text) {
        const LONG size = std::min(w, h) / 6;
        const auto font = CGlyphFont::Open(
            {.lfHeight = size, .lfWeight = 700, .lfCharSet = 1, .lfOutPrecision = 7, .lfFaceName = "Arial"},
            static_cast<LONG>(record.width * 65536), static_cast<LONG>(record.height * 65536));
        int top = 0, total = 0, tallest = 0;
        const auto glyphOf = [&](char c) { return *font->Glyph(font->IndexOf(static_cast<char32_t>(c))); };
        for (const char c : std::string_view("0123456789;:.,+-")) top = std::max(top, glyphOf(c).originY);
        for (const char c : text) {
            total += glyphOf(c).cellIncrementX;
            tallest = std::max(tallest, glyphOf(c).boxHeight + glyphOf(c).originY);
        }
        int x = record.horizontal == 0 ? w / 10 : record.horizontal == 1 ? w / 2 - total / 2 : w - w / 10 - total;
        const int y = record.vertical == 0   ? h / 10 + tallest / 2
                      : record.vertical == 1 ? h / 2 + tallest / 4
                                             : h - h / 10;
        const int a = tallest / 4, b = tallest / 8;
        std::vector<DWORD> picture(static_cast<std::size_t>(w * h), kGround);
        const auto put = [&](int px, int py, DWORD pixel) {
            if (px >= 0 && px < w && py >= 0 && py < h) picture[static_cast<std::size_t>(py * w + px)] = pixel;
        };
        for (int py = y - b - top; py < y + b; ++py)
            for (int px = x - a; px < x + a + total; ++px) put(px, py, kBlack);
        for (const char c : text) {
            const tGlyph glyph = glyphOf(c);
            for (int j = 0; j < glyph.boxHeight; ++j)
                for (int i = 0; i < glyph.boxWidth; ++i) {
                    const DWORD v = std::min(4 * glyph.coverage[j * glyph.stride + i], 255);
                    put(x + glyph.originX + i, y - glyph.originY + j, kBlack | v * 0x10101);
                }
            x += glyph.cellIncrementX;
        }
        return picture;
    }
};

TEST_F(TimeCode, StandsWhereItIsToldTo) {
    const std::int64_t time = 36000000000 + 12345 * 1000; // an hour, a second and a bit
    for (const auto& [w, h] : {std::pair{320, 240}, {720, 486}, {97, 203}, {40, 12}, {12, 90}})
        for (LONG at = 0; at < 9; ++at) {
            const tTIMECODEPROP record{at % 3, at / 3, 9, at == 4 ? 0.75f : 1.0f, at == 5 ? 2.0f : 1.0f, 1.0f, 0, 0};
            Set(record);
            ASSERT_EQ(Expected(w, h, record, "01:00:01:05"), Render(w, h, 25.0, time)) << w << "x" << h << " at " << at;
        }
}

TEST_F(TimeCode, CountsFramesAtTheRateOfThePicture) {
    const struct {
        LONG format;
        double rate;
        std::int64_t frame;
        const char* text;
    } rows[] = {
        {8, 30000 / 1001.0, 1799, "00:00:59;29"},
        {8, 30000 / 1001.0, 1800, "00:01:00;02"},
        {8, 60000 / 1001.0, 3600, "00:01:00;02"},
        {9, 25.0, 37, "00:00:01:12"},
        {9, 50.0, 75, "00:00:01:12"},
        {10, 24.0, 37, "00:00:01:13"},
        {4, 50.0, 74, "37.000"},
        {4, 30.0, 37, "37.000"},
        {2, 0.0, 0, "0.000"},
    };
    for (const auto& row : rows) {
        tTIMECODEPROP record{1, 1, row.format, 1, 1, 1, 0, 0};
        Set(record);
        const auto time = row.rate > 0 ? static_cast<std::int64_t>(static_cast<double>(row.frame) / row.rate * 1e7) : 0;
        EXPECT_EQ(Expected(240, 180, record, row.text), Render(240, 180, row.rate, time)) << row.text;
    }
}

TEST_F(TimeCode, WildTimesAndSizesOfDigits) {
    for (const float scale : {0.0f, -1.0f, 1e-6f, 50.0f, 40000.0f, 1e30f, -1e30f, NAN, INFINITY})
        for (const double rate : {0.0, 1e-300, 1e300, -25.0, double{NAN}, double{INFINITY}})
            for (const std::int64_t time : {std::int64_t{0}, INT64_MIN, INT64_MAX}) {
                Set({INT32_MIN, INT32_MAX, static_cast<LONG>(rate == 0 ? 17 : 8), scale, scale, 0, 0, 0});
                Render(33, 17, rate, time);
            }
}

} // namespace
