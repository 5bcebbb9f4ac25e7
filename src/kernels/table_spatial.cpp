// Rows of the kernels that move pixels, look around them, or draw.
#include <cstring>
#include <vector>

#include "kernels/barn.h"
#include "kernels/clock.h"
#include "kernels/convolve.h"
#include "kernels/edges.h"
#include "kernels/gaussian.h"
#include "kernels/median.h"
#include "kernels/min_max.h"
#include "kernels/pixelate.h"
#include "kernels/push.h"
#include "kernels/shape_mix.h"
#include "kernels/smooth_mix.h"
#include "kernels/squeeze.h"
#include "kernels/stretch.h"
#include "kernels/table.h"
#include "kernels/test_pattern.h"
#include "kernels/wave.h"
#include "kernels/wipe.h"
#include "kernels/zoom.h"

namespace {

tIRISINFO DrawShape(CKwDraw& draw) {
    tIRISINFO info;
    info.centerX = draw.RealF(0, 1, 0.5);
    info.centerY = draw.RealF(0, 1, 0.5);
    info.feather = draw.Flag(true) ? draw.RealF(0, 1, 0.1) : 0;
    info.border = draw.Flag(true) ? draw.RealF(0, 1, 0.1) : 0;
    info.blue = draw.RealF(0, 1, 0.2);
    info.green = draw.RealF(0, 1, 0.5);
    info.red = draw.RealF(0, 1, 0.7);
    info.alpha = draw.RealF(0, 2, 1);
    info.repeatX = draw.Whole(0, 5, 2);
    info.repeatY = draw.Whole(0, 5, 2);
    info.shape = draw.Whole(-1, KW_SHAPE_COUNT, KW_SHAPE_CIRCLE);
    info.direction = draw.Whole(0, 1, 1);
    return info;
}

/// The soft border of the sliding transitions.
template <class Properties>
Properties DrawBorder(CKwDraw& draw) {
    Properties p{};
    p.border = draw.Flag(true) ? draw.RealF(0, 0.5, 0.05) : 0;
    p.feather = draw.Flag(true) ? draw.RealF(0, 0.5, 0.05) : 0;
    p.blue = draw.RealF(0, 1, 0.2);
    p.green = draw.RealF(0, 1, 0.5);
    p.red = draw.RealF(0, 1, 0.7);
    p.alpha = draw.RealF(0, 1, 1);
    return p;
}

/// A side of a drawing on `size` pixels: moved by whole pixels or parts of one, or of a length of its own.
struct tSpan {
    std::int64_t from, to;
};
tSpan DrawSpan(CKwDraw& draw, LONG size) {
    const double s = size;
    const std::int64_t start =
        draw.Flag(false) ? KwToFixed(draw.Whole(-size, size, 0)) : KwFixed(draw.Real(-s, s, 0.1 * s) * 16384.0);
    const double length = draw.Flag(false) ? s : draw.Real(0, 3 * s, 0.7 * s);
    return {start, start + KwFixed(length * 16384.0)};
}
/// A part of a side, up to all of it.
tSpan DrawPart(CKwDraw& draw, LONG size) {
    const double s = size, from = draw.Real(0, s, 0), to = draw.Real(from, s, s);
    return {KwFixed(from * 16384.0), KwFixed(to * 16384.0)};
}

HRESULT Stretch(tKernelCall c) {
    tRows out, in;
    if (const HRESULT status = KwDibResolveClip(c.out, c.bytesPerPixel, out); FAILED(status)) return status;
    if (const HRESULT status = KwDibResolveClip(c.in[0], c.bytesPerPixel, in); FAILED(status)) return status;
    const tSpan x = DrawSpan(c.draw, out.width), y = DrawSpan(c.draw, out.height);
    const tSpan fromX = DrawPart(c.draw, in.width), fromY = DrawPart(c.draw, in.height);
    const tFixedRect to{x.from, y.from, x.to, y.to}, from{fromX.from, fromY.from, fromX.to, fromY.to};
    const bool part = c.draw.Flag(false), smooth = c.draw.Flag(true);
    return KwDibStretchBlit(out.first, {out.width, out.height}, static_cast<LONG>(out.stride), &to, {}, in.first,
                            {in.width, in.height}, static_cast<LONG>(in.stride), part ? &from : nullptr,
                            c.bytesPerPixel, smooth);
}

HRESULT DrawEdges(tKernelCall c) {
    tRows out;
    if (const HRESULT status = KwDibResolveClip(c.out, c.bytesPerPixel, out); FAILED(status)) return status;
    const auto length = [&](LONG low, LONG high, LONG typical) {
        return c.draw.Whole(low * 8, high * 8, typical * 8) * (kOnePixel / 8);
    };
    CEdgeList list;
    const LONG count = c.draw.Whole(1, 5, 2) & 7;
    for (LONG i = 0; i < count; ++i) {
        const std::int64_t from = length(-10, 60, 0);
        const tEDGELINE line{from, from + length(0, 90, out.width), length(-10, 90, out.width / 2),
                             c.draw.Whole(0, 3, i)};
        if (const HRESULT status = list.Add(line); FAILED(status)) return status;
    }
    const tFixedPoint offset{length(-3, 3, 0), length(-3, 3, 0)};
    const std::int64_t width = length(0, 12, 8), softness = length(0, 20, 8), extra = length(0, 5, 0);
    return KwDibDrawEdges(list, out.first, {out.width, out.height}, static_cast<LONG>(out.stride), offset, width,
                          softness, extra, {0.2f, 0.5f, 1.0f, 0.75f}, c.bytesPerPixel);
}

HRESULT TestPattern(tKernelCall c) {
    tRows out;
    if (const HRESULT status = KwDibResolveClip(c.out, c.bytesPerPixel, out); FAILED(status)) return status;
    const auto type = static_cast<ULONG>(c.draw.Whole(0, kTestPatterns, kSmpteBarsNtsc));
    const LONG width = std::max<LONG>(c.draw.Whole(1, 90, out.width), 1);
    const LONG height = std::max<LONG>(c.draw.Whole(1, 30, out.height), 1);
    std::vector<DWORD> row(static_cast<std::size_t>(out.width)); // samples stand at whole addresses
    for (LONG y = 0; y < out.height; ++y) {
        KwFillTestPattern(type, width, height, {row.data(), static_cast<ULONG>(row.size()), 0, static_cast<ULONG>(y)},
                          row.size());
        std::memcpy(out.Row<std::byte>(y), row.data(), row.size() * sizeof(DWORD));
    }
    return S_OK;
}

template <bool kCircular>
HRESULT Percentile(tKernelCall c) {
    const float x = c.draw.RealF(-1, 12, 3.3), y = c.draw.RealF(-1, 12, 2.5), offset = c.draw.RealF(0, 1, 0.5);
    return KwDibPercentileFilter(c.out, c.in[0], c.bytesPerPixel, x, y, c.draw.Real(0.5, 2, 1), kCircular, offset);
}
template <auto Filter, bool kCircular>
HRESULT Extreme(tKernelCall c) {
    const float x = c.draw.RealF(-1, 12, 3.3), y = c.draw.RealF(-1, 12, 2.5);
    return Filter(c.out, c.in[0], c.bytesPerPixel, x, y, c.draw.Real(0.5, 2, 1), kCircular);
}

constexpr tKernel kKernels[] = {
    {"KwDibSmooth3x3", 1, kTakesBoth, [](tKernelCall c) { return KwDibSmooth3x3(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibConvolve3x3", 1, kTakesBoth,
     [](tKernelCall c) {
         LONG weights[9];
         for (LONG i = 0; i < 9; ++i) weights[i] = c.draw.Whole(-9, 9, i == 4 ? 29 : i % 2 ? -2 : -1);
         return KwDibConvolve3x3(c.out, c.in[0], c.bytesPerPixel, weights, c.draw.Whole(-20, 40, 17));
     }},
    {"KwDibSmoothBlend", 1, kTakesBoth,
     [](tKernelCall c) { return KwDibSmoothBlend(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 0.5)); }},
    {"KwDibSharpen", 1, kTakesBoth,
     [](tKernelCall c) { return KwDibSharpen(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(-0.3, 1.3, 0.5)); }},
    {"KwDibGaussianBlur", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) {
         const double x = c.draw.Real(-2, 20, 4), y = c.draw.Real(-2, 20, 4);
         return KwDibGaussianBlur(c.out, c.in[0], c.bytesPerPixel, x, y);
     }},
    {"KwDibGaussianBlurChannel", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) {
         const double x = c.draw.Real(-2, 20, 4), y = c.draw.Real(-2, 20, 4);
         return KwDibGaussianBlurChannel(c.out, c.in[0], c.bytesPerPixel, x, y, c.draw.Whole(0, 3, 3));
     }},
    {"KwDibPercentileFilter", 1, kTakesBoth, Percentile<false>},
    {"KwDibPercentileFilter ellipse", 1, kTakesBoth, Percentile<true>},
    {"KwDibMaxFilter", 1, kTakesBoth, Extreme<KwDibMaxFilter, false>},
    {"KwDibMaxFilter ellipse", 1, kTakesBoth, Extreme<KwDibMaxFilter, true>},
    {"KwDibMinFilter", 1, kTakesBoth, Extreme<KwDibMinFilter, false>},
    {"KwDibMinFilter ellipse", 1, kTakesBoth, Extreme<KwDibMinFilter, true>},
    {"KwDibPixelate", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) {
         const double x = c.draw.Real(0, 1.01, 0.3), y = c.draw.Real(0, 1.01, 0.3);
         return KwDibPixelate(c.out, c.in[0], c.bytesPerPixel, x, y);
     }},
    {"KwDibAverageShrink", 1, kTakesBoth | kOwnSizes,
     [](tKernelCall c) { return KwDibAverageShrink(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibWave", 1, kTakesBoth,
     [](tKernelCall c) {
         tWAVEPROP wave{};
         wave.verticalWaves = c.draw.Real(0, 20, 5.4);
         wave.horizontalWaves = c.draw.Real(0, 20, 5.4);
         wave.verticalAmplitude = c.draw.Real(0, 1, 0.05);
         wave.horizontalAmplitude = c.draw.Real(0, 1, 0.05);
         wave.verticalPhase = c.draw.Real(0, 6.3, 0.8);
         wave.horizontalPhase = c.draw.Real(0, 6.3, 0.8);
         return KwDibWave(c.out, c.in[0], c.bytesPerPixel, wave);
     }},
    {"KwDibWipe", 2, kTakes8 | kInPlace,
     [](tKernelCall c) {
         const double feather = c.draw.Real(0, 40, 12), angle = c.draw.Real(0, 360, 30);
         const double progress = c.draw.Real(0, 1, 0.4);
         return KwDibWipe(c.out, c.in[0], c.in[1], c.bytesPerPixel, feather, angle, progress, c.draw.Flag(false));
     }},
    {"KwTwin_mix", 2, kTakes8 | kInPlace,
     [](tKernelCall c) { // which leaves a missing picture alone, with success
         return c.out.frame ? KwTwin_mix(c.out, c.in[0], c.in[1], c.bytesPerPixel) : E_POINTER;
     }},
    {"KwDibClock", 1, kTakesBoth | kInPlace,
     [](tKernelCall c) {
         const bool even = c.draw.Flag(false); // both ends of the soft zone on the vertical
         const double feather = even ? c.draw.Whole(0, 4, 0) * 90.0 : c.draw.Real(-20, 360, 30);
         const tCLOCKPROP prop{c.draw.Whole(0, 1, 0), 0, feather};
         const double progress = even ? c.draw.Whole(0, 8, 0) / 8.0 : c.draw.Real(0, 1, 0.4);
         return KwDibClock(c.out, c.in[0], c.bytesPerPixel, &prop, progress);
     }},
    {"KwDibIris", 2, kTakesBoth,
     [](tKernelCall c) {
         tIRISINFO info = DrawShape(c.draw);
         const double progress = c.draw.Real(0, 1, 0.4), aspect = c.draw.Real(0.5, 2, 1);
         return KwDibIris(c.out, c.in[0], c.in[1], c.bytesPerPixel, &info, progress, c.draw.Flag(false), aspect);
     }},
    {"KwDibCutter", 1, kTakesBoth,
     [](tKernelCall c) {
         tCUTTERINFO info{DrawShape(c.draw), c.draw.RealF(0, 1, 0.4)};
         const double aspect = c.draw.Real(0.5, 2, 1);
         return KwDibCutter(c.out, c.in[0], c.bytesPerPixel, &info, c.draw.Flag(false), aspect);
     }},
    {"KwDibDrawEdges", 0, kTakesBoth, DrawEdges},
    {"KwDibStretchBlit", 1, kTakesBoth | kOwnSizes, Stretch},
    {"KwDibSqueeze", 2, kTakesBoth | kOwnSizes | kReadsFrame,
     [](tKernelCall c) {
         auto prop = DrawBorder<tSQUEEZEPROP>(c.draw);
         prop.type = c.draw.Whole(-1, 6, 4);
         prop.squeezeOld = c.draw.Whole(0, 1, 1);
         return KwDibSqueeze(c.out, c.in[0], c.in[1], c.bytesPerPixel, prop, c.draw.Real(0, 1, 0.4));
     }},
    {"KwDibPush", 2, kTakesBoth | kOwnSizes | kReadsFrame,
     [](tKernelCall c) {
         auto prop = DrawBorder<tPUSHPROP>(c.draw);
         prop.direction = c.draw.Whole(-1, 4, 1);
         prop.pushOff = c.draw.Whole(0, 1, 1);
         return KwDibPush(c.out, c.in[0], c.in[1], c.bytesPerPixel, prop, c.draw.Real(0, 1, 0.4));
     }},
    {"KwDibBarn", 2, kTakesBoth | kOwnSizes | kReadsFrame,
     [](tKernelCall c) {
         auto prop = DrawBorder<tBARNPROP>(c.draw);
         prop.orientation = c.draw.Whole(0, 1, 0);
         return KwDibBarn(c.out, c.in[0], c.in[1], c.bytesPerPixel, prop, c.draw.Real(0, 1, 0.4));
     }},
    {"KwDibZoom", 2, kTakesBoth | kOwnSizes | kReadsFrame,
     [](tKernelCall c) {
         auto prop = DrawBorder<tZOOMPROP>(c.draw);
         prop.anchorX = c.draw.RealF(0, 1, 0.5);
         prop.anchorY = c.draw.RealF(0, 1, 0.5);
         return KwDibZoom(c.out, c.in[0], c.in[1], c.bytesPerPixel, prop, c.draw.Real(0, 1, 0.4));
     }},
    {"KwFillTestPattern", 0, kTakes8, TestPattern},
};

} // namespace

std::span<const tKernel> KwSpatialKernels() {
    return kKernels;
}
