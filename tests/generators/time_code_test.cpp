#include "generators/time_code.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "digest.h"
#include "host/module.h"

namespace {

using namespace larkmoor;

constexpr DWORD kGround = 0x80402010;

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
    static std::string DigestOf(const std::vector<DWORD>& pixels) {
        Digest digest;
        digest.add(std::as_bytes(std::span(pixels)));
        return digest.text();
    }
};

TEST_F(TimeCode, StandsWhereItIsToldTo) {
    const std::int64_t time = 36000000000 + 12345 * 1000; // an hour, a second and a bit
    for (const auto& [w, h] : {std::pair{320, 240}, {720, 486}, {97, 203}, {40, 12}, {12, 90}}) {
        std::string digests;
        for (LONG at = 0; at < 9; ++at) {
            Set({at % 3, at / 3, 9, at == 4 ? 0.75f : 1.0f, at == 5 ? 2.0f : 1.0f, 1.0f, 0, 0});
            digests += (at ? " " : "") + DigestOf(Render(w, h, 25.0, time));
        }
        expectRow("records.txt", fmt::format("Timecode on {}x{}, 01:00:01:05", w, h), digests);
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
    for (const auto& row : rows) { // the same text is the same picture, whatever made it
        Set({1, 1, row.format, 1, 1, 1, 0, 0});
        const auto time = row.rate > 0 ? static_cast<std::int64_t>(static_cast<double>(row.frame) / row.rate * 1e7) : 0;
        expectRow("records.txt", fmt::format("Timecode {}", row.text), DigestOf(Render(240, 180, row.rate, time)));
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
