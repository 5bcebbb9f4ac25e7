#include "control_accessible.h"

#include <QAccessibleWidget>

#include "control_widget.h"

namespace larkmoor {

namespace {

class AccessibleControl : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit AccessibleControl(ControlWidget& control)
        : QAccessibleWidget(&control, control.spoken().role), m_control(control) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface && m_control.spoken().most > m_control.spoken().least)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? m_control.spoken().value : QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return m_control.spoken().position; }
    QVariant minimumValue() const override { return m_control.spoken().least; }
    QVariant maximumValue() const override { return m_control.spoken().most; }
    QVariant minimumStepSize() const override { return 1; }
    void setCurrentValue(const QVariant& value) override { m_control.moveTo(value.toInt()); }

  private:
    ControlWidget& m_control;
};

QAccessibleInterface* makeInterface(const QString& className, QObject* object) {
    if (className != QLatin1String("QWidget")) return nullptr;
    auto* const control = dynamic_cast<ControlWidget*>(object);
    return control ? new AccessibleControl(*control) : nullptr;
}

} // namespace

void announceControls() {
    static const bool once = (QAccessible::installFactory(&makeInterface), true);
    (void)once;
}

} // namespace larkmoor
