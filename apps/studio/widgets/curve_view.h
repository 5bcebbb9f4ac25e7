// The way of one field's values over the frames, below the timeline and at its places.
#pragma once

#include <optional>

#include "widgets/key_lanes.h"

namespace larkmoor {

/// Shows the lane that is selected, a line for each number of its field, where its values can move. A drag of a key
/// changes its value or its frame, whichever way it sets out; Escape takes it back.
class CurveView : public KeyStrip {
    Q_OBJECT

  public:
    CurveView(KeyEditor& keys, KeyLanes& lanes, Timeline& timeline, QWidget* parent = nullptr);

    const tFieldInfo* selectedField() const override { return m_lanes.selectedField(); }
    void setWanted(bool wanted);
    /// Where a number stands at a frame, in the widget.
    QPointF pointOf(std::int64_t frame, double number) const;

    QSize sizeHint() const override { return {480, 110}; }
    QSize minimumSizeHint() const override { return {160, 110}; }

  protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    std::optional<std::int64_t> heldFrame() const override;

  private:
    enum class Drag { None, Open, Value, Frame };
    struct Dot {
        std::int64_t frame;
        std::vector<double> numbers;
    };

    void show();
    void endDrag(bool keep);

    KeyLanes& m_lanes;
    bool m_wanted = false;
    std::vector<Dot> m_dots; ///< the keys
    double m_least = 0, m_greatest = 1;
    Drag m_drag = Drag::None;
    std::optional<Dot> m_held; ///< as it was before the drag
    std::int64_t m_to = 0;     ///< the frame that it is dragged to
    QPointF m_pressedAt;
};

} // namespace larkmoor
