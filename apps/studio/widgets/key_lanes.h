// The keys of an effect field by field, below the timeline and at its places.
#pragma once

#include <optional>

#include "widgets/key_strip.h"

namespace larkmoor {

/// Mouse: a click on a lane selects it, one on a key takes the playhead there; a drag moves a key, with Ctrl it leaves
/// a copy behind. Keys: Delete removes the selected key, Ctrl+C and Ctrl+V set it at the playhead, Ctrl+Left and
/// Ctrl+Right move it by a frame, Up and Down go through the lanes. No lanes, no height.
class KeyLanes : public KeyStrip {
    Q_OBJECT

  public:
    KeyLanes(KeyEditor& keys, Timeline& timeline, QWidget* parent = nullptr);

    const tFieldInfo* selectedField() const override;
    /// The middle of a key of a lane, in the widget.
    QPointF keyPoint(int lane, std::int64_t frame) const;
    /// Where a lane's name stands: in the first gap between its keys that has room for it.
    QRectF namePlace(int lane) const;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return {160, sizeHint().height()}; }

  signals:
    void fieldSelected();

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    std::optional<std::int64_t> heldFrame() const override { return m_selected; }

  private:
    void show();
    QString nameOfLane(int lane) const;
    void select(int lane, std::optional<std::int64_t> frame);
    std::optional<std::int64_t> keyAt(QPointF position) const;

    Curves m_lanes;
    int m_lane = 0;
    std::optional<std::int64_t> m_selected, m_dragged, m_copied;
    double m_pressedAt = 0;
};

} // namespace larkmoor
