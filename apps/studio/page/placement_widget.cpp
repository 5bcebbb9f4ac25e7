#include "placement_widget.h"

#include <QPainter>

#include "platform/page.h"

namespace larkmoor {

namespace {

QPolygonF diamond(QPointF centre, qreal reach) {
    return {{centre + QPointF(0, -reach), centre + QPointF(reach, 0), centre + QPointF(0, reach),
             centre + QPointF(-reach, 0)}};
}

// Kinds: disc, square, cross in a circle, diamond, plain cross.
void drawShape(QPainter& painter, ULONG kind, QPointF at) {
    constexpr qreal reach = kPlacementReach;
    const auto cross = [&](qreal arm) {
        painter.drawLine(at - QPointF(arm, 0), at + QPointF(arm, 0));
        painter.drawLine(at - QPointF(0, arm), at + QPointF(0, arm));
    };
    switch (kind) {
    case 1:
        painter.drawRect(QRectF(at.x() - reach + 1, at.y() - reach + 1, 2 * reach - 2, 2 * reach - 2));
        break;
    case 2:
        painter.drawEllipse(at, reach, reach);
        cross(reach);
        break;
    case 3:
        painter.drawPolygon(diamond(at, reach));
        break;
    case 4:
        cross(reach);
        break;
    default:
        painter.drawEllipse(at, reach, reach);
    }
}

} // namespace

Spoken PlacementWidget::spoken() const {
    tPlacementHandle handle{};
    std::intptr_t found = 0;
    page().model().SendControl(id(), KWHANDLE_GET, static_cast<std::uintptr_t>(detail<tPlacementDetail>().selected),
                               reinterpret_cast<std::intptr_t>(&handle), &found);
    return {QAccessible::Graphic, found ? QStringLiteral("%1, %2").arg(handle.x).arg(handle.y) : QStringLiteral("-")};
}

void PlacementWidget::paintEvent(QPaintEvent*) {
    const auto detail = this->detail<tPlacementDetail>();
    QPainter painter(this);
    const QPalette colours = palette();
    const QRect area = rectOf(detail.area);
    painter.fillRect(rect(), colours.color(QPalette::Base));
    QColor hatch = colours.color(QPalette::Text);
    hatch.setAlpha(45);
    painter.fillRect(area, QBrush(hatch, Qt::BDiagPattern));
    hatch.setAlpha(70);
    painter.setPen(QPen(hatch, 1, Qt::DashLine));
    const QPointF middle = QRectF(area).center();
    painter.drawLine(QPointF(middle.x(), area.top()), QPointF(middle.x(), area.bottom() + 1));
    painter.drawLine(QPointF(area.left(), middle.y()), QPointF(area.right() + 1, middle.y()));

    painter.setRenderHint(QPainter::Antialiasing);
    const auto drawHandle = [&](LONG index) {
        tPlacementHandle handle;
        std::intptr_t found = 0;
        page().model().SendControl(id(), KWHANDLE_GET, static_cast<std::uintptr_t>(index),
                                   reinterpret_cast<std::intptr_t>(&handle), &found);
        if (!found) return;
        const QPointF at(area.left() + handle.x * area.width(), area.top() + handle.y * area.height());
        const bool current = index == detail.selected;
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(colours.color(current ? QPalette::Highlight : QPalette::Window), 4));
        drawShape(painter, handle.kind, at);
        painter.setPen(QPen(colourOf(handle.outline), 1.4));
        painter.setBrush(colourOf(handle.fill));
        drawShape(painter, handle.kind, at);
        if (handle.label[0]) {
            painter.setPen(colours.color(QPalette::Text));
            painter.drawText(at + QPointF(kPlacementReach + 3, kPlacementReach - 1), QString::fromUtf8(handle.label));
        }
    };
    painter.setClipRect(rect().adjusted(1, 1, -1, -1));
    for (LONG i = 0; i < detail.count; ++i)
        if (i != detail.selected) drawHandle(i);
    if (detail.selected < detail.count) drawHandle(detail.selected); // on top, as the pointer finds it
    painter.setClipping(false);

    painter.setBrush(Qt::NoBrush);
    painter.setPen(colours.color(QPalette::Mid));
    painter.drawRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5));
    drawFocusRing(painter);
}

} // namespace larkmoor
