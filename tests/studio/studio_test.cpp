// The studio as a person works with it: the real window, the real command beside it.
#include <QCheckBox>
#include <QPlainTextEdit>

#include "studio_window.h"
#include "support/time_format.h"
#include "widget_hands.h"

namespace larkmoor {

namespace {

using Kind = Slot::Kind;

// --- end to end

TEST_F(ClipWindowTest, AClipFromOpeningToTheSameBytesAsTheCommand) {
    const std::string opened = text();

    addByName("quick blur");
    ASSERT_EQ(document().project()->effects.size(), 1u);
    EXPECT_EQ(panel().effect()->info().name, "Quick Blur");
    addByName("bright contr");
    ASSERT_EQ(document().project()->effects.size(), 2u);
    ASSERT_EQ(panel().effect()->info().name, "Brightness and Contrast");
    EXPECT_EQ(history().count(), 2);

    const auto record = [&] { return document().project()->effects[1].record; };
    const auto defaults = record();
    dragTrackbar(trackbar(), {5, 10, 15, 20});
    const auto dragged = record();
    EXPECT_NE(dragged, defaults);
    EXPECT_EQ(history().count(), 3) << "a drag is one step";
    type("-0.25");
    EXPECT_NE(record(), dragged);
    EXPECT_EQ(history().count(), 4);
    EXPECT_EQ(panel().effect()->record(), record());
    idle();

    Timeline& timeline = window->timeline();
    const QPointF ruler(timeline.xOfFrame(2), 6);
    dragTimeline(ruler, {timeline.xOfFrame(5), timeline.xOfFrame(20), timeline.xOfFrame(12)});
    EXPECT_EQ(window->frame(), 12);
    idle();
    EXPECT_EQ(shown->last()[0].toLongLong(), 12);
    EXPECT_EQ(history().count(), 4) << "looking changes nothing";

    panel().keyList()->diamond("brightness")->click();
    timeline.setFrame(20);
    window->setFrame(20);
    type("0.5");
    const auto keys = [&] { return document().project()->effects[1].curves.at(0).keys; };
    ASSERT_EQ(keys().size(), 2u) << "a field with a key gets another where it is changed";
    EXPECT_EQ(keys()[1].frame, 20);
    KeyLanes& lanes = window->lanes();
    QTest::mousePress(&lanes, Qt::LeftButton, {}, lanes.keyPoint(0, 20).toPoint());
    for (const int frame : {21, 23}) moveMouse(lanes, lanes.keyPoint(0, frame).toPoint());
    QTest::mouseRelease(&lanes, Qt::LeftButton, {}, lanes.keyPoint(0, 23).toPoint());
    EXPECT_EQ(keys()[1].frame, 23);
    EXPECT_EQ(history().count(), 7);
    idle();

    dragTimeline(timeline.inHandle(), {timeline.xOfFrame(3), timeline.xOfFrame(4)});
    EXPECT_GT(document().project()->in, 0);
    EXPECT_EQ(history().count(), 8);
    EXPECT_EQ(keys()[1].frame, 23 - document().project()->in) << "keys stay with their pictures";
    idle();

    expectHistoryAndFile(opened);
    expectSameBytes("mkv", "ffv1");
    expectSameBytes("mp4", "mpeg4");
}

TEST_F(ClipWindowTest, ASecondClipAndItsTransition) {
    const std::string opened = text();
    addSecond("-vf hue=h=90");
    EXPECT_EQ(document().selected(), (Slot{Kind::Transition, 0}));
    EXPECT_EQ(window->stack().list()->count(), 2);
    const std::int64_t overlap = window->frame();
    EXPECT_NE(shown->last()[0].toLongLong(), 0) << "what was added is seen";
    addByName("linear wipe");
    EXPECT_EQ(document().project()->second->transition.info->name, "Linear Wipe");
    EXPECT_EQ(panel().effect()->info().name, "Linear Wipe");
    const auto defaults = document().project()->second->transition.record;
    dragTrackbar(trackbar(), {10, 25});
    EXPECT_NE(document().project()->second->transition.record, defaults);
    panel().keyList()->diamond("feather")->click();
    window->setFrame(overlap + 4);
    panel().keys().toggle(panel().keys().info()->field("feather"));
    panel().keys().setNumber(panel().keys().info()->field("feather"), overlap + 4, 0.5);
    panel().keys().setWay(panel().keys().info()->field("feather"), overlap, Way::Smooth);
    addByName("text");
    panel().keyList()->diamond("tracking")->click();
    window->setFrame(overlap + 9);
    panel().keys().setNumber(panel().keys().info()->field("tracking"), overlap + 9, 1.5);
    panel().keys().setSpan(overlap, {});
    EXPECT_EQ(history().count(), 11);
    expectHistoryAndFile(opened);
    expectSameBytes("mkv", "ffv1");
}

TEST_F(ClipWindowTest, TheOverlapFollowsItsDuration) {
    addSecond();
    const int frames = window->timeline().frameCount();
    EXPECT_EQ(panel().durationField()->value(), 1);
    panel().durationField()->setValue(0.4); // of 25 frames a second: 15 fewer are shared
    idle();
    EXPECT_EQ(document().project()->second->duration, 0.4);
    EXPECT_EQ(window->timeline().frameCount(), frames + 15);
    history().undo();
    idle();
    EXPECT_EQ(window->timeline().frameCount(), frames);
    EXPECT_EQ(panel().durationField()->value(), 1);
    panel().durationField()->setValue(60); // far longer than both clips
    idle();
    EXPECT_TRUE(labelWith(*window->statusBar(), "is cut to 25 frames"));
}

TEST_F(StudioWindowTest, AGenerator) {
    openGenerator(160, 90, 1);
    ASSERT_EQ(panel().effect()->info().name, "Test Pattern");
    const std::string opened = text();
    const auto lists = reachable<QComboBox>(*panel().page());
    ASSERT_FALSE(lists.empty());
    QTest::keyClick(lists[0], Qt::Key_Down);
    EXPECT_EQ(history().count(), 1);
    EXPECT_NE(text(), opened);
    addByName("text");
    ASSERT_EQ(document().project()->effects.size(), 1u);
    EXPECT_TRUE(document().project()->effects[0].over);
    const auto fields = reachable<QPlainTextEdit>(*panel().page());
    ASSERT_FALSE(fields.empty());
    fields[0]->setFocus();
    fields[0]->selectAll();
    QTest::keyClicks(fields[0], "Gr");
    fields[0]->insertPlainText(QStringLiteral("\u00fc\u00dfe\n\u4f60"));
    window->timeline().setFocus(); // leaving it reads it
    EXPECT_EQ(fieldText(*panel().effect()->info().textField(), document().project()->effects[0].record), "Grüße\\n你");
    addByName("wave");
    expectHistoryAndFile(opened);
    expectSameBytes("mkv", "ffv1");
}

TEST_F(ClipWindowTest, WhatIsBeingTypedIsSavedAndExported) {
    addByName("bright contr");
    const auto defaults = document().project()->effects[0].record;
    type("0.75", 0, false);
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    EXPECT_NE(document().project()->effects[0].record, defaults);
    EXPECT_FALSE(document().isChanged());
    EXPECT_EQ(projectText(loadProject(studioModule(), path("p.larkmoor")), "/"), text());
}

TEST_F(StudioWindowTest, WhatIsBeingTypedIsHandedInBeforeAnythingElseHappens) {
    // By tool buttons and shortcuts, which leave the focus where it is.
    const std::vector<std::pair<const char*, std::function<void()>>> deeds{
        {"duplicate", [this] { window->stack().duplicateSelected(); }},
        {"move", [this] { window->stack().moveSelected(-1); }},
        {"select",
         [this] {
             document().select({Kind::Effect, 0});
         }},
        {"cut", [this] { emit window->transport().inRequested(); }},
    };
    for (const auto& [name, act] : deeds) {
        SCOPED_TRACE(name);
        openClip();
        addByName("sepia");
        addByName("bright contr");
        const auto defaults = document().project()->effects[1].record;
        type("0.75", 0, false);
        window->setFrame(3);
        act();
        int changed = 0, kept = 0;
        for (const ProjectEffect& effect : document().project()->effects)
            if (effect.info->name == "Brightness and Contrast")
                ++(fieldText(effect.info->field("brightness"), effect.record) == "0.75" ? changed : kept);
        EXPECT_EQ(kept, 0);
        EXPECT_GE(changed, 1);
        idle();
        history().setIndex(2);
        EXPECT_EQ(document().project()->effects[1].record, defaults);
        idle();
    }
}

TEST_F(ClipWindowTest, WhatIsTypedForAFrameStopsTheFilmThere) {
    addByName("levels");
    panel().keyList()->diamond("gamma")->click();
    window->play(true);
    await([&] { return window->frame() > 2; });
    QLineEdit& edit = type("0.2", 0, false);
    await([&] { return window->speed() == 0; });
    EXPECT_EQ(edit.text(), "0.2");
    EXPECT_EQ(history().count(), 2) << "nothing half typed is taken in";
}

TEST_F(ClipWindowTest, AWindowThatGoesAwayAmidTypingTakesNothingAlong) {
    addByName("bright contr");
    type("0.75", 0, false);
    renew();
    EXPECT_EQ(document().project(), nullptr);
}

TEST_F(ClipWindowTest, RemovingTheSecondClipLeavesACutThatTheFirstOneHas) {
    clip("second.mkv", "-c:v ffv1 -pix_fmt yuv420p", "2");
    window->addSecond(file("second.mkv"));
    idle();
    window->setFrame(30); // behind the first clip's last
    emit window->transport().inRequested();
    idle();
    ASSERT_EQ(document().project()->in, 30);
    Answers answers;
    document().select({Kind::Transition, 0});
    window->stack().removeSelected();
    idle();
    EXPECT_LE(window->timeline().inOut().to, 24);
    EXPECT_EQ(exportTo("out.mkv"), "");
    EXPECT_TRUE(exists("out.mkv"));
}

TEST_F(ClipWindowTest, EachThingDoneOnAPageIsAStepOfItsOwn) {
    addByName("bright contr");
    auto steps = [&, last = history().count()]() mutable {
        return history().count() - std::exchange(last, history().count());
    };
    type("-0.25");
    EXPECT_EQ(steps(), 1) << "an edit";
    type("-0.5");
    EXPECT_EQ(steps(), 1) << "the same edit once more";
    type("0.5", 1);
    EXPECT_EQ(steps(), 1) << "another edit";
    trackbar().setFocus();
    turnWheel(trackbar(), trackbar().rect().center(), 120);
    EXPECT_EQ(steps(), 1) << "a notch of the wheel";
    QTest::keyClick(&trackbar(), Qt::Key_Right);
    EXPECT_EQ(steps(), 1) << "a key";
    dragTrackbar(trackbar(), {4, 8});
    EXPECT_EQ(steps(), 1) << "a drag";
    tTrackbarDetail detail{};
    const auto model = KwQuery<IKwPage>(panel().effect()->page().Get());
    model->GetDetail(trackbar().id(), &detail, sizeof detail);
    const QPoint thumb = rectOf(detail.thumb).center();
    const std::string before = text();
    QTest::mousePress(&trackbar(), Qt::LeftButton, {}, thumb);
    moveMouse(trackbar(), thumb + QPoint(9, 0));
    EXPECT_NE(text(), before);
    QTest::keyClick(&trackbar(), Qt::Key_Escape);
    EXPECT_EQ(text(), before);
    QTest::mouseRelease(&trackbar(), Qt::LeftButton, {}, thumb + QPoint(9, 0));
    EXPECT_EQ(text(), before);
    EXPECT_EQ(steps(), 0) << "a drag that was taken back";
}

// --- the stack

TEST_F(ClipWindowTest, AClickOnACheckMarkSwitches) {
    addByName("sepia");
    addByName("invert");
    QListWidget& list = *window->stack().list();
    for (const bool on : {false, true}) {
        QStyleOptionViewItem option;
        option.initFrom(&list);
        option.features = QStyleOptionViewItem::HasCheckIndicator;
        option.rect = list.visualItemRect(list.item(1));
        const QRect box = list.style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &option, &list);
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, box.center());
        idle();
        EXPECT_EQ(document().project()->effects[0].on, on);
    }
    EXPECT_EQ(history().count(), 4);
    EXPECT_EQ(document().selected(), (Slot{Kind::Effect, 1})) << "a check mark selects nothing";
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(1)).center());
    EXPECT_EQ(panel().effect()->info().name, "Sepia");
    EXPECT_EQ(history().count(), 4);
}

// --- presets

TEST_F(ClipWindowTest, AClickInTheStripSetsTheRecord) {
    addByName("gaussian");
    PresetStrip& strip = *panel().presets();
    ASSERT_GT(strip.count(), 1);
    const int last = strip.count() - 1;
    strip.scrollTo(strip.model()->index(last, 0));
    QTest::mouseClick(strip.viewport(), Qt::LeftButton, {}, strip.visualRect(strip.model()->index(last, 0)).center());
    EXPECT_EQ(document().project()->effects[0].record, panel().presetRecords()[static_cast<std::size_t>(last)]);
    EXPECT_EQ(panel().effect()->record(), document().project()->effects[0].record);
    EXPECT_EQ(history().count(), 2);
    EXPECT_EQ(strip.currentIndex().row(), last);
    history().undo();
    EXPECT_EQ(document().project()->effects[0].record, document().project()->effects[0].info->defaults);
    QTest::keyClick(&strip, Qt::Key_Return);
}

TEST_F(ClipWindowTest, APresetOfThePagesMenuIsOneStep) {
    addByName("levels");
    const EffectInfo& info = panel().effect()->info();
    const auto model = KwQuery<IKwPage>(panel().effect()->page().Get());
    for (std::size_t i = 0; i < info.presets.size(); ++i) {
        SCOPED_TRACE(info.presets[i].name);
        const int before = history().count();
        const bool differs = document().project()->effects[0].record != info.presets[i].record;
        model->SendPage(WM_COMMAND, static_cast<std::uintptr_t>(kPagePresetFirst) + i, 0, nullptr);
        QCoreApplication::processEvents();
        EXPECT_EQ(document().project()->effects[0].record, info.presets[i].record);
        EXPECT_EQ(history().count(), before + differs);
    }
}

TEST_F(ClipWindowTest, TimesTellEachFrameFromTheNext) {
    for (const LONG format : {kTimeFrames, kTimeClock, kTimeSeconds, kTimeClockFrames, kTimeSmpteEbu, kTimeCd}) {
        window->transport().setTimeFormat(format);
        window->setFrame(3);
        const QString third = window->transport().timeText();
        window->setFrame(4);
        EXPECT_NE(window->transport().timeText(), third) << format;
    }
}

TEST_F(ClipWindowTest, AProjectAsksForAClipThatWentAway) {
    ASSERT_TRUE(window->saveTo(file("moved.larkmoor")));
    ASSERT_TRUE(QFile::rename(file("in.mkv"), file("elsewhere.mkv")));
    Answers answers(QMessageBox::Cancel);
    EXPECT_FALSE(window->open(file("moved.larkmoor")));
    ASSERT_FALSE(answers.texts.isEmpty());
    EXPECT_TRUE(answers.texts[0].contains("in.mkv"));
    EXPECT_TRUE(document().project()); // what was open still is
}

TEST_F(ClipWindowTest, TheColorPickersButtonsHaveKeys) {
    addByName("sepia");
    const auto model = KwQuery<IKwPage>(panel().effect()->page().Get());
    constexpr LONG picker = 1107;
    tColorPickDetail detail{};
    for (const LONG space : {1, 0}) {
        const auto keys = reachable<QAbstractButton>(*panel().page());
        const auto key = std::ranges::find_if(
            keys, [](const QAbstractButton* each) { return each->accessibleName() == "Change the color space"; });
        ASSERT_NE(key, keys.end());
        (*key)->setFocus();
        QTest::keyClick(*key, Qt::Key_Space);
        ASSERT_EQ(model->GetDetail(picker, &detail, sizeof detail), S_OK);
        EXPECT_EQ(detail.colorSpace, space);
    }
}

// --- the picture

TEST_F(StudioWindowTest, TheNewestFrameWinsWhileScrubbing) {
    openGenerator(640, 360, 40);
    for (const char* name : {"quick blur", "wave"}) addByName(name);
    const qsizetype before = shown->count();
    qint64 last = 0;
    for (int i = 1; i <= 300; ++i) window->setFrame(last = (i * 37) % 1000);
    EXPECT_FALSE(window->isIdle());
    idle();
    EXPECT_EQ(shown->last()[0].toLongLong(), last);
    EXPECT_LT(shown->count() - before, 300);
}

TEST_F(StudioWindowTest, AnotherProjectIsNotShownOldPictures) {
    openGenerator(640, 360, 40);
    addByName("wave");
    for (int i = 1; i < 20; ++i) window->setFrame(i);
    makeClip();
    ASSERT_TRUE(window->open(file("in.mkv")));
    const qsizetype before = shown->count();
    idle();
    QCoreApplication::processEvents();
    ASSERT_EQ(shown->count(), before + 1);
    EXPECT_EQ(shown->last()[0].toLongLong(), 0);
    EXPECT_EQ(window->picture().fullSize(), QSize(96, 64));
    document().close();
    QCoreApplication::processEvents();
    EXPECT_EQ(shown->count(), before + 1);
}

} // namespace

} // namespace larkmoor
