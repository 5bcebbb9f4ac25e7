#include "spinner_widget.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionButton>

namespace larkmoor {

SpinnerWidget::SpinnerWidget(PageLink& page, LONG id, QWidget* parent) : ControlWidget(page, id, parent) {
    setFocusPolicy(Qt::NoFocus);
}

void SpinnerWidget::setBuddy(QWidget* edit, EditLink* link) {
    m_edit = edit;
    m_link = link;
}

Spoken SpinnerWidget::spoken() const {
    Spoken spoken = ControlWidget::spoken();
    spoken.role = QAccessible::SpinBox;
    if (m_link) spoken.value = m_link->text(); // what it counts in
    return spoken;
}

void SpinnerWidget::mousePressEvent(QMouseEvent* event) {
    if (m_edit) m_edit->setFocus(Qt::MouseFocusReason);
    if (m_link) m_link->commit(); // steps start from the number that is seen
    ControlWidget::mousePressEvent(event);
}

void SpinnerWidget::wheelEvent(QWheelEvent* event) {
    if (m_link && wantsWheel()) m_link->commit();
    ControlWidget::wheelEvent(event);
}

void SpinnerWidget::paintEvent(QPaintEvent*) {
    const auto detail = this->detail<tTrackbarDetail>();
    QPainter painter(this);
    const auto button = [&](const RECT& place, bool pressed, QStyle::PrimitiveElement arrow) {
        QStyleOptionButton option;
        option.initFrom(this);
        option.rect = rectOf(place);
        option.state &= ~QStyle::State_HasFocus;
        option.state |= pressed ? QStyle::State_Sunken : QStyle::State_Raised;
        style()->drawPrimitive(QStyle::PE_PanelButtonBevel, &option, &painter, this);
        const int size = std::min(option.rect.height(), option.rect.width()) - 2;
        option.rect = QStyle::alignedRect(layoutDirection(), Qt::AlignCenter, {size, size}, option.rect);
        style()->drawPrimitive(arrow, &option, &painter, this);
    };
    button(detail.up, detail.pressed == 1, QStyle::PE_IndicatorArrowUp);
    button(detail.down, detail.pressed == 2, QStyle::PE_IndicatorArrowDown);
}

} // namespace larkmoor
