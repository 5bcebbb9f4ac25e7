// The earlier broadcast curve: bytes bent into 16 to 235.
#pragma once

#include <cstdint>

/// Fills 256 bytes. The lower knee reaches up to 16 to 32 with `lowBound` 0 to 1, the upper one down to 235 to 215
/// with `highBound`; each end is bent only where its flag is set.
void BuildGamutCurve(std::uint8_t* table, double lowBound, double highBound, bool smoothLow, bool smoothUpper);

/// Fills 256 bytes: 255 - i below 16 and above 235, i between them.
void KwBuildOutOfRangeTable(std::uint8_t* table);
