#pragma once

#include <cstddef>

#include "platform/font.h"

/// Parameters of Text. The first 124 bytes are the same everywhere; the text is the record's own.
struct tTEXTPROP {
    tLOGFONT font;
    LONG vertical;   ///< 0 top, 1 centre, 2 bottom
    LONG horizontal; ///< 0 left, 1 centre, 2 right
    float back[4];   ///< blue, green, red, alpha, 0 to 1, not premultiplied
    float fore[4];
    float tracking; ///< 0 to 1 scales the natural advance, from there to 2 blends to a fixed pitch
    float leading;  ///< of the font's own line pitch
    DWORD signature[4];
    LONG textLength; ///< 16-bit characters, the ending zero included
    WCHAR* text;
};
inline constexpr std::size_t kTextFixedBytes = offsetof(tTEXTPROP, textLength);
static_assert(kTextFixedBytes == 124 && offsetof(tTEXTPROP, text) == 128 && sizeof(tTEXTPROP) == 128 + sizeof(void*));

/// The mark of a record with a Unicode text.
inline constexpr DWORD kTextSignature[4] = {0x12345678, 0x00020001, 0x06050403, 0x01090807};
