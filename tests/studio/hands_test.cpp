// Keys, wheel, menus and panels, as hands find them.
#include <gmock/gmock.h>

#include <QClipboard>
#include <QDropEvent>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QScrollBar>
#include <QTextBrowser>

#include "effect_words.h"
#include "page/page_names.h"
#include "studio_window.h"
#include "theme.h"
#include "widget_hands.h"

namespace larkmoor {

namespace {

using Kind = Slot::Kind;

using HandsTest = ClipWindowTest;

TEST_F(HandsTest, KeysOfEditingAreTheFields) {
    window->addEffect("DXSText");
    auto* const box = reachable<QPlainTextEdit>(*panel().page())[0];
    box->setFocus();
    box->setPlainText("two words");
    box->moveCursor(QTextCursor::End);
    for (const auto& [key, held] : {std::pair(Qt::Key_Backspace, Qt::ControlModifier),
                                    std::pair(Qt::Key_L, Qt::NoModifier), std::pair(Qt::Key_Comma, Qt::NoModifier)}) {
        QTest::keyClick(box, key, held);
        ASSERT_EQ(document().project()->effects.size(), 1u);
    }
    EXPECT_THAT(box->toPlainText().toStdString(), testing::StartsWith("two"));
    EXPECT_EQ(window->speed(), 0);
    EXPECT_EQ(window->frame(), 0);
    // What is no editing is the window's, wherever the focus is.
    for (QWidget* focus : std::initializer_list<QWidget*>{window->effectList().filterField(), box}) {
        focus->setFocus();
        bool exported = false;
        for (QAction* action : window->findChildren<QAction*>())
            if (action->shortcut() == QKeySequence("Ctrl+E")) {
                action->disconnect();
                QObject::connect(action, &QAction::triggered, [&] { exported = true; });
            }
        QTest::keyClick(focus, Qt::Key_E, Qt::ControlModifier);
        EXPECT_TRUE(exported) << focus->metaObject()->className();
    }
}

TEST_F(HandsTest, CtrlYRedoes) {
    addByName("sepia");
    window->picture().setFocus();
    QTest::keyClick(&window->picture(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(document().project()->effects.empty());
    QTest::keyClick(&window->picture(), Qt::Key_Y, Qt::ControlModifier);
    EXPECT_EQ(document().project()->effects.size(), 1u);
}

TEST_F(HandsTest, KeysOfTheFilmWorkWhereverNoTextIsTyped) {
    addByName("sepia");
    const std::vector<QWidget*> places{&window->picture(),          &window->timeline(), window->stack().list(),
                                       window->effectList().view(), &trackbar(),         panel().presets()};
    for (QWidget* place : places) {
        SCOPED_TRACE(place->metaObject()->className());
        place->setFocus();
        window->setFrame(10);
        QTest::keyClick(place, Qt::Key_Period);
        EXPECT_EQ(window->frame(), 11);
        QTest::keyClick(place, Qt::Key_Comma);
        EXPECT_EQ(window->frame(), 10);
        QTest::keyClick(place, Qt::Key_L);
        EXPECT_EQ(window->speed(), 1);
        QTest::keyClick(place, Qt::Key_L);
        EXPECT_EQ(window->speed(), 2);
        QTest::keyClick(place, Qt::Key_J);
        QTest::keyClick(place, Qt::Key_J);
        EXPECT_EQ(window->speed(), -2);
        QTest::keyClick(place, Qt::Key_K);
        EXPECT_EQ(window->speed(), 0);
        window->setFrame(5);
        QTest::keyClick(place, Qt::Key_I);
        EXPECT_EQ(document().project()->in, 5);
        window->setFrame(20);
        QTest::keyClick(place, Qt::Key_O);
        EXPECT_EQ(document().project()->out, 21);
    }
}

TEST_F(HandsTest, F9IsTheWindowsOnASliderToo) {
    addByName("sepia");
    const std::string before = text();
    trackbar().setFocus();
    QTest::keyClick(&trackbar(), Qt::Key_F9);
    EXPECT_EQ(text(), before);
}

TEST_F(HandsTest, TheWheelScrollsPastWhatHasNotTheFocus) {
    eachPage([&](const EffectInfo&, QWidget& page) {
        window->picture().setFocus();
        const std::string before = text();
        for (ControlWidget* control : reachable<ControlWidget>(page))
            turnWheel(*control, control->rect().center(), 120);
        EXPECT_EQ(text(), before);
    });
}

TEST_F(HandsTest, AFieldGoesBackToTheEffectsDefaultByItself) {
    eachPage([&](const EffectInfo& info, QWidget& page) {
        std::vector<QString> helps;
        for (const tFieldInfo& field : info.fields) helps.push_back(QString::fromUtf8(field.help));
        const auto record = [&] { return document().selectedEffect()->record; };
        const auto differing = [&](const std::vector<std::byte>& other) {
            return std::ranges::count_if(info.fields, [&](const tFieldInfo& field) {
                return fieldText(field, record()) != fieldText(field, other);
            });
        };
        for (TrackbarWidget* bar : reachable<TrackbarWidget>(page)) {
            panel().resetAll();
            const auto before = record();
            QTest::keyClick(bar, bar->spoken().position == bar->spoken().most ? Qt::Key_Home : Qt::Key_End);
            if (record() == before) continue;
            const auto moved = differing(before);
            EXPECT_TRUE(panel().hasField(bar)) << bar->accessibleName().toStdString();
            panel().resetField(bar);
            // A field may have moved another one, as a start its end, which stays.
            EXPECT_LT(differing(before), moved) << bar->accessibleName().toStdString();
        }
        if (info.presets.empty()) return;
        auto defaults = record(); // as it was added
        emit panel().presets()->chosen(panel().presets()->count() - 1);
        panel().resetAll();
        EXPECT_EQ(record(), defaults);
        EXPECT_EQ(panel().effect()->record(), defaults);
    });
}

TEST(PageNames, FieldsThatShareASentenceComeInOrder) {
    const std::vector<NamedControl> controls{
        {0, KWCONTROL_LABEL, 1, "&One:", {}},   {1, KWCONTROL_TRACKBAR, 0, {}, "same"},
        {2, KWCONTROL_EDIT, 0, "5", "same"},    {0, KWCONTROL_LABEL, 4, "Two:", {}},
        {3, KWCONTROL_TRACKBAR, 0, {}, "same"}, {4, KWCONTROL_EDIT, 0, "7", "same"},
        {5, KWCONTROL_SPINNER, 4, {}, {}},      {6, KWCONTROL_CHECK, 0, "&On", "own"},
        {7, KWCONTROL_GROUP, 0, "&Colors", {}}, {8, KWCONTROL_RADIO, 0, "&Front", {}},
        {9, KWCONTROL_COLOR, 0, {}, {}}};
    EXPECT_THAT(controlNames(controls, "Page"), testing::ElementsAre("One", "One", "One", "Two", "Two", "Two", "Two",
                                                                     "On", "Colors", "Front", "Colors"));
    const std::vector<QString> helps{"own", "same", "same"};
    EXPECT_THAT(controlFields(controls, helps), testing::ElementsAre(-1, 1, 1, -1, 2, 2, -1, 0, -1, -1, -1));
}

TEST_F(HandsTest, ASearchForgetsWhatWasChosenForOtherWords) {
    EffectList& list = window->effectList();
    struct Case {
        const char *words, *key;
    };
    for (const auto& [words, key] : std::initializer_list<Case>{{"additive", "DXTAdditiveDissolve"},
                                                                {"dissolve", "Dissolve"},
                                                                {"crossfade", "DXTAdditiveDissolve"},
                                                                {"greenscreen", "DXTChromaKeyFilter"},
                                                                {"grayscale", "DXTDesaturate"},
                                                                {"legalize broadcast", "DXTBroadcastColors"}}) {
        list.setFilter(words);
        EXPECT_EQ(list.currentKey().toStdString(), key) << words;
    }
}

TEST_F(HandsTest, EffectsAreDraggedIntoTheStack) {
    for (const char* name : {"sepia", "invert"}) addByName(name);
    QListView& from = *window->effectList().view();
    QListWidget& stack = *window->stack().list();
    window->effectList().setFilter("wave");
    const std::unique_ptr<QMimeData> dragged(from.model()->mimeData({from.model()->index(0, 0)}));
    const auto drop = [&](QPoint at) {
        QDragEnterEvent enter(at, Qt::CopyAction | Qt::MoveAction, dragged.get(), Qt::LeftButton, {});
        QApplication::sendEvent(stack.viewport(), &enter);
        EXPECT_TRUE(enter.isAccepted());
        QDropEvent event(at, Qt::CopyAction | Qt::MoveAction, dragged.get(), Qt::LeftButton, {});
        QApplication::sendEvent(stack.viewport(), &event);
    };
    const auto names = [&] {
        std::string all;
        for (const ProjectEffect& effect : document().project()->effects) all += effect.info->name + ' ';
        return all;
    };
    drop(stack.visualItemRect(stack.item(2)).topLeft() + QPoint(20, 2));
    EXPECT_EQ(names(), "Sepia Wave Invert ");
    EXPECT_EQ(document().selected(), (Slot{Kind::Effect, 1}));
    drop(stack.visualItemRect(stack.item(0)).center());
    EXPECT_EQ(names(), "Wave Sepia Wave Invert ");
    drop({20, stack.viewport()->height() - 2});
    EXPECT_EQ(names(), "Wave Sepia Wave Invert Wave ");
}

TEST_F(HandsTest, EffectsGoOverTheClipboardAsText) {
    addByName("levels");
    panel().keyList()->diamond("gamma")->click();
    const auto effects = [&] { return document().project()->effects; };
    window->stack().list()->setFocus();
    const auto press = [&](Qt::Key key, Qt::KeyboardModifiers held = Qt::ControlModifier) {
        QTest::keyClick(window->stack().list(), key, held);
    };
    press(Qt::Key_C);
    EXPECT_THAT(QApplication::clipboard()->text().toStdString(),
                testing::AllOf(testing::HasSubstr("larkmoor effects"), testing::HasSubstr("\"keys\"")));
    addByName("sepia");
    window->stack().list()->setFocus();
    press(Qt::Key_V);
    ASSERT_EQ(effects().size(), 3u);
    EXPECT_EQ(effects()[2].info->name, "Levels");
    EXPECT_EQ(effects()[2].curves, effects()[0].curves);
    EXPECT_EQ(document().selected(), (Slot{Kind::Effect, 2}));
    press(Qt::Key_X);
    EXPECT_EQ(effects().size(), 2u);
    press(Qt::Key_C, Qt::ControlModifier | Qt::ShiftModifier);
    window->startGenerator(studioModule().find("Test Pattern"), {64, 48}, {25, 1}, 1);
    window->stack().list()->setFocus();
    press(Qt::Key_V);
    EXPECT_EQ(effects().size(), 2u) << "from one project to another";
    EXPECT_EQ(history().count(), 1);
    document().select({Kind::Source, 0});
    press(Qt::Key_C);
    press(Qt::Key_V);
    ASSERT_EQ(effects().size(), 3u);
    EXPECT_TRUE(effects()[0].over) << "a generator on another's pictures is laid over them";
    Answers answers;
    for (const char* text : {"words", "{\"effects\": []}", "{\"larkmoor effects\": 1, \"effects\": [{\"effect\": 1}]}",
                             "{\"larkmoor effects\": 1, \"effects\": [{\"effect\": \"Iris\"}]}"}) {
        QApplication::clipboard()->setText(text);
        QApplication::setActiveWindow(window.get()); // after the box
        window->stack().list()->setFocus();
        press(Qt::Key_V);
    }
    EXPECT_EQ(effects().size(), 3u);
    ASSERT_EQ(answers.texts.size(), 4);
    EXPECT_EQ(answers.texts[2], "effects[0].effect: has to be a text in quotes");
    EXPECT_THAT(answers.texts.last().toStdString(), testing::HasSubstr("second clip"));
}

TEST_F(HandsTest, WhatHasAPlaceIsDraggedInThePicture) {
    addSecond();
    PictureView& picture = window->picture();
    const auto at = [&](double x, double y) { return picture.toWidget({x * 96, y * 64}); };
    struct Case {
        const char* className;
        QPointF to;
        std::map<const char*, const char*> fields;
    };
    for (const auto& [className, to, fields] :
         std::initializer_list<Case>{{"DXTKwCCutter", {0.25, 0.75}, {{"centerX", "0.25"}, {"centerY", "0.75"}}},
                                     {"DXTKwIris", {0.75, 0.25}, {{"centerX", "0.75"}, {"centerY", "0.25"}}},
                                     {"DXTKwZoom", {0.25, 0.5}, {{"anchor", "0.25,0.5"}}},
                                     {"DXTKwWipe", {0.5, 0.875}, {{"angle", "90"}}},
                                     {"DXSText", {0.9, 0.1}, {{"horizontal", "Right"}, {"vertical", "Top"}}},
                                     {"DXTTimeCode", {0.1, 0.9}, {{"horizontal", "Left"}, {"vertical", "Bottom"}}}}) {
        SCOPED_TRACE(className);
        window->addEffect(className);
        idle();
        const int steps = history().count();
        ASSERT_TRUE(picture.handle());
        const QPointF handle = at(picture.handle()->at.x(), picture.handle()->at.y()), end = at(to.x(), to.y());
        drag(picture, handle.toPoint(), end.toPoint());
        EXPECT_EQ(history().count(), steps + 1) << "a drag is one step";
        const ProjectEffect& effect = *document().selectedEffect();
        for (const auto& [name, value] : fields) {
            const QStringList told =
                                  QString::fromStdString(fieldText(effect.info->field(name), effect.record)).split(','),
                              wanted = QString(value).split(',');
            ASSERT_EQ(told.size(), wanted.size());
            for (int i = 0; i < told.size(); ++i)
                if (bool number = false; wanted[i].toDouble(&number), number)
                    EXPECT_NEAR(told[i].toDouble(), wanted[i].toDouble(), 0.01 * std::max(1.0, wanted[i].toDouble()));
                else
                    EXPECT_EQ(told[i], wanted[i]);
        }
        EXPECT_EQ(panel().effect()->record(), effect.record) << "the page shows it";
        if (fields.begin()->first != std::string("angle") && std::string(className) != "DXSText" &&
            std::string(className) != "DXTTimeCode") {
            EXPECT_NEAR(picture.handle()->at.x(), to.x(), 0.01);
            EXPECT_NEAR(picture.handle()->at.y(), to.y(), 0.01);
        }
    }
    document().select({Kind::Source, 0});
    EXPECT_FALSE(picture.handle());
}

TEST_F(HandsTest, TheKeyColorIsPickedFromThePictureBeforeTheKeyer) {
    addByName("sepia");
    idle();
    PictureView& picture = window->picture();
    const auto at = [&] { return picture.toWidget({48, 30}); };
    QColor there;
    const auto hover = QObject::connect(&picture, &PictureView::pixelHovered,
                                        [&](QPoint, QRgb, QRgb after) { there = QColor(after); });
    moveMouse(picture, at());
    QObject::disconnect(hover);
    addByName("chroma keyer");
    const int steps = history().count();
    panel().pickButton()->click();
    idle();
    QTest::keyClick(&picture, Qt::Key_Escape);
    EXPECT_FALSE(panel().pickButton()->isChecked() || picture.isPicking());
    EXPECT_EQ(history().count(), steps);
    panel().pickButton()->click();
    idle();
    QTest::mouseClick(&picture, Qt::LeftButton, {}, at().toPoint());
    EXPECT_FALSE(picture.isPicking());
    EXPECT_EQ(history().count(), steps + 1);
    const ProjectEffect& keyer = *document().selectedEffect();
    const QStringList parts = QString::fromStdString(fieldText(keyer.info->field("color"), keyer.record)).split(',');
    const double wanted[]{there.redF(), there.greenF(), there.blueF()};
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(parts[i].toDouble(), wanted[i], 0.08) << i;
}

TEST_F(HandsTest, HelpTellsWhatEachEffectDoesAndFitsTheScreen) {
    for (const EffectInfo& info : studioModule().effects()) EXPECT_NE(effectWords(info).about, "") << info.name;
    QString shown;
    int pictures = 0;
    QTimer look;
    look.callOnTimeout(window.get(), [&] {
        QWidget* const box = QApplication::activeModalWidget();
        if (!box) return;
        QTextBrowser& words = *box->findChild<QTextBrowser*>();
        shown = words.toPlainText();
        pictures = 0;
        for (const QChar c : shown) pictures += c == QChar::ObjectReplacementCharacter;
        EXPECT_TRUE(box->screen()->availableGeometry().size().expandedTo(box->size()) ==
                    box->screen()->availableGeometry().size());
        box->close();
    });
    look.start(1);
    for (const EffectInfo& info : studioModule().effects()) {
        if (info.kind == EffectKind::Transition) continue;
        window->addEffect(QString::fromStdString(info.className));
        idle();
        emit panel().helpWanted(0);
        EXPECT_TRUE(shown.contains(effectWords(info).about)) << info.name;
        for (const tFieldInfo& field : info.fields) EXPECT_TRUE(shown.contains(field.help)) << field.name;
        EXPECT_FALSE(shown.contains("olour")) << "as the labels spell it";
        EXPECT_EQ(pictures, 2) << info.name;
        window->stack().removeSelected();
    }
    for (QAction* action : window->findChildren<QAction*>())
        if (action->text() == "&About") action->trigger();
    for (const char* licence : {"MIT", "LGPL 3", "GPL", "Apache 2.0"}) EXPECT_TRUE(shown.contains(licence)) << licence;
}

TEST_F(HandsTest, NoButtonIsBrightInTheDark) {
    openClip();
    window->addEffect("DXTSepia");
    idle();
    applyTheme("dark");
    QCoreApplication::processEvents(); // widgets are told later
    const QImage whole = window->grab().toImage();
    int looked = 0;
    for (QAbstractButton* button : reachable<QAbstractButton>(*window)) {
        const QRect place(button->mapTo(window.get(), QPoint(0, 0)), button->size());
        if (!whole.rect().contains(place)) continue; // scrolled away
        const QImage mean = whole.copy(place).scaled(1, 1, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        EXPECT_LT(qGray(mean.pixel(0, 0)), 128)
            << button->accessibleName().toStdString() << button->text().toStdString();
        ++looked;
    }
    EXPECT_GT(looked, 15);
    applyTheme("system");
}

TEST_F(HandsTest, PanelsFitTheScreenAndAreRemembered) {
    const auto panelOf = [](MainWindow& of, const char* name) { return of.findChild<QDockWidget*>(name); };
    for (const QSize size : {QSize(1280, 720), QSize(800, 500)}) {
        QSettings().remove("panels");
        window->document().close();
        renew();
        window->resize(size);
        openClip();
        window->addEffect("DXTKwCCutter");
        window->addEffect("DXSText");
        QCoreApplication::processEvents();
        EXPECT_LE(window->width(), size.width() + 40);
        auto* const scroll = panel().findChild<QScrollArea*>();
        EXPECT_GE(scroll->height(), size.height() / 2) << "the page has most of its side";
        EXPECT_GE(scroll->width(), 380);
        // What is wider than its panel can be reached by bar and by keys.
        const QWidget &page = *panel().page(), &shown = *scroll->viewport();
        const int beyond = page.width() - shown.width();
        ASSERT_GT(beyond, 0);
        EXPECT_TRUE(scroll->horizontalScrollBar()->isVisible());
        EXPECT_GE(scroll->horizontalScrollBar()->maximum(), beyond);
        int focused = 0;
        for (QWidget* control : reachable<QWidget>(page)) {
            if (!(control->focusPolicy() & Qt::TabFocus)) continue;
            control->setFocus(Qt::ShortcutFocusReason);
            const QRect place(control->mapTo(&page, QPoint(0, 0)), control->size());
            const QRect seen = shown.rect().translated(-page.pos());
            EXPECT_TRUE(seen.contains(place) || place.width() > seen.width() || place.height() > seen.height())
                << control->accessibleName().toStdString();
            ++focused;
        }
        EXPECT_GT(focused, 8);
    }
    for (const auto& [size, className] :
         {std::pair(QSize(1600, 1000), "DXTKwCCutter"), {QSize(1360, 840), "DXTBroadcastColors"}}) {
        QSettings().remove("panels");
        window->document().close();
        renew();
        window->resize(size);
        openClip();
        window->addEffect(className);
        QCoreApplication::processEvents();
        const QSize shown = panel().findChild<QScrollArea*>()->viewport()->size();
        EXPECT_EQ(panel().page()->size().boundedTo(shown), panel().page()->size()) << className;
    }
    EXPECT_FALSE(window->windowIcon().isNull());
    panelOf(*window, "scope")->hide();
    panelOf(*window, "presets")->setFloating(true);
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    window->close();
    renew();
    EXPECT_TRUE(panelOf(*window, "stack")->isHidden()) << "no film, no panels";
    ASSERT_TRUE(window->open(file("p.larkmoor")));
    EXPECT_TRUE(panelOf(*window, "scope")->isHidden());
    EXPECT_TRUE(panelOf(*window, "presets")->isFloating());
    EXPECT_FALSE(panelOf(*window, "settings")->isHidden());
}

} // namespace

} // namespace larkmoor
