// Pictures as kernels see them, and the resolvers that turn rectangles into rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/types.h"

/// A pixel of the 4-byte form. Colour is premultiplied by alpha unless a routine says otherwise.
struct tPixel8 {
    std::uint8_t b, g, r, a;
};
static_assert(sizeof(tPixel8) == 4);

/// A pixel of the 16-byte form, 1.0 being full scale.
struct tPixelF {
    float b, g, r, a;
};
static_assert(sizeof(tPixelF) == 16);

/// One picture of a kernel's argument list. Coordinates of `frame` and `clip` are those of the memory: pixel (x, y)
/// stands at `bits` + y * `stride` + x * bytes per pixel, whatever the frame's own origin. A null `clip` is the whole
/// frame. The memory is the caller's, and readable or writable for the whole of `frame`, unless a kernel's own comment
/// narrows that to the clip.
struct tView {
    void* bits;
    const RECT* frame;
    LONG stride; ///< bytes from one row to the next row down; may be negative
    const RECT* clip;
};

/// Rows of one resolved picture. An empty result has width and height 0.
struct tRows {
    std::byte* first = nullptr; ///< pixel at the top left of the resolved rectangle
    std::ptrdiff_t stride = 0;  ///< bytes
    LONG width = 0, height = 0; ///< pixels; never negative

    template <class Pixel>
    Pixel* Row(LONG y) const {
        return reinterpret_cast<Pixel*>(first + stride * y);
    }
};

/// Two pictures resolved to a common size.
struct tRowPair {
    tRows destination, source;
    RECT sourceRect{}; ///< the common rectangle in source coordinates
};

/// The address of pixel (x, y) of a view.
inline std::byte* KwPixelAddress(const tView& view, LONG x, LONG y, LONG bytesPerPixel) {
    return static_cast<std::byte*>(view.bits) + static_cast<std::ptrdiff_t>(y) * view.stride +
           static_cast<std::ptrdiff_t>(x) * bytesPerPixel;
}

constexpr RECT KwIntersect(const RECT& a, const RECT& b) {
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right), std::min(a.bottom, b.bottom)};
}
constexpr std::int64_t KwWidth(const RECT& r) {
    return std::int64_t{r.right} - r.left;
}
constexpr std::int64_t KwHeight(const RECT& r) {
    return std::int64_t{r.bottom} - r.top;
}
constexpr bool KwIsEmpty(const RECT& r) {
    return r.right <= r.left || r.bottom <= r.top;
}

/// Size of a pixel in memory: 4, or 16 for every other value.
constexpr LONG KwPixelSize(LONG bytesPerPixel) {
    return bytesPerPixel == 4 ? 4 : 16;
}

/// The clip (or whole frame) inside the frame. Status 0x80004003 without a frame, or without bits where there are
/// pixels; an empty result is success with no
/// rows.
HRESULT KwDibResolveClip(const tView& view, LONG bytesPerPixel, tRows& out);

/// The common part of two pictures whose clips (or frames) have one size; clips of different sizes, or parts that
/// cannot be brought to one size, give 0x80070057; a missing frame or missing bits 0x80004003. An empty common part is
/// success with no rows. `out.sourceRect` is the common rectangle in source coordinates.
HRESULT KwDibResolveClipTwo(const tView& destination, const tView& source, LONG bytesPerPixel, tRowPair& out);

/// The same computation for callers without use for the rectangle.
HRESULT KwDibResolvePair(const tView& destination, const tView& source, LONG bytesPerPixel, tRows& outDestination,
                         tRows& outSource);

/// Calls `body` with a null pointer of the pixel type that `bytesPerPixel` stands for.
template <class Body>
auto KwWithPixel(LONG bytesPerPixel, Body&& body) {
    return bytesPerPixel == 4 ? body(static_cast<tPixel8*>(nullptr)) : body(static_cast<tPixelF*>(nullptr));
}
