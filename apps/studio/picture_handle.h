// What of an effect has a place in the picture, to be dragged there.
#pragma once

#include <QPointF>
#include <QRectF>
#include <optional>
#include <span>
#include <vector>

#include "host/module.h"

class QPainter;

namespace larkmoor {

/// Places are parts of the picture's width and height.
struct PictureHandle {
    enum class Kind {
        Point,     ///< anywhere
        Direction, ///< stands away from the middle in the direction that the field tells
        Place      ///< one of three across and one of three down
    };
    Kind kind = Kind::Point;
    QPointF at;
};

/// @param size of the picture on the screen, whatever the unit: directions go by its shape.
std::optional<PictureHandle> handleOf(const EffectInfo& info, std::span<const std::byte> record, QSizeF size);
/// The record with its handle as near to a place as can be.
std::vector<std::byte> recordWithHandle(const EffectInfo& info, std::span<const std::byte> record, QPointF at,
                                        QSizeF size);

/// @param target the picture's place.
void paintHandle(QPainter& painter, const PictureHandle& handle, const QRectF& target);
QPointF handlePoint(const PictureHandle& handle, const QRectF& target);

} // namespace larkmoor
