// The band across the top of a page.
#pragma once

#include "control_widget.h"

namespace larkmoor {

/// Caption at the left, links at the right. Links are reached by keys through the page's menu.
class LogoWidget : public ControlWidget {
  public:
    LogoWidget(PageLink& page, LONG id, QWidget* parent);
    QSize minimumSizeHint() const override;
    Spoken spoken() const override;

  protected:
    void mouseMoveEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

  private:
    QFont captionFont() const;
};

} // namespace larkmoor
