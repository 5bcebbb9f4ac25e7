#include "widgets/picture_view.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <utility>

#include "widgets/checkerboard.h"
#include "widgets/safe_frames.h"

namespace larkmoor {
namespace {

constexpr std::array kSteps{1 / 8.0, 1 / 6.0, 1 / 4.0, 1 / 3.0, 1 / 2.0, 2 / 3.0, 1.0,  1.5, 2.0,
                            3.0,     4.0,     6.0,     8.0,     12.0,    16.0,    24.0, 32.0};
constexpr double kNearestFrom = 2.0; // zoom from which single pixels shall be seen

QImage greyOfAlpha(const QImage& picture) {
    QImage grey(picture.size(), QImage::Format_RGB32);
    for (int y = 0; y < picture.height(); ++y) {
        const auto* from = reinterpret_cast<const QRgb*>(picture.constScanLine(y));
        auto* to = reinterpret_cast<QRgb*>(grey.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) to[x] = 0xff000000u | (from[x] >> 24) * 0x010101u;
    }
    return grey;
}

/// Painters sum up to other colors altogether where one is beyond its alpha, as of clips brighter than white.
QImage withinAlpha(QImage image) {
    if (image.format() != QImage::Format_ARGB32_Premultiplied) return image;
    const int width = image.width();
    for (int y = 0; y < image.height(); ++y) {
        const auto* is = reinterpret_cast<const QRgb*>(image.constScanLine(y));
        QRgb all = ~QRgb{0}; // most pictures are opaque, and each comes by here
        for (int x = 0; x < width; ++x) all &= is[x];
        const auto isBeyond = [](QRgb p) {
            const int alpha = qAlpha(p);
            return qRed(p) > alpha || qGreen(p) > alpha || qBlue(p) > alpha;
        };
        if (qAlpha(all) == 255 || std::none_of(is, is + width, isBeyond)) continue;
        uchar* const to = image.scanLine(y); // of a copy from here on
        for (int i = 0; i < 4 * width; ++i) to[i] = std::min(to[i], to[i | 3]);
    }
    return image;
}

} // namespace

QImage imageOf(const Surface& surface) {
    if (!surface || surface.view().format == PixelFormat::Float128) return {};
    const ImageView view = surface.view();
    const auto format =
        view.format == PixelFormat::Argb32 ? QImage::Format_ARGB32 : QImage::Format_ARGB32_Premultiplied;
    if (view.stride < 0) {
        QImage copy(view.width, view.height, format);
        for (int y = 0; y < copy.height(); ++y)
            std::copy_n(view.data + y * view.stride, std::ptrdiff_t{4} * view.width,
                        reinterpret_cast<std::byte*>(copy.scanLine(y)));
        return withinAlpha(copy);
    }
    auto keeper = std::make_unique<Surface>(surface);
    // A pointer to constant memory makes the image copy before it would ever write.
    QImage image(
        reinterpret_cast<const uchar*>(view.data), view.width, view.height, view.stride, format,
        [](void* kept) { delete static_cast<Surface*>(kept); }, keeper.get());
    if (!image.isNull()) keeper.release();
    return withinAlpha(std::move(image));
}

PictureView::PictureView(QWidget* parent) : SpokenWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(tr("Picture"));
    m_idle.setSingleShot(true);
    m_idle.setInterval(kIdleTime);
    connect(&m_idle, &QTimer::timeout, this, &PictureView::refine);
}

Spoken PictureView::spoken() const {
    const QSize size = fullSize();
    return {QAccessible::Graphic,
            size.isEmpty() ? tr("none") : tr("%1 × %2 pixels").arg(size.width()).arg(size.height())};
}

void PictureView::setPictures(Surface before, Surface after, double pixelAspect) {
    const QSize earlier = fullSize();
    m_before = {imageOf(before), {}, {}};
    m_after = {imageOf(after), {}, {}};
    m_pixelAspect = pixelAspect > 0.05 && pixelAspect < 20 ? pixelAspect : 1.0;
    if (fullSize() != earlier && !earlier.isEmpty() && !fullSize().isEmpty())
        m_centre = {m_centre.x() * fullSize().width() / earlier.width(),
                    m_centre.y() * fullSize().height() / earlier.height()};
    changed();
    reportHover();
}

void PictureView::setFullSize(QSize size) {
    if (size == m_fullSize) return;
    m_fullSize = size;
    changed();
}

QSize PictureView::fullSize() const {
    if (!m_fullSize.isEmpty()) return m_fullSize;
    const QSize before = m_before.picture.size(), after = m_after.picture.size();
    return after.isEmpty() ? before : after;
}

void PictureView::setMode(Mode mode) {
    if (mode == m_mode) return;
    m_mode = mode;
    changed();
}

void PictureView::setSplit(double split) {
    split = split >= 0 ? std::min(split, 1.0) : 0.0;
    if (split == m_split) return;
    m_split = split;
    update();
    emit splitChanged(m_split);
}

void PictureView::setAlphaView(bool on) {
    if (on == m_alphaView) return;
    m_alphaView = on;
    changed();
}

void PictureView::setSafeFrames(bool on) {
    m_safeFrames = on;
    update();
}

void PictureView::setFit() {
    m_fit = true;
    changed();
    emit zoomChanged(zoom(), true);
}

void PictureView::setZoom(double zoom, std::optional<QPointF> about) {
    if (fullSize().isEmpty() || !(zoom > 0)) return;
    const QPointF at = about.value_or(QRectF(rect()).center());
    const QPointF point = toPicture(at);
    m_zoom = std::clamp(zoom, kLeastZoom, kMostZoom);
    m_fit = false;
    const QPointF offset = deviceOf(at) - deviceOf(QRectF(rect()).center());
    m_centre = point - QPointF(offset.x() / scale().width(), offset.y() / scale().height());
    clampCentre();
    changed();
    emit zoomChanged(m_zoom, false);
}

void PictureView::step(int direction, std::optional<QPointF> about) {
    const double now = zoom(), slack = 1 + direction * 1e-6;
    if (direction > 0) {
        const auto next = std::upper_bound(kSteps.begin(), kSteps.end(), now * slack);
        if (next != kSteps.end()) setZoom(*next, about);
    } else {
        const auto next = std::lower_bound(kSteps.begin(), kSteps.end(), now * slack);
        if (next != kSteps.begin()) setZoom(*std::prev(next), about);
    }
}

void PictureView::zoomIn(std::optional<QPointF> about) {
    step(1, about);
}

void PictureView::zoomOut(std::optional<QPointF> about) {
    step(-1, about);
}

double PictureView::fitZoom() const {
    const QSize full = fullSize();
    if (full.isEmpty()) return 1;
    const QSizeF room = QSizeF(size()) * devicePixelRatioF();
    return std::clamp(std::min(room.width() / (full.width() * m_pixelAspect), room.height() / full.height()), 1e-4,
                      kMostZoom);
}

QSizeF PictureView::scale() const {
    return {zoom() * m_pixelAspect, zoom()};
}

QPointF PictureView::deviceOf(QPointF position) const {
    return position * devicePixelRatioF();
}

// Whole device pixels, so that at whole zooms every pixel of the picture is one crisp block.
QPointF PictureView::origin() const {
    const QSize full = fullSize();
    const QPointF centre = m_fit ? QPointF(full.width() / 2.0, full.height() / 2.0) : m_centre;
    const QPointF middle = deviceOf(QRectF(rect()).center());
    return {std::round(middle.x() - centre.x() * scale().width()),
            std::round(middle.y() - centre.y() * scale().height())};
}

QRect PictureView::targetRect() const {
    const QSize full = fullSize();
    return {origin().toPoint(), QSize(std::max(1, qRound(full.width() * scale().width())),
                                      std::max(1, qRound(full.height() * scale().height())))};
}

QPointF PictureView::toPicture(QPointF position) const {
    const QPointF at = deviceOf(position) - origin();
    return {at.x() / scale().width(), at.y() / scale().height()};
}

QPointF PictureView::toWidget(QPointF point) const {
    return (origin() + QPointF(point.x() * scale().width(), point.y() * scale().height())) / devicePixelRatioF();
}

void PictureView::changed() {
    m_smooth = false;
    m_idle.start();
    update();
    updateCursor();
}

// The widget's centre stays over the picture.
void PictureView::clampCentre() {
    const QSize full = fullSize();
    m_centre = {std::clamp(m_centre.x(), 0.0, double(full.width())),
                std::clamp(m_centre.y(), 0.0, double(full.height()))};
}

void PictureView::pan(QPointF deviceDelta) {
    if (fullSize().isEmpty()) return;
    if (m_fit) {
        m_zoom = fitZoom();
        m_centre = QPointF(fullSize().width() / 2.0, fullSize().height() / 2.0);
        m_fit = false;
        emit zoomChanged(m_zoom, false);
    }
    m_centre -= QPointF(deviceDelta.x() / scale().width(), deviceDelta.y() / scale().height());
    clampCentre();
    changed();
    reportHover();
}

const QImage& PictureView::shown(Layer& layer) const {
    if (!m_alphaView || layer.picture.isNull()) return layer.picture;
    if (layer.alpha.isNull()) layer.alpha = greyOfAlpha(layer.picture);
    return layer.alpha;
}

void PictureView::refine() {
    m_idle.stop();
    if (m_smooth) return;
    m_smooth = true;
    update();
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const QColor around =
        palette().color(QPalette::Window).darker(palette().color(QPalette::Window).value() > 127 ? 125 : 160);
    if (fullSize().isEmpty()) {
        painter.fillRect(rect(), around);
    } else {
        const double ratio = devicePixelRatioF();
        painter.scale(1 / ratio, 1 / ratio);
        const QRect room(0, 0, qCeil(width() * ratio), qCeil(height() * ratio));
        const QRect target = targetRect(), visible = target & room;
        painter.setClipRegion(QRegion(room) - visible);
        painter.fillRect(room, around);
        painter.setClipping(false);
        if (!m_alphaView) {
            painter.setBrushOrigin(target.topLeft());
            painter.fillRect(visible, checkerboard(qRound(8 * ratio)));
        }
        if (m_mode == Mode::Split) {
            const int line = target.left() + qRound(m_split * target.width());
            paintLayer(painter, m_before, target,
                       visible & QRect(QPoint(target.left(), room.top()), QPoint(line - 1, room.bottom())));
            paintLayer(painter, m_after, target,
                       visible & QRect(QPoint(line, room.top()), QPoint(target.right(), room.bottom())));
        } else {
            paintLayer(painter, m_mode == Mode::Before ? m_before : m_after, target, visible);
        }
        painter.resetTransform();
        const QRectF logical = logicalTarget();
        if (m_safeFrames) paintSafeFrames(painter, logical);
        if (m_mode == Mode::Split) paintSplit(painter, logical);
        if (m_handle && m_showHandle && !m_picking) paintHandle(painter, *m_handle, logical);
    }
    if (hasFocus()) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(palette().color(QPalette::Highlight), 1));
        painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    }
}

void PictureView::paintLayer(QPainter& painter, Layer& layer, const QRect& target, const QRect& clip) {
    const QImage& image = shown(layer);
    if (image.isNull() || clip.isEmpty()) return;
    painter.save();
    painter.setClipRect(clip);
    const bool smooth = m_smooth && zoom() < kNearestFrom && target.size() != image.size();
    if (smooth && target.width() < image.width() && target.height() < image.height()) {
        if (layer.smooth.size() != target.size() || layer.smoothAlpha != m_alphaView) {
            layer.smooth = image.scaled(target.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
            layer.smoothAlpha = m_alphaView;
        }
        painter.drawImage(target.topLeft(), layer.smooth);
    } else {
        painter.setRenderHint(QPainter::SmoothPixmapTransform, smooth);
        // Only the pixels that are seen: far into a picture the whole target would not fit the painter's numbers.
        const double across = double(target.width()) / image.width(), down = double(target.height()) / image.height();
        const int left = std::max(0, static_cast<int>((clip.left() - target.left()) / across) - 1);
        const int top = std::max(0, static_cast<int>((clip.top() - target.top()) / down) - 1);
        const int right = std::min(image.width(), static_cast<int>((clip.right() - target.left()) / across) + 3);
        const int bottom = std::min(image.height(), static_cast<int>((clip.bottom() - target.top()) / down) + 3);
        const QRectF source(left, top, right - left, bottom - top);
        const QRectF place(target.left() + left * across, target.top() + top * down, (right - left) * across,
                           (bottom - top) * down);
        painter.drawImage(place, image, source);
    }
    painter.restore();
}

void PictureView::paintSplit(QPainter& painter, const QRectF& target) const {
    const QRectF seen = target & QRectF(rect());
    const QPointF middle = splitHandle();
    const double x = middle.x();
    if (seen.isEmpty() || x < -20 || x > width() + 20) return;
    painter.fillRect(QRectF(x - 1.5, seen.top(), 3, seen.height()), QColor(0, 0, 0, 140));
    painter.fillRect(QRectF(x - 0.5, seen.top(), 1, seen.height()), Qt::white);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0, 0, 0, 140), 1));
    painter.setBrush(Qt::white);
    painter.drawEllipse(middle, kHandle, kHandle);
    painter.setPen(QPen(QColor(60, 60, 60), 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    for (const int side : {-1, 1}) {
        const QPointF tip = middle + QPointF(side * 7, 0);
        painter.drawPolyline(QPolygonF{tip + QPointF(-side * 4, -4), tip, tip + QPointF(-side * 4, 4)});
    }
    painter.setRenderHint(QPainter::Antialiasing, false);
}

} // namespace larkmoor
