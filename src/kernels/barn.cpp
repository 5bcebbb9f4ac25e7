#include "kernels/barn.h"

#include "base/arith.h"
#include "kernels/canvas.h"
#include "kernels/edges.h"

HRESULT KwDibBarn(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tBARNPROP& prop,
                  double progress) {
    tCanvas canvas;
    if (const HRESULT status = KwOpenCanvas(out, first, second, bytesPerPixel, canvas); FAILED(status)) return status;
    if (canvas.size.width == 0) return S_OK;
    const tFixedRect b = KwFixedFrame(*second.frame);
    const bool sideways = prop.orientation == 0;
    const std::int64_t half = (sideways ? b.right - b.left : b.bottom - b.top) >> 1;

    std::int64_t border = KwFixed(static_cast<double>(half) * prop.border + 0.5);
    std::int64_t feather = KwFixed(static_cast<double>(half) * prop.feather + 0.5);
    KwMinimumSoftness(border, feather);
    const std::int64_t total = border + 2 * feather + half;
    const std::int64_t q = KwFixed(static_cast<double>(total) * KwClamp(progress, 0.0, 1.0) + 0.5) - feather;
    std::int64_t shown = std::max<std::int64_t>(q - border, 0), extra = 0;
    if (shown > half) {
        extra = shown - half;
        shown = half;
    }
    std::int64_t edge = q - kOnePixel; // one pixel behind the door
    if (edge > half) {
        border += half - edge;
        edge = half;
    }

    CEdgeList edges;
    const tEDGELINE near =
        sideways ? tEDGELINE{b.top, b.bottom, b.left + edge, kEdgeAlongY} : tEDGELINE{b.left, b.right, b.top + edge, 0};
    const tEDGELINE far = sideways ? tEDGELINE{b.top, b.bottom, b.right - edge, kEdgeAlongY | kEdgeReversed}
                                   : tEDGELINE{b.left, b.right, b.bottom - edge, kEdgeReversed};
    HRESULT status = edges.Add(near);
    if (SUCCEEDED(status)) status = edges.Add(far);

    tFixedRect nearTo = b, nearFrom = b, farTo = b, farFrom = b;
    if (sideways) {
        nearTo.right = b.left + shown;
        nearFrom = {b.left + half - shown, b.top, b.left + half, b.bottom};
        farTo.left = b.right - shown;
        farFrom = {b.left + half, b.top, b.left + half + shown, b.bottom};
    } else {
        nearTo.bottom = b.top + shown;
        nearFrom = {b.left, b.top + half - shown, b.right, b.top + half};
        farTo.top = b.bottom - shown;
        farFrom = {b.left, b.top + half, b.right, b.top + half + shown};
    }
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, first, KwFixedFrame(*first.frame), nullptr, false);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, second, nearTo, &nearFrom, false);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, second, farTo, &farFrom, false);
    if (FAILED(status)) return status;
    return KwDibDrawEdges(edges, canvas.bits, canvas.size, canvas.stride, canvas.offset, extra != 0 ? 0 : border,
                          feather, extra, {prop.blue, prop.green, prop.red, prop.alpha}, bytesPerPixel);
}
