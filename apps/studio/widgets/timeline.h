// Frames in a row: playhead, in and out points, the overlap of a transition.
#pragma once

#include <QScrollBar>
#include <functional>
#include <optional>

#include "widgets/spoken.h"

namespace larkmoor {

/// Frames from `from` up to and with `to`.
struct FrameRange {
    int from = 0, to = 0;
    bool operator==(const FrameRange&) const = default;
};

/// Setters limit what they are given to the frames there are, and send no signals; people's doings send them.
///
/// Mouse: a press or drag scrubs; the in and out handles are dragged, Escape takes a drag back; the
/// wheel zooms about the pointer, with shift it scrolls. Keys: Left, Right (with shift ten frames), Page Up and Page
/// Down (a second), Home, End; I and O set in and out at the playhead; + - 0 zoom.
class Timeline : public SpokenWidget {
    Q_OBJECT

  public:
    explicit Timeline(QWidget* parent = nullptr);

    /// Also sets in and out to the ends, and shows all.
    void setFrameCount(int count);
    int frameCount() const { return m_count; }

    void setFrame(int frame);
    int frame() const { return m_frame; }

    void setInOut(int in, int out);
    FrameRange inOut() const { return m_inOut; }

    void setOverlap(std::optional<FrameRange> overlap);

    /// Frames a second, for round ticks and the page keys; 25 at first.
    void setFrameRate(double rate);

    /// Labels of frames; the plain number at first.
    void setTimeFormat(std::function<QString(qint64 frame)> format);

    /// 1 shows all; up to where a frame is 64 pixels wide. The frame under `x` stays.
    void setZoom(double zoom, double x);
    double zoom() const { return m_zoom; }

    /// Where things are, in widget coordinates: a frame's middle, the handles' centres.
    double xOfFrame(int frame) const;
    int frameAt(double x) const;
    QPointF inHandle() const;
    QPointF outHandle() const;

    Spoken spoken() const override;
    void moveTo(int frame) override;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

  signals:
    void frameChanged(int frame);
    void scrubbing(bool active);
    void inOutChanged(int in, int out, bool final);
    /// The places of frames, or the playhead.
    void viewChanged();

  protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    enum class Part { None, Playhead, In, Out };

    /// Heights in logical pixels, from the font.
    struct Lanes {
        QRectF ruler, track;
    };

    Lanes lanes() const;
    double perFrame() const;
    double edgeOf(double frame) const; ///< the left edge of a frame, which need not be whole
    Part partAt(QPointF position) const;
    void dragTo(double x);
    void endDrag(bool keep);
    void changeInOut(FrameRange inOut, bool final);
    void layOut();
    void reveal(int frame);
    int tickStep(double leastWidth) const;
    QString timeText(int frame) const;
    QString textOf(Part part, int frame) const;
    void paintRuler(QPainter& painter, const QRectF& lane) const;
    void paintTrack(QPainter& painter, const QRectF& lane) const;
    void paintPlayhead(QPainter& painter, const Lanes& lanes) const;

    int m_count = 0, m_frame = 0;
    FrameRange m_inOut;
    std::optional<FrameRange> m_overlap;
    double m_rate = 25;
    std::function<QString(qint64)> m_format;
    double m_zoom = 1, m_first = 0; ///< `m_first` is the frame at the left, which need not be whole
    QScrollBar* m_scroll;
    Part m_drag = Part::None, m_hover = Part::None;
    double m_grab = 0; ///< from the pointer to what a drag moves
    FrameRange m_beforeDrag;
    int m_frameBeforeDrag = 0;
};

} // namespace larkmoor
