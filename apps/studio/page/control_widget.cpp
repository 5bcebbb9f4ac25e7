#include "control_widget.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <algorithm>
#include <utility>

namespace larkmoor {

std::optional<LONG> pageKeyOf(const QKeyEvent& event) {
    const int key = event.key();
    if (event.modifiers() & Qt::KeypadModifier && key >= Qt::Key_0 && key <= Qt::Key_9)
        return KWKEY_NUMPAD0 + key - Qt::Key_0;
    switch (key) {
    case Qt::Key_Tab:
    case Qt::Key_Backtab:
        return KWKEY_TAB;
    case Qt::Key_Clear:
        return KWKEY_CLEAR;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        return KWKEY_RETURN;
    case Qt::Key_Escape:
        return KWKEY_ESCAPE;
    case Qt::Key_PageUp:
        return KWKEY_PAGE_UP;
    case Qt::Key_PageDown:
        return KWKEY_PAGE_DOWN;
    case Qt::Key_End:
        return KWKEY_END;
    case Qt::Key_Home:
        return KWKEY_HOME;
    case Qt::Key_Left:
        return KWKEY_LEFT;
    case Qt::Key_Up:
        return KWKEY_UP;
    case Qt::Key_Right:
        return KWKEY_RIGHT;
    case Qt::Key_Down:
        return KWKEY_DOWN;
    case Qt::Key_F3:
        return KWKEY_F3;
    case Qt::Key_F9:
        return KWKEY_F9;
    default:
        return {};
    }
}

ULONG pageModifiersOf(Qt::KeyboardModifiers modifiers) {
    ULONG bits = 0;
    if (modifiers & Qt::ShiftModifier) bits |= KWMOD_SHIFT;
    if (modifiers & Qt::ControlModifier) bits |= KWMOD_CTRL;
    return bits;
}

ControlWidget::ControlWidget(PageLink& page, LONG id, QWidget* parent) : SpokenWidget(parent), m_page(page), m_id(id) {
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

void ControlWidget::refresh() {
    tellValue();
    update();
}

Spoken ControlWidget::spoken() const {
    tPageControl facts{};
    m_page.model().FindControl(m_id, &facts, sizeof facts);
    return {QAccessible::Slider, QString::number(facts.value), static_cast<int>(facts.value),
            static_cast<int>(facts.minimum), static_cast<int>(facts.maximum)};
}

void ControlWidget::moveTo(int position) {
    const bool forward = position > spoken().position;
    const LONG key = forward ? KWKEY_RIGHT : KWKEY_LEFT;
    // By steps, each of which the page applies; an end of the range ends them, too.
    for (int last = spoken().position; forward ? last < position : last > position;) {
        send({.kind = KWEVENT_KEY, .value = key});
        if (std::exchange(last, spoken().position) == spoken().position) break;
    }
    send({.kind = KWEVENT_KEY_UP, .value = key});
}

QImage ControlWidget::paintedPart(LONG part, QSize size) const {
    const qreal ratio = devicePixelRatioF();
    QImage image((QSizeF(size) * ratio).toSize(), QImage::Format_ARGB32); // in memory: blue, green, red, alpha
    if (image.isNull()) return {};
    image.fill(Qt::transparent);
    if (FAILED(m_page.model().PaintPart(m_id, part, image.bits(), image.width(), image.height(),
                                        static_cast<LONG>(image.bytesPerLine()))))
        return {};
    image.setDevicePixelRatio(ratio);
    return image;
}

void ControlWidget::drawFocusRing(QPainter& painter) const {
    if (!hasFocus()) return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
    painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 2, 2);
}

bool ControlWidget::event(QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        // Arrows and the like are the control's before they are a shortcut of the program's.
        const auto key = pageKeyOf(static_cast<QKeyEvent&>(*event));
        const bool window = key == KWKEY_TAB || key == KWKEY_RETURN || key == KWKEY_F3 || key == KWKEY_F9;
        if (key && !window && (*key != KWKEY_ESCAPE || m_tracking)) event->accept();
        break;
    }
    case QEvent::KeyPress:
        if (const auto& key = static_cast<QKeyEvent&>(*event); pageKeyOf(key) == KWKEY_TAB)
            if (wantsTab() && sendKey(KWEVENT_KEY, key)) return true;
        break;
    case QEvent::EnabledChange:
    case QEvent::Hide:
    case QEvent::WindowDeactivate:
        cancel();
        break;
    default:
        break;
    }
    return QWidget::event(event);
}

void ControlWidget::cancel() {
    if (m_tracking) send({.kind = KWEVENT_CANCEL});
}

HRESULT ControlWidget::sendMouse(LONG kind, const QMouseEvent& event, LONG value) {
    const QPoint at = event.position().toPoint();
    return send(
        {.kind = kind, .x = at.x(), .y = at.y(), .value = value, .modifiers = pageModifiersOf(event.modifiers())});
}

void ControlWidget::mousePressEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        sendMouse(KWEVENT_PRESS, *event);
    else if (event->button() == Qt::RightButton)
        m_rightPressTaken = sendMouse(KWEVENT_RIGHT_PRESS, *event) == S_OK;
}

void ControlWidget::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton)
        sendMouse(KWEVENT_DOUBLE_PRESS, *event);
    else
        mousePressEvent(event);
}

void ControlWidget::mouseMoveEvent(QMouseEvent* event) {
    sendMouse(KWEVENT_MOVE, *event, event->buttons() & Qt::LeftButton ? 1 : 0);
}

void ControlWidget::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) sendMouse(KWEVENT_RELEASE, *event);
}

void ControlWidget::contextMenuEvent(QContextMenuEvent* event) {
    const bool taken = event->reason() == QContextMenuEvent::Mouse && m_rightPressTaken;
    m_rightPressTaken = false;
    event->setAccepted(taken); // the page's menu comes up for what is not taken
}

void ControlWidget::wheelEvent(QWheelEvent* event) {
    if (!wantsWheel()) return event->ignore();
    const QPoint at = event->position().toPoint(), turn = event->angleDelta();
    const int notches = turn.y() ? turn.y() : turn.x();
    const HRESULT taken = notches ? send({.kind = KWEVENT_WHEEL,
                                          .x = at.x(),
                                          .y = at.y(),
                                          .value = notches,
                                          .modifiers = pageModifiersOf(event->modifiers())})
                                  : S_OK;
    event->setAccepted(taken == S_OK);
}

bool ControlWidget::sendKey(LONG kind, const QKeyEvent& event) {
    const auto key = pageKeyOf(event);
    if (!key) return false;
    return send({.kind = kind, .value = *key, .modifiers = pageModifiersOf(event.modifiers())}) == S_OK;
}

void ControlWidget::keyPressEvent(QKeyEvent* event) {
    event->setAccepted(sendKey(KWEVENT_KEY, *event));
}

void ControlWidget::keyReleaseEvent(QKeyEvent* event) {
    // A key held down is let go once, whatever the repeat says.
    event->setAccepted(event->isAutoRepeat() || sendKey(KWEVENT_KEY_UP, *event));
}

void ControlWidget::focusInEvent(QFocusEvent* event) {
    send({.kind = KWEVENT_FOCUS});
    QWidget::focusInEvent(event);
}

void ControlWidget::focusOutEvent(QFocusEvent* event) {
    send({.kind = KWEVENT_BLUR});
    QWidget::focusOutEvent(event);
}

void ControlWidget::leaveEvent(QEvent*) {
    send({.kind = KWEVENT_LEAVE});
}

void ControlWidget::resizeEvent(QResizeEvent*) {
    send({.kind = KWEVENT_SIZE, .x = width(), .y = height()});
    refresh();
}

} // namespace larkmoor
