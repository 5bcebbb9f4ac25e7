// The kernels that the module exports with C linkage, and the records that they take.
//
// A picture is four arguments: its memory; its frame, whose coordinates are those of the memory, pixel (x, y) standing
// at bits + y * stride + x * bytes per pixel; the stride in bytes, which may be negative; and its clip, the part that
// may be touched, null for the whole frame. Pixels are 4 bytes or, for every other `bytesPerPixel`, four floats, in
// the order blue, green, red, alpha; colours are premultiplied unless a function says otherwise. A null frame, and
// null memory where there are pixels, give 0x80004003; clips of pictures that differ in size 0x80070057; short memory
// 0x8007000E. Nothing is thrown. What a function does with its pictures is told where the kernel of its name stands.
#pragma once

#include "kernels/barn.h"
#include "kernels/chroma_key.h"
#include "kernels/clock.h"
#include "kernels/copy.h"
#include "kernels/mask_border.h"
#include "kernels/mask_generator.h"
#include "kernels/push.h"
#include "kernels/squeeze.h"
#include "kernels/zoom.h"

extern "C" {

KWEXPORT HRESULT KwDibBrightness(void* bits, const RECT* frame, LONG stride, const RECT* clip, LONG bytesPerPixel,
                                 float amount);

KWEXPORT HRESULT KwDibChannelMin(void* dstBits, const RECT* dstFrame, LONG dstStride, const RECT* dstClip,
                                 LONG dstChannel, void* srcBits, const RECT* srcFrame, LONG srcStride,
                                 const RECT* srcClip, LONG srcChannel, LONG radius, LONG bytesPerPixel);

/// A null `prop` gives 0x80004003.
KWEXPORT HRESULT KwDibClock(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* sourceBits,
                            const RECT* sourceFrame, LONG sourceStride, const RECT* sourceClip, LONG bytesPerPixel,
                            const tCLOCKPROP* prop, double progress);

/// The source's stride stands before its frame. A null `prop` gives 0x80070057.
KWEXPORT HRESULT KwDibMask(void* dstBits, const RECT* dstFrame, LONG dstStride, const RECT* dstClip, void* srcBits,
                           LONG srcStride, const RECT* srcFrame, const RECT* srcClip, LONG bytesPerPixel,
                           const tMASKPROP* prop);

/// A null `prop` gives 0x80004003.
KWEXPORT HRESULT KwDibPush(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                           const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                           const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                           const tPUSHPROP* prop, double progress);

/// A null `prop` gives 0x80004003.
KWEXPORT HRESULT KwDibBarn(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                           const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                           const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                           const tBARNPROP* prop, double progress);

KWEXPORT HRESULT KwDibSqueeze(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                              const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                              const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                              tSQUEEZEPROP prop, double progress);

KWEXPORT HRESULT KwDibZoom(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                           const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                           const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                           tZOOMPROP prop, double progress);

/// Both inputs have one frame and one clip.
KWEXPORT HRESULT KwDibWipe(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                           void* secondBits, LONG firstStride, LONG secondStride, const RECT* inputFrame,
                           const RECT* inputClip, LONG bytesPerPixel, double featherPixels, double angle,
                           double progress, LONG blendWithOutput);

/// Both inputs have one frame and one clip.
KWEXPORT HRESULT KwTwin_mix(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                            void* secondBits, LONG firstStride, LONG secondStride, const RECT* inputFrame,
                            const RECT* inputClip, LONG bytesPerPixel);

/// A null `key` or `settings` gives 0x80004003.
KWEXPORT HRESULT KwDibCreateDifferenceAlpha(void* bits, const RECT* frame, LONG stride, const RECT* clip,
                                            const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings,
                                            LONG bytesPerPixel);

/// A null `key` gives 0x80004003; `settings` is not read.
KWEXPORT HRESULT KwDibApplyChromaCorrection(void* bits, const RECT* frame, LONG stride, const RECT* clip,
                                            const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings,
                                            LONG bytesPerPixel);

/// `KwCreateMaskBorder` on masks whose rectangles are their frames. `border` may be null where `info->border` is 0.
/// A null `mask` gives 0x80070057, any other null 0x80004003.
KWEXPORT HRESULT CreateMaskBorder(const RECT* shapeFrame, const RECT* maskFrame, unsigned char* mask,
                                  const RECT* maskRect, LONG maskStride, unsigned char* border, const RECT* borderRect,
                                  LONG borderStride, LONG bytesPerPixel, double aspect, double progress, LONG fixedSize,
                                  tIRISINFO* info);
}
