#include "edit_link.h"

#include <QKeyEvent>
#include <QLineEdit>
#include <QLocale>
#include <QPlainTextEdit>
#include <QSignalBlocker>
#include <QWheelEvent>

#include "typed_number.h"

namespace larkmoor {

EditLink::EditLink(PageLink& page, LONG control, LONG part, QLineEdit& edit)
    : QObject(&edit), m_page(page), m_control(control), m_part(part), m_line(&edit) {
    connect(&edit, &QLineEdit::textEdited, this, [this] { typed(); });
    edit.installEventFilter(this);
}

EditLink::EditLink(PageLink& page, LONG control, QPlainTextEdit& edit)
    : QObject(&edit), m_page(page), m_control(control), m_part(0), m_lines(&edit) {
    connect(&edit, &QPlainTextEdit::textChanged, this, [this] { typed(); });
    edit.installEventFilter(this);
}

QString EditLink::text() const {
    return m_line ? m_line->text() : m_lines->toPlainText();
}

void EditLink::setText(const QString& text) {
    const QSignalBlocker quiet(m_line ? static_cast<QObject*>(m_line) : m_lines);
    if (m_line)
        m_line->setText(text);
    else
        m_lines->setPlainText(text);
}

void EditLink::selectAll() {
    if (m_line)
        m_line->selectAll();
    else
        m_lines->selectAll();
}

void EditLink::show(const QString& shown) {
    QString text = shown;
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));
    if (!m_modified) m_shown = text;
    if (text == this->text()) return;
    setText(text);
    // A number that changed under the cursor is there to be typed over.
    if (m_line && m_line->hasFocus() && !m_modified) selectAll();
}

void EditLink::typed() {
    m_modified = true;
    // The model drops a mark that is not its own: 1,5 would be 15.
    const QByteArray utf8 = (m_line ? inOwnStyle(text(), QLocale::system().decimalPoint().at(0)) : text()).toUtf8();
    m_page.sendEvent(m_control, {.kind = KWEVENT_TEXT, .part = m_part, .text = utf8.constData()});
}

void EditLink::commit() {
    if (!m_modified) return;
    m_modified = false;
    send(KWEVENT_BLUR);
    send(KWEVENT_FOCUS);
    m_shown = text();
    if (m_line) setText(m_shown); // what was taken is the window's to undo
}

void EditLink::restore() {
    setText(m_shown);
    typed(); // the model is to hold the old text as well
    m_modified = false;
    selectAll();
}

// A key that counts the number up or down.
bool EditLink::isStep(const QKeyEvent& event) const {
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
        return m_spinner || m_part;
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return m_spinner;
    case Qt::Key_Home:
    case Qt::Key_End:
        return m_spinner && event.modifiers() & Qt::ControlModifier;
    default:
        return false;
    }
}

HRESULT EditLink::sendKey(LONG kind, const QKeyEvent& event) {
    const auto key = pageKeyOf(event);
    if (!key) return S_FALSE;
    return m_page.sendEvent(
        m_spinner ? m_spinner : m_control,
        {.kind = kind, .value = *key, .modifiers = pageModifiersOf(event.modifiers()), .part = m_part});
}

bool EditLink::keyPressed(const QKeyEvent& event) {
    if (isStep(event)) {
        if (m_spinner) commit(); // steps start from the number that is seen
        m_modified = false;
        sendKey(KWEVENT_KEY, event);
        return true;
    }
    switch (event.key()) {
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (!m_line) return false;
        commit();
        selectAll();
        return true;
    case Qt::Key_Escape:
        if (!m_modified) return false;
        restore();
        return true;
    default:
        return false;
    }
}

bool EditLink::canUndo() const {
    return m_line ? m_line->isUndoAvailable() : m_lines->document()->isUndoAvailable();
}
bool EditLink::canRedo() const {
    return m_line ? m_line->isRedoAvailable() : m_lines->document()->isRedoAvailable();
}

bool EditLink::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::ShortcutOverride: {
        const auto& key = static_cast<QKeyEvent&>(*event);
        if (isStep(key) || (key.key() == Qt::Key_Escape && m_modified)) {
            event->accept();
            return true;
        }
        // With nothing of its own to take back the edit leaves these keys to the window.
        if ((key.matches(QKeySequence::Undo) && !canUndo()) || (key.matches(QKeySequence::Redo) && !canRedo())) {
            event->ignore();
            return true;
        }
        break;
    }
    case QEvent::KeyPress:
        if (keyPressed(static_cast<QKeyEvent&>(*event))) return true;
        break;
    case QEvent::KeyRelease:
        // Ctrl may come up before the key that it was held for: the model knows which one is down.
        if (const auto& key = static_cast<QKeyEvent&>(*event); (m_spinner || m_part) && !key.isAutoRepeat())
            sendKey(KWEVENT_KEY_UP, key);
        break;
    case QEvent::Wheel:
        if (m_spinner && m_line->hasFocus()) {
            const auto& wheel = static_cast<QWheelEvent&>(*event);
            commit();
            m_page.sendEvent(m_spinner, {.kind = KWEVENT_WHEEL,
                                         .value = wheel.angleDelta().y(),
                                         .modifiers = pageModifiersOf(wheel.modifiers())});
            event->accept();
            return true;
        }
        break;
    case QEvent::MouseButtonDblClick:
        // A number is one word, whatever the mark between its digits.
        if (!m_line) break;
        selectAll();
        return true;
    case QEvent::FocusIn:
        if (static_cast<QFocusEvent&>(*event).reason() != Qt::PopupFocusReason) send(KWEVENT_FOCUS);
        break;
    case QEvent::FocusOut:
        // The edit's own menu is no leaving.
        if (static_cast<QFocusEvent&>(*event).reason() == Qt::PopupFocusReason) break;
        m_modified = false;
        send(KWEVENT_BLUR);
        m_shown = text();
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace larkmoor
