// One picture pushed in by a side, the other out of the way or left where it is.
#pragma once

#include "kernels/view.h"

struct tPUSHPROP {
    LONG direction; ///< 0 up, 1 right, 2 down, 3 left
    LONG pushOff;   ///< 1: the first picture is pushed off; 0: it stays
    float border;   ///< solid width, share of the travel
    float feather;  ///< soft width, share of the travel
    float blue, green, red, alpha;
};
static_assert(sizeof(tPUSHPROP) == 32);

/// `second` slides over `out`, pushing `first` as `prop` says; border and softness run along its leading edge.
/// `progress` is limited to 0 to 1. The frames of both pictures are read whatever their clips; the clip of `first` says
/// which part of the transition `out` shows. Clips of different sizes give E_INVALIDARG, a missing frame or memory
/// E_POINTER. For a direction other than the four, `second` covers `first`.
HRESULT KwDibPush(const tView& out, const tView& first, const tView& second, LONG bytesPerPixel, const tPUSHPROP& prop,
                  double progress);
