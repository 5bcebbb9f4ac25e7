// Rows of pixels to and from samples, words 0xAARRGGBB.
#pragma once

#include <cstddef>

#include "host/surface.h"

namespace larkmoor {

enum class SampleKind { Straight, Premultiplied };

/// Room behind a row that is read from a surface without memory, whose runs may end behind the count.
inline constexpr std::size_t kSpareSamples = 64;

/// Reads `count` pixels. Floats are limited to 0 to 1, not-a-number counts as 0; everything is rounded to nearest.
/// Colour above alpha stays as it is between premultiplied forms and is limited to 255 when made straight.
void unpackRow(PixelFormat format, const std::byte* pixels, SampleKind kind, DWORD* samples, std::size_t count);

/// Writes `count` pixels, the reverse.
void packRow(PixelFormat format, std::byte* pixels, SampleKind kind, const DWORD* samples, std::size_t count);

} // namespace larkmoor
