// Rows of the kernels that look at each pixel alone.
#include <cmath>
#include <vector>

#include "base/arith.h"
#include "kernels/alpha.h"
#include "kernels/black_restore.h"
#include "kernels/blend.h"
#include "kernels/broadcast.h"
#include "kernels/channel_min.h"
#include "kernels/chroma_key.h"
#include "kernels/copy.h"
#include "kernels/desaturate.h"
#include "kernels/dissolve.h"
#include "kernels/hsl_adjust.h"
#include "kernels/invert.h"
#include "kernels/lut.h"
#include "kernels/mask_generator.h"
#include "kernels/noise.h"
#include "kernels/sepia.h"
#include "kernels/table.h"

namespace {

using tCall = tKernelCall;

struct tMatte {
    double rgb[3];
};
tMatte DrawMatte(CKwDraw& draw) {
    return {{draw.Real(0, 1, 0.2), draw.Real(0, 1, 0.5), draw.Real(0, 1, 0.7)}};
}

/// 256 bytes, or 65,536 words: a gamma curve, anything, or levels moved or split between two ends, all or all but one.
struct tCurveTable {
    std::vector<std::uint16_t> words;
    explicit tCurveTable(CKwDraw& draw, bool bytes) : words(bytes ? 128 : 65536) {
        const double gamma = draw.Real(0.2, 4, 0.6);
        const bool noise = draw.Flag(false), moved = draw.Flag(false), split = draw.Flag(false);
        const LONG count = bytes ? 256 : 65536, distance = draw.Within(-260, 260), least = draw.Within(-100, 200),
                   most = least + draw.Within(0, 300), other = draw.Within(-256, 255);
        const auto value = [&](LONG i) -> std::int64_t {
            const double top = count - 1;
            if (noise) return static_cast<std::int64_t>(draw.Bits());
            if (!moved) return KwTrunc64(std::pow(i / top, gamma) * top);
            const LONG level = split ? (i + distance) * 1000 : i + distance;
            return KwClamp(KwClamp(level, least, most), 0, 255) ^ (i == other ? 1 : 0);
        };
        for (LONG i = 0; i < count; ++i) {
            if (bytes)
                reinterpret_cast<std::uint8_t*>(words.data())[i] = static_cast<std::uint8_t>(value(i));
            else
                words[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(value(i));
        }
    }
};

tDISSOLVEPROP DrawDissolve(CKwDraw& draw) {
    const double red = draw.Real(0, 1, 0.5), green = draw.Real(0, 1, 0.25), blue = draw.Real(0, 1, 0.75);
    return {red, green, blue, draw.Real(0, 1, 1), draw.Whole(0, 9, 0), 0};
}

tCHROMAKEYPROP DrawKey(CKwDraw& draw) {
    tCHROMAKEYPROP key;
    key.blue = draw.RealF(0, 1, key.blue);
    key.green = draw.RealF(0, 1, key.green);
    key.red = draw.RealF(0, 1, key.red);
    key.maskOnly = draw.Flag(false);
    key.transparencyMask.lowThreshold = draw.RealF(0, 1, 0.1);
    key.transparencyMask.highThreshold = draw.RealF(0, 1, 0.4);
    key.transparencyMask.blurAmount = draw.Flag(false) ? draw.RealF(0, 0.2, 0) : 0.0f;
    return key;
}

HRESULT RunBroadcast(tCall c) {
    tBROADCASTPROP record;
    record.lumaMin = c.draw.Real(-10, 30, record.lumaMin);
    record.lumaMinSmooth = c.draw.Real(0, 1, 0);
    record.lumaMax = c.draw.Real(60, 110, record.lumaMax);
    record.lumaMaxSmooth = c.draw.Real(0, 1, 0);
    record.chromaMax = c.draw.Real(0, 148, record.chromaMax);
    record.chromaMaxSmooth = c.draw.Real(0, 1, 0);
    record.compositeMin = c.draw.Real(-47, 20, record.compositeMin);
    record.compositeMinSmooth = c.draw.Real(0, 1, 0);
    record.compositeMax = c.draw.Real(60, 148, record.compositeMax);
    record.compositeMaxSmooth = c.draw.Real(0, 1, 0);
    record.setup = c.draw.Flag(true);
    record.studioRGB = c.draw.Flag(true);
    double* const smooth[] = {&record.lumaMinSmooth, &record.lumaMaxSmooth, &record.chromaMaxSmooth,
                              &record.compositeMinSmooth, &record.compositeMaxSmooth};
    const LONG bent = c.draw.Whole(0, 9, 9); // all, one or none of the corners
    for (LONG i = 0; i < 5 && bent > 0; ++i)
        if (i != bent - 1) *smooth[i] = 0;
    tBroadcastTables tables;
    return KwDibBroadcast(c.out, c.bytesPerPixel, KwBuildBroadcastTables(record, tables));
}

HRESULT RunNoise(tCall c) {
    tNOISEPROP record{};
    record.gaussian = c.draw.Whole(0, 1, 1);
    record.monochromatic = c.draw.Flag(false);
    record.level = c.draw.Real(0, 1, 0.3);
    CKwR250 generator;
    generator.Seed(static_cast<std::uint32_t>(c.draw.Bits()));
    return (c.bytesPerPixel == 4 ? KwDibNoise : KwDibNoiseFloat)(c.out, c.in[0], record, generator);
}

HRESULT RunSepia(tCall c) {
    tSEPIAPROP record{};
    record.color.red = c.draw.Real(0, 1, 0.9);
    record.color.green = c.draw.Real(0, 1, 0.7);
    record.color.blue = c.draw.Real(0, 1, 0.4);
    record.strength = c.draw.Real(0, 1, 0.5);
    record.falloff = c.draw.Flag(false) ? 0.0 : c.draw.Real(-0.2, 1, 0.5);
    return KwDibSepia(c.out, c.in[0], c.bytesPerPixel, &record, c.draw.Flag(true));
}

HRESULT RunMask(tCall c) {
    tMASKPROP record{};
    record.type = c.draw.Whole(0, 5, 1);
    record.lowIn = c.draw.Real(0, 1, 0.1);
    record.highIn = c.draw.Real(0, 1, 0.9);
    record.lowOut = c.draw.Real(0, 1, 0);
    record.highOut = c.draw.Real(0, 1, 1);
    record.invert = c.draw.Flag(false);
    return KwDibMask(c.out, c.in[0], c.bytesPerPixel, &record);
}

constexpr tKernel kKernels[] = {
    {"KwDibCopy", 1, kTakesBoth | kInPlace, [](tCall c) { return KwDibCopy(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibFill", 0, kTakesBoth,
     [](tCall c) {
         const tMatte color = DrawMatte(c.draw);
         return KwDibFill(c.out, c.bytesPerPixel, color.rgb[0], color.rgb[1], color.rgb[2], c.draw.Real(0, 1, 0.9));
     }},
    {"KwDibCopyChannel", 1, kTakesBoth | kInPlace,
     [](tCall c) {
         const LONG to = c.draw.Whole(0, 3, 3);
         return KwDibCopyChannel(c.out, c.in[0], c.bytesPerPixel, to, c.draw.Whole(0, 3, 1));
     }},
    {"KwDibBlend", 1, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibBlend(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(-0.2, 1.2, 0.3)); }},
    {"KwDibBlendSrcAlpha", 1, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibBlendSrcAlpha(c.out, c.in[0], c.bytesPerPixel); }},
    {"KwDibBlendSrcAlpha matte", 1, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibBlendSrcAlpha(c.out, c.in[0], c.bytesPerPixel, DrawMatte(c.draw).rgb); }},
    {"KwDibAddScaled", 1, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibAddScaled(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 0.7), 3, 0.0, 0.0); }},
    {"KwDibAddScaled offset", 1, kTakesBoth,
     [](tCall c) {
         const double amount = c.draw.Real(0, 1, 0.7), x = c.draw.Real(-3, 3, 0.3), y = c.draw.Real(-3, 3, 0.6);
         return KwDibAddScaled(c.out, c.in[0], c.bytesPerPixel, amount, 3, x, y);
     }},
    {"KwDibSumScaled", 2, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibSumScaled(c.out, c.in[0], c.in[1], c.bytesPerPixel, c.draw.Real(0, 1, 0.7)); }},
    {"KwDibClampToAlpha", 0, kTakesBoth, [](tCall c) { return KwDibClampToAlpha(c.out, c.bytesPerPixel); }},
    {"KwDibPremultiply", 0, kTakesBoth, [](tCall c) { return KwDibPremultiply(c.out, c.bytesPerPixel); }},
    {"KwDibDesaturate", 0, kTakesBoth, [](tCall c) { return KwDibDesaturate(c.out, c.bytesPerPixel, false); }},
    {"KwDibDesaturate luminance", 0, kTakesBoth, [](tCall c) { return KwDibDesaturate(c.out, c.bytesPerPixel, true); }},
    {"KwDibBlackAndWhite", 1, kTakesBoth,
     [](tCall c) { return KwDibBlackAndWhite(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 0.8)); }},
    {"KwDibInvert", 1, kTakesBoth,
     [](tCall c) { return KwDibInvert(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 1)); }},
    {"KwDibInvertInPlace", 0, kTakesBoth, [](tCall c) { return KwDibInvertInPlace(c.out, c.bytesPerPixel); }},
    {"KwDibMapLut", 1, kTakesBoth | kInPlace,
     [](tCall c) {
         const bool bytes = c.bytesPerPixel == 4 || c.draw.Flag(true);
         const tCurveTable table(c.draw, bytes);
         const auto channels = c.draw.Flag(true) ? unsigned{kMapColors} : static_cast<unsigned>(c.draw.Within(0, 15));
         return KwDibMapLut(c.out, c.in[0], c.bytesPerPixel, table.words.data(), bytes, channels, c.draw.Flag(true));
     }},
    {"KwDibApplyLuts", 0, kTakesBoth,
     [](tCall c) {
         const bool bytes = c.bytesPerPixel == 4 || c.draw.Flag(true);
         const tCurveTable first(c.draw, bytes), second(c.draw, bytes);
         const void* tables[4]{};
         for (const void*& table : tables) {
             const LONG which = c.draw.Whole(0, 2, 1);
             table = which == 0 ? nullptr : which == 1 ? first.words.data() : second.words.data();
         }
         return KwDibApplyLuts(c.out, c.bytesPerPixel, tables[0], tables[1], tables[2], tables[3], bytes);
     }},
    {"KwDibBrightness", 0, kTakesBoth,
     [](tCall c) { return KwDibBrightness(c.out, c.bytesPerPixel, c.draw.RealF(-1, 1, 0.2)); }},
    {"KwDibHslAdjust", 1, kTakesBoth | kInPlace,
     [](tCall c) {
         tHSLADJUSTPROP record{};
         record.addHue = c.draw.Real(0, 1, 0.3);
         record.saturation = c.draw.Real(0, 3, 1.2);
         record.luminance = c.draw.Real(0, 3, 0.9);
         return KwDibHslAdjust(c.out, c.in[0], c.bytesPerPixel, &record);
     }},
    {"KwDibSepia", 1, kTakesBoth | kInPlace, RunSepia},
    {"KwDibBlackRestore", 1, kTakesBoth | kInPlace,
     [](tCall c) { return KwDibBlackRestore(c.out, c.in[0], c.bytesPerPixel, c.draw.Real(0, 1, 0.1)); }},
    {"KwDibBroadcast", 0, kTakes8, RunBroadcast},
    {"KwDibMask", 1, kTakesBoth | kInPlace, RunMask},
    {"KwDibNoise", 1, kTakesBoth | kInPlace, RunNoise},
    {"KwDibChromaKey", 1, kTakes8,
     [](tCall c) { return KwDibChromaKey(c.out, c.in[0], c.bytesPerPixel, DrawKey(c.draw)); }},
    {"KwDibChannelMin", 1, kTakesBoth | kInPlace,
     [](tCall c) {
         const LONG to = c.draw.Whole(0, 3, 3), from = c.draw.Whole(0, 3, 3);
         return KwDibChannelMin(c.out, to, c.in[0], from, c.draw.Whole(-1, 40, 5), c.bytesPerPixel);
     }},
    {"KwDibDissolve", 2, kTakes8 | kInPlace,
     [](tCall c) {
         const tDISSOLVEPROP record = DrawDissolve(c.draw);
         return KwDibDissolve(c.out, c.in[0], c.in[1], record, c.draw.RealF(0, 1, 0.4));
     }},
};

} // namespace

std::span<const tKernel> KwPixelKernels() {
    return kKernels;
}
