#include "kernels/push.h"

#include "base/arith.h"
#include "kernels/canvas.h"
#include "kernels/edges.h"

namespace {

tFixedRect Moved(const tFixedRect& r, std::int64_t x, std::int64_t y) {
    return {r.left + x, r.top + y, r.right + x, r.bottom + y};
}

} // namespace

HRESULT KwDibPush(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tPUSHPROP& prop,
                  double progress) {
    tCanvas canvas;
    if (const HRESULT status = KwOpenCanvas(out, first, second, bytesPerPixel, canvas); FAILED(status)) return status;
    if (canvas.size.width == 0) return S_OK;
    const tFixedRect a = KwFixedFrame(*first.frame), b = KwFixedFrame(*second.frame);

    const std::int64_t travel = prop.direction == 0 || prop.direction == 2 ? a.bottom - a.top : a.right - a.left;
    std::int64_t border = KwFixed(static_cast<double>(travel) * prop.border + 0.5);
    std::int64_t feather = KwFixed(static_cast<double>(travel) * prop.feather + 0.5);
    KwMinimumSoftness(border, feather);
    if (feather < kOnePixel) feather = 0;
    const std::int64_t total = border + 2 * feather + travel;
    const std::int64_t q = KwFixed(static_cast<double>(total) * KwClamp(progress, 0.0, 1.0) + 0.5) - feather;
    const std::int64_t edge = q - border;
    const std::int64_t gone = KwClamp(q, 0, travel), missing = travel - KwClamp(edge, 0, travel);

    tFixedRect toA = a, toB = b;
    CEdgeList edges;
    HRESULT status = S_OK;
    switch (prop.direction) {
    case 0:
        toA = Moved(a, 0, -gone);
        toB = Moved(b, 0, missing);
        status = edges.Add({a.left, a.right, a.top + travel - edge, 0});
        break;
    case 1:
        toA = Moved(a, gone, 0);
        toB = Moved(b, -missing, 0);
        status = edges.Add({a.top, a.bottom, a.left + edge, kEdgeAlongY | kEdgeReversed});
        break;
    case 2:
        toA = Moved(a, 0, gone);
        toB = Moved(b, 0, -missing);
        status = edges.Add({a.left, a.right, a.top + edge, kEdgeReversed});
        break;
    case 3:
        toA = Moved(a, -gone, 0);
        toB = Moved(b, missing, 0);
        status = edges.Add({a.top, a.bottom, a.left + travel - edge, kEdgeAlongY});
        break;
    default:
        break;
    }
    if (FAILED(status)) return status;

    if (!prop.pushOff) toA = a;
    // Closes the hairline between pictures that meet inside a pixel.
    if (prop.border == 0.0f && prop.pushOff) status = KwDrawPictureGrown(canvas, first, toA, nullptr, false);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, first, toA, nullptr, false);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, second, toB, nullptr, false);
    if (FAILED(status)) return status;
    return KwDibDrawEdges(edges, canvas.bits, canvas.size, canvas.stride, canvas.offset, border, feather, 0,
                          {prop.blue, prop.green, prop.red, prop.alpha}, bytesPerPixel);
}
