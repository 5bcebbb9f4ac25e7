#include "key_router.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QMenuBar>
#include <QPlainTextEdit>

#include "page/page_view.h"

namespace larkmoor {

QChar mnemonicOf(const QString& text) {
    const QKeySequence keys = QKeySequence::mnemonic(text);
    return keys.isEmpty() ? QChar() : QChar(keys[0].key()).toUpper();
}

namespace {

bool isUsable(const QWidget& widget) {
    return widget.isVisible() && widget.isEnabled();
}

/// What an Alt key does to a widget whose own text or label has it.
KeyRouter::Deed deedOf(QWidget* widget, QChar letter) {
    if (!isUsable(*widget)) return {};
    if (auto* const button = qobject_cast<QAbstractButton*>(widget); button && mnemonicOf(button->text()) == letter)
        return [button] {
            button->setFocus(Qt::ShortcutFocusReason);
            button->click();
        };
    const auto* const label = qobject_cast<QLabel*>(widget);
    if (label && label->buddy() && isUsable(*label->buddy()) && mnemonicOf(label->text()) == letter)
        return [buddy = label->buddy()] { buddy->setFocus(Qt::ShortcutFocusReason); };
    return {};
}

} // namespace

KeyRouter::KeyRouter(QMainWindow& window, std::function<PageView*()> page)
    : QObject(&window), m_window(window), m_page(std::move(page)) {
    qApp->installEventFilter(this);
}

bool KeyRouter::takesText(const QWidget* widget) {
    if (const auto* const line = qobject_cast<const QLineEdit*>(widget)) return !line->isReadOnly();
    const auto* const list = qobject_cast<const QComboBox*>(widget);
    return qobject_cast<const QPlainTextEdit*>(widget) || (list && list->isEditable()) ||
           (widget && widget->inherits("QAbstractSpinBox"));
}

bool KeyRouter::isEditing(const QKeyEvent& event) {
    const Qt::KeyboardModifiers held = event.modifiers() & ~Qt::KeypadModifier;
    if (held & Qt::AltModifier) return false;
    switch (event.key()) {
    case Qt::Key_Backspace:
    case Qt::Key_Delete:
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_Insert:
        return true;
    case Qt::Key_A:
    case Qt::Key_C:
    case Qt::Key_V:
    case Qt::Key_X:
        return held == Qt::ControlModifier;
    default:
        return false;
    }
}

KeyRouter::Deed KeyRouter::mnemonic(const QWidget& focus, QChar letter) const {
    PageView* const page = m_page();
    // Where several have the letter, the one behind the one with the focus.
    const auto among = [&](const QWidget& parent, bool inPage) -> Deed {
        Deed first, next;
        bool behind = false;
        for (QWidget* each : parent.findChildren<QWidget*>()) {
            if (!inPage && page && page->isAncestorOf(each)) continue;
            Deed deed = deedOf(each, letter);
            if (!deed) continue;
            if (behind && !next) next = deed;
            const auto* const label = qobject_cast<QLabel*>(each);
            behind |= &focus == (label ? label->buddy() : each);
            if (!first) first = std::move(deed);
        }
        return next ? next : first;
    };
    if (page && (page == &focus || page->isAncestorOf(&focus)))
        if (const Deed deed = among(*page, true)) return deed;
    for (QAction* menu : m_window.menuBar()->actions())
        if (mnemonicOf(menu->text()) == letter && menu->isEnabled())
            return [this, menu] { m_window.menuBar()->setActiveAction(menu); };
    if (const Deed deed = among(m_window, false)) return deed;
    return page ? among(*page, true) : Deed();
}

bool KeyRouter::eventFilter(QObject* watched, QEvent* event) {
    const bool asks = event->type() == QEvent::ShortcutOverride;
    if (!asks && event->type() != QEvent::KeyPress) return false;
    auto* const widget = qobject_cast<QWidget*>(watched);
    if (!widget || widget != QApplication::focusWidget()) return false;
    const QWidget* const top = widget->window();
    if (top != &m_window && !(qobject_cast<const QDockWidget*>(top) && top->parentWidget() == &m_window)) return false;

    auto& key = static_cast<QKeyEvent&>(*event);
    if (key.modifiers() == Qt::AltModifier && key.key() >= Qt::Key_A && key.key() <= Qt::Key_Z) {
        const Deed deed = mnemonic(*widget, QChar(key.key()));
        if (!deed) return false;
        event->accept();
        if (!asks) deed();
        return true;
    }
    if (takesText(widget)) {
        if (!asks) return false;
        if (isEditing(key)) {
            event->accept();
            return true;
        }
        // Some platforms give fields Ctrl+E and the like, which nobody expects.
        const bool letter = key.key() >= Qt::Key_A && key.key() <= Qt::Key_Z;
        if (key.modifiers() & Qt::ControlModifier && letter && key.key() != Qt::Key_Z && key.key() != Qt::Key_Y) {
            event->ignore();
            return true;
        }
        return false;
    }
    const auto film = m_film.find(key.key());
    if (film == m_film.end() || key.modifiers() != Qt::NoModifier) return false;
    event->accept();
    if (!asks) film->second();
    return true;
}

} // namespace larkmoor
