#include "widgets/key_lanes.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

namespace larkmoor {

namespace {

constexpr int kLane = 20; ///< logical pixels
constexpr double kDiamond = 6, kDiamondReach = 7, kDragSlop = 3, kGap = 6;

} // namespace

KeyLanes::KeyLanes(KeyEditor& keys, Timeline& timeline, QWidget* parent) : KeyStrip(keys, timeline, parent) {
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Keys"));
    connect(&keys, &KeyEditor::changed, this, &KeyLanes::show);
    show();
}

QSize KeyLanes::sizeHint() const {
    return {480, static_cast<int>(m_lanes.size()) * kLane};
}

const tFieldInfo* KeyLanes::selectedField() const {
    return m_lanes.empty() ? nullptr : m_lanes[static_cast<std::size_t>(m_lane)].field;
}

QPointF KeyLanes::keyPoint(int lane, std::int64_t frame) const {
    return {xOf(frame), kLane * (lane + 0.5)};
}

QString KeyLanes::nameOfLane(int lane) const {
    return nameOf(*m_lanes[static_cast<std::size_t>(lane)].field);
}

QRectF KeyLanes::namePlace(int lane) const {
    const double wide = fontMetrics().horizontalAdvance(nameOfLane(lane)) + 2 * kGap;
    const QRectF room(0, lane * kLane + 1, width(), kLane - 2);
    double left = 0;
    for (const Key& key : m_lanes[static_cast<std::size_t>(lane)].keys) {
        const double x = keyPoint(lane, key.frame).x();
        if (x - kDiamond - left >= wide) break;
        left = std::max(left, x + kDiamond);
    }
    if (left + wide > width()) left = 0; // keys everywhere
    return {left, room.top(), wide, room.height()};
}

void KeyLanes::show() {
    const tFieldInfo* const before = selectedField();
    const std::size_t count = m_lanes.size();
    m_lanes = keys().curves();
    const auto same = std::ranges::find(m_lanes, before, &Curve::field);
    if (same != m_lanes.end())
        m_lane = static_cast<int>(same - m_lanes.begin());
    else
        select(static_cast<int>(m_lanes.size()) - 1, {}); // a new one comes last
    if (m_lanes.size() != count) updateGeometry();
    setVisible(!m_lanes.empty());
    if (selectedField() != before) emit fieldSelected();
    update();
}

void KeyLanes::select(int lane, std::optional<std::int64_t> frame) {
    const int last = std::max(static_cast<int>(m_lanes.size()) - 1, 0);
    const bool another = std::clamp(lane, 0, last) != m_lane;
    m_lane = std::clamp(lane, 0, last);
    m_selected = frame;
    tellValue();
    if (another) emit fieldSelected();
    update();
}

std::optional<std::int64_t> KeyLanes::keyAt(QPointF position) const {
    const int lane = static_cast<int>(position.y()) / kLane;
    if (position.y() < 0 || lane >= static_cast<int>(m_lanes.size())) return {};
    const std::vector<Key>& keys = m_lanes[static_cast<std::size_t>(lane)].keys;
    const auto distance = [&](const Key& key) { return std::abs(keyPoint(lane, key.frame).x() - position.x()); };
    const auto nearest = std::ranges::min_element(keys, {}, distance);
    if (nearest == keys.end() || distance(*nearest) > kDiamondReach) return {};
    return nearest->frame;
}

bool KeyLanes::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        // Delete and copy belong to the keys here, not to the stack.
        const auto& key = static_cast<QKeyEvent&>(*event);
        if (key.key() == Qt::Key_Delete || key.matches(QKeySequence::Copy) || key.matches(QKeySequence::Paste)) {
            event->accept();
            return true;
        }
    }
    return QWidget::event(event);
}

void KeyLanes::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_lanes.empty()) return;
    select(static_cast<int>(event->position().y()) / kLane, keyAt(event->position()));
    m_pressedAt = event->position().x();
    m_dragged.reset();
}

void KeyLanes::mouseMoveEvent(QMouseEvent* event) {
    if (!(event->buttons() & Qt::LeftButton) || !m_selected) return;
    if (!m_dragged && std::abs(event->position().x() - m_pressedAt) < kDragSlop) return;
    m_dragged = timeline().frameAt(event->position().x());
    update();
}

void KeyLanes::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !m_selected) return;
    const std::int64_t from = *m_selected;
    if (!m_dragged) {
        emit keys().frameWanted(from);
        return;
    }
    const std::int64_t to = *std::exchange(m_dragged, std::nullopt);
    if (to == from) return update();
    m_selected = to;
    if (event->modifiers() & Qt::ControlModifier)
        keys().copy(*selectedField(), from, to);
    else
        keys().move(*selectedField(), from, to);
}

void KeyLanes::keyPressEvent(QKeyEvent* event) {
    if (m_lanes.empty()) return QWidget::keyPressEvent(event);
    const tFieldInfo& field = *selectedField();
    if (m_dragged && event->key() == Qt::Key_Escape) {
        m_dragged.reset();
        m_selected.reset();
        return update();
    }
    if (event->matches(QKeySequence::Copy)) {
        m_copied = m_selected;
    } else if (event->matches(QKeySequence::Paste)) {
        if (m_copied) keys().copy(field, *m_copied, keys().frame());
    } else if (event->key() == Qt::Key_Delete && m_selected) {
        keys().remove(field, *std::exchange(m_selected, std::nullopt));
    } else if (event->key() == Qt::Key_Up || event->key() == Qt::Key_Down) {
        select(m_lane + (event->key() == Qt::Key_Up ? -1 : 1), {});
    } else if (m_selected && event->modifiers() & Qt::ControlModifier &&
               (event->key() == Qt::Key_Left || event->key() == Qt::Key_Right)) {
        const std::int64_t from = *m_selected, to = from + (event->key() == Qt::Key_Left ? -1 : 1);
        if (to < 0 || to >= timeline().frameCount()) return;
        m_selected = to;
        keys().move(field, from, to);
    } else {
        QWidget::keyPressEvent(event);
    }
}

void KeyLanes::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), palette().color(QPalette::Window));
    painter.setRenderHint(QPainter::Antialiasing);
    QColor ground = palette().color(QPalette::WindowText);
    const QColor words = ground;
    for (int i = 0; i < static_cast<int>(m_lanes.size()); ++i) {
        const Curve& curve = m_lanes[static_cast<std::size_t>(i)];
        const QRectF lane(0, i * kLane + 1, width(), kLane - 2);
        ground.setAlpha(i == m_lane ? 34 : 14);
        painter.fillRect(lane, ground);
        for (std::size_t k = 0; k < curve.keys.size(); ++k) {
            const Key& key = curve.keys[k];
            const bool chosen = i == m_lane && m_selected == key.frame;
            const QPointF at = keyPoint(i, chosen && m_dragged ? *m_dragged : key.frame);
            if (k + 1 < curve.keys.size() && key.way != Way::Hold) {
                painter.setPen(QPen(kKeyColour, 1, key.way == Way::Smooth ? Qt::SolidLine : Qt::DotLine));
                painter.drawLine(at, keyPoint(i, curve.keys[k + 1].frame));
            }
        }
        const QRectF name = namePlace(i);
        painter.fillRect(name, palette().color(QPalette::Window)); // no line goes through it
        painter.fillRect(name, ground);
        painter.setPen(words);
        painter.drawText(name, Qt::AlignCenter, nameOfLane(i));
        for (const Key& key : curve.keys) {
            const bool chosen = i == m_lane && m_selected == key.frame;
            const QPointF at = keyPoint(i, chosen && m_dragged ? *m_dragged : key.frame);
            painter.setPen(QPen(palette().color(QPalette::Window), 1));
            painter.setBrush(chosen ? palette().color(QPalette::Highlight) : kKeyColour);
            if (key.way == Way::Hold) {
                painter.drawRect(QRectF(at - QPointF(kDiamond - 1.5, kDiamond - 1.5), QSizeF(9, 9)));
            } else {
                painter.drawPolygon(QPolygonF{at - QPointF(0, kDiamond), at + QPointF(kDiamond, 0),
                                              at + QPointF(0, kDiamond), at - QPointF(kDiamond, 0)});
            }
        }
    }
    paintPlayhead(painter);
}

} // namespace larkmoor
