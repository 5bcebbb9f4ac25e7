// Rows of pixels between formats, with an operator that combines them.
#pragma once

#include <span>

#include "platform/types.h"

/// Formats by code. Words are little-endian; a format without alpha reads as opaque.
enum eROWFORMAT : LONG {
    kRowBgra32 = 16,    ///< blue, green, red, alpha, a byte each: the 4-byte form of the views
    kRowBgrx32,         ///< the same with a byte that is written as 255 and read as nothing
    kRowBgr24,          ///< blue, green, red, a byte each
    kRow565,            ///< 16 bits: red on top, green, blue
    kRow555,            ///< 16 bits: a bit that is written as 0, red, green, blue
    kRowGrey8,          ///< (77 red + 150 green + 29 blue) / 256
    kRowRgba32,         ///< red, green, blue, alpha, a byte each
    kRowBgra64,         ///< blue, green, red, alpha, 16 bits each
    kRowBgraFloat,      ///< the same as floats, 1.0 being full scale: the 16-byte form of the views
    kRowBgraHalf,       ///< the same as half floats, IEEE 754 binary16
    kRowLastFormat = 32 ///< those from 26 on are kept free
};

/// Operators by number: source s and destination d, channel by channel, 65535 being full scale.
enum eROWOPERATOR : LONG {
    kRowCopy,          ///< s
    kRowSourceAlpha,   ///< d + ((s - d) * alpha of s >> 16)
    kRowBlend,         ///< d + ((s - d) * weight >> 16), the weight being the second extra value
    kRowBlendByAlpha,  ///< the same with the weight times the alpha of s >> 16
    kRowAdd,           ///< s + d, limited to full scale
    kRowOperators = 20 ///< the rest are kept free
};

/// Bits of a plan's flags. The low four bits name a group of further bits; bits 16 to 23 are a channel shift that no
/// operator here looks at.
enum : ULONG { kRowPlain = 16, kRowFormatVariant = 32, kRowOperatorVariant = 64, kRowSecondSet = 128 };

/// A pixel between formats: 16 bits a channel.
struct tRowPixel {
    std::uint16_t b, g, r, a;
};

/// A conversion, made once and used for any number of rows, by any number of threads.
struct tRowPlan {
    ULONG flags; ///< with the groups and, where a format has no direct way, `kRowPlain`
    LONG destinationFormat, sourceFormat;
    ULONG channelShift;
    void (*read)(const void* from, tRowPixel* to, LONG count);
    void (*readDestination)(const void* from, tRowPixel* to, LONG count); ///< null where the operator doesn't ask
    void (*write)(void* to, const tRowPixel* from, LONG count);
    void (*operate)(tRowPixel* d, const tRowPixel* s, LONG count, const tRowPlan& plan); ///< null for a copy
    void (*direct)(void* to, const void* from, LONG count, const tRowPlan& plan);        ///< in place of the four
    LONG extra[7]; ///< the operator, then its values
};

/// Makes a plan. Formats outside 16 to 32, operators outside 0 to 19 and more than seven extra values give 0x80070057;
/// what has no routine gives 0x80004001, the variants of flags included. Between two rows of one form of the views the
/// operators copy, source alpha and blend work on the pixels as they are: bytes by `KwBlend8` with the upper eight bits
/// of the weight, floats by `KwBlendFloat` without a limit; `kRowPlain` forces the long way.
HRESULT KwMakeRowPlan(ULONG flags, LONG destinationFormat, LONG sourceFormat, std::span<const LONG> extra,
                      tRowPlan& plan);

/// Converts `count` pixels, at any addresses. The rows may be the same one where the formats are, but must not overlap
/// otherwise.
void KwConvertRow(const tRowPlan& plan, void* destination, const void* source, LONG count);
