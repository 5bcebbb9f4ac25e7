// A trackbar of a page.
#pragma once

#include "control_widget.h"

namespace larkmoor {

/// Draws channel, thumb and the mark of the default position where the model has them.
class TrackbarWidget : public ControlWidget {
  public:
    using ControlWidget::ControlWidget;

  protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace larkmoor
