// The studio's timeline, transport and lists.
#include <gtest/gtest.h>

#include <QSignalSpy>
#include <algorithm>

#include "studio.h"
#include "widget_hands.h"
#include "widgets/effect_list.h"
#include "widgets/preset_strip.h"
#include "widgets/timeline.h"
#include "widgets/transport.h"

namespace larkmoor {
namespace {

// ---- the timeline ----

struct TimelineTest : testing::Test {
    void SetUp() override {
        present(line, {628, line.sizeHint().height()}); // 6 pixels a frame
        line.setFrameCount(100);
    }

    Timeline line;
    QSignalSpy frames{&line, &Timeline::frameChanged}, scrubs{&line, &Timeline::scrubbing};
    QSignalSpy ends{&line, &Timeline::inOutChanged};
};

TEST_F(TimelineTest, ScrubsByDragAndStopsAtTheEnds) {
    drag(line, {line.xOfFrame(10), 8}, {line.xOfFrame(40), 8});
    EXPECT_EQ(line.frame(), 40);
    ASSERT_EQ(scrubs.size(), 2);
    EXPECT_TRUE(scrubs[0][0].toBool());
    EXPECT_FALSE(scrubs[1][0].toBool());
    EXPECT_EQ(frames[0][0].toInt(), 10);
    drag(line, {line.xOfFrame(10), 8}, {9999, 8});
    EXPECT_EQ(line.frame(), 99);
    drag(line, {line.xOfFrame(10), 8}, {-9999, 8}, Qt::LeftButton, false);
    EXPECT_EQ(line.frame(), 0);
    QTest::keyClick(&line, Qt::Key_Escape);
    EXPECT_EQ(line.frame(), 99) << "as before the drag";
    EXPECT_EQ(scrubs.size(), 6);
}

TEST_F(TimelineTest, FindsEveryFrameAtItsPlace) {
    for (int frame = 0; frame < 100; ++frame) EXPECT_EQ(line.frameAt(line.xOfFrame(frame)), frame);
    EXPECT_EQ(line.frameAt(line.xOfFrame(7) + 2.9), 7);
    EXPECT_EQ(line.frameAt(line.xOfFrame(7) + 3.1), 8);
}

TEST_F(TimelineTest, DragsInAndOut) {
    const double step = line.xOfFrame(1) - line.xOfFrame(0);
    drag(line, line.inHandle(), line.inHandle() + QPointF(20 * step, 0));
    EXPECT_EQ(line.inOut(), (FrameRange{20, 99}));
    ASSERT_FALSE(ends.isEmpty());
    EXPECT_EQ(ends.back(), (QList<QVariant>{20, 99, true}));
    EXPECT_FALSE(ends.front()[2].toBool());
    drag(line, line.outHandle(), line.outHandle() - QPointF(30 * step, 0));
    EXPECT_EQ(line.inOut(), (FrameRange{20, 69}));
    drag(line, line.inHandle(), {600, line.inHandle().y()});
    EXPECT_EQ(line.inOut(), (FrameRange{69, 69})) << "in stops at out";
    drag(line, line.outHandle(), {0, line.outHandle().y()});
    EXPECT_EQ(line.inOut(), (FrameRange{69, 69}));
    drag(line, line.inHandle(), {0, line.inHandle().y()}, Qt::LeftButton, false);
    EXPECT_EQ(line.inOut(), (FrameRange{0, 69}));
    QTest::keyClick(&line, Qt::Key_Escape);
    EXPECT_EQ(line.inOut(), (FrameRange{69, 69}));
    EXPECT_EQ(ends.back(), (QList<QVariant>{69, 69, true}));
    EXPECT_TRUE(frames.isEmpty());
}

TEST_F(TimelineTest, MovesByKeys) {
    line.setFrameRate(24);
    line.setFrame(50);
    const struct {
        Qt::Key key;
        Qt::KeyboardModifiers modifiers;
        int frame;
    } rows[] = {{Qt::Key_Right, {}, 51},
                {Qt::Key_Left, {}, 50},
                {Qt::Key_Right, Qt::ShiftModifier, 60},
                {Qt::Key_PageDown, {}, 84},
                {Qt::Key_PageDown, {}, 99},
                {Qt::Key_Right, {}, 99},
                {Qt::Key_PageUp, {}, 75},
                {Qt::Key_Home, {}, 0},
                {Qt::Key_Left, {}, 0},
                {Qt::Key_End, {}, 99},
                {Qt::Key_Left, Qt::ShiftModifier, 89}};
    for (const auto& row : rows) {
        QTest::keyClick(&line, row.key, row.modifiers);
        EXPECT_EQ(line.frame(), row.frame);
    }
    QTest::keyClick(&line, Qt::Key_I);
    EXPECT_EQ(line.inOut(), (FrameRange{89, 99}));
    line.setFrame(30);
    QTest::keyClick(&line, Qt::Key_O);
    EXPECT_EQ(line.inOut(), (FrameRange{0, 30})) << "an out before in frees in";
    line.setFrame(40);
    QTest::keyClick(&line, Qt::Key_I);
    EXPECT_EQ(line.inOut(), (FrameRange{40, 99}));
}

TEST_F(TimelineTest, ZoomsAboutThePointerAndFollowsThePlayhead) {
    const double x = line.xOfFrame(70);
    for (int i = 0; i < 5; ++i) {
        turnWheel(line, {x, 20}, 120);
        EXPECT_EQ(line.frameAt(x), 70);
        EXPECT_NEAR(line.xOfFrame(70), x, 0.01);
    }
    EXPECT_GT(line.zoom(), 2.5);
    QTest::keyClick(&line, Qt::Key_Home);
    EXPECT_GE(line.xOfFrame(0), 0);
    QTest::keyClick(&line, Qt::Key_End);
    EXPECT_LE(line.xOfFrame(99), line.width());
    for (int i = 0; i < 50; ++i) turnWheel(line, {x, 20}, -120);
    EXPECT_DOUBLE_EQ(line.zoom(), 1);
    EXPECT_NEAR(line.xOfFrame(70), x, 0.01);
}

TEST_F(TimelineTest, BearsAnyNumbers) {
    for (const int count : {0, 1, 2, 100, INT32_MAX}) {
        line.setFrameCount(count);
        const int last = std::max(count - 1, 0);
        for (const int frame : {INT32_MIN, -1, 0, 5, INT32_MAX}) {
            line.setFrame(frame);
            EXPECT_EQ(line.frame(), std::clamp(frame, 0, last));
            line.setInOut(frame, -frame / 2);
            line.setOverlap(FrameRange{frame, INT32_MAX});
            EXPECT_LE(line.inOut().from, line.inOut().to);
            line.setFrameRate(frame);
            line.setZoom(1e300, 50);
            line.grab();
            for (const auto key : {Qt::Key_Right, Qt::Key_PageDown, Qt::Key_I, Qt::Key_O, Qt::Key_Left})
                QTest::keyClick(&line, key, Qt::ShiftModifier);
            drag(line, {-50, 40}, {1e7, 40});
            line.setZoom(1, 0);
            line.grab();
            EXPECT_GE(line.frame(), 0);
            EXPECT_LE(line.frame(), last);
        }
    }
}

// ---- the transport ----

TEST(StudioTimeline, AStillIsNotCoveredByItsPlayhead) {
    Timeline line;
    QPalette grey = line.palette();
    grey.setColor(QPalette::Highlight, Qt::gray);
    line.setPalette(grey);
    present(line, {628, line.sizeHint().height()});
    line.setFrameCount(1);
    const QImage seen = line.grab().toImage();
    const QPoint at(static_cast<int>(line.xOfFrame(0)) - 100, line.height() - 12);
    EXPECT_EQ(seen.pixel(at), seen.pixel(at + QPoint(200, 0)));
    EXPECT_EQ(qRed(seen.pixel(at)), qGreen(seen.pixel(at)));
}

TEST(StudioTransport, AsksAndShowsWhatItIsTold) {
    Transport bar;
    present(bar, bar.sizeHint());
    EXPECT_FALSE(bar.button(Transport::Button::Play)->isEnabled());
    bar.setFormatter([](qint64 frame, int format) { return QString("%1@%2").arg(frame).arg(format); });
    bar.setTimeFormats({{3, "three"}, {9, "nine"}}, 9);
    bar.setFrameCount(100);
    bar.setFrame(7);
    EXPECT_EQ(bar.timeText(), "7@9 / 100@9");

    QSignalSpy play(&bar, &Transport::playRequested), loop(&bar, &Transport::loopChanged);
    QSignalSpy formats(&bar, &Transport::timeFormatChanged), in(&bar, &Transport::inRequested);
    bar.button(Transport::Button::Play)->click();
    EXPECT_FALSE(bar.isPlaying()) << "until it is told";
    bar.setPlaying(true);
    EXPECT_EQ(bar.button(Transport::Button::Play)->accessibleName(), "Pause");
    bar.button(Transport::Button::Play)->click();
    ASSERT_EQ(play.size(), 2);
    EXPECT_TRUE(play[0][0].toBool());
    EXPECT_FALSE(play[1][0].toBool());
    bar.setLoop(true);
    EXPECT_TRUE(loop.isEmpty());
    bar.button(Transport::Button::Loop)->click();
    EXPECT_FALSE(loop.at(0)[0].toBool());
    bar.button(Transport::Button::In)->click();
    EXPECT_EQ(in.size(), 1);
    auto* combo = bar.findChild<QComboBox*>();
    combo->setCurrentIndex(0);
    ASSERT_EQ(formats.size(), 1);
    EXPECT_EQ(formats[0][0].toInt(), 3);
    EXPECT_EQ(bar.timeText(), "7@3 / 100@3");
}

// ---- lists ----

std::vector<EffectEntry> entries() {
    return {{"Quick Blur", "filter", "a", {}},
            {"Gaussian Blur", "filter", "b", {}},
            {"Clock Wipe", "transition", "c", {}},
            {"Text", "generator", "d", {}}};
}

TEST(StudioEffectList, FiltersByWordsAnywhere) {
    EffectList list;
    list.setEntries(entries());
    const struct {
        const char* words;
        QStringList keys;
    } rows[] = {{"", {"a", "b", "c", "d"}}, {"blur", {"a", "b"}},        {"  BLUR  gau", {"b"}},
                {"filter uick", {"a"}},     {"ransit", {"c"}},           {"blur transition", {}},
                {"textgenerator", {}},      {"t", {"a", "b", "c", "d"}}, {".*", {}}};
    for (const auto& row : rows) {
        list.filterField()->setText(row.words);
        EXPECT_EQ(list.shownKeys(), row.keys) << row.words;
        EXPECT_EQ(list.addButton()->isEnabled(), !row.keys.isEmpty());
    }
}

TEST_F(StudioTest, TheListKeepsGroupsAndFavorites) {
    std::vector<EffectEntry> all = entries();
    for (EffectEntry& entry : all) entry.group = entry.key < "c" ? "Early" : "Late";
    {
        EffectList list;
        list.setEntries(all);
        EXPECT_EQ(list.groups()->count(), 4);
        list.groups()->setCurrentText("Late");
        EXPECT_EQ(list.shownKeys(), (QStringList{"c", "d"}));
        list.setFilter("wipe");
        EXPECT_EQ(list.shownKeys(), (QStringList{"c"}));
        list.setFavorite("b", true);
        list.setFavorite("d", true);
        list.setFavorite("d", false);
    }
    EffectList list; // another start of the program
    list.setEntries(all);
    EXPECT_EQ(list.shownKeys().size(), 4);
    list.groups()->setCurrentIndex(1);
    EXPECT_EQ(list.shownKeys(), (QStringList{"b"}));
    list.setFavorite("b", false);
    EXPECT_EQ(list.shownKeys(), QStringList());
}

TEST(StudioEffectList, ChoosesByEnterDoubleClickAndButton) {
    EffectList list;
    present(list, {300, 400});
    list.setEntries(entries());
    QSignalSpy chosen(&list, &EffectList::chosen);
    QTest::keyClicks(list.filterField(), "wipe");
    QTest::keyClick(list.filterField(), Qt::Key_Return);
    QTest::keyClick(list.view(), Qt::Key_Enter);
    list.addButton()->click();
    list.setFilter("");
    const QModelIndex last = list.view()->model()->index(3, 0);
    list.view()->setCurrentIndex(last);
    QCoreApplication::processEvents();
    const QPoint at = list.view()->visualRect(last).center();
    QTest::mouseClick(list.view()->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(list.view()->viewport(), Qt::LeftButton, {}, at);
    QStringList keys;
    for (const auto& each : chosen) keys << each[0].toString();
    EXPECT_EQ(keys, (QStringList{"c", "c", "c", "d"}));
    list.setFilter("no such thing");
    QTest::keyClick(list.filterField(), Qt::Key_Return);
    EXPECT_EQ(chosen.size(), 4);
}

TEST(StudioEffectList, TakesThumbnailsLater) {
    EffectList list;
    present(list, {300, 400});
    list.setEntries(entries());
    QImage red(112, 63, QImage::Format_RGB32);
    red.fill(0xffff0000);
    list.setThumbnail("a", red);
    list.setThumbnail("nobody", red);
    QCoreApplication::processEvents();
    const QModelIndex first = list.view()->model()->index(0, 0);
    const QPoint at = list.view()->visualRect(first).topLeft() + QPoint(60, 30);
    const auto seen = [&](QPoint point) { return list.view()->viewport()->grab().toImage().pixel(point); };
    EXPECT_EQ(seen(at), 0xffff0000u);
    QImage clear(112, 63, QImage::Format_ARGB32_Premultiplied);
    clear.fill(Qt::transparent);
    list.setThumbnail("a", clear);
    QCoreApplication::processEvents();
    EXPECT_NE(seen(at), seen(at + QPoint(4, 0))) << "checkers under transparency";
}

TEST(StudioPresetStrip, ChoosesByClickAndKeys) {
    PresetStrip strip;
    present(strip, {500, strip.sizeHint().height()});
    strip.setPresets({"One", "Two", "Three"});
    QCoreApplication::processEvents();
    QSignalSpy chosen(&strip, &PresetStrip::chosen);
    strip.setCurrent(2);
    strip.setCurrent(-1);
    strip.setThumbnail(9, {});
    EXPECT_TRUE(chosen.isEmpty());
    QTest::mouseClick(strip.viewport(), Qt::LeftButton, {}, strip.visualRect(strip.model()->index(1, 0)).center());
    QTest::keyClick(&strip, Qt::Key_Right);
    QTest::keyClick(&strip, Qt::Key_Return);
    ASSERT_EQ(chosen.size(), 2);
    EXPECT_EQ(chosen[0][0].toInt(), 1);
    EXPECT_EQ(chosen[1][0].toInt(), 2);
}

} // namespace
} // namespace larkmoor
