// Arithmetic of bounds on the four axes.
#pragma once

#include <algorithm>

#include "platform/types.h"

constexpr LONG KwLimited(std::int64_t value) {
    return static_cast<LONG>(std::clamp<std::int64_t>(value, INT32_MIN, INT32_MAX));
}

constexpr void KwMoveAxis(DXBNDS::tAxis& axis, std::int64_t by) {
    axis = {KwLimited(axis.Min + by), KwLimited(axis.Max + by)};
}

constexpr std::int64_t KwLength(const DXBNDS::tAxis& axis) {
    return std::int64_t{axis.Max} - axis.Min;
}

/// Per axis the greater min and the lesser max; false where an axis is left empty, and then all axes are zero.
constexpr bool KwIntersectBounds(DXBNDS& bounds, const DXBNDS& other) {
    for (int i = 0; i < 4; ++i) {
        bounds.Axis[i] = {std::max(bounds.Axis[i].Min, other.Axis[i].Min),
                          std::min(bounds.Axis[i].Max, other.Axis[i].Max)};
        if (bounds.Axis[i].Max <= bounds.Axis[i].Min) {
            bounds = {};
            return false;
        }
    }
    return true;
}

constexpr void KwUniteBounds(DXBNDS& bounds, const DXBNDS& other) {
    for (int i = 0; i < 4; ++i)
        bounds.Axis[i] = {std::min(bounds.Axis[i].Min, other.Axis[i].Min),
                          std::max(bounds.Axis[i].Max, other.Axis[i].Max)};
}
