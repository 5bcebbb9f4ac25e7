// What the studio's own tests share: clips, folders of their own, answers to message boxes.
#pragma once

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QSettings>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>

#include "apps/command.h"
#include "document.h"
#include "media/av.h"
#include "page/trackbar_widget.h"

namespace larkmoor {

inline constexpr int kPatience = 300000; ///< milliseconds; far more than anything takes

inline const Module& studioModule() {
    static const Module loaded = Module::load(LARKMOOR_MODULE_FILE);
    return loaded;
}

inline std::string textOf(const Document& document) {
    return document.project() ? projectText(*document.project(), "/") : "";
}

inline ProjectEffect effectOf(const char* name) {
    return projectEffect(studioModule().find(name));
}

/// A clip that is not there, with effects.
inline Project projectOf(const std::vector<const char*>& effects) {
    Project project;
    project.source = ProjectClip{"/nowhere/in.mkv", {}};
    for (const char* name : effects) project.effects.push_back(effectOf(name));
    return project;
}

/// Presses a button of each message box that comes up while it lives, and keeps what the boxes said.
class Answers : public QObject {
  public:
    explicit Answers(QMessageBox::StandardButton answer = QMessageBox::Ok) {
        ++living;
        m_timer.callOnTimeout(this, [this, answer] {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box) return;
            texts << box->text();
            QAbstractButton* const button = box->button(answer);
            if (button)
                button->click();
            else
                box->reject();
        });
        m_timer.start(1);
    }
    ~Answers() override { --living; }

    QStringList texts;
    static inline int living = 0;

  private:
    QTimer m_timer;
};

/// Nothing of the user's is read or written.
class StudioTest : public CommandTest {
  protected:
    StudioTest() {
        quietLog(false);
        QStandardPaths::setTestModeEnabled(true);
        QCoreApplication::setOrganizationName("larkmoor-tests");
        QCoreApplication::setApplicationName("larkmoor-tests");
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, file("settings"));
        QSettings().clear(); // known to the process by their path
        m_unasked.callOnTimeout([] {
            auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
            if (!box || Answers::living) return;
            ADD_FAILURE() << "Nobody expects: " << box->text().toStdString();
            box->reject();
        });
        m_unasked.start(50);
    }

    QString file(const std::string& name) const { return QString::fromStdString(path(name)); }
    void write(const std::string& name, const std::string& bytes) const {
        std::ofstream(path(name), std::ios::binary) << bytes;
    }

    template <class Condition>
    static void await(Condition condition) {
        ASSERT_TRUE(QTest::qWaitFor(condition, kPatience));
    }

    QTimer m_unasked; ///< looks for boxes that would let a test wait for ever
};

/// A control's widgets that a user can reach.
template <class W>
std::vector<W*> reachable(const QWidget& page) {
    std::vector<W*> found;
    for (QWidget* each : page.findChildren<QWidget*>())
        if (W* const widget = dynamic_cast<W*>(each); widget && widget->isVisible() && widget->isEnabled())
            found.push_back(widget);
    return found;
}

inline void moveMouse(QWidget& widget, QPointF to) {
    QMouseEvent move(QEvent::MouseMove, to, widget.mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(&widget, &move);
}

} // namespace larkmoor
