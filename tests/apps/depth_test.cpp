// Pictures of more than 8 bits a sample: to floats, through effects, and back.
#include <cmath>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "host/depth.h"
#include "media/chroma_scaler.h"
#include "media/convert.h"
#include "media/deep_rows.h"

namespace larkmoor {
namespace {

constexpr ChromaStep steps[] = {std::nullopt, 0, 64, 128, 192, 256};

/// Of a step, for people.
int number(ChromaStep step) {
    return step.value_or(-1);
}

TEST(ChromaScaler, ComesBackWhateverTheSize) {
    std::mt19937 random(5);
    for (const auto& [width, height] : {std::pair(1, 1), {2, 1}, {1, 2}, {3, 3}, {4, 5}, {7, 4}, {33, 18}})
        for (const ChromaStep across : steps)
            for (const ChromaStep down : steps) {
                ChromaScaler scaler(width, height, across, down);
                std::vector<float> small(scaler.smallSize()), back(small.size()),
                    large(static_cast<std::size_t>(width * height));
                for (float& value : small) value = static_cast<float>(random() % 1000) / 1000;
                scaler.widen(small, large);
                scaler.shrink(large, back);
                for (std::size_t i = 0; i < small.size(); ++i)
                    ASSERT_NEAR(back[i], small[i], 2e-6)
                        << width << "x" << height << " " << number(across) << " " << number(down) << " at " << i;
            }
}

/// Slopes show where samples sit; a checkerboard of luma's own samples leaves nothing but its mean.
TEST(ChromaScaler, KeepsPlacesAndPassesLowTonesOnly) {
    constexpr int side = 32;
    for (const ChromaStep across : steps)
        for (const ChromaStep down : steps) {
            ChromaScaler scaler(side, side, across, down);
            const auto place = [](int i, ChromaStep step) { return step ? 2 * i + *step / 256.0 : i; };
            const int width = chromaLength(side, across);
            std::vector<float> small(scaler.smallSize()), large(side * side), fine(side * side);
            for (std::size_t i = 0; i < small.size(); ++i)
                small[i] = static_cast<float>(place(static_cast<int>(i) % width, across) +
                                              3 * place(static_cast<int>(i) / width, down));
            scaler.widen(small, large);
            for (int y = 6; y < side - 6; ++y)
                for (int x = 6; x < side - 6; ++x)
                    ASSERT_NEAR(large[static_cast<std::size_t>(y * side + x)], x + 3 * y, 1e-4)
                        << number(across) << " " << number(down);
            for (int i = 0; i < side * side; ++i) fine[static_cast<std::size_t>(i)] = (i + i / side) % 2 ? 1.0f : 0.0f;
            scaler.shrink(fine, small);
            if (!across && !down) continue;
            for (const float value : small) ASSERT_NEAR(value, 0.5, 1e-4) << number(across) << " " << number(down);
        }
}

struct DeepCase {
    AVPixelFormat format;
    AVColorSpace space = AVCOL_SPC_BT2020_NCL;
    AVColorRange range = AVCOL_RANGE_MPEG;
    AVChromaLocation chroma = AVCHROMA_LOC_UNSPECIFIED;
};

/// Every sample of every plane comes back to the bit, wherever its colour lies.
TEST(DeepRows, ComeBackToTheBit) {
    constexpr DeepCase cases[] = {
        {AV_PIX_FMT_YUV420P10},
        {AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG, AVCHROMA_LOC_CENTER},
        {AV_PIX_FMT_YUV420P12, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_MPEG, AVCHROMA_LOC_TOPLEFT},
        {AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, AVCHROMA_LOC_BOTTOM},
        {AV_PIX_FMT_YUV422P10},
        {AV_PIX_FMT_YUV422P10BE, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG},
        {AV_PIX_FMT_YUV444P10},
        {AV_PIX_FMT_YUV444P16, AVCOL_SPC_SMPTE240M},
        {AV_PIX_FMT_YUV420P16},
        {AV_PIX_FMT_YUV420P},
        {AV_PIX_FMT_NV12},
        {AV_PIX_FMT_P010},
        {AV_PIX_FMT_YUVA444P12},
        {AV_PIX_FMT_GRAY10},
        {AV_PIX_FMT_GRAY16BE},
        {AV_PIX_FMT_YA16BE},
        {AV_PIX_FMT_GBRP10},
        {AV_PIX_FMT_GBRAP16},
        {AV_PIX_FMT_RGB48BE},
        {AV_PIX_FMT_BGRA64},
    };
    std::mt19937 random(3);
    for (const DeepCase& c : cases)
        for (const auto& [width, height] : {std::pair(16, 8), {7, 5}, {1, 1}}) {
            const AVPixFmtDescriptor& d = *av_pix_fmt_desc_get(c.format);
            const FramePool pool(c.format, width, height);
            const FramePtr frame = pool.take(), back = pool.take();
            for (const FramePtr& f : {std::cref(frame), std::cref(back)}) {
                std::memset(f.get()->buf[0]->data, 0, f.get()->buf[0]->size);
                tag(*f.get(), {.space = c.space, .range = c.range, .chroma = c.chroma});
            }
            const auto sizeOf = [&, width = width, height = height](int component) {
                const bool chroma = !isRgb(c.format) && (component == 1 || component == 2) && d.nb_components > 2;
                return std::pair(chroma ? -((-width) >> d.log2_chroma_w) : width,
                                 chroma ? -((-height) >> d.log2_chroma_h) : height);
            };
            const auto row = [&](const AVFrame& f, int component, int y) {
                std::vector<std::uint16_t> samples(static_cast<std::size_t>(sizeOf(component).first));
                const std::uint8_t* data[4] = {f.data[0], f.data[1], f.data[2], f.data[3]};
                av_read_image_line2(samples.data(), data, f.linesize, &d, 0, y, component, sizeOf(component).first, 0,
                                    2);
                return samples;
            };
            for (int i = 0; i < d.nb_components; ++i)
                for (int y = 0; y < sizeOf(i).second; ++y) {
                    std::vector<std::uint16_t> samples(static_cast<std::size_t>(sizeOf(i).first));
                    for (std::uint16_t& s : samples) s = static_cast<std::uint16_t>(random() % (1u << d.comp[i].depth));
                    av_write_image_line2(samples.data(), frame->data, frame->linesize, &d, 0, y, i, sizeOf(i).first, 2);
                }
            const Surface picture = Surface::create(PixelFormat::Float128, width, height);
            ASSERT_TRUE(readDeep(*frame, chromaPlace(*frame), picture.view())) << d.name;
            ASSERT_TRUE(writeDeep(picture.view(), *back, chromaPlace(*back))) << d.name;
            for (int i = 0; i < d.nb_components; ++i)
                for (int y = 0; y < sizeOf(i).second; ++y)
                    ASSERT_EQ(row(*back, i, y), row(*frame, i, y)) << d.name << " " << width << " component " << i;
        }
    const FramePool palette(AV_PIX_FMT_PAL8, 4, 4);
    EXPECT_FALSE(readDeep(*palette.take(), {}, Surface::create(PixelFormat::Float128, 4, 4).view()));
    const FramePool other(AV_PIX_FMT_YUV420P10, 8, 4);
    EXPECT_FALSE(readDeep(*other.take(), {}, Surface::create(PixelFormat::Float128, 4, 4).view()));
}

/// A flat picture is the matrix alone, beyond its ends as well.
TEST(DeepRows, FollowTheMatrix) {
    struct {
        DeepCase frame;
        double red, blue;
    } constexpr cases[] = {
        {{AV_PIX_FMT_YUV420P10, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG}, 0.2627, 0.0593},
        {{AV_PIX_FMT_YUV422P12, AVCOL_SPC_BT709, AVCOL_RANGE_JPEG}, 0.2126, 0.0722},
        {{AV_PIX_FMT_YUV444P16, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_UNSPECIFIED}, 0.299, 0.114},
    };
    for (const auto& c : cases)
        for (const double y : {0.0, 0.3, 1.05})
            for (const double u : {-0.4, 0.0, 0.25})
                for (const double v : {-0.1, 0.45}) {
                    const int bits = av_pix_fmt_desc_get(c.frame.format)->comp[0].depth, unit = 1 << (bits - 8);
                    const bool full = c.frame.range == AVCOL_RANGE_JPEG;
                    const double lumaUnit = full ? (1 << bits) - 1 : 219 * unit, zero = full ? 0 : 16 * unit;
                    const double chromaUnit = full ? (1 << bits) - 1 : 224 * unit;
                    if (full && y > 1) continue;
                    const double samples[] = {std::round(zero + y * lumaUnit), std::round(128 * unit + u * chromaUnit),
                                              std::round(128 * unit + v * chromaUnit)};
                    const FramePool pool(c.frame.format, 4, 4);
                    const FramePtr frame = pool.take();
                    tag(*frame, {.space = c.frame.space, .range = c.frame.range});
                    for (int plane = 0; plane < 3; ++plane)
                        for (int row = 0; row < (plane && bits == 10 ? 2 : 4); ++row)
                            std::fill_n(
                                reinterpret_cast<std::uint16_t*>(frame->data[plane] + row * frame->linesize[plane]), 4,
                                static_cast<std::uint16_t>(samples[plane]));
                    const Surface picture = Surface::create(PixelFormat::Float128, 4, 4);
                    ASSERT_TRUE(readDeep(*frame, chromaPlace(*frame), picture.view()));
                    const double luma = (samples[0] - zero) / lumaUnit, cu = (samples[1] - 128 * unit) / chromaUnit,
                                 cv = (samples[2] - 128 * unit) / chromaUnit;
                    const double red = luma + 2 * (1 - c.red) * cv, blue = luma + 2 * (1 - c.blue) * cu;
                    const double green = (luma - c.red * red - c.blue * blue) / (1 - c.red - c.blue);
                    const double want[] = {blue, green, red, 1};
                    const auto* pixel = reinterpret_cast<const float*>(picture.view().data + picture.view().stride);
                    for (int i = 0; i < 4; ++i) ASSERT_NEAR(pixel[i], want[i], 1e-5) << bits << " " << i;
                }
}

/// Alpha has the full range whatever luma has, and samples hold no more than their bits.
TEST(DeepRows, KeepAlphaAndLimits) {
    const FramePool pool(AV_PIX_FMT_YUVA444P12, 1, 1);
    const FramePtr frame = pool.take();
    tag(*frame, {.space = AVCOL_SPC_BT709, .range = AVCOL_RANGE_MPEG});
    const Surface picture = Surface::create(PixelFormat::Float128, 1, 1);
    auto* pixel = reinterpret_cast<float*>(picture.view().data);
    const auto luma = [&] { return *reinterpret_cast<std::uint16_t*>(frame->data[0]); };
    const auto alpha = [&] { return *reinterpret_cast<std::uint16_t*>(frame->data[3]); };
    std::fill_n(pixel, 4, 2.0f);
    ASSERT_TRUE(writeDeep(picture.view(), *frame, chromaPlace(*frame)));
    EXPECT_EQ(luma(), 4095);
    EXPECT_EQ(alpha(), 4095);
    std::fill_n(pixel, 4, 1.0f);
    ASSERT_TRUE(writeDeep(picture.view(), *frame, chromaPlace(*frame)));
    EXPECT_EQ(luma(), 235 * 16);
    EXPECT_EQ(alpha(), 4095);
    ASSERT_TRUE(readDeep(*frame, chromaPlace(*frame), picture.view()));
    EXPECT_EQ(pixel[3], 1);
}

TEST(Depth, WhatStaysTheSameAtEightBitsComesBack) {
    const auto row = [](std::vector<float>& pixels) {
        return ImageView{reinterpret_cast<std::byte*>(pixels.data()), static_cast<int>(pixels.size() / 4), 1,
                         static_cast<std::ptrdiff_t>(pixels.size() * 4), PixelFormat::Float128};
    };
    const auto bytes = [](std::vector<std::uint8_t>& pixels) {
        return ImageView{reinterpret_cast<std::byte*>(pixels.data()), static_cast<int>(pixels.size() / 4), 1,
                         static_cast<std::ptrdiff_t>(pixels.size())};
    };
    std::vector<float> a{0.501f, 0.25f, 1.7f, 1, -0.2f, NAN, 0.7f, 1, 0.1f, 0.1f, 0.1f, 1},
        b{0.2f, 0.2f, 0.2f, 1, 0.3f, 0.3f, 0.3f, 1, 0.4001f, 0.4f, 0.4f, 1}, out(12);
    std::vector<std::uint8_t> narrowA(12), narrowB(12);
    narrowPicture(row(a), bytes(narrowA));
    narrowPicture(row(b), bytes(narrowB));
    EXPECT_EQ(narrowA, (std::vector<std::uint8_t>{128, 64, 255, 255, 0, 0, 179, 255, 26, 26, 26, 255}));
    std::vector<std::uint8_t> after = narrowA;
    after[4] = 51; // another blue in the second pixel
    std::copy_n(narrowB.begin() + 8, 4, after.begin() + 8);
    const TwoDepths before[] = {{row(a), bytes(narrowA)}, {row(b), bytes(narrowB)}};
    restoreDepth(before, bytes(after), row(out));
    const std::vector<float> want{0.501f, 0.25f, 1.7f, 1, 0.2f, 0, 179 / 255.0f, 1, 0.4001f, 0.4f, 0.4f, 1};
    for (std::size_t i = 0; i < want.size(); ++i) EXPECT_EQ(out[i], want[i]) << i;
    limitPicture(row(out));
    EXPECT_EQ(out[2], 1);
}

TEST(Depth, UnchangedMeansUpToLimitsAndRounding) {
    struct {
        float before[4], after[4];
        bool unchanged;
    } const cases[] = {
        {{0.5f, 0.25f, 1.7f, 1}, {0.5f, 0.25f, 1.7f, 1}, true},
        {{0.5f, 0.25f, 1.7f, 1}, {0.5f, 0.25f, 1, 1}, true},
        {{0.5f, -0.25f, 0.7f, 0.6f}, {0.5f, 0, 0.6f, 0.6f}, true},
        {{0.5f, 0.25f, 0.7f, 1}, {0.500002f, 0.25f, 0.7f, 1}, true},
        {{0.5f, 0.25f, 0.7f, 1}, {0.50002f, 0.25f, 0.7f, 1}, false},
        {{0.5f, 0.25f, 0.7f, 1}, {0.5f, 0.25f, 0.7f, 0.9f}, false},
        {{0.5f, 0.25f, 1.7f, 1}, {0.5f, 0.25f, 1.4f, 1}, false},
        {{0.5f, 0.25f, 0.7f, 1}, {0.5f, NAN, 0.7f, 1}, false},
    };
    const auto view = [](const float* pixel) {
        return ImageView{reinterpret_cast<std::byte*>(const_cast<float*>(pixel)), 1, 1, 16, PixelFormat::Float128};
    };
    for (const auto& c : cases)
        EXPECT_EQ(isUnchanged(view(c.before), view(c.after)), c.unchanged) << c.after[0] << " " << c.after[2];
}

} // namespace
} // namespace larkmoor
