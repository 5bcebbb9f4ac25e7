#include "widgets/thumbnail_delegate.h"

#include <QApplication>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <cmath>

#include "widgets/checkerboard.h"

namespace larkmoor {
namespace {

constexpr int kPad = 6;

} // namespace

ThumbnailDelegate::ThumbnailDelegate(QSize thumbnail, bool kinds, QObject* parent)
    : QStyledItemDelegate(parent), m_thumbnail(thumbnail), m_kinds(kinds) {}

QFont ThumbnailDelegate::smallFont() const {
    QFont font = QApplication::font();
    font.setPointSizeF(font.pointSizeF() * 0.85);
    return font;
}

QSize ThumbnailDelegate::cell() const {
    const int small = QFontMetrics(smallFont()).height();
    const int lines = m_kinds ? QFontMetrics(QApplication::font()).height() + small : 2 * small;
    return {m_thumbnail.width() + 2 * kPad, m_thumbnail.height() + 2 * kPad + 3 + lines};
}

void ThumbnailDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    const bool selected = option.state & QStyle::State_Selected, hovered = option.state & QStyle::State_MouseOver;
    const auto group = !(option.state & QStyle::State_Enabled)  ? QPalette::Disabled
                       : !(option.state & QStyle::State_Active) ? QPalette::Inactive
                                                                : QPalette::Active;
    const QRectF cell = QRectF(option.rect).adjusted(1.5, 1.5, -1.5, -1.5);
    QPainterPath shape;
    shape.addRoundedRect(cell, 5, 5);
    QColor back = option.palette.color(group, QPalette::Highlight);
    if (!selected) back.setAlpha(hovered ? 50 : 0);
    painter->fillPath(shape, back);
    if (option.state & QStyle::State_HasFocus && !selected) {
        painter->setPen(option.palette.color(group, QPalette::Highlight));
        painter->drawPath(shape);
    }

    const QRect frame(option.rect.left() + (option.rect.width() - m_thumbnail.width()) / 2, option.rect.top() + kPad,
                      m_thumbnail.width(), m_thumbnail.height());
    const auto image = index.data(kImage).value<QImage>();
    QColor empty = option.palette.color(group, QPalette::Text);
    empty.setAlpha(28);
    if (image.isNull()) {
        painter->fillRect(frame, empty);
    } else {
        const QSize size = image.size().scaled(m_thumbnail, Qt::KeepAspectRatio);
        const QRect place(
            {frame.left() + (frame.width() - size.width()) / 2, frame.top() + (frame.height() - size.height()) / 2},
            size);
        painter->fillRect(frame, empty);
        painter->setRenderHint(QPainter::SmoothPixmapTransform);
        if (image.hasAlphaChannel()) {
            painter->setBrushOrigin(place.topLeft());
            painter->fillRect(place, checkerboard(4));
        }
        painter->drawImage(place, image);
    }

    if (index.data(kMarked).toBool()) {
        QPolygonF star;
        for (int i = 0; i < 10; ++i) {
            const double angle = i * M_PI / 5, radius = i % 2 == 0 ? 8 : 3.4;
            star << QPointF(frame.right() - 10 + radius * std::sin(angle), frame.top() + 11 - radius * std::cos(angle));
        }
        painter->setPen(QPen(QColor(0, 0, 0, 160), 1));
        painter->setBrush(QColor(250, 200, 60));
        painter->drawPolygon(star);
    }

    QColor text = option.palette.color(group, selected ? QPalette::HighlightedText : QPalette::Text);
    painter->setPen(text);
    const QFontMetrics small(smallFont());
    const QString name = index.data(Qt::DisplayRole).toString();
    const int wide = option.rect.width() - kPad;
    QRect line(option.rect.left() + kPad / 2, frame.bottom() + 4, wide, option.fontMetrics.height());
    if (m_kinds) {
        const bool fits = option.fontMetrics.horizontalAdvance(name) <= wide;
        painter->setFont(fits ? option.font : smallFont());
        painter->drawText(line, Qt::AlignCenter, fits ? name : small.elidedText(name, Qt::ElideRight, wide));
        text.setAlphaF(0.7f);
        painter->setPen(text);
        painter->setFont(smallFont());
        line = QRect(line.left(), line.bottom() + 1, wide, small.height());
        painter->drawText(line, Qt::AlignCenter,
                          small.elidedText(index.data(ThumbnailDelegate::kKind).toString(), Qt::ElideRight, wide));
    } else {
        painter->setFont(smallFont());
        line.setHeight(2 * small.height());
        painter->drawText(line, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap, name);
    }
    painter->restore();
}

} // namespace larkmoor
