// What must never cost work: projects that do not open, files written over, the wrong thing removed.
#include <gmock/gmock.h>

#include <QCheckBox>
#include <QFileDialog>
#include <QProgressDialog>
#include <random>

#include "project_fit.h"
#include "save_path.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

using Kind = Slot::Kind;
using testing::HasSubstr;

/// Every widget of the page and of the panel around it at one of its ends.
class LimitsTest : public StudioWindowTest {
  protected:
    bool upper() { return m_random() % 2 == 0; }

    void walk() {
        QWidget& page = *panel().page();
        for (TrackbarWidget* bar : reachable<TrackbarWidget>(page))
            QTest::keyClick(bar, upper() ? Qt::Key_End : Qt::Key_Home);
        for (QComboBox* list : reachable<QComboBox>(page)) QTest::keyClick(list, upper() ? Qt::Key_End : Qt::Key_Home);
        for (QCheckBox* box : reachable<QCheckBox>(page)) box->click();
        for (QLineEdit* edit : reachable<QLineEdit>(page)) {
            if (!edit->isVisible() || !edit->isEnabled()) continue; // the change of another may have hidden it
            edit->setText({});
            QTest::keyClicks(edit, upper() ? "99999999" : "-99999999");
            QTest::keyClick(edit, Qt::Key_Return);
        }
    }
    /// As the command and another window read it.
    void expectReopens() {
        ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
        const Project read = loadProject(studioModule(), path("p.larkmoor"));
        m_saved = text();
        EXPECT_EQ(projectText(read, "/"), m_saved);
    }

    std::string m_saved;

  private:
    std::mt19937 m_random{20};
};

TEST_F(LimitsTest, WhateverTheWindowTakesOpensAgain) {
    openClip();
    addSecond();
    Answers answers;
    for (const EffectInfo& info : studioModule().effects()) {
        SCOPED_TRACE(info.name);
        const qsizetype before = shown->count();
        window->addEffect(QString::fromStdString(info.className));
        idle();
        EXPECT_GT(shown->count(), before) << "no picture";
        ASSERT_NE(panel().effect(), nullptr);
        EXPECT_EQ(&panel().effect()->info(), &info);
        if (panel().page())
            EXPECT_TRUE(panel().page()->isVisible() && !panel().page()->title().isEmpty());
        else
            EXPECT_TRUE(std::ranges::any_of(reachable<QLabel>(panel()),
                                            [](QLabel* label) { return !label->text().isEmpty(); }));
        for (int index = 0; index < panel().presets()->count(); ++index) emit panel().presets()->chosen(index);
        for (const int frame : {3, 8}) { // of each field two keys
            if (!panel().page()) break;
            window->setFrame(frame);
            for (const tFieldInfo& field : info.fields)
                if (!panel().keys().hasKey(field)) panel().keyList()->diamond(field.name)->click();
            walk();
        }
        const double seconds[]{0.01, 86400, 0.5};
        panel().durationField()->setValue(seconds[document().history().count() % 3]);
        expectReopens();
        if (info.kind == EffectKind::Transition) continue;
        ASSERT_EQ(document().project()->effects.size(), 1u);
        window->stack().removeSelected();
        EXPECT_TRUE(document().project()->effects.empty());
    }
    idle();
    EXPECT_EQ(answers.texts, QStringList());
    const auto other = newWindow();
    ASSERT_TRUE(other->open(file("p.larkmoor")));
    EXPECT_FALSE(other->document().isChanged());
    EXPECT_EQ(textOf(other->document()), m_saved);
}

TEST_F(LimitsTest, ATransitionLastsAsLongAsOneCanBeMade) {
    openClip();
    addSecond();
    Answers answers;
    struct Case {
        double asked, taken;
    };
    for (const auto& [asked, taken] : std::initializer_list<Case>{{0.01, 0.04}, {0.5, 0.5}, {86400, 240}}) {
        panel().durationField()->setValue(asked);
        EXPECT_EQ(document().project()->second->duration, taken);
        EXPECT_EQ(panel().durationField()->value(), taken);
        expectReopens();
        idle();
        ASSERT_EQ(larkmoor("render p.larkmoor -y -o out.mkv").status, 0);
    }
    EXPECT_EQ(answers.texts, QStringList());
    EXPECT_TRUE(labelWith(*window->statusBar(), "cut to 25 frames"));
}

TEST_F(LimitsTest, AProjectBeyondWhatCanBeMadeOpensAndIsPutRight) {
    makeClip();
    makeClip("second.mkv");
    write("bad.larkmoor",
          R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"}, "in": 400, "out": 500,
        "second": {"path": "second.mkv", "transition": {"effect": "Iris"}, "duration": 0.01}, "effects": []})");
    Answers answers;
    ASSERT_TRUE(window->open(file("bad.larkmoor")));
    EXPECT_EQ(answers.texts, QStringList());
    EXPECT_TRUE(document().isChanged());
    EXPECT_EQ(document().project()->second->duration, 0.04);
    idle();
    EXPECT_EQ(exportTo("out.mkv", "ffv1"), "");
}

TEST(FitToPictures, KeepsWhatFitsAndBringsTheRestIn) {
    struct Case {
        std::int64_t in, out, fittedIn, fittedOut; ///< an `out` of -1 is none
    };
    for (const auto& [in, out, fittedIn, fittedOut] : {Case{0, -1, 0, -1},
                                                       {3, 7, 3, 7},
                                                       {3, 100, 3, -1},
                                                       {3, 99, 3, 99},
                                                       {200, 300, 99, -1},
                                                       {5, 2, 5, 6},
                                                       {99, 99, 99, -1}}) {
        Project project = projectOf({"Levels"});
        project.in = in;
        if (out >= 0) project.out = out;
        fitToPictures(project, {.frames = 100});
        EXPECT_EQ(project.in, fittedIn) << in << ' ' << out;
        EXPECT_EQ(project.out.value_or(-1), fittedOut) << in << ' ' << out;
    }
}

/// Types names into file dialogs, one after the other, and gives up when there are no more.
class Names : public QObject {
  public:
    explicit Names(QStringList names) : m_names(std::move(names)) {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        m_timer.callOnTimeout(this, [this] {
            auto* const dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            if (!dialog) return;
            if (m_names.isEmpty()) return dialog->reject();
            dialog->findChild<QLineEdit*>()->setText(m_names.takeFirst());
            QMetaObject::invokeMethod(dialog, "accept");
        });
        m_timer.start(1);
    }

  private:
    QStringList m_names;
    QTimer m_timer;
};

TEST_F(StudioTest, ANameThatGetsItsEndingIsAskedAboutBeforeItIsReplaced) {
    write("film.larkmoor", "work of weeks");
    const auto ask = [this](const QStringList& names) {
        const Names typed(names);
        return askWhereToSave(nullptr, {"Save", {}, "Projects (*.larkmoor)", "larkmoor", {"larkmoor"}});
    };
    {
        Answers no(QMessageBox::No);
        EXPECT_EQ(ask({file("film")}), "") << "asks for another name, and there is none";
        EXPECT_EQ(no.texts.size(), 1);
        EXPECT_EQ(ask({file("film.larkmoor"), file("other")}), file("other.larkmoor"));
        EXPECT_EQ(no.texts.size(), 2);
    }
    Answers yes(QMessageBox::Yes);
    EXPECT_EQ(ask({file("film")}), file("film.larkmoor"));
    EXPECT_EQ(ask({file("v1.5")}), file("v1.5.larkmoor"));
    ASSERT_EQ(yes.texts.size(), 1);
    EXPECT_THAT(yes.texts[0].toStdString(), HasSubstr("film.larkmoor"));
}

TEST_F(StudioTest, WhatAProjectIsMadeOfIsKnownByAnyName) {
    write("a.png", "x");
    write("f2.png", "x");
    std::filesystem::create_symlink(path("a.png"), path("link.png"));
    Project project;
    project.source = ProjectClip{path("a.png"), {}};
    EXPECT_TRUE(isSource(project, file("a.png")));
    EXPECT_TRUE(isSource(project, file("link.png")));
    EXPECT_FALSE(isSource(project, file("f2.png")));
    EXPECT_FALSE(isSource(project, file("new.png")));
    project.source = ProjectClip{path("f%d.png"), {}};
    EXPECT_TRUE(isSource(project, file("f2.png")));
    EXPECT_FALSE(isSource(project, file("a.png")));
}

TEST_F(ClipWindowTest, AClipThatGoesAwayTakesItsPictureAlongAndCanBeFound) {
    addByName("sepia");
    const auto pixel = [&] {
        window->picture().refine();
        return window->picture().grab().toImage().pixelColor(window->picture().rect().center());
    };
    const QColor there = pixel();
    ASSERT_TRUE(QFile::rename(file("in.mkv"), file("elsewhere.mkv")));
    auto* const find = window->findChild<QPushButton*>("findClip");
    await([&] { return pixel() != there; });
    ASSERT_TRUE(find->isVisible());
    EXPECT_NE(labelWith(*window, "in.mkv is not there any more"), nullptr);
    window->setFrame(7);
    panel().resetAll();
    {
        const Names elsewhere({file("elsewhere.mkv")});
        find->click();
    }
    idle();
    EXPECT_FALSE(find->isVisible());
    EXPECT_EQ(std::get<ProjectClip>(document().project()->source).path, path("elsewhere.mkv"));
    EXPECT_EQ(shown->last()[0].toInt(), 7);
    const QColor found = pixel();
    history().undo();
    EXPECT_TRUE(find->isVisible());
    EXPECT_NE(pixel(), found);
    ASSERT_TRUE(QFile::rename(file("elsewhere.mkv"), file("in.mkv")));
    await([&] { return !find->isVisible() && window->isIdle(); }); // it came back by itself
    EXPECT_EQ(pixel(), found);
}

TEST_F(StudioWindowTest, ADamagedClipIsExportedAndTheDialogSaysSo) {
    clip("in.avi", "-c:v mpeg4 -g 5");
    std::string bytes = content("in.avi");
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(bytes.size() / 2), bytes.size() / 8, '\x5a');
    write("in.avi", bytes);
    ASSERT_TRUE(window->open(file("in.avi")));
    EXPECT_THAT(exportTo("out.mkv", "ffv1").toStdString(), HasSubstr("in.avi is damaged"));
    EXPECT_THAT(m_exportStatus.toStdString(), testing::AllOf(HasSubstr("is written"), HasSubstr("damaged")));
    EXPECT_GT(content("out.mkv").size(), 1000u);
}

TEST_F(StudioWindowTest, WhatLetsWaitShowsThatItWorks) {
    openGenerator(4000, 2600, 10);
    for (const char* name : {"gaussian", "median"}) addByName(name);
    auto* const late = window->findChild<QTimer*>("late");
    EXPECT_LT(late->interval(), 1000);
    late->setInterval(0);
    window->setFrame(3);
    auto* const bar = window->statusBar()->findChild<QProgressBar*>();
    EXPECT_FALSE(bar->isVisible());
    await([&] { return bar->isVisible() || window->isIdle(); });
    EXPECT_TRUE(bar->isVisible());
    EXPECT_NE(labelWith(*window->statusBar(), "Reading frame 3"), nullptr);
    idle();
    EXPECT_FALSE(bar->isVisible());
}

TEST_F(StudioWindowTest, AFileThatHasToBeCountedIsCountedBesideTheWindow) {
    makeClip(); // Matroska tells no number of frames
    Project project;
    project.source = ProjectClip{path("in.mkv"), {}};
    PreviewRenderer renderer(studioModule(), [](const PreviewResult&) {});
    std::vector<double> shares;
    EXPECT_THROW(renderer.facts(project,
                                [&](double share) {
                                    shares.push_back(share);
                                    return shares.size() < 10;
                                }),
                 Stopped);
    ASSERT_EQ(shares.size(), 10u);
    EXPECT_TRUE(std::ranges::is_sorted(shares));
    EXPECT_GT(shares.back(), 0.1);
    EXPECT_LT(shares.back(), 1);
    EXPECT_GT(renderer.facts(project).frames, 10) << "another time it is counted";

    // The window shows it where it takes a while, and takes it back.
    window->setPatience(std::chrono::milliseconds(0));
    for (const bool gives : {true, false}) {
        QStringList seen;
        QTimer hand;
        hand.callOnTimeout([&] {
            auto* const shown = qobject_cast<QProgressDialog*>(QApplication::activeModalWidget());
            if (!shown) return;
            seen << shown->labelText();
            if (gives) shown->cancel();
        });
        hand.start(0);
        const bool opened = window->open(file("in.mkv"));
        EXPECT_TRUE(seen.contains("Counting the frames…"));
        EXPECT_EQ(opened, document().project() != nullptr);
        EXPECT_TRUE(opened || gives);
        if (opened) idle();
        document().close();
    }
}

TEST_F(StudioTest, WorkThatCannotBeKeptForACrashIsToldOf) {
    write("full", "no folder");
    Document document(studioModule());
    Autosave autosave(document, file("full"));
    QSignalSpy failed(&autosave, &Autosave::failed);
    document.start(projectOf({"Sepia"}), "");
    document.change("one", [](Project& project) { project.effects.clear(); });
    autosave.flush();
    ASSERT_EQ(failed.count(), 1);
    EXPECT_THAT(failed[0][0].toString().toStdString(), HasSubstr("full"));
}

TEST_F(ClipWindowTest, TheClipsRowIsSelectedForGood) {
    for (const char* name : {"sepia", "invert"}) addByName(name);
    QListWidget& list = *window->stack().list();
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.item(0)).center());
    EXPECT_EQ(document().selected(), (Slot{Kind::Source, 0}));
    EXPECT_EQ(panel().page(), nullptr);
    const auto labels = reachable<QLabel>(panel());
    EXPECT_TRUE(std::ranges::any_of(labels, [](QLabel* label) {
        return label->text().contains(QStringLiteral("96 × 64")) && label->text().contains("25 frames") &&
               label->text().contains("yuv420p") && label->text().contains("studio");
    }));
    QTest::keyClick(&list, Qt::Key_Delete);
    EXPECT_EQ(document().project()->effects.size(), 2u) << "a clip is not removed, and nothing else is";
    addByName("wave");
    ASSERT_EQ(document().project()->effects.size(), 3u);
    EXPECT_EQ(document().project()->effects[0].info->name, "Wave");
    EXPECT_EQ(document().selected(), (Slot{Kind::Effect, 0}));
}

} // namespace

} // namespace larkmoor
