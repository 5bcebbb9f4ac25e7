#include "kernels/mask_border.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include "base/arith.h"
#include "base/fits.h"
#include "kernels/gaussian.h"
#include "kernels/shape_fill.h"

namespace {

struct tCorners {
    int count;
    LONG xy[4][2]; ///< 16384 being the half-size
};

/// From triangle to arrowhead left, in the order of their numbers.
constexpr tCorners kPolygons[] = {
    {3, {{0, -32768}, {28377, 16384}, {-28377, 16384}}},
    {3, {{32768, 0}, {-16384, 28377}, {-16384, -28377}}},
    {3, {{0, 32768}, {28377, -16384}, {-28377, -16384}}},
    {3, {{-32768, 0}, {16384, 28377}, {16384, -28377}}},
    {4, {{0, -40960}, {32768, 32768}, {0, 16384}, {-32768, 32768}}},
    {4, {{40960, 0}, {-32768, 32768}, {-16384, 0}, {-32768, -32768}}},
    {4, {{0, 40960}, {32768, -32768}, {0, -16384}, {-32768, -32768}}},
    {4, {{-40960, 0}, {32768, 32768}, {16384, 0}, {32768, -32768}}},
};
constexpr tCorners kDiamond{4, {{0, -16384}, {16384, 0}, {0, 16384}, {-16384, 0}}};
constexpr tCorners kBox{4, {{-16384, -16384}, {16384, -16384}, {16384, 16384}, {-16384, 16384}}};

const tCorners& CornersOf(LONG shape) {
    if (shape == KW_SHAPE_DIAMOND) return kDiamond;
    return shape >= KW_SHAPE_TRIANGLE && shape < KW_SHAPE_COUNT ? kPolygons[shape - KW_SHAPE_TRIANGLE] : kBox;
}
constexpr bool IsDisc(LONG shape) {
    return shape >= KW_SHAPE_CIRCLE && shape <= KW_SHAPE_OVAL_SIDE;
}

/// Half-sizes of the shape in the cut mask and in the border mask, pixels.
struct tHalfSizes {
    double cut, border;
};

/// Feather, border and inner part grow one after the other as progress does. Pixels.
struct tGrowth {
    double feather, border, progress;

    tHalfSizes At(double reach) const {
        const double r = (border > 0.0 ? 2.0 * (feather + border) + reach : reach + feather) * progress;
        const double featherPart = std::min(r, feather);
        const double r1 = r - featherPart;
        const double borderPart = r1 < featherPart * 0.5 ? featherPart * 0.5 : std::min(r1, border);
        const double r2 = r1 - borderPart;
        const double inner = r2 < featherPart * 0.5 ? featherPart * 0.5 : std::min(r2, reach + borderPart);
        return {std::max(0.0, inner - borderPart), std::max(0.0, inner + borderPart)};
    }
};

/// One cell as all shapes see it.
struct tCell {
    double width, height;
    double reachX, reachY; ///< the second already divided by the aspect where the reach follows the centre
    double evenReachY;     ///< divided by the aspect once in every case
    double aspect;
};

tOutline DiscOutline(LONG shape, const tCell& cell, double radius) {
    tOutline outline;
    outline.radius = radius;
    outline.verticalScale = shape == KW_SHAPE_OVAL        ? cell.height / cell.width
                            : shape == KW_SHAPE_OVAL_SIDE ? cell.width / cell.height
                                                          : cell.aspect;
    return outline;
}

tOutline PolygonOutline(LONG shape, double halfX, double halfY) {
    constexpr double kLargest = 1099511627776.0; // 2^26 pixels: products with the tables stay inside 64 bits
    const auto scale = [=](double half) {
        return half > 0.0 ? KwTrunc64(std::min(half * 16384.0, kLargest)) : std::int64_t{0};
    };
    const std::int64_t scaleX = scale(halfX), scaleY = scale(halfY);
    const tCorners& corners = CornersOf(shape);
    tOutline outline;
    outline.corners = corners.count;
    for (int i = 0; i < corners.count; ++i)
        outline.points[static_cast<std::size_t>(i)] = {corners.xy[i][0] * scaleX >> 14,
                                                       corners.xy[i][1] * scaleY >> 14};
    return outline;
}

struct tOutlines {
    tOutline cut, border;
    bool hasCut, hasBorder;
};

tOutlines OutlinesOf(LONG shape, const tCell& cell, const tGrowth& growth) {
    if (IsDisc(shape)) {
        const auto [cut, border] = growth.At(std::sqrt(cell.reachX * cell.reachX + cell.reachY * cell.reachY));
        return {DiscOutline(shape, cell, cut), DiscOutline(shape, cell, border), cut > 0.0, border > 0.0};
    }
    double reachX = cell.reachX, reachY = cell.reachY, scaleY = 1.0;
    switch (shape) {
    case KW_SHAPE_SQUARE:
        reachX = reachY = std::min(cell.reachX, cell.evenReachY);
        scaleY = cell.aspect;
        break;
    case KW_SHAPE_DIAMOND:
        reachX = reachY = cell.evenReachY + cell.reachX;
        break;
    default:
        if (shape >= KW_SHAPE_TRIANGLE && shape < KW_SHAPE_COUNT)
            reachX = reachY = std::sqrt(cell.reachX * cell.reachX + cell.reachY * cell.reachY);
    }
    const tHalfSizes x = growth.At(reachX), y = growth.At(reachY);
    return {PolygonOutline(shape, x.cut, y.cut * scaleY), PolygonOutline(shape, x.border, y.border * scaleY),
            x.cut > 0.0 && y.cut > 0.0, x.border > 0.0 && y.border > 0.0};
}

/// Both masks of one call.
struct tMasks {
    tRows cut, border; ///< the second only where there is a border
    LONG bytesPerPixel;
    const void* cutValue;
    const void* borderValue;
};

void Clear(const tRows& rows, LONG bytesPerPixel) {
    for (LONG y = 0; y < rows.height; ++y)
        std::memset(rows.Row<std::byte>(y), 0, static_cast<std::size_t>(rows.width) * KwPixelSize(bytesPerPixel));
}

/// Whether a disc covers its cell, but for what is rounded on the way to its radius.
bool ReachesCorners(const tOutline& disc, const tShapeGrid& grid) {
    const double x = std::max(grid.cellWidth - grid.centerX, grid.centerX);
    const double y = std::max(grid.cellHeight - grid.centerY, grid.centerY) / disc.verticalScale;
    return x * x + y * y <= disc.radius * disc.radius * (1.0 + 1e-9);
}

/// Draws both masks, hard. From a progress of 1 on all is covered, but by ovals, whose reach is not that far.
HRESULT DrawShapes(const tMasks& masks, const tIRISINFO& info, const tCell& cell, const tGrowth& growth,
                   const tShapeGrid& grid) {
    const bool hasBorder = growth.border > 0.0;
    Clear(masks.cut, masks.bytesPerPixel);
    if (hasBorder) Clear(masks.border, masks.bytesPerPixel);
    if (!(growth.progress > 0.0)) return S_OK;
    const tOutlines outlines = OutlinesOf(info.shape, cell, growth);
    const auto draw = [&](const tRows& mask, const tOutline& outline, bool has, const void* value) {
        if (growth.progress >= 1.0 && (!IsDisc(info.shape) || ReachesCorners(outline, grid)))
            return KwFillMask(mask, masks.bytesPerPixel, value), S_OK;
        return has ? KwFillOutlines(mask, masks.bytesPerPixel, outline, grid, value) : S_OK;
    };
    HRESULT status = draw(masks.cut, outlines.cut, outlines.hasCut, masks.cutValue);
    if (SUCCEEDED(status) && hasBorder)
        status = draw(masks.border, outlines.border, outlines.hasBorder, masks.borderValue);
    return status;
}

void BlurAlpha(const tRows& mask, double radius) {
    const RECT frame{0, 0, mask.width, mask.height};
    const tView view{mask.first, &frame, static_cast<LONG>(mask.stride), nullptr};
    KwDibGaussianBlurChannel(view, view, 4, radius, radius, 3);
}

/// How far the blur of a radius reaches before what it brings is lost in the rounding of doubles: its slowest pole
/// falls by exp(-1.723 / sigma) a pixel, and sigma is the radius over 3.33.
double BlurReach(double radius) {
    return 6.0 * (radius + 1.5);
}

/// A 4-byte mask of its own memory.
struct tOwnMask {
    std::unique_ptr<std::byte[]> memory;
    tRows rows;

    bool Allocate(std::int64_t width, std::int64_t height) {
        if (width > std::numeric_limits<LONG>::max() / 4 ||
            !KwFits(static_cast<std::uint64_t>(height), static_cast<std::uint64_t>(width * 4)))
            return false;
        memory.reset(new (std::nothrow)
                         std::byte[static_cast<std::size_t>(width) * 4 * static_cast<std::size_t>(height)]);
        rows = {memory.get(), static_cast<std::ptrdiff_t>(width * 4), static_cast<LONG>(width),
                static_cast<LONG>(height)};
        return memory != nullptr;
    }
    void CopyTo(const tRows& out, std::int64_t x, std::int64_t y) const {
        for (LONG row = 0; row < out.height; ++row)
            std::memcpy(out.Row<std::byte>(row), rows.Row<std::byte>(static_cast<LONG>(y) + row) + x * 4,
                        static_cast<std::size_t>(out.width) * 4);
    }
};

/// Draws and blurs. What lies around the masks inside the picture takes part, so that the masks of two neighbouring
/// parts fit together as the mask of the whole.
HRESULT DrawSoftShapes(const tMasks& masks, const tIRISINFO& info, const tCell& cell, const tGrowth& growth,
                       const tShapeGrid& grid, std::int64_t pictureWidth, std::int64_t pictureHeight) {
    const bool hasBorder = growth.border > 0.0;
    const double cutRadius = std::max(0.0, growth.feather - 1.0);
    const double most = static_cast<double>(std::max(pictureWidth, pictureHeight));
    const auto reach = static_cast<std::int64_t>(std::ceil(std::min(BlurReach(growth.feather), most)));
    // How much more is drawn on a side of the mask, which lies `from` the picture's edge.
    const auto more = [&](std::int64_t from) { return std::clamp<std::int64_t>(from, 0, reach); };
    const std::int64_t left = more(grid.left), top = more(grid.top);
    const std::int64_t right = more(pictureWidth - grid.left - masks.cut.width);
    const std::int64_t bottom = more(pictureHeight - grid.top - masks.cut.height);

    tMasks drawn = masks;
    tOwnMask cut, border;
    tShapeGrid drawnGrid = grid;
    const bool widened = left + top + right + bottom > 0;
    if (widened) {
        drawnGrid.left -= left;
        drawnGrid.top -= top;
        const std::int64_t width = left + masks.cut.width + right, height = top + masks.cut.height + bottom;
        if (!cut.Allocate(width, height)) return E_OUTOFMEMORY;
        drawn.cut = cut.rows;
        if (hasBorder) {
            if (!border.Allocate(width, height)) return E_OUTOFMEMORY;
            drawn.border = border.rows;
        }
    }
    if (const HRESULT status = DrawShapes(drawn, info, cell, growth, drawnGrid); FAILED(status)) return status;
    if (hasBorder) BlurAlpha(drawn.border, growth.feather);
    BlurAlpha(drawn.cut, cutRadius);
    if (widened) {
        cut.CopyTo(masks.cut, left, top);
        if (hasBorder) border.CopyTo(masks.border, left, top);
    }
    return S_OK;
}

HRESULT ResolveMask(const tView& mask, LONG bytesPerPixel, tRows& rows) {
    if (!mask.frame) return E_POINTER;
    if (!mask.bits) return E_INVALIDARG;
    return KwDibResolveClip(mask, bytesPerPixel, rows);
}

} // namespace

tPixel8 KwBorderColor8(const tIRISINFO& info) {
    const auto byte = [](float c) {
        const float scaled = c * 255.0f;
        return static_cast<std::uint8_t>(scaled > 0.0f ? std::min(scaled, 255.0f) : 0.0f);
    };
    return {byte(info.blue), byte(info.green), byte(info.red), byte(info.alpha)};
}

HRESULT KwCreateMaskBorder(const RECT* shapeFrame, const RECT* maskFrame, const tView& mask, const tView& border,
                           LONG bytesPerPixel, double aspect, double progress, bool fixedSize, tIRISINFO* info) {
    if (!shapeFrame || !maskFrame || !info) return E_POINTER;
    tMasks masks{};
    masks.bytesPerPixel = bytesPerPixel;
    if (const HRESULT status = ResolveMask(mask, bytesPerPixel, masks.cut); FAILED(status)) return status;
    info->repeatX = std::max<LONG>(info->repeatX, 1);
    info->repeatY = std::max<LONG>(info->repeatY, 1);

    const std::int64_t width = KwWidth(*shapeFrame), height = KwHeight(*shapeFrame);
    tCell cell{};
    cell.width = static_cast<double>(width) / info->repeatX;
    cell.height = static_cast<double>(height) / info->repeatY;
    const double side = std::max(cell.width, cell.height);
    tGrowth growth{info->feather * side * 0.25, info->border * side * 0.25, progress};
    const bool hasBorder = growth.border > 0.0;
    if (hasBorder) {
        if (const HRESULT status = ResolveMask(border, bytesPerPixel, masks.border); FAILED(status)) return status;
        if (masks.border.width != masks.cut.width || masks.border.height != masks.cut.height) return E_INVALIDARG;
        if (growth.border < growth.feather) growth.feather = growth.border;
    }
    if (masks.cut.width == 0) return S_OK;
    if (width <= 0 || height <= 0) {
        Clear(masks.cut, bytesPerPixel);
        if (hasBorder) Clear(masks.border, bytesPerPixel);
        return S_OK;
    }

    const double centerX = info->centerX * static_cast<float>(cell.width);
    const double centerY = info->centerY * static_cast<float>(cell.height);
    cell.aspect = aspect;
    cell.reachX = fixedSize ? cell.width : std::max(cell.width - centerX, centerX);
    cell.evenReachY = (fixedSize ? cell.height : std::max(cell.height - centerY, centerY)) / aspect;
    cell.reachY = fixedSize ? cell.height : cell.evenReachY;

    const auto step = [](LONG count, std::int64_t pixels) {
        const std::int64_t most = std::max<std::int64_t>(pixels, 1024);
        return static_cast<LONG>((count + most - 1) / most);
    };
    const tShapeGrid grid{cell.width,
                          cell.height,
                          centerX,
                          centerY,
                          info->repeatX,
                          info->repeatY,
                          step(info->repeatX, width),
                          step(info->repeatY, height),
                          std::int64_t{maskFrame->left} - shapeFrame->left,
                          std::int64_t{maskFrame->top} - shapeFrame->top};

    constexpr float kOnes[4] = {1.0f, 1.0f, 1.0f, 1.0f};
    constexpr std::uint32_t kFull = 0xFFFFFFFF;
    const tPixel8 color8 = KwBorderColor8(*info);
    const float colorF[4] = {info->blue, info->green, info->red, info->alpha};
    masks.cutValue = bytesPerPixel == 4 ? static_cast<const void*>(&kFull) : kOnes;
    masks.borderValue = bytesPerPixel == 4 ? static_cast<const void*>(&color8) : colorF;
    if (bytesPerPixel == 4 && growth.feather > 0.0)
        return DrawSoftShapes(masks, *info, cell, growth, grid, width, height);
    return DrawShapes(masks, *info, cell, growth, grid);
}
