// Words and floats of picture memory at any address: a host's stride need not be a multiple of 4.
// Variables name these types: `auto` in a template forgets that the address may be odd.
#pragma once

#include "kernels/view.h"

using tAnyWord [[gnu::aligned(1), gnu::may_alias]] = std::uint32_t;
using tAnyFloat [[gnu::aligned(1), gnu::may_alias]] = float;
using tAnyWord16 [[gnu::aligned(1), gnu::may_alias]] = std::uint16_t;

/// A row as whole pixels 0xAARRGGBB, on a machine with the low byte first.
inline tAnyWord* KwWordRow(const tRows& rows, LONG y) {
    return reinterpret_cast<tAnyWord*>(rows.first + rows.stride * y);
}

/// A row of the 16-byte form, four floats a pixel.
inline tAnyFloat* KwFloatRow(const tRows& rows, LONG y) {
    return reinterpret_cast<tAnyFloat*>(rows.first + rows.stride * y);
}
