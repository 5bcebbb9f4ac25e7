#include "kernels/squeeze.h"

#include <span>

#include "base/arith.h"
#include "kernels/canvas.h"
#include "kernels/edges.h"

namespace {

/// A part of the first picture and where it goes.
struct tPart {
    tFixedRect to, from;
};

/// Where the pictures and the border's edges go.
struct tPlan {
    tFixedRect second;
    tPart parts[2];
    int partCount = 1;
    tEDGELINE lines[2]{};
    int lineCount = 1;
};

bool IsFromMiddle(LONG type) {
    return type == 1 || type == 4;
}

/// @param sa how far the first picture has gone, `qb` how far the second has come
tPlan PlanOf(LONG type, const tFixedRect& a, const tFixedRect& b, std::int64_t travel, std::int64_t sa,
             std::int64_t qb) {
    const std::int64_t sb = KwClamp(qb, 0, travel), pb = std::max<std::int64_t>(qb, 0);
    tPlan plan{b, {{a, a}, {a, a}}};
    if (IsFromMiddle(type)) plan.partCount = 2;
    tPart &one = plan.parts[0], &two = plan.parts[1];
    switch (type) {
    case 0:
        plan.second.bottom = b.top + sb;
        one.to.top = a.top + sa;
        plan.lines[0] = {a.left, a.right, a.top + qb, kEdgeReversed};
        break;
    case 2:
        plan.second.top = b.top + travel - sb;
        one.to.bottom = a.top + travel - sa;
        plan.lines[0] = {a.left, a.right, a.top + travel - qb, 0};
        break;
    case 3:
        plan.second.right = b.left + sb;
        one.to.left = a.left + sa;
        plan.lines[0] = {a.top, a.bottom, a.left + qb, kEdgeAlongY | kEdgeReversed};
        break;
    case 5:
        plan.second.left = b.left + travel - sb;
        one.to.right = a.left + travel - sa;
        plan.lines[0] = {a.top, a.bottom, a.left + travel - qb, kEdgeAlongY};
        break;
    case 1:
        plan.second.top = b.top + travel - sb;
        plan.second.bottom = b.top + travel + sb;
        one.to.bottom = a.top + travel - sa;
        one.from.bottom = a.top + travel;
        two.to.top = a.top + travel + sa;
        two.from.top = a.top + travel;
        plan.lines[0] = {a.left, a.right, a.top + travel - pb, 0};
        plan.lines[1] = {a.left, a.right, a.top + travel + pb, kEdgeReversed};
        plan.lineCount = 2;
        break;
    case 4:
        plan.second.left = b.left + travel - sb;
        plan.second.right = b.left + travel + sb;
        one.to.right = a.left + travel - sa;
        one.from.right = a.left + travel;
        two.to.left = a.left + travel + sa;
        two.from.left = a.left + travel;
        plan.lines[0] = {a.top, a.bottom, a.left + travel - pb, kEdgeAlongY};
        plan.lines[1] = {a.top, a.bottom, a.left + travel + pb, kEdgeAlongY | kEdgeReversed};
        plan.lineCount = 2;
        break;
    default:
        plan.lineCount = 0;
        break;
    }
    return plan;
}

HRESULT DrawFirst(const tCanvas& canvas, const tView& first, const tFixedRect& frame, const tPlan& plan,
                  bool squeezed) {
    if (!squeezed) return KwDrawPicture(canvas, first, frame, nullptr, false);
    const std::span<const tPart> drawn(plan.parts, static_cast<std::size_t>(plan.partCount));
    HRESULT status = S_OK;
    // Closes the hairline between pictures that meet inside a pixel.
    for (const tPart& p : drawn)
        if (SUCCEEDED(status)) status = KwDrawPictureGrown(canvas, first, p.to, &p.from, true);
    for (const tPart& p : drawn)
        if (SUCCEEDED(status)) status = KwDrawPicture(canvas, first, p.to, &p.from, true);
    return status;
}

} // namespace

HRESULT KwDibSqueeze(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel,
                     const tSQUEEZEPROP& prop, double progress) {
    tCanvas canvas;
    if (const HRESULT status = KwOpenCanvas(out, first, second, bytesPerPixel, canvas); FAILED(status)) return status;
    if (canvas.size.width == 0) return S_OK;
    const tFixedRect a = KwFixedFrame(*first.frame), b = KwFixedFrame(*second.frame);
    const auto type = static_cast<std::int16_t>(prop.type);
    const bool middle = IsFromMiddle(type);
    const std::int64_t length = type <= 2 && type >= 0 ? a.bottom - a.top : a.right - a.left;
    const std::int64_t travel = middle ? length >> 1 : length;

    std::int64_t border = KwFixed(static_cast<double>(travel) * prop.border + 0.5);
    std::int64_t feather = KwFixed(static_cast<double>(travel) * prop.feather + 0.5);
    KwMinimumSoftness(border, feather);
    if (feather < kOnePixel) feather = 0;
    const std::int64_t total = border + 2 * feather + travel;
    const std::int64_t q = KwFixed(static_cast<double>(total) * KwClamp(progress, 0.0, 1.0) + 0.5);
    const std::int64_t qa = q - feather, qb = qa - border;
    const tPlan plan = PlanOf(type, a, b, travel, KwClamp(qa, 0, travel), qb);
    CEdgeList edges;
    for (int i = 0; i < plan.lineCount; ++i)
        if (const HRESULT status = edges.Add(plan.lines[i]); FAILED(status)) return status;

    HRESULT status = DrawFirst(canvas, first, a, plan, prop.squeezeOld != 0);
    if (SUCCEEDED(status)) status = KwDrawPicture(canvas, second, plan.second, nullptr, true);
    if (FAILED(status)) return status;

    if (middle && feather - q + border > 0) border -= feather - q + border;
    std::int64_t extra = feather - q;
    if (extra < 0)
        extra = 0;
    else
        border = 0;
    return KwDibDrawEdges(edges, canvas.bits, canvas.size, canvas.stride, canvas.offset, border, feather, extra,
                          {prop.blue, prop.green, prop.red, prop.alpha}, bytesPerPixel);
}
