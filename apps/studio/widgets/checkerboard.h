// The ground that is seen through transparent pixels.
#pragma once

#include <QBrush>
#include <QImage>
#include <QPainter>

namespace larkmoor {

/// @param cell the side of a square in pixels, from 1
inline QBrush checkerboard(int cell) {
    QImage tile(2 * cell, 2 * cell, QImage::Format_RGB32);
    tile.fill(QColor(102, 102, 102));
    QPainter painter(&tile);
    painter.fillRect(0, 0, cell, cell, QColor(153, 153, 153));
    painter.fillRect(cell, cell, cell, cell, QColor(153, 153, 153));
    return QBrush(tile);
}

} // namespace larkmoor
