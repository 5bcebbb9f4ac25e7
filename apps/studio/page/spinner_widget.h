// The pair of buttons beside an edit.
#pragma once

#include "control_widget.h"
#include "edit_link.h"

namespace larkmoor {

/// Leaves the focus to its edit, which a press gives it.
class SpinnerWidget : public ControlWidget {
  public:
    SpinnerWidget(PageLink& page, LONG id, QWidget* parent);
    void setBuddy(QWidget* edit, EditLink* link);
    Spoken spoken() const override;

  protected:
    bool wantsWheel() const override { return m_edit && m_edit->hasFocus(); }
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override { mousePressEvent(event); }
    void wheelEvent(QWheelEvent* event) override;

  private:
    QWidget* m_edit = nullptr;
    EditLink* m_link = nullptr;
};

} // namespace larkmoor
