#include "kernels/canvas.h"

#include "kernels/stretch.h"

namespace {

/// Output pixels, right and bottom exclusive.
struct tPixelRect {
    std::int64_t left, top, right, bottom;
};

/// The canvas without what lies outside `part`.
tCanvas Narrowed(const tCanvas& c, const tPixelRect& part) {
    const auto limited = [](std::int64_t v, LONG size) {
        return static_cast<LONG>(std::clamp<std::int64_t>(v, 0, size));
    };
    const LONG left = limited(part.left, c.size.width), top = limited(part.top, c.size.height);
    const LONG right = limited(part.right, c.size.width), bottom = limited(part.bottom, c.size.height);
    const RECT none{};
    return {KwPixelAddress({c.bits, &none, c.stride, nullptr}, left, top, KwPixelSize(c.bytesPerPixel)),
            {right - left, bottom - top},
            c.stride,
            {c.offset.x - KwToFixed(left), c.offset.y - KwToFixed(top)},
            c.bytesPerPixel};
}

} // namespace

HRESULT KwOpenCanvas(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, tCanvas& canvas) {
    canvas = {};
    tRowPair rows;
    if (const HRESULT status = KwDibResolveClipTwo(out, first, bytesPerPixel, rows); FAILED(status)) return status;
    if (!second.frame) return E_POINTER;
    if (rows.destination.width == 0 || rows.destination.height == 0) return S_OK;
    if (!second.bits) return E_POINTER;
    canvas = {rows.destination.first,
              {rows.destination.width, rows.destination.height},
              out.stride,
              {-KwToFixed(rows.sourceRect.left), -KwToFixed(rows.sourceRect.top)},
              bytesPerPixel};
    return S_OK;
}

tFixedRect KwFixedFrame(const RECT& frame) {
    return {KwToFixed(frame.left), KwToFixed(frame.top), KwToFixed(frame.right), KwToFixed(frame.bottom)};
}

HRESULT KwDrawPicture(const tCanvas& canvas, const tView& picture, const tFixedRect& to, const tFixedRect* from,
                      bool smooth) {
    const RECT& frame = *picture.frame;
    if (KwIsEmpty(frame)) return S_OK;
    // Sizes beyond 32 bits cannot stand in memory.
    const tExtent size{static_cast<LONG>(std::min<std::int64_t>(KwWidth(frame), INT32_MAX)),
                       static_cast<LONG>(std::min<std::int64_t>(KwHeight(frame), INT32_MAX))};
    tFixedRect inside{0, 0, KwToFixed(size.width), KwToFixed(size.height)};
    if (from) {
        const std::int64_t x = KwToFixed(frame.left), y = KwToFixed(frame.top);
        inside = {from->left - x, from->top - y, from->right - x, from->bottom - y};
    }
    return KwDibStretchBlit(canvas.bits, canvas.size, canvas.stride, &to, canvas.offset,
                            KwPixelAddress(picture, frame.left, frame.top, KwPixelSize(canvas.bytesPerPixel)), size,
                            picture.stride, &inside, canvas.bytesPerPixel, smooth);
}

HRESULT KwDrawPictureGrown(const tCanvas& canvas, const tView& picture, const tFixedRect& to, const tFixedRect* from,
                           bool smooth) {
    const std::int64_t x = KwFixedFloor(canvas.offset.x), y = KwFixedFloor(canvas.offset.y);
    const tPixelRect outer{KwFixedFloor(to.left) + x, KwFixedFloor(to.top) + y, KwFixedCeil(to.right) + x,
                           KwFixedCeil(to.bottom) + y};
    tPixelRect inner{KwFixedCeil(to.left) + x, KwFixedCeil(to.top) + y, KwFixedFloor(to.right) + x,
                     KwFixedFloor(to.bottom) + y};
    if (inner.left >= inner.right || inner.top >= inner.bottom)
        inner = {outer.left, outer.bottom, outer.right, outer.bottom};

    const tFixedRect grown{(outer.left - x) * kOnePixel, (outer.top - y) * kOnePixel, (outer.right - x) * kOnePixel,
                           (outer.bottom - y) * kOnePixel};
    const tPixelRect strips[] = {{outer.left, outer.top, outer.right, inner.top},
                                 {outer.left, inner.bottom, outer.right, outer.bottom},
                                 {outer.left, inner.top, inner.left, inner.bottom},
                                 {inner.right, inner.top, outer.right, inner.bottom}};
    for (const tPixelRect& strip : strips) {
        if (strip.left >= strip.right || strip.top >= strip.bottom) continue;
        const tCanvas part = Narrowed(canvas, strip);
        if (part.size.width == 0 || part.size.height == 0) continue;
        if (const HRESULT status = KwDrawPicture(part, picture, grown, from, smooth); FAILED(status)) return status;
    }
    return S_OK;
}
