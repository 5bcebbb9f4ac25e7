#include "widgets/safe_frames.h"

#include <QCoreApplication>
#include <QPainter>
#include <cmath>

namespace larkmoor {

void paintSafeFrames(QPainter& painter, const QRectF& target) {
    painter.setBrush(Qt::NoBrush);
    for (const double share : {0.9, 0.8}) {
        const double dx = target.width() * (1 - share) / 2, dy = target.height() * (1 - share) / 2;
        const QRectF inner = target.adjusted(dx, dy, -dx, -dy);
        const QRectF frame(std::round(inner.left()) + 0.5, std::round(inner.top()) + 0.5, std::round(inner.width()) - 1,
                           std::round(inner.height()) - 1);
        painter.setPen(QPen(QColor(0, 0, 0, 140), 3));
        painter.drawRect(frame);
        painter.setPen(QPen(QColor(255, 255, 255, 220), 1));
        painter.drawRect(frame);
        painter.setPen(QColor(255, 255, 255, 230));
        const QString name = share == 0.9 ? QCoreApplication::translate("larkmoor::PictureView", "action")
                                          : QCoreApplication::translate("larkmoor::PictureView", "title");
        const QRectF label(frame.left() + 5, frame.top() + 3, frame.width(), painter.fontMetrics().height());
        painter.setPen(QColor(0, 0, 0, 190));
        painter.drawText(label.translated(1, 1), Qt::AlignLeft, name);
        painter.setPen(QColor(255, 255, 255, 230));
        painter.drawText(label, Qt::AlignLeft, name);
    }
}

} // namespace larkmoor
