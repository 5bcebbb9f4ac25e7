// The masks of shapes drawn the plain way: every pixel of a disc and every line of a polygon on its own, the whole
// picture at once.
#pragma once

#include <cmath>
#include <vector>

#include "kernels/gaussian.h"
#include "kernels/mask_border.h"
#include "kernels/picture.h"

struct tReferenceMasks {
    CTestPicture cut, border;
};

namespace shape_reference {

inline void Store(CTestPicture& mask, LONG x, LONG y, const float (&value)[4], double coverage) {
    if (mask.BytesPerPixel() == 4) {
        std::uint8_t* p = mask.At(x, y);
        const int weight = static_cast<int>(coverage * 16384);
        for (int c = 0; c < 4; ++c) {
            const int full = static_cast<int>(std::clamp(value[c] * 255.0f, 0.0f, 255.0f));
            p[c] = static_cast<std::uint8_t>(p[c] + ((full - p[c]) * weight >> 14));
        }
    } else {
        float* p = &mask.PixelF(x, y).b;
        for (int c = 0; c < 4; ++c)
            p[c] = coverage == 1.0 ? value[c] : p[c] + (value[c] - p[c]) * static_cast<float>(coverage);
    }
}

inline void Disc(CTestPicture& mask, double cx, double cy, double scale, double r, const float (&value)[4]) {
    const double inner2 = r * r, outer2 = (r + 1.5) * (r + 1.5);
    for (LONG y = 0; y < mask.Height(); ++y)
        for (LONG x = 0; x < mask.Width(); ++x) {
            const double dx = x - cx, dy = (y - cy) / scale, d2 = dx * dx + dy * dy;
            if (d2 < inner2)
                Store(mask, x, y, value, 1.0);
            else if (d2 < outer2)
                Store(mask, x, y, value, std::clamp(1.0 - (d2 - inner2) / (outer2 - inner2), 0.0, 1.0));
        }
}

inline void Polygon(CTestPicture& mask, double cx, double cy, double halfX, double halfY, const std::vector<int>& xy,
                    const float (&value)[4]) {
    const auto sx = static_cast<std::int64_t>(halfX * 16384), sy = static_cast<std::int64_t>(halfY * 16384);
    const auto ox = static_cast<std::int64_t>(cx * 16384), oy = static_cast<std::int64_t>(cy * 16384);
    const std::size_t n = xy.size() / 2;
    for (LONG y = 0; y < mask.Height(); ++y) {
        const std::int64_t line = std::int64_t{y} * 16384;
        std::vector<std::int64_t> crossings;
        for (std::size_t i = 0; i < n; ++i) {
            const std::size_t j = (i + 1) % n;
            std::int64_t x0 = (xy[i * 2] * sx >> 14) + ox, y0 = (xy[i * 2 + 1] * sy >> 14) + oy;
            std::int64_t x1 = (xy[j * 2] * sx >> 14) + ox, y1 = (xy[j * 2 + 1] * sy >> 14) + oy;
            if (y0 > y1) std::swap(x0, x1), std::swap(y0, y1);
            if (y0 <= line && line < y1) crossings.push_back(x0 + (x1 - x0) * (line - y0) / (y1 - y0));
        }
        std::sort(crossings.begin(), crossings.end());
        for (std::size_t i = 0; i + 1 < crossings.size(); i += 2)
            for (LONG x = 0; x < mask.Width(); ++x)
                if (x * 16384 >= crossings[i] && x <= crossings[i + 1] >> 14) Store(mask, x, y, value, 1.0);
    }
}

} // namespace shape_reference

inline tReferenceMasks ReferenceMasks(LONG width, LONG height, LONG bytesPerPixel, double aspect, double p,
                                      bool fixedSize, const tIRISINFO& info) {
    using namespace shape_reference;
    static const std::vector<int> kXY[] = {{},
                                           {},
                                           {},
                                           {-16384, -16384, 16384, -16384, 16384, 16384, -16384, 16384},
                                           {0, -16384, 16384, 0, 0, 16384, -16384, 0},
                                           {-16384, -16384, 16384, -16384, 16384, 16384, -16384, 16384},
                                           {0, -32768, 28377, 16384, -28377, 16384},
                                           {32768, 0, -16384, 28377, -16384, -28377},
                                           {0, 32768, 28377, -16384, -28377, -16384},
                                           {-32768, 0, 16384, 28377, 16384, -28377},
                                           {0, -40960, 32768, 32768, 0, 16384, -32768, 32768},
                                           {40960, 0, -32768, 32768, -16384, 0, -32768, -32768},
                                           {0, 40960, 32768, -32768, 0, -16384, -32768, -32768},
                                           {-40960, 0, 32768, 32768, 16384, 0, 32768, -32768}};
    tReferenceMasks masks{{width, height, bytesPerPixel}, {width, height, bytesPerPixel}};
    const float ones[4] = {1, 1, 1, 1}, color[4] = {info.blue, info.green, info.red, info.alpha};
    const int columns = std::max(info.repeatX, 1), rows = std::max(info.repeatY, 1);
    const LONG shape = info.shape < 0 || info.shape > 13 ? 3 : info.shape;
    const double cw = static_cast<double>(width) / columns, ch = static_cast<double>(height) / rows;
    double Fr = info.feather * std::max(cw, ch) * 0.25;
    const double Br = info.border * std::max(cw, ch) * 0.25;
    if (Br > 0 && Br < Fr) Fr = Br;
    const double cx = info.centerX * static_cast<float>(cw), cy = info.centerY * static_cast<float>(ch);
    const double dx = fixedSize ? cw : std::max(cw - cx, cx);
    const double dy = fixedSize ? ch : std::max(ch - cy, cy) / aspect;
    const double evenY = fixedSize ? ch / aspect : dy;
    const double R = std::sqrt(dx * dx + dy * dy);
    const auto sizes = [&](double L) {
        double r = (L + Fr) * p;
        if (Br > 0) r = (2 * (Fr + Br) + L) * p;
        const double fi = std::min(r, Fr), r1 = r - fi;
        const double bi = r1 < fi * 0.5 ? fi * 0.5 : std::min(r1, Br), r2 = r1 - bi;
        const double ri = r2 < fi * 0.5 ? fi * 0.5 : std::min(r2, L + bi);
        return std::pair{std::max(0.0, ri - bi), std::max(0.0, ri + bi)};
    };
    for (int iy = 0; iy < rows && p > 0; ++iy)
        for (int ix = 0; ix < columns; ++ix)
            for (int which = 0; which < (Br > 0 ? 2 : 1); ++which) {
                CTestPicture& mask = which ? masks.border : masks.cut;
                const float(&value)[4] = which ? color : ones;
                const auto half = [&](double L) { return which ? sizes(L).second : sizes(L).first; };
                const double x = ix * cw + cx, y = iy * ch + cy;
                if (p >= 1) {
                    for (LONG v = 0; v < height; ++v)
                        for (LONG u = 0; u < width; ++u) Store(mask, u, v, value, 1.0);
                } else if (shape <= 2) {
                    if (half(R) > 0)
                        Disc(mask, x, y, shape == 0 ? aspect : shape == 1 ? ch / cw : cw / ch, half(R), value);
                } else {
                    double hx = half(R), hy = hx;
                    if (shape == 3) hx = half(dx), hy = half(dy);
                    if (shape == 4) hx = hy = half(dx + evenY);
                    if (shape == 5) hx = half(std::min(dx, evenY)), hy = hx * aspect;
                    if (hx > 0 && hy > 0) Polygon(mask, x, y, hx, hy, kXY[shape], value);
                }
            }
    if (info.feather > 0) {
        if (Br > 0) KwDibGaussianBlurChannel(masks.border.View(), masks.border.View(), bytesPerPixel, Fr, Fr, 3);
        const double r = std::max(0.0, Fr - 1);
        KwDibGaussianBlurChannel(masks.cut.View(), masks.cut.View(), bytesPerPixel, r, r, 3);
    }
    return masks;
}

/// Records of all shapes over grids, centres, feathers and borders.
inline std::vector<tIRISINFO> ShapeRecords() {
    std::vector<tIRISINFO> records;
    unsigned turn = 0;
    for (LONG shape = -1; shape <= 14; ++shape)
        for (const float feather : {0.0f, 0.3f})
            for (const float border : {0.0f, 0.1f}) {
                tIRISINFO info;
                info.shape = shape;
                info.feather = feather;
                info.border = border;
                info.blue = 0.25f;
                info.green = 1.0f;
                info.alpha = ++turn % 3 ? 1.0f : 0.6f;
                info.repeatX = static_cast<LONG>(turn % 4);
                info.repeatY = static_cast<LONG>(turn / 2 % 3);
                if (turn % 5 == 0) info.centerX = 0.1f, info.centerY = 1.0f;
                records.push_back(info);
            }
    return records;
}
