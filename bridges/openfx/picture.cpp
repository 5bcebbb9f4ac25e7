#include "picture.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/clones.h"
#include "host/alpha.h"

namespace larkmoor::openfx {
namespace {

KWCLONES void swapBytes(std::uint32_t* row, int width) {
    for (int x = 0; x < width; ++x) {
        const std::uint32_t p = row[x];
        row[x] = (p & 0xFF00FF00u) | (p >> 16 & 255) | (p & 255) << 16;
    }
}

void swapFloats(float* row, int width) {
    for (int x = 0; x < width; ++x) std::swap(row[4 * x], row[4 * x + 2]);
}

/// Red for blue in memory of our own.
void swapRow(std::byte* row, int width, bool floats) {
    if (floats)
        swapFloats(reinterpret_cast<float*>(row), width);
    else
        swapBytes(reinterpret_cast<std::uint32_t*>(row), width);
}

void makeOpaque(std::byte* row, int width, bool floats) {
    for (int x = 0; x < width; ++x)
        if (floats)
            reinterpret_cast<float*>(row)[4 * x + 3] = 1;
        else
            row[4 * x + 3] = std::byte{255};
}

void zero(const HostPicture& picture, int x1, int x2, int y) {
    if (x1 < x2) std::memset(picture.at(x1, y), 0, static_cast<std::size_t>(x2 - x1) * picture.pixelBytes());
}

/// Clears the row `y` of `window` but for the part within `kept`; true where there is such a part.
bool clearAround(const HostPicture& picture, const Area& window, const Area& kept, int y) {
    const bool any = !kept.isEmpty() && y >= kept.y1 && y < kept.y2;
    zero(picture, window.x1, any ? kept.x1 : window.x2, y);
    if (any) zero(picture, kept.x2, window.x2, y);
    return any;
}

} // namespace

Area common(const Area& a, const Area& b) {
    return {std::max(a.x1, b.x1), std::max(a.y1, b.y1), std::min(a.x2, b.x2), std::min(a.y2, b.y2)};
}

std::optional<HostPicture> pictureOf(const Properties& image) {
    const std::string_view depth = image.text("OfxImageEffectPropPixelDepth");
    const std::string_view alpha = image.text("OfxImageEffectPropPreMultiplication");
    const auto side = [&](int index) { return image.number("OfxImagePropBounds", 0, index); };
    HostPicture picture{.data = static_cast<std::byte*>(image.pointer("OfxImagePropData")),
                        .rowBytes = image.number("OfxImagePropRowBytes", 0),
                        .bounds = {side(0), side(1), side(2), side(3)},
                        .floats = depth == "OfxBitDepthFloat",
                        .alpha = alpha == "OfxImageOpaque"                 ? Alpha::Opaque
                                 : alpha == "OfxImageAlphaUnPremultiplied" ? Alpha::Straight
                                                                           : Alpha::Premultiplied,
                        .aspect = image.number("OfxImagePropPixelAspectRatio", 1.0)};
    if (!(picture.aspect > 0.001 && picture.aspect < 1000)) picture.aspect = 1;
    if (std::string_view(image.text("OfxImageEffectPropComponents")) != "OfxImageComponentRGBA" ||
        (!picture.floats && depth != "OfxBitDepthByte") || !picture.data || picture.bounds.isEmpty() ||
        (picture.bounds.height() > 1 &&
         std::abs(std::int64_t{picture.rowBytes}) < picture.bounds.width() * picture.pixelBytes()))
        return {};
    return picture;
}

void take(const HostPicture* from, const Area& frame, const ImageView& to) {
    const std::size_t pixel = to.format == PixelFormat::Float128 ? 16 : 4;
    const Area part = from ? common(from->bounds, frame) : Area{};
    for (int row = 0; row < to.height; ++row) {
        std::byte* const line = to.data + row * to.stride;
        const int y = frame.y2 - 1 - row;
        if (part.isEmpty() || y < part.y1 || y >= part.y2) {
            std::memset(line, 0, static_cast<std::size_t>(to.width) * pixel);
            continue;
        }
        const int left = part.x1 - frame.x1, width = part.x2 - part.x1;
        std::byte* const begin = line + static_cast<std::size_t>(left) * pixel;
        std::memset(line, 0, static_cast<std::size_t>(left) * pixel);
        std::memcpy(begin, from->at(part.x1, y), static_cast<std::size_t>(width) * pixel);
        std::memset(begin + static_cast<std::size_t>(width) * pixel, 0,
                    static_cast<std::size_t>(to.width - left - width) * pixel);
        swapRow(begin, width, from->floats);
        if (from->alpha == Alpha::Opaque) makeOpaque(begin, width, from->floats);
        if (from->alpha == Alpha::Straight) premultiply({begin, width, 1, to.stride, to.format});
    }
}

void give(const ImageView& made, const Area& frame, const Area& window, const HostPicture& to) {
    const Area asked = common(window, to.bounds), part = common(asked, frame);
    const int width = part.isEmpty() ? 0 : part.x2 - part.x1; // a host's window may lie anywhere
    for (int y = asked.y1; y < asked.y2; ++y) {
        if (!clearAround(to, asked, part, y)) continue;
        std::byte* const begin = made.data + std::ptrdiff_t{frame.y2 - 1 - y} * made.stride +
                                 std::ptrdiff_t{part.x1 - frame.x1} * to.pixelBytes();
        if (to.alpha == Alpha::Straight && made.format != PixelFormat::Argb32)
            unpremultiply({begin, width, 1, made.stride, made.format});
        swapRow(begin, width, to.floats);
        std::memcpy(to.at(part.x1, y), begin, static_cast<std::size_t>(width) * to.pixelBytes());
    }
}

void copy(const HostPicture& from, const Area& window, const HostPicture& to) {
    const Area asked = common(window, to.bounds), part = common(asked, from.bounds);
    for (int y = asked.y1; y < asked.y2; ++y)
        if (clearAround(to, asked, part, y))
            std::memmove(to.at(part.x1, y), from.at(part.x1, y),
                         static_cast<std::size_t>(part.x2 - part.x1) * to.pixelBytes());
}

} // namespace larkmoor::openfx
