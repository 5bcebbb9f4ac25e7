// Luma, chroma and their sum held inside the limits of composite broadcast video.
#pragma once

#include <cstdint>

#include "kernels/view.h"

/// Limits in IRE; each smoothness, 0 to 1, is the width of the knee that takes the place of a hard corner.
struct tBROADCASTPROP {
    double lumaMin = 0, lumaMinSmooth = 0;
    double lumaMax = 100, lumaMaxSmooth = 0;
    double chromaMax = 100, chromaMaxSmooth = 0;
    double compositeMin = -20, compositeMinSmooth = 0;
    double compositeMax = 110, compositeMaxSmooth = 0;
    LONG setup = 1;     ///< black stands at 7.5 IRE
    LONG studioRGB = 1; ///< colours run from 16 to 235, not from 0 to 255
};
static_assert(sizeof(tBROADCASTPROP) == 88);

/// The work tables. Levels and indices are half-IRE steps: 200 is 100 IRE.
struct tBroadcastTables {
    static constexpr int kLumaFirst = -16, kLumaCount = 236;
    static constexpr int kChromaCount = 296, kCompositeCount = 240;
    static constexpr double kUnchanged = -3454.0; ///< mark in `lumaOut`

    double lumaOut[kLumaCount];                      ///< the new luma, or the mark; entry 0 is for `kLumaFirst`
    double lumaCode[kLumaCount];                     ///< the new luma as a pixel code plus 0.5
    double weightR[256], weightG[256], weightB[256]; ///< share of a channel's code in luma; setup is in the blue one
    double chromaScale[kChromaCount];                ///< gain by twice the amplitude
    /// Gain by 200 times amplitude over room: the lower composite limit's table, then the upper one's.
    double compositeScale[2 * kCompositeCount];
};
static_assert(sizeof(tBroadcastTables) == 16128);

/// The numbers of a pass whose limits are all hard corners, for floats.
struct tBroadcastCorners {
    bool hard;            ///< all corners are, and the limits lie within reach of video levels: else the rest is unset
    float perSum, offset; ///< luma from 1000 times the weighted codes
    float perUnit;        ///< half-IRE of a thousandth of a code
    float lumaLow, lumaHigh;     ///< half-IRE
    float firstSame, firstAbove; ///< luma indices that are neither
    float codesPer, codeOffset;  ///< code of a luma index, plus 0.5
    float codeLow, codeHigh;     ///< codes of the luma limits, plus 0.5
    float chroma, loud;          ///< largest chroma, and twice the amplitude from which that holds
    float upper, lower;          ///< composite limits, half-IRE
};

/// What one pass over a picture takes: the tables and the numbers that go with them.
struct tBroadcastPass {
    const tBroadcastTables* tables;
    double black, perCode, setupLevel; ///< the weights as a formula: share * ((code - black) * perCode) + setupLevel
    double perUnit;                    ///< half-IRE of a pixel code
    double upper, lower;               ///< composite limits, half-IRE
    double half, quarter;              ///< where the chroma knee begins: half-IRE, and squared
    double lowKnee, highKnee;          ///< where the composite knees begin, as shares of the room
    std::int32_t sameFirst, sameEnd;   ///< luma indices whose level is unchanged
    tBroadcastCorners corners;
};

/// Fills `tables` and returns what else a pass takes. Any record gives tables; values that no page lets through may
/// give levels that are no limits at all, infinities and not-a-numbers among them.
tBroadcastPass KwBuildBroadcastTables(const tBROADCASTPROP& record, tBroadcastTables& tables);

/// Limits the pixels of the clip in place; those that are legal keep their bytes. New colours are limited to 0 to
/// alpha, and alpha stays.
/// @return 0x80004001 for 16-byte pixels
HRESULT KwDibBroadcast(const tView& view, LONG bytesPerPixel, const tBroadcastPass& pass);
