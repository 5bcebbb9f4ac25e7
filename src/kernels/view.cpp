#include "kernels/view.h"

namespace {

RECT WorkingRect(const tView& view) {
    return view.clip ? *view.clip : *view.frame;
}

bool IsNothing(const RECT& r) {
    return KwWidth(r) <= 0 || KwHeight(r) <= 0;
}

tRows RowsOf(const tView& view, const RECT& part, LONG bytesPerPixel) {
    return {KwPixelAddress(view, part.left, part.top, KwPixelSize(bytesPerPixel)), view.stride,
            static_cast<LONG>(std::min<std::int64_t>(KwWidth(part), INT32_MAX)),
            static_cast<LONG>(std::min<std::int64_t>(KwHeight(part), INT32_MAX))};
}

/// Moves by an offset that keeps the result inside 32 bits whenever it meets the other rectangle.
RECT Moved(const RECT& r, std::int64_t dx, std::int64_t dy) {
    const auto limited = [](std::int64_t v) {
        return static_cast<LONG>(std::clamp<std::int64_t>(v, INT32_MIN, INT32_MAX));
    };
    return {limited(r.left + dx), limited(r.top + dy), limited(r.right + dx), limited(r.bottom + dy)};
}

} // namespace

HRESULT KwDibResolveClip(const tView& view, LONG bytesPerPixel, tRows& out) {
    out = {};
    if (!view.frame) return E_POINTER;
    const RECT part = KwIntersect(WorkingRect(view), *view.frame);
    if (IsNothing(part)) return S_OK;
    if (!view.bits) return E_POINTER;
    out = RowsOf(view, part, bytesPerPixel);
    return S_OK;
}

HRESULT KwDibResolveClipTwo(const tView& destination, const tView& source, LONG bytesPerPixel, tRowPair& out) {
    out = {};
    if (!destination.frame || !source.frame) return E_POINTER;
    const RECT workDestination = WorkingRect(destination);
    const RECT workSource = WorkingRect(source);
    if (KwWidth(workDestination) != KwWidth(workSource) || KwHeight(workDestination) != KwHeight(workSource))
        return E_INVALIDARG;

    RECT partDestination = KwIntersect(workDestination, *destination.frame);
    RECT partSource = KwIntersect(workSource, *source.frame);
    if (IsNothing(partDestination) || IsNothing(partSource)) return S_OK;

    if (KwWidth(partDestination) != KwWidth(partSource) || KwHeight(partDestination) != KwHeight(partSource)) {
        const std::int64_t dx = std::int64_t{workDestination.left} - workSource.left;
        const std::int64_t dy = std::int64_t{workDestination.top} - workSource.top;
        partDestination = KwIntersect(Moved(partSource, dx, dy), partDestination);
        partSource = Moved(partDestination, -dx, -dy);
        if (IsNothing(partDestination)) return S_OK;
        if (KwWidth(partDestination) != KwWidth(partSource) || KwHeight(partDestination) != KwHeight(partSource))
            return E_INVALIDARG;
    }
    if (!destination.bits || !source.bits) return E_POINTER;
    out.destination = RowsOf(destination, partDestination, bytesPerPixel);
    out.source = RowsOf(source, partSource, bytesPerPixel);
    out.sourceRect = partSource;
    return S_OK;
}

HRESULT KwDibResolvePair(const tView& destination, const tView& source, LONG bytesPerPixel, tRows& outDestination,
                         tRows& outSource) {
    tRowPair pair;
    const HRESULT status = KwDibResolveClipTwo(destination, source, bytesPerPixel, pair);
    outDestination = pair.destination;
    outSource = pair.source;
    return status;
}
