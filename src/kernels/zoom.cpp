#include "kernels/zoom.h"

#include "base/arith.h"
#include "kernels/canvas.h"
#include "kernels/edges.h"

HRESULT KwDibZoom(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tZOOMPROP& prop,
                  double progress) {
    tCanvas canvas;
    if (const HRESULT status = KwOpenCanvas(out, first, second, bytesPerPixel, canvas); FAILED(status)) return status;
    if (canvas.size.width == 0) return S_OK;
    const tFixedRect b = KwFixedFrame(*second.frame);
    const std::int64_t width = b.right - b.left, height = b.bottom - b.top, longer = std::max(width, height);
    const auto share = [longer](double part) { return KwFixed(static_cast<double>(longer) * part + 0.5); };

    // The border is left alone here: it only counts in what the way is long.
    std::int64_t border = share(prop.border), feather = share(prop.feather);
    KwMinimumSoftness(border, feather);
    const std::int64_t z = KwFixed(static_cast<double>(longer + 2 * feather) * KwClamp(progress, 0.0, 1.0) + 0.5);
    const double scale = longer != 0 && z < longer ? static_cast<double>(z) / static_cast<double>(longer) : 1.0;

    const std::int64_t anchorX = KwFixed(static_cast<double>(width) * prop.anchorX + 0.5) + b.left;
    const std::int64_t anchorY = KwFixed(static_cast<double>(height) * prop.anchorY + 0.5) + b.top;
    const auto scaled = [scale](std::int64_t anchor, std::int64_t side) {
        return anchor + KwFixed(static_cast<double>(side - anchor) * scale + 0.5);
    };
    const tFixedRect to{scaled(anchorX, b.left), scaled(anchorY, b.top), scaled(anchorX, b.right),
                        scaled(anchorY, b.bottom)};

    HRESULT status = KwDrawPicture(canvas, first, KwFixedFrame(*first.frame), nullptr, false);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, second, to, nullptr, true);
    const std::int64_t beyond = z >= longer ? (z - longer) >> 1 : 0;
    CEdgeList edges;
    if (SUCCEEDED(status))
        status = edges.AddRectangle({to.left - beyond, to.top - beyond, to.right + beyond, to.bottom + beyond});
    if (FAILED(status)) return status;
    return KwDibDrawEdges(edges, canvas.bits, canvas.size, canvas.stride, canvas.offset, share(prop.border * scale),
                          share(prop.feather * scale), 0, {prop.blue, prop.green, prop.red, prop.alpha}, bytesPerPixel);
}
