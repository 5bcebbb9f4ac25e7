#include "kernels/exports.h"

#include "base/guard.h"
#include "kernels/channel_min.h"
#include "kernels/lut.h"
#include "kernels/wipe.h"

HRESULT KwDibBrightness(void* bits, const RECT* frame, LONG stride, const RECT* clip, LONG bytesPerPixel,
                        float amount) {
    return KwGuarded([&] { return KwDibBrightness(tView{bits, frame, stride, clip}, bytesPerPixel, amount); });
}

HRESULT KwDibChannelMin(void* dstBits, const RECT* dstFrame, LONG dstStride, const RECT* dstClip, LONG dstChannel,
                        void* srcBits, const RECT* srcFrame, LONG srcStride, const RECT* srcClip, LONG srcChannel,
                        LONG radius, LONG bytesPerPixel) {
    return KwGuarded([&] {
        return KwDibChannelMin(tView{dstBits, dstFrame, dstStride, dstClip}, dstChannel,
                               tView{srcBits, srcFrame, srcStride, srcClip}, srcChannel, radius, bytesPerPixel);
    });
}

HRESULT KwDibClock(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* sourceBits,
                   const RECT* sourceFrame, LONG sourceStride, const RECT* sourceClip, LONG bytesPerPixel,
                   const tCLOCKPROP* prop, double progress) {
    return KwGuarded([&] {
        return KwDibClock(tView{outBits, outFrame, outStride, outClip},
                          tView{sourceBits, sourceFrame, sourceStride, sourceClip}, bytesPerPixel, prop, progress);
    });
}

HRESULT KwDibMask(void* dstBits, const RECT* dstFrame, LONG dstStride, const RECT* dstClip, void* srcBits,
                  LONG srcStride, const RECT* srcFrame, const RECT* srcClip, LONG bytesPerPixel,
                  const tMASKPROP* prop) {
    return KwGuarded([&] {
        return KwDibMask(tView{dstBits, dstFrame, dstStride, dstClip}, tView{srcBits, srcFrame, srcStride, srcClip},
                         bytesPerPixel, prop);
    });
}

HRESULT KwDibPush(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                  const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                  const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                  const tPUSHPROP* prop, double progress) {
    if (!prop) return E_POINTER;
    return KwGuarded([&] {
        return KwDibPush(tView{outBits, outFrame, outStride, outClip},
                         tView{firstBits, firstFrame, firstStride, firstClip},
                         tView{secondBits, secondFrame, secondStride, secondClip}, bytesPerPixel, *prop, progress);
    });
}

HRESULT KwDibBarn(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                  const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                  const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                  const tBARNPROP* prop, double progress) {
    if (!prop) return E_POINTER;
    return KwGuarded([&] {
        return KwDibBarn(tView{outBits, outFrame, outStride, outClip},
                         tView{firstBits, firstFrame, firstStride, firstClip},
                         tView{secondBits, secondFrame, secondStride, secondClip}, bytesPerPixel, *prop, progress);
    });
}

HRESULT KwDibSqueeze(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                     const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                     const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                     tSQUEEZEPROP prop, double progress) {
    return KwGuarded([&] {
        return KwDibSqueeze(tView{outBits, outFrame, outStride, outClip},
                            tView{firstBits, firstFrame, firstStride, firstClip},
                            tView{secondBits, secondFrame, secondStride, secondClip}, bytesPerPixel, prop, progress);
    });
}

HRESULT KwDibZoom(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                  const RECT* firstFrame, LONG firstStride, const RECT* firstClip, void* secondBits,
                  const RECT* secondFrame, LONG secondStride, const RECT* secondClip, LONG bytesPerPixel,
                  tZOOMPROP prop, double progress) {
    return KwGuarded([&] {
        return KwDibZoom(tView{outBits, outFrame, outStride, outClip},
                         tView{firstBits, firstFrame, firstStride, firstClip},
                         tView{secondBits, secondFrame, secondStride, secondClip}, bytesPerPixel, prop, progress);
    });
}

HRESULT KwDibWipe(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                  void* secondBits, LONG firstStride, LONG secondStride, const RECT* inputFrame, const RECT* inputClip,
                  LONG bytesPerPixel, double featherPixels, double angle, double progress, LONG blendWithOutput) {
    return KwGuarded([&] {
        return KwDibWipe(tView{outBits, outFrame, outStride, outClip},
                         tView{firstBits, inputFrame, firstStride, inputClip},
                         tView{secondBits, inputFrame, secondStride, inputClip}, bytesPerPixel, featherPixels, angle,
                         progress, blendWithOutput != 0);
    });
}

HRESULT KwTwin_mix(void* outBits, const RECT* outFrame, LONG outStride, const RECT* outClip, void* firstBits,
                   void* secondBits, LONG firstStride, LONG secondStride, const RECT* inputFrame, const RECT* inputClip,
                   LONG bytesPerPixel) {
    return KwGuarded([&] {
        return KwTwin_mix(tView{outBits, outFrame, outStride, outClip},
                          tView{firstBits, inputFrame, firstStride, inputClip},
                          tView{secondBits, inputFrame, secondStride, inputClip}, bytesPerPixel);
    });
}

HRESULT KwDibCreateDifferenceAlpha(void* bits, const RECT* frame, LONG stride, const RECT* clip,
                                   const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings, LONG bytesPerPixel) {
    return KwGuarded([&] {
        return KwDibCreateDifferenceAlpha(tView{bits, frame, stride, clip}, key, settings, bytesPerPixel);
    });
}

HRESULT KwDibApplyChromaCorrection(void* bits, const RECT* frame, LONG stride, const RECT* clip,
                                   const tKWRGBADOUBLE* key, const tMASKSETTINGS* settings, LONG bytesPerPixel) {
    return KwGuarded([&] {
        return KwDibApplyChromaCorrection(tView{bits, frame, stride, clip}, key, settings, bytesPerPixel);
    });
}

HRESULT CreateMaskBorder(const RECT* shapeFrame, const RECT* maskFrame, unsigned char* mask, const RECT* maskRect,
                         LONG maskStride, unsigned char* border, const RECT* borderRect, LONG borderStride,
                         LONG bytesPerPixel, double aspect, double progress, LONG fixedSize, tIRISINFO* info) {
    return KwGuarded([&] {
        return KwCreateMaskBorder(shapeFrame, maskFrame, {mask, maskRect, maskStride, nullptr},
                                  {border, borderRect, borderStride, nullptr}, bytesPerPixel, aspect, progress,
                                  fixedSize != 0, info);
    });
}
