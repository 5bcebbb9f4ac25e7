#include "logo_widget.h"

#include <QMouseEvent>
#include <QPainter>

namespace larkmoor {

namespace {

constexpr int kCaptionLeft = 4; // pixels

} // namespace

LogoWidget::LogoWidget(PageLink& page, LONG id, QWidget* parent) : ControlWidget(page, id, parent) {
    setFocusPolicy(Qt::NoFocus);
}

QFont LogoWidget::captionFont() const {
    QFont bold = font();
    bold.setBold(true);
    return bold;
}

Spoken LogoWidget::spoken() const {
    return {QAccessible::StaticText, QString::fromUtf8(detail<tLogoDetail>().caption)};
}

QSize LogoWidget::minimumSizeHint() const {
    const auto detail = this->detail<tLogoDetail>();
    const QFontMetrics metrics(captionFont());
    int width = 2 * kCaptionLeft + metrics.horizontalAdvance(QString::fromUtf8(detail.caption));
    for (int i = 0; i < detail.linkCount; ++i) width += rectOf(detail.links[i].place).width() + kCaptionLeft;
    return {width, metrics.height()};
}

void LogoWidget::mouseMoveEvent(QMouseEvent* event) {
    const auto detail = this->detail<tLogoDetail>();
    bool over = false;
    for (int i = 0; i < detail.linkCount; ++i)
        over |= rectOf(detail.links[i].place).contains(event->position().toPoint());
    if (over)
        setCursor(Qt::PointingHandCursor);
    else
        unsetCursor();
    ControlWidget::mouseMoveEvent(event);
}

void LogoWidget::paintEvent(QPaintEvent*) {
    const auto detail = this->detail<tLogoDetail>();
    QPainter painter(this);
    painter.fillRect(rect(), colourOf(detail.background));
    painter.setPen(Qt::white);
    painter.setFont(captionFont());
    painter.drawText(rect().adjusted(kCaptionLeft, 0, 0, 0), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     QString::fromUtf8(detail.caption));
    QFont link = font();
    link.setUnderline(true);
    painter.setFont(link);
    for (int i = 0; i < detail.linkCount; ++i)
        if (const QRect place = rectOf(detail.links[i].place); !place.isEmpty())
            painter.drawText(place, Qt::AlignCenter | Qt::TextDontClip | Qt::TextSingleLine,
                             QString::fromUtf8(detail.links[i].text));
}

} // namespace larkmoor
