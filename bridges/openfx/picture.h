// A host's pictures: red, green, blue, alpha, the lowest row first, rows of any stride.
#pragma once

#include <optional>

#include "host/surface.h"
#include "suites.h"

namespace larkmoor::openfx {

/// Pixels, x to the right and y upwards; `x2` and `y2` lie outside.
struct Area {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;

    bool isEmpty() const { return x1 >= x2 || y1 >= y2; }
    std::int64_t width() const { return std::int64_t{x2} - x1; }
    std::int64_t height() const { return std::int64_t{y2} - y1; }
};

Area common(const Area& a, const Area& b);

enum class Alpha { Opaque, Premultiplied, Straight };

struct HostPicture {
    std::byte* data = nullptr;   ///< the pixel at `x1`, `y1`
    std::ptrdiff_t rowBytes = 0; ///< to the next row up; may be negative
    Area bounds;
    bool floats = false;
    Alpha alpha{};
    double aspect = 1; ///< width of a pixel over its height

    int pixelBytes() const { return floats ? 16 : 4; }
    std::byte* at(int x, int y) const {
        return data + std::ptrdiff_t{y - bounds.y1} * rowBytes + std::ptrdiff_t{x - bounds.x1} * pixelBytes();
    }
};

/// Nothing for a picture whose form is not one that the plug-ins take, or that has no memory.
std::optional<HostPicture> pictureOf(const Properties& image);

/// The part of a picture within `frame` as effects take it: premultiplied, the highest row first. Nothing is where
/// there is no picture.
/// @param to of the size of `frame` and the picture's depth.
void take(const HostPicture* from, const Area& frame, const ImageView& to);

/// Writes what was made of `frame` into the part of a picture that `window` tells. Outside of the frame nothing is.
/// @param made of the picture's depth, premultiplied; used up. Straight 8-bit colour (`PixelFormat::Argb32`) is given
/// as it is.
void give(const ImageView& made, const Area& frame, const Area& window, const HostPicture& to);

/// Gives a part of one picture to another of the same form.
void copy(const HostPicture& from, const Area& window, const HostPicture& to);

} // namespace larkmoor::openfx
