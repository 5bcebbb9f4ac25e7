#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "host/alpha.h"
#include "media/convert.h"
#include "media/sequence.h"
#include "media/yuv_rows.h"
#include "requests.h"

namespace larkmoor {
namespace {

struct YuvCase {
    AVPixelFormat format;
    AVColorSpace space;
    AVColorRange range;
    double red, blue;
};

class YuvRows : public testing::TestWithParam<YuvCase> {};

/// A flat picture is the matrix alone: each value of it, against the matrix in doubles.
TEST_P(YuvRows, FlatPicturesFollowTheMatrix) {
    const YuvCase& c = GetParam();
    const bool full = c.range == AVCOL_RANGE_JPEG;
    std::mt19937 random(7);
    for (const auto& [width, height] : {std::pair(1, 1), std::pair(2, 1), std::pair(5, 3), std::pair(33, 4)}) {
        const FramePool pool(c.format, width, height);
        for (int turn = 0; turn < 60; ++turn) {
            const FramePtr frame = pool.take();
            tag(*frame, {.space = c.space, .range = c.range});
            int value[3];
            for (int plane = 0; plane < 3; ++plane) {
                value[plane] = static_cast<int>(random() % 256);
                std::fill_n(frame->data[plane], frame->linesize[plane], static_cast<std::uint8_t>(value[plane]));
                const int rows = plane == 0 ? height : -((-height) >> av_pix_fmt_desc_get(c.format)->log2_chroma_h);
                for (int y = 1; y < rows; ++y)
                    std::copy_n(frame->data[plane], frame->linesize[plane],
                                frame->data[plane] + y * frame->linesize[plane]);
            }
            std::vector<std::uint8_t> out(static_cast<std::size_t>(width * height) * 4);
            ASSERT_TRUE(convertYuv(*frame, chromaPlace(*frame),
                                   {reinterpret_cast<std::byte*>(out.data()), width, height, 4 * width}));
            const double luma = full ? value[0] / 255.0 : (value[0] - 16) / 219.0;
            const double scale = full ? 255.0 : 224.0;
            const double u = (value[1] - 128) / scale, v = (value[2] - 128) / scale;
            const double r = luma + 2 * (1 - c.red) * v, b = luma + 2 * (1 - c.blue) * u;
            const double g = (luma - c.red * r - c.blue * b) / (1 - c.red - c.blue);
            const double want[4] = {b, g, r, 1};
            for (std::size_t i = 0; i < out.size(); ++i)
                ASSERT_NEAR(out[i], std::clamp(want[i % 4], 0.0, 1.0) * 255, 1.0) << width << "x" << height << " " << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Matrices, YuvRows,
    testing::Values(YuvCase{AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, AVCOL_RANGE_MPEG, 0.2126, 0.0722},
                    YuvCase{AV_PIX_FMT_YUV420P, AVCOL_SPC_SMPTE170M, AVCOL_RANGE_JPEG, 0.299, 0.114},
                    YuvCase{AV_PIX_FMT_YUV422P, AVCOL_SPC_BT2020_NCL, AVCOL_RANGE_MPEG, 0.2627, 0.0593},
                    YuvCase{AV_PIX_FMT_YUV444P, AVCOL_SPC_BT470BG, AVCOL_RANGE_MPEG, 0.299, 0.114},
                    YuvCase{AV_PIX_FMT_YUVJ420P, AVCOL_SPC_UNSPECIFIED, AVCOL_RANGE_JPEG, 0.299, 0.114}));

/// A slope of chroma shows where its samples sit, in whole pictures and in fields, which are rows of their own.
TEST(ChromaPlaces, AreKeptThereAndBack) {
    constexpr int side = 32;
    const FramePool pool(AV_PIX_FMT_YUV420P, side, side);
    Importer importer;
    Exporter exporter;
    for (const bool fields : {false, true})
        for (const ChromaPlace place :
             {ChromaPlace{0, 128}, {128, 128}, {0, 0}, {128, 0}, {128, 256}, {256, 128}, {256, 0}})
            for (const PixelFormat form : {PixelFormat::PremultipliedArgb32, PixelFormat::Float128}) {
                const FramePtr frame = pool.take(), back = pool.take();
                for (AVFrame* f : {frame.get(), back.get()}) {
                    tag(*f, {.space = AVCOL_SPC_BT709, .range = AVCOL_RANGE_JPEG});
                    tellChromaPlace(*f, place);
                    f->interlaced_frame = fields;
                }
                ASSERT_EQ(chromaPlace(*frame), place);
                const Surface picture = Surface::create(form, side, side);
                const auto sample = [&](int x, int y, int c) -> double {
                    const std::byte* at = picture.view().data + y * picture.view().stride;
                    return form == PixelFormat::Float128 ? reinterpret_cast<const float*>(at)[4 * x + c] * 255
                                                         : static_cast<double>(at[4 * x + c]);
                };
                for (int plane = 0; plane < 3; ++plane)
                    for (int y = 0; y < (plane ? side / 2 : side); ++y)
                        for (int x = 0; x < (plane ? side / 2 : side); ++x) {
                            // A field has every other row.
                            const double field = y % 2 + 4 * (y / 2) + 2 * (chromaPlaceInField(place, y % 2).y / 256.0);
                            const double row = plane == 0 ? y : fields ? field : 2 * y + place.y / 256.0;
                            const double column = plane == 0 ? x : 2 * x + place.x / 256.0;
                            frame->data[plane][y * frame->linesize[plane] + x] =
                                static_cast<std::uint8_t>(std::lround(plane == 2 ? 66 + 2 * (row + column) : 128));
                        }
                importer.run(*frame, picture.view(), false);
                for (int y = 8; y < side - 8; ++y)
                    for (int x = 8; x < side - 8; ++x)
                        ASSERT_NEAR(sample(x, y, 2), 128 + 1.5748 * (2 * (x + y) - 62), 0.8)
                            << fields << " " << place.x << "," << place.y << " at " << x << "," << y;
                if (place.x == 256) continue; // nothing is written so
                exporter.run(picture.view(), *back, false);
                for (int y = 4; y < side / 2 - 4; ++y)
                    for (int x = 4; x < side / 2 - 4; ++x)
                        ASSERT_NEAR(back->data[2][y * back->linesize[2] + x],
                                    frame->data[2][y * frame->linesize[2] + x], 1)
                            << fields << " " << place.x << "," << place.y << " at " << x << "," << y;
            }
}

TEST(Tags, OnlyThoseWithANameStay) {
    for (const auto& [number, kept] : {std::pair{1, true}, {15, false}, {22, true}, {23, false}, {130, false}}) {
        const FramePtr frame = newFrame();
        tag(*frame, {AVCOL_SPC_FCC, AVCOL_RANGE_MPEG, AVCOL_PRI_BT709, AVCOL_TRC_SMPTE2084, AVCHROMA_LOC_TOP});
        std::memcpy(&frame->color_primaries, &number, sizeof number);
        dropUnnamedTags(*frame);
        EXPECT_EQ(frame->color_primaries, kept ? number : AVCOL_PRI_UNSPECIFIED);
        EXPECT_EQ(frame->colorspace, AVCOL_SPC_FCC);
        EXPECT_EQ(frame->color_range, AVCOL_RANGE_MPEG);
        EXPECT_EQ(frame->color_trc, AVCOL_TRC_SMPTE2084);
        EXPECT_EQ(frame->chroma_location, AVCHROMA_LOC_TOP);
    }
}

TEST(Alpha, MultipliesAndDividesToTheNearest) {
    std::vector<std::uint8_t> pixels(256 * 256 * 4);
    for (std::size_t i = 0; i < 256 * 256; ++i) {
        for (std::size_t c = 0; c < 3; ++c) pixels[4 * i + c] = static_cast<std::uint8_t>(i % 256);
        pixels[4 * i + 3] = static_cast<std::uint8_t>(i / 256);
    }
    const ImageView view{reinterpret_cast<std::byte*>(pixels.data()), 256, 256, 1024};
    premultiply(view);
    for (std::size_t i = 0; i < 256 * 256; ++i) ASSERT_EQ(pixels[4 * i], (i % 256 * (i / 256) + 127) / 255) << i;
    // Every colour under every alpha, above it too.
    for (std::size_t i = 0; i < 256 * 256; ++i) pixels[4 * i] = pixels[4 * i + 2] = static_cast<std::uint8_t>(i % 256);
    unpremultiply(view);
    for (std::size_t i = 0; i < 256 * 256; ++i) {
        const std::size_t colour = i % 256, alpha = i / 256;
        const std::size_t divided = alpha == 0 ? 0 : std::min<std::size_t>(255, (colour * 255 + alpha / 2) / alpha);
        ASSERT_EQ(pixels[4 * i], divided) << i;
        ASSERT_EQ(pixels[4 * i + 2], divided) << i;
        ASSERT_EQ(pixels[4 * i + 3], alpha) << i;
    }
    // Colour above alpha, as an effect may leave it, ends at full scale.
    std::uint8_t bright[4] = {200, 100, 50, 100};
    unpremultiply({reinterpret_cast<std::byte*>(bright), 1, 1, 4});
    EXPECT_EQ(bright[0], 255);
    EXPECT_EQ(bright[1], 255);
}

TEST(Alpha, LaysOneOverTheOtherToTheNearest) {
    // Every alpha above every colour below, in a width that leaves a rest behind any vector.
    constexpr int width = 257, height = 256;
    std::vector<std::uint8_t> front(width * height * 4), back(front.size()), out(front.size());
    std::mt19937 random(3);
    for (std::size_t i = 0; i < front.size(); ++i) {
        back[i] = static_cast<std::uint8_t>(i / 4 % width % 256);
        front[i] = static_cast<std::uint8_t>(i % 4 == 3 ? i / 4 / width : random());
    }
    const auto view = [](std::vector<std::uint8_t>& pixels) {
        return ImageView{reinterpret_cast<std::byte*>(pixels.data()), width, height, 4 * width};
    };
    layOver(view(front), view(back), view(out));
    for (std::size_t i = 0; i < out.size(); ++i) {
        const int clear = 255 - front[i | 3];
        ASSERT_EQ(out[i], std::min(255, front[i] + (back[i] * clear + 127) / 255)) << i;
    }
    float above[8] = {0.25f, 0.5f, 2.0f, 0.5f, 0, 0, 0, 0}, below[8] = {1, 0.5f, 4.0f, 1, 0.1f, 0.2f, 0.3f, 0.4f};
    float mixed[8];
    const auto floats = [](float* pixels) {
        return ImageView{reinterpret_cast<std::byte*>(pixels), 2, 1, 32, PixelFormat::Float128};
    };
    layOver(floats(above), floats(below), floats(mixed));
    const float want[8] = {0.75f, 0.75f, 4.0f, 1, 0.1f, 0.2f, 0.3f, 0.4f};
    for (int i = 0; i < 8; ++i) EXPECT_EQ(mixed[i], want[i]) << i;
}

TEST(Values, TimesRatesAndSizes) {
    EXPECT_EQ(parseTime("90.5"), 90.5);
    EXPECT_EQ(parseTime("1:30.5"), 90.5);
    EXPECT_EQ(parseTime("01:01:30.25"), 3690.25);
    for (const char* wrong :
         {"", "-1", "1:60", "1:-5", "1.5:00", "1:2:3:4", "x", "1s", "nan", "inf", "1e99", ":", "1:"})
        EXPECT_THROW(parseTime(wrong), UsageError) << wrong;
    EXPECT_EQ(av_cmp_q(parseRate("29.97"), {30000, 1001}), 0);
    EXPECT_EQ(av_cmp_q(parseRate("30000/1001"), {30000, 1001}), 0);
    for (const char* wrong : {"", "0", "-25", "x", "1/0"}) EXPECT_THROW(parseRate(wrong), UsageError) << wrong;
    EXPECT_EQ(parseSize("1920x1080"), std::pair(1920, 1080));
    for (const char* wrong : {"", "1920", "0x5", "5x0", "-1x5", "5x5x5", "99999999999x1", "5X5 "})
        EXPECT_THROW(parseSize(wrong), UsageError) << wrong;
    const RawRequest raw = parseRaw("64x32:yuv420p:25");
    EXPECT_EQ(raw.format, AV_PIX_FMT_YUV420P);
    EXPECT_EQ(raw.height, 32);
    EXPECT_EQ(parseRaw("bgra").width, 0);
    for (const char* wrong : {"64x32:bgra", "64x32:none:25", "64x32:bgra:25:1", "", "vaapi"})
        EXPECT_THROW(parseRaw(wrong), UsageError) << wrong;
}

TEST(Values, NumberedNames) {
    EXPECT_TRUE(isSequence("a/b%04d.png"));
    EXPECT_FALSE(isSequence("a.png"));
    EXPECT_FALSE(isSequence("50%.png"));
    EXPECT_EQ(sequenceName("a%04d.png", 12), "a0012.png");
}

struct TargetCase {
    const char* encoder;
    AVPixelFormat source, want;
    AVColorRange range;
    bool alpha = false;
};

TEST(Targets, AreNearestToTheSource) {
    const TargetCase cases[] = {
        {"ffv1", AV_PIX_FMT_BGR0, AV_PIX_FMT_BGR0, AVCOL_RANGE_JPEG},
        {"png", AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB24, AVCOL_RANGE_JPEG},
        {"png", AV_PIX_FMT_PAL8, AV_PIX_FMT_RGBA, AVCOL_RANGE_JPEG, true},
        {"tiff", AV_PIX_FMT_YUV420P, AV_PIX_FMT_RGB24, AVCOL_RANGE_JPEG},
        {"mjpeg", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG},
        {"libx264", AV_PIX_FMT_RGB24, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG},
        {"libx264", AV_PIX_FMT_YUVJ420P, AV_PIX_FMT_YUV420P, AVCOL_RANGE_JPEG},
        {"libx264", AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P10, AVCOL_RANGE_UNSPECIFIED},
        {"libx264", AV_PIX_FMT_GBRP12, AV_PIX_FMT_YUV420P10, AVCOL_RANGE_MPEG},
        {"libx264", AV_PIX_FMT_GBRPF32, AV_PIX_FMT_YUV420P10, AVCOL_RANGE_MPEG},
        {"png", AV_PIX_FMT_YUV420P10, AV_PIX_FMT_RGB48BE, AVCOL_RANGE_JPEG},
        {"libvpx-vp9", AV_PIX_FMT_RGBA, AV_PIX_FMT_YUVA420P, AVCOL_RANGE_MPEG, true},
        {"libvpx-vp9", AV_PIX_FMT_RGBA, AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG},
        // What was keyed has alpha that its source had not.
        {"prores_ks", AV_PIX_FMT_YUV420P, AV_PIX_FMT_YUVA444P10, AVCOL_RANGE_UNSPECIFIED, true},
        {"wrapped_avframe", AV_PIX_FMT_BGRA, AV_PIX_FMT_YUV444P, AVCOL_RANGE_MPEG, true},
        {"wrapped_avframe", AV_PIX_FMT_YUV422P10, AV_PIX_FMT_YUV422P10, AVCOL_RANGE_UNSPECIFIED},
        {"exr", AV_PIX_FMT_GBRAPF32, AV_PIX_FMT_GBRAPF32, AVCOL_RANGE_JPEG},
    };
    for (const TargetCase& c : cases) {
        const AVCodec* encoder = avcodec_find_encoder_by_name(c.encoder);
        if (!encoder) continue;
        const Target target = pickTarget(*encoder, c.source, {}, 640, 480, c.alpha, AV_PIX_FMT_NONE);
        EXPECT_STREQ(av_get_pix_fmt_name(target.format), av_get_pix_fmt_name(c.want)) << c.encoder;
        EXPECT_EQ(target.colour.range, c.range) << c.encoder << " " << av_get_pix_fmt_name(c.source);
    }
    EXPECT_THROW(
        pickTarget(*avcodec_find_encoder_by_name("png"), AV_PIX_FMT_RGB24, {}, 8, 8, false, AV_PIX_FMT_YUV420P),
        UsageError);
}

TEST(Sequence, IsFoundByTheLastDigitsOfAName) {
    constexpr std::pair<const char*, const char*> rows[] = {
        {"/a/b_0012.png", "/a/b_%04d.png"},
        {"shot7.exr", "shot%d.exr"},
        {"9.png", "%d.png"},
        {"t2_033_final.tif", "t2_%03d_final.tif"},
        {"/5%/x_01.png", "/5%%/x_%02d.png"},
        {"/x1/plain.png", ""},
        {"", ""},
    };
    for (const auto& [file, sequence] : rows) EXPECT_EQ(sequenceOf(file), sequence) << file;
}

} // namespace
} // namespace larkmoor
