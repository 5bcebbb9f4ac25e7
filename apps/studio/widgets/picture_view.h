// The picture before and after the effects, to look at closely.
#pragma once

#include <QImage>
#include <QTimer>
#include <optional>

#include "host/surface.h"
#include "picture_handle.h"
#include "widgets/spoken.h"

namespace larkmoor {

/// The pixels of a surface without a copy; the image keeps the surface alive. Pictures of floats and empty handles give
/// a null image. Rows that run upwards are copied.
QImage imageOf(const Surface& surface);

/// Shows two pictures at one place. Coordinates called picture coordinates are pixels of the full picture.
///
/// Mouse: middle drag or space and drag pans, the wheel scrolls (with shift sideways), Ctrl and wheel zooms about the
/// pointer, the split line and an effect's handle are dragged. Keys: + and - zoom, 0 fits, 1 shows device pixels, [ and
/// ] move the split.
class PictureView : public SpokenWidget {
    Q_OBJECT

  public:
    enum class Mode { Before, After, Split };

    static constexpr double kHandle = 11; ///< radius of what is dragged, logical pixels
    static constexpr double kLeastZoom = 1.0 / 8, kMostZoom = 32;
    static constexpr int kIdleTime = 150; ///< milliseconds without a new picture until the smooth one is drawn

    explicit PictureView(QWidget* parent = nullptr);

    /// The pictures, either of which may be empty or of a reduced size; `pixelAspect` is a pixel's width over its
    /// height. Zoom and place stay. The pixels must not change while they are shown.
    void setPictures(Surface before, Surface after, double pixelAspect = 1.0);
    Spoken spoken() const override;

    /// The size at which pictures are shown, whatever their own; an empty size means that of the picture.
    void setFullSize(QSize size);
    QSize fullSize() const;

    void setMode(Mode mode);
    Mode mode() const { return m_mode; }

    /// Where the split line stands, 0 to 1 of the width. Before is left of it.
    void setSplit(double split);
    double split() const { return m_split; }

    void setAlphaView(bool on); ///< alpha as grey
    void setSafeFrames(bool on);
    bool alphaView() const { return m_alphaView; }
    bool safeFrames() const { return m_safeFrames; }

    /// Device pixels for each row of the picture.
    double zoom() const { return m_fit ? fitZoom() : m_zoom; }
    bool isFit() const { return m_fit; }
    void setFit();
    /// Any zoom within the limits; the picture stays in place under `about`, by default the widget's centre.
    void setZoom(double zoom, std::optional<QPointF> about = {});
    void zoomIn(std::optional<QPointF> about = {});
    void zoomOut(std::optional<QPointF> about = {});

    /// What of an effect can be dragged; none for nothing. A drag tells where it is wanted, and whoever listens sets it
    /// there.
    void setHandle(const std::optional<PictureHandle>& handle);
    const std::optional<PictureHandle>& handle() const { return m_handle; }
    void showHandle(bool on);
    /// The next click takes a color of the picture after the effects, in place of all else; Escape gives up.
    void setPicking(bool on);
    bool isPicking() const { return m_picking; }

    QPointF toPicture(QPointF position) const;
    QPointF toWidget(QPointF point) const;

    /// Draws the pictures smoothly now, without waiting to be idle.
    void refine();

    QSize sizeHint() const override { return {640, 360}; }
    QSize minimumSizeHint() const override { return {160, 90}; }

  signals:
    void zoomChanged(double zoom, bool fit);
    void splitChanged(double split);
    /// Straight (not premultiplied) values of the pixel under the pointer; a missing picture gives 0.
    void pixelHovered(QPoint point, QRgb before, QRgb after, bool inside);
    /// In parts of the picture. The last one of a drag is `final`.
    void handleDragged(QPointF at, bool final);
    /// The mean around the pixel that was clicked; an invalid one where the user gave up.
    void picked(QColor color);
    /// Space was pressed and let go without a drag.
    void spaceTapped();

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
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

  private:
    enum class Drag { None, Pan, Split, Handle };

    /// A picture and what was made of it for the screen.
    struct Layer {
        QImage picture;
        QImage alpha;  ///< alpha as grey, made when first shown
        QImage smooth; ///< reduced to `smoothSize` with all pixels weighed
        bool smoothAlpha = false;
    };

    double fitZoom() const;
    QSizeF scale() const;     ///< device pixels for each pixel of the full picture
    QPointF origin() const;   ///< of the picture, in whole device pixels
    QRect targetRect() const; ///< of the picture, in device pixels
    QPointF deviceOf(QPointF position) const;
    void changed(); ///< place or look changed
    void clampCentre();
    void pan(QPointF deviceDelta);
    void step(int direction, std::optional<QPointF> about);
    const QImage& shown(Layer& layer) const;
    void paintLayer(QPainter& painter, Layer& layer, const QRect& target, const QRect& clip);
    void paintSplit(QPainter& painter, const QRectF& target) const;
    QPointF splitHandle() const;
    bool onSplit(QPointF position) const;
    bool onHandle(QPointF position) const;
    QRectF logicalTarget() const;
    QPointF partOf(QPointF position) const;
    QColor meanAround(QPointF position) const;
    void reportHover();
    void updateCursor();

    Layer m_before, m_after;
    double m_pixelAspect = 1;
    QSize m_fullSize;
    Mode m_mode = Mode::After;
    double m_split = 0.5;
    bool m_alphaView = false, m_safeFrames = false;
    bool m_fit = true;
    double m_zoom = 1;
    QPointF m_centre; ///< picture coordinates at the widget's centre, used when not fit
    QTimer m_idle;
    bool m_smooth = false;
    Drag m_drag = Drag::None;
    std::optional<PictureHandle> m_handle;
    bool m_showHandle = true, m_picking = false;
    bool m_space = false, m_spaceUsed = false;
    QPointF m_last; ///< of a drag
    std::optional<QPointF> m_pointer;
    int m_wheelRest = 0;
};

} // namespace larkmoor
