// Transparency from the distance to a key colour, and what goes with it.
#pragma once

#include "kernels/rgba.h"
#include "kernels/view.h"

/// Position of a channel in a pixel.
enum KW_COLOR_CHANNEL : LONG { KW_CHANNEL_BLUE, KW_CHANNEL_GREEN, KW_CHANNEL_RED, KW_CHANNEL_ALPHA };

/// All 0 to 1.
struct tMASKSETTINGS {
    float lowThreshold = 0;  ///< the distance at and below which alpha starts from 0
    float highThreshold = 1; ///< the distance above which alpha is full
    float level = 0;         ///< kept for saved parameters, without effect
    float blurAmount = 0;    ///< softness of the mask; 1 is a radius of 36 pixels
};
static_assert(sizeof(tMASKSETTINGS) == 16);

struct tCHROMAKEYPROP {
    float blue = 241.0f / 255.0f, green = 71.0f / 255.0f, red = 24.0f / 255.0f; ///< the key colour
    float alpha = 1;                                                            ///< without effect
    LONG maskOnly = 0;                                                          ///< shows alpha in place of the picture
    LONG selectedMask = 0; ///< which settings a page edits: 0 `transparencyMask`, else `colorCorrectionMask`
    tMASKSETTINGS colorCorrectionMask{.level = 0.8f}; ///< without effect on the picture
    tMASKSETTINGS transparencyMask;
};
static_assert(sizeof(tCHROMAKEYPROP) == 56);

/// Writes alpha by the distance to `key`: half of it lies in hue (twice, around the circle), saturation and luminance,
/// half in blue, green and red. Colours are divided by the old alpha and stay so; alpha never grows. Equal thresholds
/// make the pixels at that very distance clear. 4-byte form alone; the other is left as it is.
/// @return 0x80004003 without a key or settings
HRESULT KwDibCreateDifferenceAlpha(const tView& view, const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings,
                                   LONG bytesPerPixel);

/// Takes the key's spill out of every pixel that is not clear: with a blue key blue is limited to green, with a green
/// key green to red; a red key, and a tie for the largest channel, change nothing. 4-byte form alone.
/// @return 0x80004003 without a key; `settings` is not read
HRESULT KwDibApplyChromaCorrection(const tView& view, const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings,
                                   LONG bytesPerPixel);

/// Copies `input` to `output`, gives it alpha by `record`, softens that, takes out spill and premultiplies, or shows
/// alpha in all channels.
/// @return 0x80004001 for 16-byte pixels, with nothing written
HRESULT KwDibChromaKey(const tView& output, const tView& input, LONG bytesPerPixel, const tCHROMAKEYPROP& record);
