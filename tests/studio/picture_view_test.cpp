// The studio's picture and its scopes.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <algorithm>
#include <cmath>

#include "studio.h"
#include "widget_hands.h"
#include "widgets/picture_view.h"
#include "widgets/scope_view.h"
#include "widgets/scopes.h"

namespace larkmoor {
namespace {

std::uint32_t& pixelOf(const Surface& surface, int x, int y) {
    const ImageView view = surface.view();
    return *reinterpret_cast<std::uint32_t*>(view.data + y * view.stride + 4 * x);
}

template <typename Color>
Surface picture(int width, int height, Color colorOf) {
    const Surface made = Surface::create(PixelFormat::PremultipliedArgb32, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) pixelOf(made, x, y) = colorOf(x, y);
    return made;
}

Surface plain(int width, int height, std::uint32_t color) {
    return picture(width, height, [color](int, int) { return color; });
}

/// Every code and both signs of chroma.
Surface busy(int width, int height) {
    return picture(width, height, [](int x, int y) {
        const std::uint32_t mixed =
            static_cast<std::uint32_t>(x) * 2654435761u ^ static_cast<std::uint32_t>(y) * 40503u;
        return 0xff000000u | (mixed >> 7 & 0xffffff);
    });
}

// ---- the picture ----

TEST(StudioPictureView, SharesTheSurfacesMemoryAndKeepsIt) {
    QImage image;
    {
        const Surface surface = plain(5, 3, 0x80402010);
        image = imageOf(surface);
        EXPECT_EQ(static_cast<const void*>(image.constBits()), surface.view().data);
        pixelOf(surface, 4, 2) = 0xff010203;
    }
    EXPECT_EQ(image.format(), QImage::Format_ARGB32_Premultiplied);
    EXPECT_EQ(reinterpret_cast<const QRgb*>(image.constScanLine(2))[4], 0xff010203u);
    const Surface wild = plain(2, 2, 0x80808080);
    pixelOf(wild, 1, 0) = 0x80ff7f81;
    pixelOf(wild, 0, 1) = 0x00000001;
    EXPECT_EQ(reinterpret_cast<const QRgb*>(imageOf(wild).constScanLine(0))[1], 0x80807f80u) << "a color has its alpha";
    EXPECT_EQ(reinterpret_cast<const QRgb*>(imageOf(wild).constScanLine(1))[0], 0u);
    EXPECT_EQ(pixelOf(wild, 1, 0), 0x80ff7f81u) << "what is shown is a copy";
    EXPECT_TRUE(imageOf(Surface()).isNull());
    EXPECT_TRUE(imageOf(Surface::create(PixelFormat::Float128, 4, 4)).isNull());
}

TEST(StudioPictureView, TakesRowsThatRunUpwards) {
    std::uint32_t rows[3][2] = {{0xff000001, 0xff000002}, {0xff000003, 0xff000004}, {0xff000005, 0xff000006}};
    const QImage image = imageOf(Surface::wrap({reinterpret_cast<std::byte*>(rows[2]), 2, 3, -8}));
    EXPECT_EQ(image.pixel(0, 0), 0xff000005u);
    EXPECT_EQ(image.pixel(1, 2), 0xff000002u);
}

TEST(StudioPictureView, FitsWithThePixelAspectAndCentres) {
    PictureView view;
    present(view, {400, 400});
    view.setPictures({}, plain(200, 100, 0xffffffff), 1.0);
    EXPECT_DOUBLE_EQ(view.zoom(), 2.0);
    EXPECT_EQ(view.toWidget({0, 0}), QPointF(0, 100));
    EXPECT_EQ(view.toWidget({200, 100}), QPointF(400, 300));
    view.setPictures({}, plain(200, 100, 0xffffffff), 2.0);
    EXPECT_DOUBLE_EQ(view.zoom(), 1.0);
    EXPECT_EQ(view.toWidget({0, 0}), QPointF(0, 150));
    EXPECT_EQ(view.toWidget({200, 100}), QPointF(400, 250));
}

TEST(StudioPictureView, ZoomsAboutThePointer) {
    PictureView view;
    present(view, {640, 360});
    view.setPictures({}, plain(1920, 1080, 0xff808080), 1.0);
    const QPointF pointer(200, 100);
    const QPointF under = view.toPicture(pointer);
    const double zooms[] = {1 / 2.0, 2 / 3.0, 1, 1.5, 2, 3, 4, 6, 8, 12, 16, 24, 32, 32};
    for (const double zoom : zooms) {
        turnWheel(view, pointer, 120, Qt::ControlModifier);
        EXPECT_DOUBLE_EQ(view.zoom(), zoom);
        // Whole device pixels may move it by half of one.
        EXPECT_NEAR(view.toPicture(pointer).x(), under.x(), 0.51 / zoom);
        EXPECT_NEAR(view.toPicture(pointer).y(), under.y(), 0.51 / zoom);
    }
    for (int i = 0; i < 4; ++i) turnWheel(view, pointer, -60, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(view.zoom(), 16);
    for (int i = 0; i < 40; ++i) turnWheel(view, pointer, -120, Qt::ControlModifier);
    EXPECT_DOUBLE_EQ(view.zoom(), 1 / 8.0);
}

TEST(StudioPictureView, ZoomsAndFitsByKeys) {
    PictureView view;
    present(view, {640, 360});
    view.setPictures({}, plain(1280, 720, 0xff808080), 1.0);
    QSignalSpy zoomed(&view, &PictureView::zoomChanged);
    QTest::keyClick(&view, Qt::Key_Plus);
    EXPECT_DOUBLE_EQ(view.zoom(), 2 / 3.0);
    QTest::keyClick(&view, Qt::Key_Minus);
    EXPECT_DOUBLE_EQ(view.zoom(), 1 / 2.0);
    EXPECT_FALSE(view.isFit());
    QTest::keyClick(&view, Qt::Key_1);
    EXPECT_DOUBLE_EQ(view.zoom(), 1);
    QTest::keyClick(&view, Qt::Key_0);
    EXPECT_TRUE(view.isFit());
    EXPECT_EQ(zoomed.size(), 4);
}

TEST(StudioPictureView, PansByMiddleDragAndBySpace) {
    PictureView view;
    present(view, {100, 100});
    view.setPictures({}, plain(400, 400, 0xff808080), 1.0);
    view.setZoom(1);
    const QPointF under = view.toPicture({50, 50});
    drag(view, {50, 50}, {70, 40}, Qt::MiddleButton);
    EXPECT_EQ(view.toPicture({70, 40}), under);

    QSignalSpy tapped(&view, &PictureView::spaceTapped);
    QTest::keyPress(&view, Qt::Key_Space);
    drag(view, {70, 40}, {50, 50});
    QTest::keyRelease(&view, Qt::Key_Space);
    EXPECT_EQ(view.toPicture({50, 50}), under);
    EXPECT_EQ(tapped.size(), 0);
    QTest::keyClick(&view, Qt::Key_Space);
    EXPECT_EQ(tapped.size(), 1);

    turnWheel(view, {50, 50}, -120);
    EXPECT_GT(view.toPicture({50, 50}).y(), under.y());
    for (int i = 0; i < 100; ++i) turnWheel(view, {50, 50}, -120, Qt::ShiftModifier);
    EXPECT_DOUBLE_EQ(view.toPicture({50, 50}).x(), 400) << "the centre stays over the picture";
}

TEST(StudioPictureView, DragsTheSplit) {
    PictureView view;
    present(view, {200, 100});
    view.setPictures(plain(200, 100, 0xffff0000), plain(200, 100, 0xff0000ff), 1.0);
    view.setMode(PictureView::Mode::Split);
    QSignalSpy moved(&view, &PictureView::splitChanged);
    drag(view, {102, 10}, {50, 10});
    EXPECT_DOUBLE_EQ(view.split(), 0.25);
    EXPECT_GE(moved.size(), 1);
    drag(view, {120, 10}, {150, 10});
    EXPECT_DOUBLE_EQ(view.split(), 0.25) << "far from the line";
    const QImage shot = view.grab().toImage();
    EXPECT_EQ(shot.pixel(20, 10), 0xffff0000u);
    EXPECT_EQ(shot.pixel(80, 10), 0xff0000ffu);
    drag(view, {50, 10}, {900, 10});
    EXPECT_DOUBLE_EQ(view.split(), 1);
    view.setSplit(std::nan(""));
    EXPECT_DOUBLE_EQ(view.split(), 0);
    QTest::keyClick(&view, Qt::Key_BracketRight);
    EXPECT_DOUBLE_EQ(view.split(), 0.02);
}

TEST(StudioPictureView, DrawsSinglePixelsWhenEnlargedAndMeansWhenReduced) {
    PictureView view;
    present(view, {64, 64});
    const auto stripes = [](int x, int) { return x % 2 ? 0xffffffffu : 0xff000000u; };
    view.setPictures({}, picture(64, 64, stripes), 1.0);
    view.setZoom(4);
    view.refine();
    QImage shot = view.grab().toImage();
    for (int x = 2; x < 62; ++x) {
        const int column = static_cast<int>(view.toPicture({x + 0.5, 30.5}).x());
        ASSERT_EQ(shot.pixel(x, 30), column % 2 ? 0xffffffffu : 0xff000000u) << x;
    }
    view.setZoom(0.5);
    view.refine();
    shot = view.grab().toImage();
    EXPECT_NEAR(qRed(shot.pixel(32, 32)), 128, 3);
}

TEST(StudioPictureView, ShowsAlphaAsGreyAndCheckersUnderTransparency) {
    PictureView view;
    present(view, {64, 32});
    view.setPictures({}, picture(64, 32, [](int x, int) { return static_cast<std::uint32_t>(x * 4) << 24; }), 1.0);
    QImage shot = view.grab().toImage();
    EXPECT_NE(shot.pixel(3, 3), shot.pixel(11, 3)) << "fields of the checkerboard";
    view.setAlphaView(true);
    shot = view.grab().toImage();
    for (const int x : {1, 20, 62}) EXPECT_EQ(shot.pixel(x, 9), qRgb(x * 4, x * 4, x * 4));
}

TEST(StudioPictureView, TellsPixelValuesUnderThePointer) {
    PictureView view;
    present(view, {100, 100});
    const auto before =
        picture(100, 50, [](int x, int y) { return 0xff000000u | static_cast<std::uint32_t>(x << 8 | y); });
    // Of half the size, shown at the full one.
    const auto after = plain(50, 25, 0x80402010);
    view.setFullSize({100, 50});
    view.setPictures(before, after, 1.0);
    QSignalSpy hovered(&view, &PictureView::pixelHovered);
    sendMouse(view, QEvent::MouseMove, {70.5, 35.5}, Qt::NoButton, Qt::NoButton);
    ASSERT_EQ(hovered.size(), 1);
    EXPECT_EQ(hovered[0][0].toPoint(), QPoint(70, 10));
    EXPECT_EQ(hovered[0][1].toUInt(), 0xff00460au);
    EXPECT_EQ(hovered[0][2].toUInt(), qUnpremultiply(0x80402010));
    EXPECT_TRUE(hovered[0][3].toBool());
    sendMouse(view, QEvent::MouseMove, {70.5, 24.5}, Qt::NoButton, Qt::NoButton);
    EXPECT_EQ(hovered[1][0].toPoint(), QPoint(70, -1));
    EXPECT_FALSE(hovered[1][3].toBool());
    view.setPictures({}, {}, 1.0);
    EXPECT_EQ(hovered.back()[1].toUInt(), 0u);
}

TEST(StudioPictureView, PaintsAnyPictureInAnyWindow) {
    PictureView view;
    view.setSafeFrames(true);
    for (const QSize window : {QSize(1, 1), QSize(7, 300), QSize(300, 200)}) {
        present(view, window);
        for (const QSize size : {QSize(1, 1), QSize(1, 900), QSize(5000, 1), QSize(33, 17)}) {
            for (const double aspect : {1.0, 0.0, std::nan(""), 1e300, 1.0667}) {
                view.setPictures(plain(size.width(), size.height(), 0x40302010), busy(size.width(), size.height()),
                                 aspect);
                view.setMode(PictureView::Mode::Split);
                for (const double zoom : {0.001, 1.5, 32.0}) {
                    view.setZoom(zoom, QPointF(3, 5));
                    view.grab();
                    view.refine();
                    view.grab();
                }
                view.setFit();
                view.grab();
            }
        }
    }
    view.setPictures({}, {}, 1);
    view.grab();
}

// ---- the scopes ----

TEST(StudioScopes, CountAsPlainCountingDoes) {
    const Surface surface = busy(97, 31);
    for (const int step : {1, 3, 40, 0, -5}) {
        Histogram histogram;
        std::vector<std::uint32_t> wave(13 * 256), composite(13 * 768), vectors(321 * 321);
        const int every = std::max(step, 1);
        for (int y = std::min(every / 2, 30); y < 31; y += every)
            for (int x = 0; x < 97; ++x) {
                const QRgb c = pixelOf(surface, x, y);
                const int r = qRed(c), g = qGreen(c), b = qBlue(c);
                const int luma = static_cast<int>(std::floor(0.299 * r + 0.587 * g + 0.114 * b + 0.5));
                EXPECT_NEAR(lumaCode(r, g, b), luma, 1);
                ++histogram.red[r], ++histogram.green[g], ++histogram.blue[b], ++histogram.luma[lumaCode(r, g, b)];
                ++wave[x * 13 / 97 * 256 + lumaCode(r, g, b)];
                const int u = chromaU(r, g, b), v = chromaV(r, g, b);
                EXPECT_NEAR(u, b * 0.436 - g * 0.289 - r * 0.147, 0.51);
                EXPECT_NEAR(v, r * 0.615 - g * 0.515 - b * 0.1, 0.51);
                ++vectors[(v + 160) * 321 + u + 160];
                const int amplitude = static_cast<int>(std::lround(std::hypot(u, v)));
                ++composite[x * 13 / 97 * 768 + lumaCode(r, g, b) + 256 - amplitude];
                ++composite[x * 13 / 97 * 768 + lumaCode(r, g, b) + 256 + amplitude];
            }
        const Histogram counted = histogramOf(surface, step);
        EXPECT_EQ(counted.red, histogram.red);
        EXPECT_EQ(counted.green, histogram.green);
        EXPECT_EQ(counted.blue, histogram.blue);
        EXPECT_EQ(counted.luma, histogram.luma);
        EXPECT_EQ(waveformOf(surface, 13, step).density, wave);
        EXPECT_EQ(compositeOf(surface, 13, step).density, composite);
        EXPECT_EQ(vectorscopeOf(surface, step).density, vectors);
    }
}

TEST(StudioScopes, HoldEveryColor) {
    const Surface corners = picture(8, 1, [](int x, int) {
        return 0xff000000u | (x & 1 ? 0xffu : 0) | (x & 2 ? 0xff00u : 0) | (x & 4 ? 0xff0000u : 0);
    });
    for (const int columns : {-1, 1, 8, 500}) EXPECT_EQ(waveformOf(corners, columns, 1).codes, 256);
    const Waveform composite = compositeOf(corners, 8, 1);
    EXPECT_EQ(composite.at(0, 0), 2u) << "black has both peaks at once";
    EXPECT_EQ(composite.at(7, 255), 2u);
    const Vectorscope scope = vectorscopeOf(corners, 1);
    EXPECT_EQ(scope.at(0, 0), 2u);
    EXPECT_EQ(scope.at(111, -26), 1u) << "blue: 111.2, -25.5";
    EXPECT_EQ(histogramOf({}, 1).luma[0], 0u);
    EXPECT_EQ(vectorscopeOf(Surface::create(PixelFormat::Float128, 3, 3), 1).at(0, 0), 0u);
    EXPECT_EQ(scopeRowStep(1), 1);
    EXPECT_EQ(scopeRowStep(1080), 4);
}

TEST(StudioScopes, PutCodesOnTheIreScale) {
    const struct {
        bool studio, setup;
        double code, ire;
    } rows[] = {{true, false, 16, 0},        {true, false, 235, 100},
                {false, false, 0, 0},        {false, false, 255, 100},
                {true, true, 16, 7.5},       {true, true, 235, 100},
                {false, true, 127.5, 53.75}, {true, false, 255, 100 + 2000 / 219.0}};
    for (const auto& row : rows) {
        const ScopeLevels levels{row.studio, row.setup};
        EXPECT_NEAR(levels.ireOf(row.code), row.ire, 1e-9);
        EXPECT_NEAR(levels.codeOf(row.ire), row.code, 1e-9);
    }
}

TEST(StudioScopeView, DrawsATraceAtItsLevelAndWarnsBeyondLimits) {
    ScopeView view;
    present(view, {300, 200});
    view.setLevels({true, false});
    view.setPicture(plain(64, 64, 0xff7e7e7e)); // 50.2 IRE
    // The brightest pixel within one of the level.
    const auto trace = [&view] {
        const QImage shot = view.grab().toImage();
        QRgb found = 0;
        for (const int step : {-1, 0, 1}) {
            const QRgb pixel = shot.pixel(150, static_cast<int>(view.yOfIre(50.2)) + step);
            if (qGray(pixel) > qGray(found)) found = pixel;
        }
        return found;
    };
    EXPECT_GT(qGreen(trace()), 150);
    EXPECT_GT(qGreen(trace()), qRed(trace()));
    view.setLimits(0, 40, 100, -20, 110);
    EXPECT_GT(qRed(trace()), qGreen(trace()));
    for (const auto kind : {ScopeView::Kind::Histogram, ScopeView::Kind::Composite, ScopeView::Kind::Vectorscope}) {
        view.setKind(kind);
        view.setLimits(std::nan(""), 1e300, 1e300, -1e300, std::nan(""));
        view.grab();
        view.setPicture({});
        view.grab();
        view.setPicture(busy(50, 50));
        present(view, {3, 3});
        view.grab();
        present(view, {300, 200});
    }
}

} // namespace
} // namespace larkmoor
