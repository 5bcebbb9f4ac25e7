// A hand on a widget of the studio: it shows it, turns the wheel over it and drags on it.
#pragma once

#include <QTest>
#include <QWheelEvent>

namespace larkmoor {

template <typename Widget>
void present(Widget& widget, QSize size) {
    widget.resize(size);
    widget.show();
    QCoreApplication::processEvents();
}

inline void turnWheel(QWidget& widget, QPointF at, int units, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWheelEvent event(at, widget.mapToGlobal(at), {}, {0, units}, Qt::NoButton, modifiers, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void sendMouse(QWidget& widget, QEvent::Type type, QPointF at, Qt::MouseButton button, Qt::MouseButtons held,
                      Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QMouseEvent event(type, at, widget.mapToGlobal(at), button, held, modifiers);
    QCoreApplication::sendEvent(&widget, &event);
}

inline void drag(QWidget& widget, QPointF from, QPointF to, Qt::MouseButton button = Qt::LeftButton,
                 bool release = true, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    sendMouse(widget, QEvent::MouseButtonPress, from, button, button, modifiers);
    sendMouse(widget, QEvent::MouseMove, (from + to) / 2, Qt::NoButton, button, modifiers);
    sendMouse(widget, QEvent::MouseMove, to, Qt::NoButton, button, modifiers);
    if (release) sendMouse(widget, QEvent::MouseButtonRelease, to, button, Qt::NoButton, modifiers);
}

} // namespace larkmoor
