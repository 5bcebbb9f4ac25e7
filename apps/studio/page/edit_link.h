// An edit and its model.
#pragma once

#include <QObject>
#include <QString>

#include "control_widget.h"

class QLineEdit;
class QPlainTextEdit;

namespace larkmoor {

/// Carries what is typed into an edit to the model, and the model's text into the edit. A child of
/// the edit, to be deleted before it: an edit on its way out still loses the focus.
class EditLink : public QObject {
  public:
    /// `part`: of a colour picker, the number of the edit; else 0.
    EditLink(PageLink& page, LONG control, LONG part, QLineEdit& edit);
    EditLink(PageLink& page, LONG control, QPlainTextEdit& edit);

    /// Shows the model's text.
    void show(const QString& text);
    /// Lets the model read what was typed, as if the edit were left.
    void commit();
    /// Whether something is typed that the model has not read.
    QString text() const;
    bool isModified() const { return m_modified; }
    /// The spinner that takes up and down keys from the edit.
    void setSpinner(LONG id) { m_spinner = id; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    void attach(QWidget& edit);
    void setText(const QString& text);
    void selectAll();
    HRESULT send(LONG kind) { return m_page.sendEvent(m_control, {.kind = kind, .part = m_part}); }
    void typed();
    void restore();
    bool keyPressed(const QKeyEvent& event);
    bool isStep(const QKeyEvent& event) const;
    bool canUndo() const;
    bool canRedo() const;
    HRESULT sendKey(LONG kind, const QKeyEvent& event);

    PageLink& m_page;
    const LONG m_control, m_part;
    LONG m_spinner = 0;
    QLineEdit* m_line = nullptr;
    QPlainTextEdit* m_lines = nullptr;
    QString m_shown; ///< what Escape brings back
    bool m_modified = false;
};

} // namespace larkmoor
