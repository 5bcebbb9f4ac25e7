// Hands that click and type anything: no crash, no file that does not open again, no step that is lost.
#include <QDockWidget>
#include <QListView>
#include <random>

#include "levels.h"
#include "studio_window.h"

namespace larkmoor {

namespace {

/// Puts away all that stands before the window.
class Doorkeeper : public QObject {
  public:
    explicit Doorkeeper(QWidget& window) {
        m_timer.callOnTimeout(this, [&window] {
            if (QWidget* const popup = QApplication::activePopupWidget()) popup->close();
            if (auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget())) dialog->reject();
            for (QWidget* each : QApplication::topLevelWidgets())
                if (each != &window && each->isVisible() && !qobject_cast<QDockWidget*>(each))
                    QTest::keyClick(each, Qt::Key_Escape);
        });
        m_timer.start(1);
    }

  private:
    QTimer m_timer;
};

class RandomTest : public StudioWindowTest {
  protected:
    RandomTest() { m_unasked.stop(); }

    int below(std::size_t count) { return static_cast<int>(m_random() % count); }

    QPoint within(const QWidget& widget) {
        // Of a list one of its rows, and often the mark that switches it.
        if (const auto* const list = qobject_cast<const QListView*>(&widget); list && list->model()->rowCount() > 0) {
            const QRect row =
                list->visualRect(list->model()->index(below(static_cast<std::size_t>(list->model()->rowCount())), 0));
            return {row.left() + below(below(2) ? 24 : static_cast<std::size_t>(std::max(1, row.width()))),
                    row.center().y()};
        }
        return {below(static_cast<std::size_t>(std::max(1, widget.width()))),
                below(static_cast<std::size_t>(std::max(1, widget.height())))};
    }
    /// What the mouse meets.
    static QWidget* target(QWidget& widget) {
        auto* const list = qobject_cast<QListView*>(&widget);
        return list ? list->viewport() : &widget;
    }
    QWidget* any() {
        // A panel has as many turns as another, however many widgets it has.
        const auto within = std::array<QWidget*, 4>{window.get(), &window->stack(), &panel(), panel().keyList()};
        std::vector<QWidget*> all;
        for (QWidget* each : reachable<QWidget>(*within[static_cast<std::size_t>(below(within.size()))]))
            if (each->focusPolicy() & Qt::TabFocus || each->inherits("QAbstractButton")) all.push_back(each);
        return all.empty() ? window.get() : all[static_cast<std::size_t>(below(all.size()))];
    }
    /// One thing that a hand does.
    void act() {
        static const char* const texts[] = {"1", "-3", "0,5", "1e9", "999999", "", ".", "{}", "100%", "0.001"};
        static const QKeySequence shortcuts[] = {QKeySequence("Ctrl+Z"),       QKeySequence("Ctrl+Y"),
                                                 QKeySequence("Ctrl+D"),       QKeySequence("Ctrl+C"),
                                                 QKeySequence("Ctrl+V"),       QKeySequence("Ctrl+X"),
                                                 QKeySequence("Ctrl+Shift+R"), QKeySequence("Ctrl+Backspace"),
                                                 QKeySequence("Ctrl+R"),       QKeySequence("Ctrl+I"),
                                                 QKeySequence("Ctrl+Shift+O"), QKeySequence("Ctrl+Shift+Down"),
                                                 QKeySequence("F7"),           QKeySequence("F8"),
                                                 QKeySequence("Delete"),       QKeySequence("Escape")};
        static const Qt::Key keys[] = {Qt::Key_Up,     Qt::Key_Down,   Qt::Key_Left, Qt::Key_Right, Qt::Key_Home,
                                       Qt::Key_End,    Qt::Key_PageUp, Qt::Key_Tab,  Qt::Key_Space, Qt::Key_Return,
                                       Qt::Key_Period, Qt::Key_I,      Qt::Key_O,    Qt::Key_Delete};
        QWidget* const widget = any();
        const auto held =
            std::array{Qt::NoModifier, Qt::ControlModifier, Qt::ShiftModifier}[static_cast<std::size_t>(below(3))];
        switch (below(8)) {
        case 0: {
            const auto& all = studioModule().effects();
            return window->addEffect(
                QString::fromStdString(all[static_cast<std::size_t>(below(all.size()))].className));
        }
        case 1:
            return window->setFrame(below(30));
        case 2:
            widget->setFocus();
            return QTest::keyClicks(widget, QString::fromUtf8(texts[below(std::size(texts))]));
        case 3: {
            const QKeyCombination pressed = shortcuts[below(std::size(shortcuts))][0];
            QWidget* const focus = QApplication::focusWidget();
            return QTest::keyClick(focus ? focus : window.get(), pressed.key(), pressed.keyboardModifiers());
        }
        case 4:
            widget->setFocus();
            return QTest::keyClick(widget, keys[below(std::size(keys))], held);
        case 5: {
            QTest::mousePress(widget, Qt::LeftButton, held, within(*widget));
            const QPointer<QWidget> still = widget;
            for (int i = 0; i < 3 && still; ++i) moveMouse(*still, within(*still));
            if (still) QTest::mouseRelease(still, Qt::LeftButton, held, within(*still));
            return;
        }
        case 6:
            return QTest::mouseDClick(target(*widget), Qt::LeftButton, held, within(*widget));
        default:
            return QTest::mouseClick(target(*widget), Qt::LeftButton, held, within(*widget));
        }
    }

    /// LARKMOOR_RANDOM_SEED begins another walk, LARKMOOR_RANDOM_ROUNDS makes it longer.
    static int given(const char* name, int usual) {
        const int number = qEnvironmentVariableIntValue(name);
        return number > 0 ? number : usual;
    }

    std::mt19937 m_random{static_cast<unsigned>(given("LARKMOOR_RANDOM_SEED", 2026))};
};

/// What the project was at each place of its history, which all steps have to come back to.
class Steps {
  public:
    Steps(QUndoStack& history, std::function<std::string()> text)
        : m_history(history), m_text(std::move(text)), m_states{m_text()} {}

    /// After anything was done.
    void look() {
        const int index = m_history.index();
        m_states.resize(place(m_history.count()) + 1);
        if (index == 0 || index < m_index) return expect(m_index = index);
        // Steps that were made at once with others are unknown.
        for (int each = m_index + 1; each < index; ++each) m_states[place(each)].reset();
        m_states[place(m_index = index)] = m_text();
    }
    /// All the way back and forth. What became other without a step is not come back to.
    void expectAll() {
        while (m_history.canUndo()) {
            m_history.undo();
            expect(m_history.index());
        }
        while (m_history.index() < m_index) {
            m_history.redo();
            expect(m_history.index());
        }
    }

  private:
    static std::size_t place(int index) { return static_cast<std::size_t>(index); }
    void expect(int index) {
        const std::optional<std::string>& known = m_states[place(index)];
        EXPECT_TRUE(!known || m_text() == *known) << "after step " << index << ":\n" << m_text() << known.value_or("");
    }

    QUndoStack& m_history;
    std::function<std::string()> m_text;
    std::vector<std::optional<std::string>> m_states;
    int m_index = 0;
};

TEST_F(RandomTest, NothingIsLostWhateverIsClicked) {
    openClip();
    addSecond();
    history().clear();
    Steps steps(history(), [this] { return text(); });
    const auto other = newWindow();
    const Doorkeeper keeper(*window);
    const int rounds = given("LARKMOOR_RANDOM_ROUNDS", 12);
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
        SCOPED_TRACE(round);
        for (int i = 0; i < 40; ++i) {
            SCOPED_TRACE(i);
            QApplication::setActiveWindow(window.get());
            act();
            QCoreApplication::processEvents();
            window->play(false);
            ASSERT_TRUE(document().project());
            ASSERT_TRUE(window->isVisible());
            steps.look();
        }
        idle();
        ASSERT_TRUE(window->saveTo(file("p.larkmoor")));
        steps.look();                                                   // it took what was being typed
        Project read = loadProject(studioModule(), path("p.larkmoor")); // as the command reads it
        settleLevels(read);
        EXPECT_TRUE(same(read, *document().project())) << text();
        ASSERT_TRUE(other->open(file("p.larkmoor")));
        EXPECT_TRUE(same(*other->document().project(), *document().project())) << text();
        EXPECT_FALSE(other->document().isChanged());
        steps.expectAll();
        idle();
    }
    EXPECT_GT(history().count(), 30) << "hands that do something";
}

} // namespace

} // namespace larkmoor
