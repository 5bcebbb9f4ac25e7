// Numbers as the user writes them. White space ahead is skipped. `end`, unless null, receives where reading stopped:
// behind the last digit, separator or decimal mark taken. A text without a number, or a null one, gives 0.
#pragma once

#include <span>

#include "support/locale_block.h"

/// The number at the beginning of a text in the form that C reads, zeros behind it to the end of `dest`: thousands
/// separators are dropped, the decimal mark becomes ".". Returns the rest of the text. Ends early where `dest` is full.
const char* NormalizeNumberText(std::span<char> dest, const char* text,
                                const tLOCALEBLOCK& locale = UserLocale()) noexcept;

double ReadDouble(const char* text, const char** end, const tLOCALEBLOCK& locale = UserLocale()) noexcept;

/// Decimals are read over and ignored; what is too large gives the nearest end of the range.
LONG ReadLong(const char* text, const char** end, const tLOCALEBLOCK& locale = UserLocale()) noexcept;
std::int64_t ReadInt64(const char* text, const char** end, const tLOCALEBLOCK& locale = UserLocale()) noexcept;

/// Hexadecimal digits of both cases with or without "0x" ahead; the low 32 bits of longer numbers.
DWORD ReadHex(const char* text, const char** end) noexcept;
