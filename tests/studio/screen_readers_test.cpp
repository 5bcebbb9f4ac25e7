// What those are told who do not see the window.
#include <gmock/gmock.h>

#include <QAccessible>

#include "page/color_widget.h"
#include "page/placement_widget.h"
#include "page/spinner_widget.h"
#include "studio_window.h"
#include "widget_hands.h"

namespace larkmoor {

namespace {

using ScreenReaderTest = ClipWindowTest;

/// Listens in place of the accessibility bus, which the toolkit has none of without a display.
class Bus {
  public:
    Bus() : m_before(std::exchange(SpokenWidget::listener, &hear)) { s_told.clear(); }
    ~Bus() { SpokenWidget::listener = m_before; }
    Bus(const Bus&) = delete;
    Bus& operator=(const Bus&) = delete;

    /// Whether `act` changed what a widget says; then it has to be told.
    static bool expectTold(const SpokenWidget& widget, const std::function<void()>& act) {
        const Spoken before = widget.spoken();
        s_told.clear();
        act();
        QCoreApplication::processEvents(); // what the page says outside a call is shown when the loop comes round
        const Spoken now = widget.spoken();
        if (now.value == before.value && now.position == before.position) return false;
        const QVariant said = now.most > now.least ? QVariant(now.position) : QVariant(now.value);
        EXPECT_EQ(s_told.value(&widget).toString().toStdString(), said.toString().toStdString())
            << widget.metaObject()->className() << ' ' << widget.accessibleName().toStdString();
        return true;
    }

  private:
    static void hear(QAccessibleEvent* event) {
        if (event->type() == QAccessible::ValueChanged)
            s_told[event->object()] = static_cast<QAccessibleValueChangeEvent*>(event)->value();
    }
    static inline QHash<const QObject*, QVariant> s_told;
    decltype(SpokenWidget::listener) m_before;
};

TEST_F(ScreenReaderTest, EveryControlHasRoleNameAndValueForThoseWhoDoNotSeeIt) {
    const auto roleOf = [](QWidget* widget) {
        if (dynamic_cast<TrackbarWidget*>(widget)) return QAccessible::Slider;
        if (dynamic_cast<SpinnerWidget*>(widget)) return QAccessible::SpinBox;
        if (dynamic_cast<ColorWidget*>(widget)) return QAccessible::ColorChooser;
        return dynamic_cast<PlacementWidget*>(widget) ? QAccessible::Graphic : QAccessible::NoRole;
    };
    int controls = 0;
    const Bus bus;
    std::map<QAccessible::Role, int> told;
    eachPage([&](const EffectInfo&, QWidget& page) {
        for (QWidget* widget : reachable<QWidget>(page)) {
            const bool edits = qobject_cast<QLineEdit*>(widget) || qobject_cast<QComboBox*>(widget) ||
                               qobject_cast<QPlainTextEdit*>(widget) || qobject_cast<QAbstractButton*>(widget);
            const QAccessible::Role role = roleOf(widget);
            if (!edits && role == QAccessible::NoRole) continue;
            QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(widget);
            ASSERT_NE(told, nullptr);
            EXPECT_NE(told->text(QAccessible::Name), "") << widget->objectName().toStdString();
            ++controls;
            if (role == QAccessible::NoRole) continue;
            EXPECT_EQ(told->role(), role);
            EXPECT_NE(told->text(QAccessible::Value), "");
            if (role != QAccessible::Slider) continue;
            QAccessibleValueInterface* const value = told->valueInterface();
            ASSERT_NE(value, nullptr);
            EXPECT_LT(value->minimumValue().toInt(), value->maximumValue().toInt());
            const int middle = (value->minimumValue().toInt() + value->maximumValue().toInt()) / 2;
            if (controls > 12) continue; // the way of one slider is that of all
            value->setCurrentValue(middle);
            EXPECT_NEAR(value->currentValue().toInt(), middle, 2);
        }
        const int added = history().index();
        for (ControlWidget* control : reachable<ControlWidget>(page)) {
            const auto does = [&](const std::function<void()>& act) {
                if (control->isVisible() && control->isEnabled()) // the change of another may have hidden it
                    told[control->spoken().role] += Bus::expectTold(*control, act);
            };
            does([&] { QTest::keyClick(control, Qt::Key_Home); });
            does([&] { QTest::keyClick(control, Qt::Key_Right); });
            does([&] { drag(*control, control->rect().center(), control->rect().center() + QPoint(10, 10)); });
            if (history().index() > added) does([&] { history().undo(); });
        }
    });
    EXPECT_GT(controls, 250);
    for (const auto& [role, least] : {std::pair(QAccessible::Slider, 200),
                                      {QAccessible::SpinBox, 1},
                                      {QAccessible::ColorChooser, 10},
                                      {QAccessible::Graphic, 5}})
        EXPECT_GT(told[role], least) << role;
}

/// The tree that screen readers walk, as the toolkit tells it.
void expectTold(QAccessibleInterface& told, int& controls) {
    const QAccessible::State state = told.state();
    if (state.invisible) return;
    const QString name = told.text(QAccessible::Name);
    const QObject* const object = told.object();
    const std::string place =
        object ? std::string(object->metaObject()->className()) + " " + object->objectName().toStdString() : "a part";
    const QAccessible::Role role = told.role();
    const bool moves = role == QAccessible::Slider || role == QAccessible::SpinBox || role == QAccessible::ProgressBar;
    if ((state.focusable && object && object->isWidgetType()) || moves) {
        ++controls;
        EXPECT_NE(name, "") << place;
        EXPECT_NE(role, QAccessible::Client) << place;
        EXPECT_NE(role, QAccessible::NoRole) << place;
    }
    const bool spins = role == QAccessible::SpinBox && told.text(QAccessible::Value) != "";
    EXPECT_TRUE(!moves || spins || told.valueInterface()) << place;
    const bool tells = role == QAccessible::ComboBox || role == QAccessible::Chart || role == QAccessible::Graphic;
    const auto* const list = qobject_cast<const QComboBox*>(object);
    EXPECT_TRUE(!tells || (list && list->isEditable()) || told.text(QAccessible::Value) != "" || told.textInterface() ||
                state.editable)
        << place;
    for (int i = 0; i < told.childCount(); ++i)
        if (QAccessibleInterface* const child = told.child(i)) expectTold(*child, controls);
}

TEST_F(ScreenReaderTest, TheTreeOfScreenReadersHasAllControls) {
    addByName("wave");
    panel().keysButton()->click();
    panel().keys().toggle(document().selectedEffect()->info->field("verticalAmplitude"));
    idle();
    ExportDialog exports(document(), file("out.mp4"), window->exports());
    exports.show();
    int controls = 0;
    for (QWidget* top : std::initializer_list<QWidget*>{window.get(), &exports})
        expectTold(*QAccessible::queryAccessibleInterface(top), controls);
    EXPECT_GT(controls, 60);

    // What moves can be moved.
    QAccessibleInterface& timeline = *QAccessible::queryAccessibleInterface(&window->timeline());
    EXPECT_EQ(timeline.role(), QAccessible::Slider);
    const Bus bus;
    EXPECT_TRUE(Bus::expectTold(window->timeline(), [&] { timeline.valueInterface()->setCurrentValue(7); }));
    EXPECT_EQ(window->frame(), 7);
    EXPECT_EQ(timeline.valueInterface()->currentValue(), 7);
    EXPECT_TRUE(window->transport().timeText().startsWith(timeline.text(QAccessible::Value) + " /"));
    EXPECT_TRUE(Bus::expectTold(window->lanes(), [&] {
        QTest::mouseClick(&window->lanes(), Qt::LeftButton, {}, window->lanes().keyPoint(0, 0).toPoint());
    }));
    EXPECT_THAT(QAccessible::queryAccessibleInterface(&window->lanes())->text(QAccessible::Value).toStdString(),
                testing::EndsWith(": key at frame 0"));
}

} // namespace

} // namespace larkmoor
