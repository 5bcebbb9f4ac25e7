#include "widgets/curve_view.h"

#include <QKeyEvent>
#include <QLocale>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <cmath>

namespace larkmoor {

namespace {

constexpr double kEdge = 12, kReach = 8, kSlop = 3, kDot = 4; ///< logical pixels
constexpr int kStep = 2;                                      ///< logical pixels between samples of a curve

} // namespace

CurveView::CurveView(KeyEditor& keys, KeyLanes& lanes, Timeline& timeline, QWidget* parent)
    : KeyStrip(keys, timeline, parent), m_lanes(lanes) {
    setFocusPolicy(Qt::ClickFocus);
    setAccessibleName(tr("Curve"));
    connect(&keys, &KeyEditor::changed, this, &CurveView::show);
    connect(&m_lanes, &KeyLanes::fieldSelected, this, &CurveView::show);
    show();
}

std::optional<std::int64_t> CurveView::heldFrame() const {
    return m_held ? std::optional(m_held->frame) : std::nullopt;
}

void CurveView::setWanted(bool wanted) {
    m_wanted = wanted;
    show();
}

void CurveView::show() {
    const tFieldInfo* const field = selectedField();
    m_dots.clear();
    if (field && canMove(*field)) {
        const Curves& curves = keys().curves();
        std::vector<std::int64_t> frames;
        if (const Curve* const curve = findCurve(curves, *field))
            for (const Key& key : curve->keys) frames.push_back(key.frame);
        const std::vector<std::vector<double>> numbers = keys().numbers(*field, frames);
        for (std::size_t i = 0; i < numbers.size(); ++i) m_dots.push_back({frames[i], numbers[i]});
    }
    setVisible(m_wanted && !m_dots.empty());
    if (!m_dots.empty() && m_drag == Drag::None) { // while it is dragged, the scale stays
        m_least = INFINITY;
        m_greatest = -INFINITY;
        for (const Dot& dot : m_dots)
            for (const double number : dot.numbers) {
                m_least = std::min(m_least, number);
                m_greatest = std::max(m_greatest, number);
            }
        // Room to drag into, as far as the field goes.
        const double room = std::max((m_greatest - m_least) / 2, (field->maximum - field->minimum) / 10);
        m_least = std::max(m_least - room, std::min(field->minimum, m_least));
        m_greatest = std::min(m_greatest + room, std::max(field->maximum, m_greatest));
        if (!(m_greatest > m_least)) m_greatest = m_least + 1;
    }
    update();
}

QPointF CurveView::pointOf(std::int64_t frame, double number) const {
    const double share = (number - m_least) / (m_greatest - m_least);
    return {xOf(frame), height() - kEdge - share * (height() - 2 * kEdge)};
}

void CurveView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_dots.empty()) return;
    const auto distance = [&](const Dot& dot) {
        double least = INFINITY;
        for (const double number : dot.numbers) {
            const QPointF way = pointOf(dot.frame, number) - event->position();
            least = std::min(least, std::hypot(way.x(), way.y()));
        }
        return least;
    };
    const auto nearest = std::ranges::min_element(m_dots, {}, distance);
    if (distance(*nearest) > kReach) return;
    m_held = *nearest;
    m_to = m_held->frame;
    m_drag = Drag::Open;
    m_pressedAt = event->position();
}

void CurveView::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag == Drag::None) return;
    const QPointF way = event->position() - m_pressedAt;
    if (m_drag == Drag::Open) {
        if (std::max(std::abs(way.x()), std::abs(way.y())) < kSlop) return;
        // Several numbers have one frame, but no one value.
        m_drag = std::abs(way.y()) > std::abs(way.x()) && m_held->numbers.size() == 1 ? Drag::Value : Drag::Frame;
    }
    if (m_drag == Drag::Value) {
        const double scale = (m_greatest - m_least) / (height() - 2 * kEdge);
        keys().setNumber(*selectedField(), m_held->frame, m_held->numbers[0] - way.y() * scale);
    } else {
        m_to = timeline().frameAt(event->position().x());
        update();
    }
}

void CurveView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_drag == Drag::None) return;
    const bool clicked = m_drag == Drag::Open;
    const std::int64_t frame = m_held->frame;
    endDrag(true);
    if (clicked) emit keys().frameWanted(frame);
}

void CurveView::endDrag(bool keep) {
    const Drag drag = std::exchange(m_drag, Drag::None);
    const Dot held = *std::exchange(m_held, std::nullopt);
    const tFieldInfo* const field = selectedField();
    if (field && drag == Drag::Frame && keep) keys().move(*field, held.frame, m_to);
    if (field && drag == Drag::Value && !keep) keys().setNumber(*field, held.frame, held.numbers[0]);
    keys().settle();
    show();
}

void CurveView::keyPressEvent(QKeyEvent* event) {
    if (m_drag != Drag::None && event->key() == Qt::Key_Escape)
        endDrag(false);
    else
        QWidget::keyPressEvent(event);
}

void CurveView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    QColor ground = palette().color(QPalette::WindowText);
    const QColor words = ground;
    ground.setAlpha(14);
    painter.fillRect(rect(), ground);
    const tFieldInfo* const field = selectedField();
    if (m_dots.empty() || !field) return;
    painter.setPen(words);
    painter.drawText(QRectF(6, 0, width(), height()), Qt::AlignTop | Qt::AlignLeft,
                     QLocale().toString(m_greatest, 'g', 4));
    painter.drawText(QRectF(6, 0, width(), height()), Qt::AlignBottom | Qt::AlignLeft,
                     QLocale().toString(m_least, 'g', 4));
    painter.setRenderHint(QPainter::Antialiasing);
    std::vector<std::int64_t> frames;
    for (int x = 0; x <= width(); x += kStep)
        if (const std::int64_t frame = timeline().frameAt(x); frames.empty() || frame != frames.back())
            frames.push_back(frame);
    const std::vector<std::vector<double>> numbers = keys().numbers(*field, frames);
    for (std::size_t e = 0; e < m_dots[0].numbers.size(); ++e) {
        QPainterPath path;
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            const QPointF at = pointOf(frames[i], numbers[i][e]);
            i == 0 ? path.moveTo(at) : path.lineTo(at);
        }
        painter.setPen(QPen(kKeyColour, 1.5));
        painter.setBrush(Qt::NoBrush);
        painter.drawPath(path);
        painter.setPen(QPen(palette().color(QPalette::Window), 1));
        for (const Dot& dot : m_dots) {
            const bool held = m_held && m_held->frame == dot.frame;
            painter.setBrush(held ? palette().color(QPalette::Highlight) : kKeyColour);
            painter.drawEllipse(pointOf(held && m_drag == Drag::Frame ? m_to : dot.frame, dot.numbers[e]), kDot, kDot);
        }
    }
    paintPlayhead(painter);
}

} // namespace larkmoor
