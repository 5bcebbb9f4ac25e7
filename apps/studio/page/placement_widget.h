// The area on which a page's handles are moved.
#pragma once

#include "control_widget.h"

namespace larkmoor {

class PlacementWidget : public ControlWidget {
  public:
    using ControlWidget::ControlWidget;

    Spoken spoken() const override;

  protected:
    bool wantsTab() const override { return true; }
    void paintEvent(QPaintEvent* event) override;
};

} // namespace larkmoor
