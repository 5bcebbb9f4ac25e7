#include "widgets/spoken.h"

#include <QAccessibleWidget>

namespace larkmoor {

namespace {

class Interface : public QAccessibleWidget, public QAccessibleValueInterface {
  public:
    explicit Interface(SpokenWidget& widget) : QAccessibleWidget(&widget), m_widget(widget) {}

    QAccessible::Role role() const override { return m_widget.spoken().role; }

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface && m_widget.spoken().most > m_widget.spoken().least)
            return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text kind) const override {
        return kind == QAccessible::Value ? m_widget.spoken().value : QAccessibleWidget::text(kind);
    }
    QVariant currentValue() const override { return m_widget.spoken().position; }
    QVariant minimumValue() const override { return m_widget.spoken().least; }
    QVariant maximumValue() const override { return m_widget.spoken().most; }
    QVariant minimumStepSize() const override { return 1; }
    void setCurrentValue(const QVariant& value) override { m_widget.moveTo(value.toInt()); }

  private:
    SpokenWidget& m_widget;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object) {
    auto* const widget = dynamic_cast<SpokenWidget*>(object);
    return widget ? new Interface(*widget) : nullptr;
}

} // namespace

SpokenWidget::SpokenWidget(QWidget* parent) : QWidget(parent) {
    static const bool once = (QAccessible::installFactory(&makeInterface), true);
    (void)once;
}

SpokenWidget::~SpokenWidget() {
    // What QWidget tells on its way out must not ask what is gone.
    if (QAccessibleInterface* const told = QAccessible::queryAccessibleInterface(this))
        QAccessible::deleteAccessibleInterface(QAccessible::uniqueId(told));
}

void SpokenWidget::tellValue() {
    const Spoken now = spoken();
    const std::pair<QString, int> says{now.value, now.position};
    if (std::exchange(m_told, says) == says) return;
    QAccessibleValueChangeEvent event(this, now.most > now.least ? QVariant(now.position) : QVariant(now.value));
    listener(&event);
}

} // namespace larkmoor
