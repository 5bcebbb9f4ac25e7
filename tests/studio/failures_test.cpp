// The studio when something does not go as wanted: files that fail, exports that wait or end early, a crash.
#include <gmock/gmock.h>

#include <QDragEnterEvent>
#include <QMimeData>

#include "render_project.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

using testing::HasSubstr;

TEST_F(ClipWindowTest, WhatCannotBeOpenedIsToldInASentence) {
    addByName("sepia");
    const std::string before = text();
    write("text.mp4", "This is no film.\n");
    write("broken.larkmoor", "{\"larkmoor project\": 1,");
    write("empty.larkmoor", "");
    write("newer.larkmoor", R"({"larkmoor project": 99, "source": {"kind": "clip", "path": "in.mkv"}})");
    write("unknown.larkmoor", R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "in.mkv"},
                                  "effects": [{"effect": "DXTInvrt"}]})");
    write("gone.larkmoor", R"({"larkmoor project": 1, "source": {"kind": "clip", "path": "gone.mkv"}})");
    struct Case {
        const char *name, *told;
    };
    for (const auto& [name, told] : std::initializer_list<Case>{{"missing.mp4", "missing.mp4"},
                                                                {"text.mp4", "text.mp4"},
                                                                {"broken.larkmoor", "broken.larkmoor"},
                                                                {"empty.larkmoor", "empty.larkmoor"},
                                                                {"newer.larkmoor", "another version"},
                                                                {"unknown.larkmoor", "Invert"},
                                                                {"gone.larkmoor", "gone.mkv"}}) {
        SCOPED_TRACE(name);
        Answers answers;
        EXPECT_FALSE(window->open(file(name)));
        ASSERT_EQ(answers.texts.size(), 1);
        EXPECT_THAT(answers.texts[0].toStdString(), HasSubstr(told));
        EXPECT_EQ(text(), before) << "what was open stays";
        window->setFrame(window->frame() + 1);
        idle();
        EXPECT_EQ(shown->last()[0].toLongLong(), window->frame()) << "and works";
    }
    history().undo();
    EXPECT_TRUE(document().project()->effects.empty());
    for (const char* name : {"missing.mkv", "text.mp4"}) {
        Answers answers;
        const std::string now = text();
        window->addSecond(file(name));
        EXPECT_EQ(answers.texts.size(), 1) << name;
        EXPECT_EQ(text(), now);
    }
    idle();
    openGenerator(64, 48, 1);
    Answers answers;
    window->addSecond(file("in.mkv"));
    EXPECT_EQ(answers.texts.size(), 1);
}

TEST_F(StudioWindowTest, ProjectsOfOneFrameWork) {
    ffmpeg("-f lavfi -i testsrc2=size=31x17 -frames:v 1 still.png");
    ASSERT_TRUE(window->open(file("still.png")));
    idle();
    addByName("sepia");
    window->setFrame(5);
    EXPECT_EQ(window->frame(), 0);
    window->play(true);
    emit window->transport().inRequested();
    emit window->transport().outRequested();
    emit window->transport().lastRequested();
    idle();
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    EXPECT_EQ(exportTo("studio.png"), "");
    ASSERT_EQ(larkmoor("render p.larkmoor -o command.png").status, 0);
    EXPECT_TRUE(content("studio.png") == content("command.png"));
}

TEST_F(StudioWindowTest, ExportsWaitTheirTurnWhileWorkGoesOn) {
    openGenerator(640, 360, 400);
    const auto before = names();
    ExportQueue& queue = window->exports();
    const auto add = [&](const char* name) {
        OutputRequest out;
        out.path = path(name);
        queue.add(document().project(), out);
    };
    for (const char* name : {"one.mkv", "two.mkv", "three.mkv"}) add(name);
    EXPECT_THROW(add("two.mkv"), UsageError);
    queue.cancel(1);
    await([&] { return queue.percent().value_or(0) > 0; });
    EXPECT_THAT(window->windowTitle().toStdString(), testing::MatchesRegex("[0-9]+ % - Untitled.*"));
    addByName("sepia");
    EXPECT_EQ(document().project()->effects.size(), 1u);
    EXPECT_TRUE(queue.isRunning());
    {
        Answers no(QMessageBox::No);
        EXPECT_FALSE(window->close());
        EXPECT_THAT(no.texts.join("").toStdString(), HasSubstr("not finished"));
    }
    QTreeWidget& list = *window->findChild<ExportPanel*>()->list();
    EXPECT_EQ(list.topLevelItem(1)->text(1), "Cancelled; nothing was written.");
    EXPECT_EQ(list.topLevelItem(2)->text(1), "waits");
    list.setCurrentItem(list.topLevelItem(0));
    QSignalSpy finished(&queue, &ExportQueue::finished);
    window->findChild<ExportPanel*>()->cancelButton()->click();
    await([&] { return queue.jobs()[0].isOver(); });
    EXPECT_EQ(finished[0][0].value<ExportJob>().state, ExportJob::State::Cancelled);
    queue.clear();
    ASSERT_EQ(queue.jobs().size(), 1u);
    EXPECT_EQ(queue.jobs()[0].state, ExportJob::State::Running) << "the next one began by itself";
    queue.cancelAll();
    await([&] { return !queue.isRunning(); });
    EXPECT_EQ(names(), before);
    EXPECT_THAT(window->windowTitle().toStdString(), testing::StartsWith("Untitled"));
    add("one.mkv"); // a name that is free again
    queue.cancelAll();
    await([&] { return !queue.isRunning(); });
}

TEST_F(StudioWindowTest, ProfilesMakeWhatTheySay) {
    openGenerator(256, 144, 0.2);
    struct Case {
        const char *name, *file, *facts;
    };
    for (const auto& [name, file, facts] :
         std::initializer_list<Case>{{"H.264 for the web", "out.mp4", "h264,yuv420p"},
                                     {"ProRes 422", "out.mov", "prores,yuv422p10le"},
                                     {"ProRes 4444 with alpha", "out.mov", "prores,yuva444p12le"},
                                     {"DNxHR", "out.mov", "dnxhd,yuv422p"},
                                     {"FFV1, without loss", "out.mkv", "ffv1,bgra"},
                                     {"PNG sequence", "out-%04d.png", "png,rgb24"},
                                     {"WebM with alpha", "out.webm", "vp9,yuv420p"}}) {
        SCOPED_TRACE(name);
        ExportDialog dialog(document(), this->file("out.avi"), window->exports(), window.get());
        const int index = dialog.profiles()->findText(name);
        dialog.profiles()->setCurrentIndex(index);
        emit dialog.profiles()->activated(index);
        EXPECT_EQ(dialog.pathField()->text(), this->file(file));
        EXPECT_GE(dialog.encoders()->findText(dialog.encoders()->currentText()), 1) << "it is in the list";
        Answers replace(QMessageBox::Yes);
        EXPECT_EQ(exportBy(dialog), "");
        EXPECT_EQ(shell(std::string("ffprobe -v error -select_streams v -show_entries stream=codec_name,pix_fmt -of "
                                    "csv=p=0 ") +
                        file)
                      .out,
                  std::string(facts) + "\n");
    }
}

TEST_F(StudioWindowTest, AnExportThatIsDestroyedAmidItsWorkLeavesNoFile) {
    openGenerator(640, 360, 400);
    const auto before = names();
    {
        Exporter exporter;
        QSignalSpy progress(&exporter, &Exporter::progress);
        OutputRequest out;
        out.path = path("out.mkv");
        exporter.start([project = document().project(), out](const Watch& watch) {
            return renderProject(studioModule(), *project, out, watch);
        });
        ASSERT_TRUE(!progress.isEmpty() || progress.wait(kPatience));
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(names(), before);
}

TEST_F(ClipWindowTest, AnExportThatFailsSaysWhy) {
    EXPECT_THAT(exportTo("no such folder/out.mkv").toStdString(), HasSubstr("no such folder"));
    EXPECT_NE(exportTo("out.nothing"), "");
    const std::string source = content("in.mkv");
    {
        Answers answers(QMessageBox::Yes);
        EXPECT_NE(exportTo("in.mkv"), "") << "the source itself";
        EXPECT_EQ(content("in.mkv"), source);
    }
    write("there.mkv", "something else");
    {
        Answers answers(QMessageBox::No);
        EXPECT_EQ(exportTo("there.mkv"), "never begun");
        EXPECT_EQ(answers.texts.size(), 1);
        EXPECT_EQ(content("there.mkv"), "something else");
    }
    Answers answers(QMessageBox::Yes);
    EXPECT_EQ(exportTo("there.mkv"), "");
    EXPECT_NE(content("there.mkv"), "something else");
}

TEST_F(ClipWindowTest, LeavingAsksAndListens) {
    addByName("sepia");
    {
        Answers answers(QMessageBox::Cancel);
        EXPECT_FALSE(window->close());
        EXPECT_EQ(answers.texts.size(), 1);
        EXPECT_TRUE(window->isVisible());
    }
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    addByName("invert");
    {
        Answers answers(QMessageBox::Save);
        EXPECT_TRUE(window->close());
        EXPECT_EQ(answers.texts.size(), 1);
    }
    EXPECT_EQ(loadProject(studioModule(), path("p.larkmoor")).effects.size(), 2u);
}

TEST_F(StudioWindowTest, ADropOpensAndSettingsThatAreNoneAreToldOf) {
    makeClip();
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(file("in.mkv"))});
    QDragEnterEvent enter({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window.get(), &enter);
    EXPECT_TRUE(enter.isAccepted());
    QDropEvent drop({10, 10}, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window.get(), &drop);
    ASSERT_TRUE(document().project());
    addByName("sepia");
    Answers answers;
    write("no.state", "no settings at all");
    EXPECT_THROW(panel().loadState(file("no.state")), Error);
    emit panel().failed("It does not work.");
    EXPECT_EQ(answers.texts, QStringList("It does not work."));
    EXPECT_EQ(history().count(), 1);
}

TEST_F(StudioWindowTest, TheDemonstrationIsOneClickAway) {
    auto* const button = window->findChild<QPushButton*>("demonstration");
    ASSERT_NE(button, nullptr);
    Answers answers;
    QTest::mouseClick(button, Qt::LeftButton);
    await([&] { return document().project() != nullptr || !answers.texts.isEmpty(); });
    EXPECT_EQ(answers.texts, QStringList());
    idle();
    EXPECT_GE(shown->count(), 1);
}

// --- a crash

TEST_F(ClipWindowTest, LostWorkIsOfferedAtTheNextStart) {
    ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
    addByName("sepia");
    const std::string wanted = text();
    // The folder as a killed studio leaves it.
    QStringList found;
    await([&] {
        found = QDir(file("autosave")).entryList({"*.larkmoor"});
        return !found.isEmpty() && QFile::exists(file("autosave") + '/' + found[0] + ".path");
    });
    const QString left = file("autosave") + "/left.larkmoor";
    ASSERT_TRUE(QFile::copy(file("autosave") + '/' + found[0], left));
    ASSERT_TRUE(QFile::copy(file("autosave") + '/' + found[0] + ".path", left + ".path"));
    renew();
    {
        Answers answers(QMessageBox::Cancel);
        window->offerLostWork();
        ASSERT_EQ(answers.texts.size(), 1);
        EXPECT_THAT(answers.texts[0].toStdString(), HasSubstr("p.larkmoor"));
        EXPECT_TRUE(QFile::exists(left)) << "offered again next time";
        EXPECT_EQ(document().project(), nullptr);
    }
    Answers answers(QMessageBox::Open);
    window->offerLostWork();
    EXPECT_EQ(text(), wanted);
    EXPECT_TRUE(document().isChanged());
    EXPECT_EQ(document().path(), file("p.larkmoor"));
    EXPECT_FALSE(QFile::exists(left));
    EXPECT_FALSE(QDir(file("autosave")).entryList({"*.larkmoor"}).isEmpty()) << "a second crash loses nothing either";
    idle();
    ASSERT_TRUE(window->saveTo(document().path()));
    EXPECT_TRUE(QDir(file("autosave")).entryList({"*.larkmoor"}).isEmpty());
    window->offerLostWork();
    EXPECT_EQ(answers.texts.size(), 1);
}

} // namespace

} // namespace larkmoor
