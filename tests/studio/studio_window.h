// The real window as a person works with it, the real command beside it.
#pragma once

#include <QComboBox>
#include <QListWidget>
#include <QMenuBar>
#include <QStatusBar>

#include "export_dialog.h"
#include "export_panel.h"
#include "main_window.h"
#include "studio.h"

namespace larkmoor {

class StudioWindowTest : public StudioTest {
  protected:
    StudioWindowTest() { renew(); }
    void TearDown() override {
        if (window) idle();
    }

    std::unique_ptr<MainWindow> newWindow() const {
        auto made = std::make_unique<MainWindow>(studioModule(),
                                                 StudioFolders{file("presets"), file("autosave"), file("cache")});
        made->setPatience(std::chrono::milliseconds(kPatience)); // no box comes before the window by chance
        made->show();
        QApplication::setActiveWindow(made.get());
        return made;
    }
    void renew() {
        window.reset();
        window = newWindow();
        shown = std::make_unique<QSignalSpy>(window.get(), &MainWindow::frameShown);
    }

    Document& document() { return window->document(); }
    QUndoStack& history() { return window->document().history(); }
    PagePanel& panel() { return window->pagePanel(); }
    std::string text() { return textOf(document()); }
    void idle() {
        await([&] { return window->isIdle(); });
    }

    void makeClip(const std::string& name = "in.mkv", const std::string& more = "") const {
        clip(name, "-c:v ffv1 -pix_fmt yuv420p -g 1 " + more);
    }
    void openClip() {
        makeClip();
        ASSERT_TRUE(window->open(file("in.mkv")));
        idle();
        ASSERT_GE(shown->count(), 1);
    }
    void addSecond(const std::string& more = "") {
        makeClip("second.mkv", more);
        window->addSecond(file("second.mkv"));
        idle();
    }
    void openGenerator(int width, int height, double seconds) {
        window->startGenerator(studioModule().find("Test Pattern"), {width, height}, {25, 1}, seconds);
        idle();
    }

    static QLabel* labelWith(const QWidget& parent, const char* words) {
        for (QLabel* label : parent.findChildren<QLabel*>())
            if (label->isVisible() && label->text().contains(words)) return label;
        return nullptr;
    }

    /// By the list, as with the keyboard.
    void addByName(const char* words) {
        QLineEdit* const field = window->effectList().filterField();
        field->setFocus();
        field->selectAll();
        QTest::keyClicks(field, words);
        QTest::keyClick(field, Qt::Key_Return);
        idle();
    }

    TrackbarWidget& trackbar(std::size_t index = 0) {
        const auto all = reachable<TrackbarWidget>(*panel().page());
        EXPECT_LT(index, all.size());
        return *all.at(index);
    }
    void dragTrackbar(TrackbarWidget& bar, std::vector<int> by) {
        tTrackbarDetail detail{};
        KwQuery<IKwPage>(panel().effect()->page().Get())->GetDetail(bar.id(), &detail, sizeof detail);
        const QPoint thumb = rectOf(detail.thumb).center();
        QTest::mousePress(&bar, Qt::LeftButton, {}, thumb);
        for (const int x : by) moveMouse(bar, thumb + QPoint(x, 0));
        QTest::mouseRelease(&bar, Qt::LeftButton, {}, thumb + QPoint(by.back(), 0));
    }
    QLineEdit& type(const QString& value, std::size_t index = 0, bool enter = true) {
        const auto all = reachable<QLineEdit>(*panel().page());
        EXPECT_LT(index, all.size());
        QLineEdit& edit = *all.at(index);
        edit.setFocus();
        edit.selectAll();
        QTest::keyClicks(&edit, value);
        if (enter) QTest::keyClick(&edit, Qt::Key_Return);
        return edit;
    }
    void dragTimeline(QPointF from, std::vector<double> to) {
        Timeline& timeline = window->timeline();
        QTest::mousePress(&timeline, Qt::LeftButton, {}, from.toPoint());
        for (const double x : to) moveMouse(timeline, {x, from.y()});
        QTest::mouseRelease(&timeline, Qt::LeftButton, {}, QPointF(to.back(), from.y()).toPoint());
    }

    /// By the dialog's own button. Empty for success.
    QString exportTo(const std::string& name, const char* codec = "") {
        ExportDialog dialog(document(), file(name), window->exports(), window.get());
        dialog.encoders()->setCurrentText(codec);
        EXPECT_EQ(dialog.request().encode.codec, codec);
        return exportBy(dialog);
    }
    QString exportBy(ExportDialog& dialog) {
        dialog.show();
        QSignalSpy finished(&window->exports(), &ExportQueue::finished);
        QTest::mouseClick(dialog.exportButton(), Qt::LeftButton);
        if (dialog.isVisible()) return "never begun";
        EXPECT_TRUE(!finished.isEmpty() || finished.wait(kPatience));
        const QTreeWidget& list = *window->findChild<ExportPanel*>()->list();
        m_exportStatus = list.topLevelItem(list.topLevelItemCount() - 1)->text(1);
        return finished[0][0].value<ExportJob>().sentence;
    }
    /// The studio's export and the command's rendering of the saved project are the same file. Not with libx264, which
    /// now and then encodes the same pictures otherwise.
    void expectSameBytes(const std::string& ending, const char* codec) {
        SCOPED_TRACE(ending);
        ASSERT_TRUE(window->saveTo(file("same.larkmoor")));
        EXPECT_EQ(exportTo("studio." + ending, codec), "");
        const Outcome command = run("render same.larkmoor -y --codec " + std::string(codec) + " -o command." + ending);
        EXPECT_GT(content("studio." + ending).size(), 1000u);
        EXPECT_TRUE(content("studio." + ending) == content("command." + ending));
    }
    /// All steps back and forth, saved and loaded: always the same text.
    void expectHistoryAndFile(const std::string& opened) {
        const std::string done = text();
        const int steps = history().count();
        for (int i = 0; i < steps; ++i) {
            history().undo();
            idle();
        }
        EXPECT_EQ(text(), opened);
        for (int i = 0; i < steps; ++i) {
            history().redo();
            idle();
        }
        EXPECT_EQ(text(), done);
        ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
        EXPECT_FALSE(window->isWindowModified());
        const auto other = newWindow();
        ASSERT_TRUE(other->open(file("p.larkmoor")));
        EXPECT_EQ(textOf(other->document()), done);
        EXPECT_FALSE(other->document().isChanged());
        await([&] { return other->isIdle(); });
    }

    std::unique_ptr<MainWindow> window;
    std::unique_ptr<QSignalSpy> shown;
    QString m_exportStatus; ///< what the list of exports said in the end
};

/// The same with a clip.
class ClipWindowTest : public StudioWindowTest {
  protected:
    ClipWindowTest() { openClip(); }

    /// Each effect in turn, with its page.
    template <class Look>
    void eachPage(Look look) {
        addSecond();
        for (const EffectInfo& info : studioModule().effects()) {
            SCOPED_TRACE(info.name);
            window->addEffect(QString::fromStdString(info.className));
            if (panel().page()) look(info, *panel().page());
            if (info.kind != EffectKind::Transition) window->stack().removeSelected();
        }
        idle();
    }
};

} // namespace larkmoor
