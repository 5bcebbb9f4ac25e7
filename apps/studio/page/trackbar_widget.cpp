#include "trackbar_widget.h"

#include <QPainter>

namespace larkmoor {

void TrackbarWidget::paintEvent(QPaintEvent*) {
    const auto detail = this->detail<tTrackbarDetail>();
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QPalette colours = palette();
    const QColor outline = colours.color(QPalette::WindowText);
    const auto faint = [](QColor colour, int alpha) {
        colour.setAlpha(alpha);
        return colour;
    };

    const QRectF channel = rectOf(detail.channel);
    const QRectF thumb = rectOf(detail.thumb);
    painter.setPen(faint(outline, 90));
    painter.setBrush(colours.color(QPalette::Base));
    painter.drawRoundedRect(channel.adjusted(0.5, 0.5, -0.5, -0.5), 1.5, 1.5);

    // The way from the least value, or from zero where the range has both signs and zero is the default.
    tPageControl facts{};
    page().model().FindControl(id(), &facts, sizeof facts);
    const qreal mark = detail.markX + 0.5, centre = thumb.center().x();
    const qreal start = facts.minimum < 0 ? mark : channel.left() + 1;
    painter.setPen(Qt::NoPen);
    painter.setBrush(colours.color(QPalette::Highlight));
    painter.drawRect(
        QRectF(std::min(start, centre), channel.top() + 1, std::abs(centre - start), channel.height() - 2));
    painter.setPen(QPen(faint(outline, 140), 1));
    painter.drawLine(QPointF(mark, channel.bottom() + 2),
                     QPointF(mark, std::max(channel.bottom() + 4, thumb.bottom())));

    const QRectF body = thumb.adjusted(0.5, 0.5, -0.5, -0.5);
    const qreal shoulder = body.bottom() - std::min(body.width() / 2, body.height() / 3);
    const QPolygonF shape{{body.topLeft(), body.topRight(), QPointF(body.right(), shoulder),
                           QPointF(body.center().x(), body.bottom()), QPointF(body.left(), shoulder)}};
    painter.setPen(QPen(hasFocus() ? colours.color(QPalette::Highlight) : faint(outline, 170), 1));
    const QColor button = colours.color(QPalette::Button);
    painter.setBrush(detail.tracking ? button.darker(115) : underMouse() && isEnabled() ? button.lighter(112) : button);
    painter.drawPolygon(shape);
    drawFocusRing(painter);
}

} // namespace larkmoor
