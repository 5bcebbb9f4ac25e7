// What hands do in the picture: zoom, pan, the split, an effect's handle, colors that are picked.
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

#include "widgets/picture_view.h"

namespace larkmoor {

namespace {

constexpr double kGrab = 6; // from the split line, logical pixels

QRgb pixelAt(const QImage& picture, QPointF point, QSize fullSize) {
    if (picture.isNull()) return 0;
    const int x = static_cast<int>(point.x() * picture.width() / fullSize.width());
    const int y = static_cast<int>(point.y() * picture.height() / fullSize.height());
    const QRgb stored = picture.pixel(std::clamp(x, 0, picture.width() - 1), std::clamp(y, 0, picture.height() - 1));
    return picture.format() == QImage::Format_ARGB32_Premultiplied ? qUnpremultiply(stored) : stored;
}

} // namespace

QPointF PictureView::splitHandle() const {
    const QRectF picture(toWidget({0, 0}), toWidget({double(fullSize().width()), double(fullSize().height())}));
    return {std::round(picture.left() + m_split * picture.width()), (picture & QRectF(rect())).center().y()};
}

bool PictureView::onSplit(QPointF position) const {
    if (m_mode != Mode::Split || fullSize().isEmpty()) return false;
    const QPointF from = position - splitHandle();
    return std::abs(from.x()) <= (std::abs(from.y()) <= kHandle ? kHandle : kGrab);
}

QRectF PictureView::logicalTarget() const {
    const QRect target = targetRect();
    const double ratio = devicePixelRatioF();
    return {QPointF(target.topLeft()) / ratio, QSizeF(target.size()) / ratio};
}

void PictureView::setHandle(const std::optional<PictureHandle>& handle) {
    m_handle = handle;
    update();
    updateCursor();
}

void PictureView::showHandle(bool on) {
    m_showHandle = on;
    update();
}

void PictureView::setPicking(bool on) {
    if (on == m_picking) return;
    m_picking = on;
    if (on) setFocus();
    update();
    updateCursor();
}

bool PictureView::onHandle(QPointF position) const {
    if (!m_handle || !m_showHandle || fullSize().isEmpty()) return false;
    const QPointF from = position - handlePoint(*m_handle, logicalTarget());
    return QPointF::dotProduct(from, from) <= kHandle * kHandle;
}

QPointF PictureView::partOf(QPointF position) const {
    const QRectF target = logicalTarget();
    return {(position.x() - target.left()) / target.width(), (position.y() - target.top()) / target.height()};
}

/// Of 5 by 5 pixels, as of those that are picked from the screen: noise of one is no color.
QColor PictureView::meanAround(QPointF position) const {
    const QPointF middle = toPicture(position);
    int red = 0, green = 0, blue = 0;
    for (int y = -2; y <= 2; ++y)
        for (int x = -2; x <= 2; ++x) {
            const QRgb pixel = pixelAt(m_after.picture, middle + QPointF(x, y), fullSize());
            red += qRed(pixel);
            green += qGreen(pixel);
            blue += qBlue(pixel);
        }
    return {(red + 12) / 25, (green + 12) / 25, (blue + 12) / 25};
}

void PictureView::reportHover() {
    if (!m_pointer) return;
    const QSize full = fullSize();
    const QPointF point = full.isEmpty() ? QPointF() : toPicture(*m_pointer);
    const QPoint pixel(static_cast<int>(std::floor(point.x())), static_cast<int>(std::floor(point.y())));
    if (full.isEmpty() || !QRect({0, 0}, full).contains(pixel)) {
        emit pixelHovered(pixel, 0, 0, false);
        return;
    }
    emit pixelHovered(pixel, pixelAt(m_before.picture, point, full), pixelAt(m_after.picture, point, full), true);
}

void PictureView::updateCursor() {
    if (m_drag == Drag::Pan)
        setCursor(Qt::ClosedHandCursor);
    else if (m_space)
        setCursor(Qt::OpenHandCursor);
    else if (m_picking)
        setCursor(Qt::CrossCursor);
    else if (m_drag == Drag::Handle || (m_pointer && onHandle(*m_pointer)))
        setCursor(Qt::SizeAllCursor);
    else if (m_drag == Drag::Split || (m_pointer && onSplit(*m_pointer)))
        setCursor(Qt::SplitHCursor);
    else
        unsetCursor();
}

bool PictureView::event(QEvent* event) {
    // The keys of this view come before those of the window while it has the focus.
    if (event->type() == QEvent::ShortcutOverride) {
        const auto* key = static_cast<QKeyEvent*>(event);
        if (key->key() == Qt::Key_Space && key->modifiers() == Qt::NoModifier) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

void PictureView::resizeEvent(QResizeEvent*) {
    changed();
    if (m_fit) emit zoomChanged(zoom(), true);
}

void PictureView::mousePressEvent(QMouseEvent* event) {
    if (m_drag != Drag::None) return;
    m_last = event->position();
    if (event->button() == Qt::MiddleButton || (event->button() == Qt::LeftButton && m_space)) {
        m_drag = Drag::Pan;
        m_spaceUsed = true;
    } else if (event->button() == Qt::LeftButton && m_picking) {
        const bool inside = QRectF({}, QSizeF(fullSize())).contains(toPicture(event->position()));
        if (inside && !m_after.picture.isNull()) emit picked(meanAround(event->position()));
    } else if (event->button() == Qt::LeftButton && onHandle(event->position())) {
        m_drag = Drag::Handle;
    } else if (event->button() == Qt::LeftButton && onSplit(event->position())) {
        m_drag = Drag::Split;
    }
    updateCursor();
}

void PictureView::mouseMoveEvent(QMouseEvent* event) {
    m_pointer = event->position();
    if (m_drag == Drag::Pan) {
        pan(deviceOf(event->position() - m_last));
    } else if (m_drag == Drag::Handle) {
        emit handleDragged(partOf(event->position()), false);
    } else if (m_drag == Drag::Split) {
        setSplit(toPicture(event->position()).x() / fullSize().width());
    }
    m_last = event->position();
    updateCursor();
    reportHover();
}

void PictureView::mouseReleaseEvent(QMouseEvent* event) {
    if (!(event->buttons() & (Qt::LeftButton | Qt::MiddleButton)) && std::exchange(m_drag, Drag::None) == Drag::Handle)
        emit handleDragged(partOf(event->position()), true);
    updateCursor();
}

void PictureView::leaveEvent(QEvent*) {
    if (m_pointer) emit pixelHovered({}, 0, 0, false);
    m_pointer.reset();
}

void PictureView::wheelEvent(QWheelEvent* event) {
    event->accept();
    const QPoint angle = event->angleDelta();
    if (event->modifiers() & Qt::ControlModifier) {
        // Fine wheels send parts of the 120 units that a notch has.
        m_wheelRest += angle.y();
        for (; std::abs(m_wheelRest) >= 120; m_wheelRest -= m_wheelRest > 0 ? 120 : -120)
            step(m_wheelRest > 0 ? 1 : -1, event->position());
    } else {
        QPointF delta = event->pixelDelta().isNull() ? QPointF(angle) * 0.5 : QPointF(event->pixelDelta());
        if (event->modifiers() & Qt::ShiftModifier && delta.x() == 0) delta = {delta.y(), 0};
        pan(deviceOf(delta));
    }
    m_pointer = event->position();
    reportHover();
}

void PictureView::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        zoomIn();
        break;
    case Qt::Key_Minus:
        zoomOut();
        break;
    case Qt::Key_0:
        setFit();
        break;
    case Qt::Key_1:
        setZoom(1);
        break;
    case Qt::Key_BracketLeft:
        setSplit(m_split - 0.02);
        break;
    case Qt::Key_BracketRight:
        setSplit(m_split + 0.02);
        break;
    case Qt::Key_Escape:
        if (!m_picking) return QWidget::keyPressEvent(event);
        emit picked({});
        break;
    case Qt::Key_Space:
        if (!event->isAutoRepeat()) {
            m_space = true;
            m_spaceUsed = false;
            updateCursor();
        }
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

void PictureView::keyReleaseEvent(QKeyEvent* event) {
    if (event->key() != Qt::Key_Space) {
        QWidget::keyReleaseEvent(event);
        return;
    }
    if (event->isAutoRepeat() || !m_space) return;
    m_space = false;
    updateCursor();
    if (!m_spaceUsed) emit spaceTapped();
}

void PictureView::focusInEvent(QFocusEvent*) {
    update();
}

void PictureView::focusOutEvent(QFocusEvent*) {
    m_space = false;
    updateCursor();
    update();
}

} // namespace larkmoor
