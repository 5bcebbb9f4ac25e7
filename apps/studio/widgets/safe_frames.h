// Where action and titles are safe from the edges of screens.
#pragma once

#include <QRectF>

class QPainter;

namespace larkmoor {

/// @param target the picture's place.
void paintSafeFrames(QPainter& painter, const QRectF& target);

} // namespace larkmoor
