#include "widgets/scope_view.h"

#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>

namespace larkmoor {
namespace {

constexpr QRgb kScreen = 0xff101214, kTrace = 0xff7ee0a0, kWarning = 0xffff8a50;
const QColor kLine(255, 255, 255, 38), kStrongLine(255, 255, 255, 80), kLabel(205, 210, 214);

struct IreRange {
    double low, high;
};

IreRange rangeOf(ScopeView::Kind kind) {
    return kind == ScopeView::Kind::Composite ? IreRange{-50, 150} : IreRange{-12, 114};
}

/// Density as brightness: a tenth of the densest shows at about a third, so that single pixels can be seen and flat
/// areas do not drown them.
std::array<std::uint8_t, 256> brightnessTable() {
    std::array<std::uint8_t, 256> table{};
    for (int i = 1; i < 256; ++i) table[i] = static_cast<std::uint8_t>(40 + std::lround(215 * std::sqrt(i / 255.0)));
    return table;
}

QRgb lit(QRgb color, int brightness) {
    const auto mix = [brightness](int from, int to) { return from + (to - from) * brightness / 255; };
    return qRgb(mix(qRed(kScreen), qRed(color)), mix(qGreen(kScreen), qGreen(color)),
                mix(qBlue(kScreen), qBlue(color)));
}

/// Counts at which a trace is at its brightest: eight times the mean of the cells that are hit, or the most there is.
std::uint32_t fullCount(const std::vector<std::uint32_t>& density) {
    std::uint64_t sum = 0, hit = 0;
    std::uint32_t most = 1;
    for (const std::uint32_t count : density) {
        sum += count;
        hit += count != 0;
        most = std::max(most, count);
    }
    return hit ? static_cast<std::uint32_t>(std::clamp<std::uint64_t>(sum * 8 / hit, 1, most)) : 1;
}

using Shades = std::array<QRgb, 256>;

Shades shadesOf(QRgb color) {
    static const auto brightness = brightnessTable();
    Shades shades;
    for (int i = 0; i < 256; ++i) shades[i] = lit(color, brightness[i]);
    return shades;
}

QRgb shade(const Shades& shades, std::uint32_t count, std::uint32_t full) {
    if (count == 0) return shades[0];
    return shades[count >= full ? 255 : std::max<std::uint64_t>(1, std::uint64_t{count} * 255 / full)];
}

QString nameOf(ScopeView::Kind kind) {
    switch (kind) {
    case ScopeView::Kind::Histogram:
        return ScopeView::tr("Histogram");
    case ScopeView::Kind::Waveform:
        return ScopeView::tr("Luma waveform");
    case ScopeView::Kind::Composite:
        return ScopeView::tr("Composite waveform");
    case ScopeView::Kind::Vectorscope:
        break;
    }
    return ScopeView::tr("Vectorscope");
}

} // namespace

ScopeView::ScopeView(QWidget* parent) : SpokenWidget(parent) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setAccessibleName(nameOf(m_kind));
}

Spoken ScopeView::spoken() const {
    return {QAccessible::Chart, nameOf(m_kind)};
}

void ScopeView::invalidate() {
    m_stale = true;
    update();
}

void ScopeView::setKind(Kind kind) {
    if (kind == m_kind) return;
    m_kind = kind;
    setAccessibleName(nameOf(kind));
    invalidate();
}

void ScopeView::setPicture(Surface picture) {
    m_picture = std::move(picture);
    invalidate();
}

void ScopeView::setLevels(ScopeLevels levels) {
    if (levels == m_levels) return;
    m_levels = levels;
    invalidate();
}

void ScopeView::setLimits(double lumaMin, double lumaMax, double chromaMax, double compositeMin, double compositeMax) {
    const ScopeLimits limits{lumaMin, lumaMax, chromaMax, compositeMin, compositeMax};
    if (m_limits == limits) return;
    m_limits = limits;
    invalidate();
}

void ScopeView::clearLimits() {
    if (!m_limits) return;
    m_limits.reset();
    invalidate();
}

QRectF ScopeView::plotArea() const {
    const int label =
        m_kind == Kind::Waveform || m_kind == Kind::Composite ? fontMetrics().horizontalAdvance("-100") : 0;
    const double edge = fontMetrics().height() / 2.0 + 2;
    return QRectF(rect()).adjusted(label + 8, edge, -8, -edge);
}

double ScopeView::yOfIre(double ire) const {
    const auto [low, high] = rangeOf(m_kind);
    const QRectF area = plotArea();
    return area.bottom() - (ire - low) / (high - low) * area.height();
}

void ScopeView::count() {
    m_stale = false;
    m_trace = QImage();
    if (!m_picture) return;
    const int step = scopeRowStep(m_picture.view().height);
    // More columns than the picture has would leave gaps.
    const int columns = std::clamp(static_cast<int>(plotArea().width()), 1, std::min(640, m_picture.view().width));
    switch (m_kind) {
    case Kind::Histogram:
        m_histogram = histogramOf(m_picture, step);
        break;
    case Kind::Waveform:
        m_trace = waveformTrace(waveformOf(m_picture, columns, step));
        break;
    case Kind::Composite:
        m_trace = waveformTrace(compositeOf(m_picture, columns, step));
        break;
    case Kind::Vectorscope:
        m_trace = vectorscopeTrace(vectorscopeOf(m_picture, step));
        break;
    }
}

// Only the codes that the axis shows become rows, the highest first. Where the plot has fewer rows than there are
// codes, the densest of those that share a row is shown: a reduced drawing would lose thin lines.
QImage ScopeView::waveformTrace(const Waveform& wave) {
    const auto [lowIre, highIre] = rangeOf(m_kind);
    m_bottomCode = std::max(static_cast<int>(std::ceil(m_levels.codeOf(lowIre))), wave.firstCode);
    m_topCode = std::min(static_cast<int>(m_levels.codeOf(highIre)), wave.firstCode + wave.codes - 1);
    const int codes = m_topCode - m_bottomCode + 1;
    const int rows = std::clamp(
        static_cast<int>(codes / (highIre - lowIre) * plotArea().height() * m_levels.irePerCode()), 1, codes);
    QImage trace(wave.columns, rows, QImage::Format_RGB32);
    const Shades legal = shadesOf(kTrace), beyond = shadesOf(kWarning);
    const bool composite = m_kind == Kind::Composite;
    std::vector<std::uint32_t> counts(static_cast<std::size_t>(wave.columns) * rows);
    for (int column = 0; column < wave.columns; ++column)
        for (int code = m_bottomCode; code <= m_topCode; ++code) {
            std::uint32_t& most =
                counts[static_cast<std::size_t>((m_topCode - code) * rows / codes) * wave.columns + column];
            most = std::max(most, wave.at(column, code));
        }
    const std::uint32_t full = fullCount(counts);
    for (int y = 0; y < rows; ++y) {
        const double ire = m_levels.ireOf(m_topCode + 0.5 - (y + 0.5) * codes / rows);
        const double half = m_levels.irePerCode() * codes / rows / 2;
        // A row counts as beyond when it is so as a whole.
        const bool over = m_limits && (ire - half > (composite ? m_limits->compositeMax : m_limits->lumaMax) ||
                                       ire + half < (composite ? m_limits->compositeMin : m_limits->lumaMin));
        const Shades& shades = over ? beyond : legal;
        auto* row = reinterpret_cast<QRgb*>(trace.scanLine(y));
        const std::uint32_t* from = counts.data() + static_cast<std::size_t>(y) * wave.columns;
        for (int column = 0; column < wave.columns; ++column) row[column] = shade(shades, from[column], full);
    }
    return trace;
}

QImage ScopeView::vectorscopeTrace(const Vectorscope& scope) const {
    constexpr int reach = Vectorscope::kReach;
    QImage trace(Vectorscope::kSide, Vectorscope::kSide, QImage::Format_ARGB32_Premultiplied);
    const Shades beyond = shadesOf(kWarning);
    const std::uint32_t full = fullCount(scope.density);
    const double most = m_limits ? m_limits->chromaMax / m_levels.irePerCode() + 0.5 : 1e9;
    const Shades legal = shadesOf(kTrace);
    for (int v = -reach; v <= reach; ++v) {
        auto* row = reinterpret_cast<QRgb*>(trace.scanLine(reach - v));
        for (int u = -reach; u <= reach; ++u) {
            const std::uint32_t count = scope.at(u, v);
            row[u + reach] = count ? shade(std::hypot(u, v) > most ? beyond : legal, count, full) : 0;
        }
    }
    return trace;
}

void ScopeView::resizeEvent(QResizeEvent*) {
    invalidate();
}

void ScopeView::paintEvent(QPaintEvent*) {
    if (m_stale) count();
    QPainter painter(this);
    painter.fillRect(rect(), QColor(kScreen));
    const QRectF area = plotArea();
    if (area.width() < 8 || area.height() < 8) return;
    switch (m_kind) {
    case Kind::Histogram:
        paintHistogram(painter, area);
        break;
    case Kind::Waveform:
    case Kind::Composite:
        paintWaveform(painter, area);
        break;
    case Kind::Vectorscope:
        paintVectorscope(painter, area);
        break;
    }
}

void ScopeView::paintHistogram(QPainter& painter, const QRectF& area) const {
    painter.setPen(kLine);
    for (int i = 0; i <= 4; ++i) {
        const double x = area.left() + area.width() * i / 4;
        painter.drawLine(QPointF(x, area.top()), QPointF(x, area.bottom()));
    }
    if (!m_picture) return;
    // The second highest count of each channel, so that one flat colour does not press all else to the ground.
    std::uint32_t top = 1;
    for (const auto* channel : {&m_histogram.red, &m_histogram.green, &m_histogram.blue, &m_histogram.luma}) {
        auto sorted = *channel;
        std::nth_element(sorted.begin(), sorted.begin() + 2, sorted.end(), std::greater<>());
        top = std::max(top, sorted[2]);
    }
    const auto outline = [&](const std::array<std::uint32_t, 256>& counts) {
        QPainterPath path(area.bottomLeft());
        for (int i = 0; i < 256; ++i) {
            const double height = std::min(1.0, std::sqrt(double(counts[i]) / top)) * area.height();
            path.lineTo(area.left() + area.width() * i / 255, area.bottom() - height);
        }
        path.lineTo(area.bottomRight());
        return path;
    };
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillPath(outline(m_histogram.luma), QColor(255, 255, 255, 60));
    painter.setCompositionMode(QPainter::CompositionMode_Screen);
    painter.setPen(Qt::NoPen);
    painter.fillPath(outline(m_histogram.red), QColor(230, 60, 60, 130));
    painter.fillPath(outline(m_histogram.green), QColor(60, 200, 80, 130));
    painter.fillPath(outline(m_histogram.blue), QColor(70, 110, 255, 130));
    painter.setCompositionMode(QPainter::CompositionMode_SourceOver);
    painter.setPen(QPen(kLabel, 1));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(outline(m_histogram.luma));
}

void ScopeView::paintWaveform(QPainter& painter, const QRectF& area) const {
    if (!m_trace.isNull()) {
        // A code's row is as high as its step on the axis, and centred on its level.
        const double top = yOfIre(m_levels.ireOf(m_topCode + 0.5));
        const double bottom = yOfIre(m_levels.ireOf(m_bottomCode - 0.5));
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(area.left(), top, area.width(), bottom - top), m_trace);
    }
    const auto [low, high] = rangeOf(m_kind);
    const double spacing = area.height() / (high - low);
    const int step = spacing * 10 > fontMetrics().height() ? 10 : spacing * 20 > fontMetrics().height() ? 20 : 50;
    for (int ire = -100; ire <= 150; ire += step) {
        if (ire < low || ire > high) continue;
        const double y = std::round(yOfIre(ire)) + 0.5;
        painter.setPen(ire == 0 || ire == 100 ? kStrongLine : kLine);
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
        painter.setPen(kLabel);
        painter.drawText(QRectF(0, y - 20, area.left() - 5, 40), Qt::AlignRight | Qt::AlignVCenter,
                         QString::number(ire));
    }
    if (m_levels.setup) {
        painter.setPen(QPen(kStrongLine, 1, Qt::DotLine));
        const double y = std::round(yOfIre(7.5)) + 0.5;
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
    if (!m_limits) return;
    painter.setPen(QPen(QColor(kWarning), 1, Qt::DashLine));
    const bool composite = m_kind == Kind::Composite;
    for (const double ire : {composite ? m_limits->compositeMin : m_limits->lumaMin,
                             composite ? m_limits->compositeMax : m_limits->lumaMax}) {
        if (!(ire >= low && ire <= high)) continue;
        const double y = std::round(yOfIre(ire)) + 0.5;
        painter.drawLine(QPointF(area.left(), y), QPointF(area.right(), y));
    }
}

void ScopeView::paintVectorscope(QPainter& painter, const QRectF& area) const {
    const double side = std::min(area.width(), area.height());
    const QPointF centre = area.center();
    const double scale = side / Vectorscope::kSide;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(kLine);
    painter.drawEllipse(centre, side / 2, side / 2);
    painter.drawLine(centre - QPointF(side / 2, 0), centre + QPointF(side / 2, 0));
    painter.drawLine(centre - QPointF(0, side / 2), centre + QPointF(0, side / 2));
    if (!m_trace.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(QRectF(centre.x() - side / 2, centre.y() - side / 2, side, side), m_trace);
    }
    // Bars of 75 % in the range in use.
    const double full = 0.75 * (m_levels.studio ? 219 : 255);
    const struct {
        const char* name;
        int red, green, blue;
    } bars[] = {{"R", 1, 0, 0}, {"Yl", 1, 1, 0}, {"G", 0, 1, 0}, {"Cy", 0, 1, 1}, {"B", 0, 0, 1}, {"Mg", 1, 0, 1}};
    for (const auto& bar : bars) {
        const double u = full * (bar.blue * 0.436 - bar.green * 0.289 - bar.red * 0.147);
        const double v = full * (bar.red * 0.615 - bar.green * 0.515 - bar.blue * 0.1);
        const QPointF at = centre + QPointF(u, -v) * scale;
        const double half = std::max(4.0, 6 * scale);
        painter.setPen(kStrongLine);
        painter.drawRect(QRectF(at.x() - half, at.y() - half, 2 * half, 2 * half));
        painter.setPen(kLabel);
        const QPointF label = centre + QPointF(u, -v) * scale * (1 + (half + 9) / (std::hypot(u, v) * scale));
        painter.drawText(QRectF(label.x() - 20, label.y() - 20, 40, 40), Qt::AlignCenter, bar.name);
    }
    if (m_limits && m_limits->chromaMax > 0) {
        const double radius = m_limits->chromaMax / m_levels.irePerCode() * scale;
        painter.setPen(QPen(QColor(kWarning), 1, Qt::DashLine));
        if (radius < 2 * side) painter.drawEllipse(centre, radius, radius);
    }
}

} // namespace larkmoor
