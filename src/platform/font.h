// A font description as records hold it.
#pragma once

#include "platform/types.h"

/// The known 60-byte description. Only the members with a comment are looked at.
struct tLOGFONT {
    LONG lfHeight; ///< pixels: above 0 from the highest ascent to the lowest descent, below 0 of the em; 0 for 16
    LONG lfWidth, lfEscapement, lfOrientation;
    LONG lfWeight;         ///< 400 regular, 700 bold; 0 counts as regular
    std::uint8_t lfItalic; ///< 0 upright
    std::uint8_t lfUnderline, lfStrikeOut, lfCharSet, lfOutPrecision, lfClipPrecision, lfQuality, lfPitchAndFamily;
    char lfFaceName[32]; ///< family; ended by a zero unless it is full
};
static_assert(sizeof(tLOGFONT) == 60);
