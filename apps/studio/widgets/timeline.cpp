#include "widgets/timeline.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>
#include <QWheelEvent>
#include <algorithm>
#include <array>
#include <cmath>

namespace larkmoor {
namespace {

constexpr double kMargin = 14;       // left and right of the frames, so that handles and labels have room
constexpr double kMostPerFrame = 64; // logical pixels
constexpr double kHandleWidth = 8, kHandleReach = 7;
constexpr int kScrollSteps = 1 << 20; // of the scroll bar over all frames

QColor mixed(const QColor& a, const QColor& b, double share) {
    return QColor::fromRgbF(float(a.redF() + (b.redF() - a.redF()) * share),
                            float(a.greenF() + (b.greenF() - a.greenF()) * share),
                            float(a.blueF() + (b.blueF() - a.blueF()) * share));
}

const QColor kPlayhead(226, 72, 60);

} // namespace

Timeline::Timeline(QWidget* parent) : SpokenWidget(parent), m_scroll(new QScrollBar(Qt::Horizontal, this)) {
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleName(tr("Timeline"));
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->hide();
    connect(m_scroll, &QScrollBar::valueChanged, this, [this](int value) {
        m_first = double(value) / kScrollSteps * m_count;
        update();
        emit viewChanged();
    });
}

QSize Timeline::sizeHint() const {
    return {480,
            static_cast<int>(lanes().track.bottom()) + 4 + (m_scroll->isHidden() ? 0 : m_scroll->sizeHint().height())};
}

QSize Timeline::minimumSizeHint() const {
    return {160, sizeHint().height()};
}

Timeline::Lanes Timeline::lanes() const {
    const double ruler = fontMetrics().height() + 12, lane = 20;
    return {QRectF(0, 0, width(), ruler), QRectF(0, ruler + 2, width(), lane)};
}

void Timeline::setFrameCount(int count) {
    m_count = std::max(count, 0);
    m_zoom = 1;
    m_first = 0;
    m_inOut = {0, std::max(m_count - 1, 0)};
    m_drag = Part::None;
    setFrame(m_frame);
    setOverlap(m_overlap);
    layOut();
}

void Timeline::setFrame(int frame) {
    m_frame = std::clamp(frame, 0, std::max(m_count - 1, 0));
    if (m_drag == Part::None) reveal(m_frame);
    tellValue();
    update();
    emit viewChanged();
}

void Timeline::setInOut(int in, int out) {
    const int last = std::max(m_count - 1, 0);
    in = std::clamp(in, 0, last);
    m_inOut = {in, std::clamp(out, in, last)};
    update();
}

void Timeline::setOverlap(std::optional<FrameRange> overlap) {
    m_overlap = overlap;
    update();
}

void Timeline::setFrameRate(double rate) {
    if (rate > 0 && rate < 1e6) m_rate = rate;
    update();
}

void Timeline::setTimeFormat(std::function<QString(qint64)> format) {
    m_format = std::move(format);
    update();
}

Spoken Timeline::spoken() const {
    return {QAccessible::Slider, timeText(m_frame), m_frame, 0, std::max(m_count - 1, 0)};
}

double Timeline::perFrame() const {
    return m_count ? std::max(1.0, width() - 2 * kMargin) * m_zoom / m_count : 1;
}

double Timeline::edgeOf(double frame) const {
    return kMargin + (frame - m_first) * perFrame();
}

double Timeline::xOfFrame(int frame) const {
    return edgeOf(frame + 0.5);
}

int Timeline::frameAt(double x) const {
    const double frame = std::floor((x - kMargin) / perFrame() + m_first);
    return static_cast<int>(std::clamp(frame, 0.0, double(std::max(m_count - 1, 0))));
}

QPointF Timeline::inHandle() const {
    return {edgeOf(m_inOut.from) - kHandleWidth / 2, lanes().track.center().y()};
}

QPointF Timeline::outHandle() const {
    return {edgeOf(m_inOut.to + 1.0) + kHandleWidth / 2, lanes().track.center().y()};
}

void Timeline::setZoom(double zoom, double x) {
    if (!m_count || !(zoom > 0)) return;
    const double under = (x - kMargin) / perFrame() + m_first;
    const double most = std::max(1.0, kMostPerFrame * m_count / std::max(1.0, width() - 2 * kMargin));
    m_zoom = std::clamp(zoom, 1.0, most);
    m_first = under - (x - kMargin) / perFrame();
    layOut();
}

void Timeline::layOut() {
    m_first = std::clamp(m_first, 0.0, m_count * (1 - 1 / m_zoom));
    const bool wasHidden = m_scroll->isHidden();
    m_scroll->setVisible(m_zoom > 1);
    m_scroll->setGeometry(0, height() - m_scroll->sizeHint().height(), width(), m_scroll->sizeHint().height());
    const QSignalBlocker quiet(m_scroll);
    const int page = static_cast<int>(kScrollSteps / m_zoom);
    m_scroll->setRange(0, kScrollSteps - page);
    m_scroll->setPageStep(page);
    m_scroll->setSingleStep(page / 10);
    if (m_count) m_scroll->setValue(static_cast<int>(m_first / m_count * kScrollSteps));
    if (wasHidden != m_scroll->isHidden()) updateGeometry();
    update();
    emit viewChanged();
}

void Timeline::reveal(int frame) {
    if (m_zoom <= 1) return;
    const double x = xOfFrame(frame), shown = (width() - 2 * kMargin) / perFrame();
    if (x < kMargin)
        m_first = frame - shown / 10;
    else if (x > width() - kMargin)
        m_first = frame + 1 - shown * 9 / 10;
    else
        return;
    layOut();
}

QString Timeline::timeText(int frame) const {
    return m_format ? m_format(frame) : QString::number(frame);
}

QString Timeline::textOf(Part part, int frame) const {
    switch (part) {
    case Part::In:
        return tr("In: %1").arg(timeText(m_inOut.from));
    case Part::Out:
        return tr("Out: %1").arg(timeText(m_inOut.to));
    default:
        return timeText(frame);
    }
}

Timeline::Part Timeline::partAt(QPointF position) const {
    if (!m_count) return Part::None;
    const Lanes at = lanes();
    if (at.track.contains(position)) {
        const double toIn = std::abs(position.x() - inHandle().x()), toOut = std::abs(position.x() - outHandle().x());
        if (std::min(toIn, toOut) <= kHandleReach) return toIn < toOut ? Part::In : Part::Out;
    }
    return Part::Playhead;
}

void Timeline::moveTo(int frame) {
    frame = std::clamp(frame, 0, std::max(m_count - 1, 0));
    reveal(frame);
    if (frame == m_frame) return;
    m_frame = frame;
    update();
    emit viewChanged();
    emit frameChanged(frame);
}

void Timeline::changeInOut(FrameRange inOut, bool final) {
    const bool same = inOut == m_inOut;
    m_inOut = inOut;
    update();
    if (final || !same) emit inOutChanged(inOut.from, inOut.to, final);
}

void Timeline::dragTo(double x) {
    x += m_grab;
    const int frame = frameAt(x), edge = frameAt(x + perFrame() / 2);
    switch (m_drag) {
    case Part::Playhead:
        moveTo(frame);
        break;
    case Part::In:
        changeInOut({std::min(edge, m_inOut.to), m_inOut.to}, false);
        break;
    case Part::Out:
        changeInOut({m_inOut.from, std::max(frameAt(x - perFrame() / 2), m_inOut.from)}, false);
        break;
    case Part::None:
        break;
    }
}

void Timeline::endDrag(bool keep) {
    const Part part = std::exchange(m_drag, Part::None);
    switch (part) {
    case Part::Playhead:
        if (!keep) moveTo(m_frameBeforeDrag);
        emit scrubbing(false);
        break;
    case Part::In:
    case Part::Out:
        changeInOut(keep ? m_inOut : m_beforeDrag, true);
        break;
    case Part::None:
        break;
    }
    update();
}

void Timeline::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || m_drag != Part::None) return;
    m_drag = partAt(event->position());
    m_frameBeforeDrag = m_frame;
    m_beforeDrag = m_inOut;
    switch (m_drag) {
    case Part::In:
        m_grab = edgeOf(m_inOut.from) - event->position().x();
        break;
    case Part::Out:
        m_grab = edgeOf(m_inOut.to + 1.0) - event->position().x();
        break;
    default:
        m_grab = 0;
    }
    if (m_drag == Part::Playhead) {
        emit scrubbing(true);
        dragTo(event->position().x());
    }
    update();
}

void Timeline::mouseMoveEvent(QMouseEvent* event) {
    if (m_drag != Part::None) {
        dragTo(event->position().x());
        QToolTip::showText(event->globalPosition().toPoint(), textOf(m_drag, m_frame), this);
        return;
    }
    const Part part = partAt(event->position());
    if (part == m_hover) return;
    m_hover = part;
    setCursor(part == Part::None || part == Part::Playhead ? Qt::ArrowCursor : Qt::SizeHorCursor);
    update();
}

void Timeline::leaveEvent(QEvent*) {
    m_hover = Part::None;
    update();
}

void Timeline::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton && m_drag != Part::None) endDrag(true);
}

void Timeline::wheelEvent(QWheelEvent* event) {
    event->accept();
    if (!m_count || m_drag != Part::None) return;
    const QPoint angle = event->angleDelta();
    const bool sideways = angle.x() != 0 && angle.y() == 0;
    if (sideways || event->modifiers() & Qt::ShiftModifier) {
        m_first -= (sideways ? angle.x() : angle.y()) / 120.0 * (width() - 2 * kMargin) / perFrame() / 10;
        layOut();
    } else {
        setZoom(m_zoom * std::pow(1.25, angle.y() / 120.0), event->position().x());
    }
}

void Timeline::keyPressEvent(QKeyEvent* event) {
    if (!m_count) return QWidget::keyPressEvent(event);
    if (m_drag != Part::None) {
        if (event->key() == Qt::Key_Escape) endDrag(false);
        return;
    }
    const int few = event->modifiers() & Qt::ShiftModifier ? 10 : 1;
    const int second = static_cast<int>(std::clamp(std::round(m_rate), 1.0, 1e6));
    switch (event->key()) {
    case Qt::Key_Left:
        moveTo(m_frame - few);
        break;
    case Qt::Key_Right:
        moveTo(std::min(m_frame, m_count - 1 - few) + few);
        break;
    case Qt::Key_PageUp:
        moveTo(m_frame - second);
        break;
    case Qt::Key_PageDown:
        moveTo(std::min(m_frame, m_count - 1 - second) + second);
        break;
    case Qt::Key_Home:
        moveTo(0);
        break;
    case Qt::Key_End:
        moveTo(m_count - 1);
        break;
    case Qt::Key_I:
        changeInOut({m_frame, m_inOut.to < m_frame ? m_count - 1 : m_inOut.to}, true);
        break;
    case Qt::Key_O:
        changeInOut({m_inOut.from > m_frame ? 0 : m_inOut.from, m_frame}, true);
        break;
    case Qt::Key_Plus:
    case Qt::Key_Equal:
        setZoom(m_zoom * 1.5, xOfFrame(m_frame));
        break;
    case Qt::Key_Minus:
        setZoom(m_zoom / 1.5, xOfFrame(m_frame));
        break;
    case Qt::Key_0:
        setZoom(1, 0);
        break;
    default:
        QWidget::keyPressEvent(event);
    }
}

bool Timeline::event(QEvent* event) {
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const Part part = partAt(help->pos());
        if (part == Part::None)
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), textOf(part, frameAt(help->pos().x())), this);
        return true;
    }
    return QWidget::event(event);
}

void Timeline::resizeEvent(QResizeEvent*) {
    setZoom(m_zoom, kMargin);
    layOut();
}

void Timeline::focusInEvent(QFocusEvent*) {
    update();
}

void Timeline::focusOutEvent(QFocusEvent*) {
    update();
}

// Round numbers of frames, then of seconds, minutes and hours.
int Timeline::tickStep(double leastWidth) const {
    const double least = leastWidth / perFrame();
    const double second = std::max(1.0, std::round(m_rate));
    for (const int frames : {1, 2, 5, 10})
        if (frames >= least && frames < second) return frames;
    for (const int seconds : {1, 2, 5, 10, 15, 30, 60, 120, 300, 600, 900, 1800, 3600, 7200, 18000, 36000, 86400})
        if (seconds * second >= least) return static_cast<int>(std::min(seconds * second, 1e9));
    return std::max(m_count, 1);
}

void Timeline::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const Lanes at = lanes();
    painter.fillRect(rect(), palette().color(QPalette::Window));
    const QColor lane = mixed(palette().color(QPalette::Window), palette().color(QPalette::WindowText), 0.08);
    painter.fillRect(QRectF(kMargin, at.track.top(), width() - 2 * kMargin, at.track.height()), lane);
    if (m_count) {
        paintTrack(painter, at.track);
        paintRuler(painter, at.ruler);
        paintPlayhead(painter, at);
    }
    if (hasFocus()) {
        painter.setRenderHint(QPainter::Antialiasing, false);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(palette().color(QPalette::Highlight));
        painter.drawRect(rect().adjusted(0, 0, -1, -1));
    }
}

void Timeline::paintRuler(QPainter& painter, const QRectF& lane) const {
    const QColor text =
        isEnabled() ? palette().color(QPalette::WindowText) : palette().color(QPalette::Disabled, QPalette::WindowText);
    const QColor line = mixed(palette().color(QPalette::Window), text, 0.45);
    const double labelWidth = std::max(fontMetrics().horizontalAdvance(timeText(m_count - 1)),
                                       fontMetrics().horizontalAdvance(timeText(m_count / 2))) +
                              18.0;
    const int step = tickStep(labelWidth), small = std::min(step, tickStep(7));
    const int first = frameAt(0), last = frameAt(width());
    painter.setPen(line);
    const auto drawTick = [&](qint64 frame, double height) {
        const double x = std::floor(xOfFrame(static_cast<int>(frame))) + 0.5;
        painter.drawLine(QPointF(x, lane.bottom() - height), QPointF(x, lane.bottom()));
    };
    for (qint64 frame = first / small * small; frame <= last; frame += small) drawTick(frame, 4);
    for (qint64 frame = std::max<qint64>(0, first / step - 1) * step; frame <= last; frame += step) {
        painter.setPen(line);
        drawTick(frame, lane.height() - 3);
        const QString label = timeText(static_cast<int>(frame));
        const double x = xOfFrame(static_cast<int>(frame)) + 4;
        if (x + fontMetrics().horizontalAdvance(label) > width()) continue;
        painter.setPen(text);
        painter.drawText(QPointF(x, lane.top() + fontMetrics().ascent() + 1), label);
    }
}

void Timeline::paintTrack(QPainter& painter, const QRectF& lane) const {
    const QColor accent = palette().color(QPalette::Highlight);
    painter.save();
    painter.setClipRect(QRectF(0, lane.top(), width(), lane.height()));
    const double left = inHandle().x(), right = outHandle().x();
    QColor fill = accent;
    fill.setAlpha(70);
    painter.fillRect(QRectF(left, lane.top(), right - left, lane.height()), fill);
    if (m_overlap) {
        const double from = std::max(edgeOf(m_overlap->from), -10.0),
                     to = std::min(edgeOf(m_overlap->to + 1.0), width() + 10.0);
        QColor hatch = palette().color(QPalette::WindowText);
        hatch.setAlpha(130);
        if (to > from) {
            painter.fillRect(QRectF(from, lane.top(), to - from, lane.height()), QBrush(hatch, Qt::BDiagPattern));
            painter.setPen(hatch);
            painter.drawRect(QRectF(std::floor(from) + 0.5, lane.top() + 0.5, std::max(1.0, std::floor(to - from) - 1),
                                    lane.height() - 1));
        }
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    // Brackets that open to the range.
    const auto handle = [&](double x, int side, bool lit) {
        painter.setBrush(lit ? accent.lighter(125) : accent);
        QPainterPath bracket;
        bracket.addRoundedRect(side < 0 ? QRectF(x - kHandleWidth, lane.top(), kHandleWidth, lane.height())
                                        : QRectF(x, lane.top(), kHandleWidth, lane.height()),
                               2, 2);
        painter.drawPath(bracket);
        painter.fillRect(QRectF(x + side * kHandleWidth / 2 - 0.75, lane.center().y() - 5, 1.5, 10),
                         palette().color(QPalette::HighlightedText));
    };
    const Part lit = m_drag != Part::None ? m_drag : m_hover;
    handle(left, -1, lit == Part::In);
    handle(right, 1, lit == Part::Out);
    painter.restore();
}

void Timeline::paintPlayhead(QPainter& painter, const Lanes& lanes) const {
    const double x = xOfFrame(m_frame);
    if (x < 0 || x > width()) return;
    // A still would be one cell from side to side.
    if (perFrame() >= 4 && m_count > 1) {
        QColor cell = kPlayhead;
        cell.setAlpha(50);
        painter.fillRect(QRectF(edgeOf(m_frame), lanes.track.top(), perFrame(), lanes.track.height()), cell);
    }
    painter.setRenderHint(QPainter::Antialiasing);
    const double line = std::floor(x) + 0.5;
    painter.setPen(QPen(kPlayhead, 1));
    painter.drawLine(QPointF(line, lanes.ruler.bottom() - 4), QPointF(line, lanes.track.bottom()));
    painter.setPen(Qt::NoPen);
    painter.setBrush(kPlayhead);
    const double foot = lanes.ruler.bottom() + 1;
    painter.drawPolygon(QPolygonF{
        {line - 6, foot - 11}, {line + 6, foot - 11}, {line + 6, foot - 6}, {line, foot}, {line - 6, foot - 6}});
}

} // namespace larkmoor
