// Times as text. A time counts 100-nanosecond units.
#pragma once

#include <span>

#include "platform/time_format.h"
#include "support/locale_block.h"

enum eTIMEMODE : LONG { kModePlain, kModeSmpte30, kModeDrop, kModeEbu25, kModeFilm24, kModeNonDrop };

struct tSMPTETIME {
    LONG mode; ///< eTIMEMODE, set by the caller; any other number is plain
    LONG hours, minutes, seconds, frames;
};
static_assert(sizeof(tSMPTETIME) == 20);

struct tMUSICTIME {
    LONG measures, beats, ticks; ///< all from 0
};

/// Splits a time by the mode of `out`. Plain: clock time that wraps at 24 hours, its fraction counted in `rate` parts a
/// second and rounded; the other modes have rates of their own.
void SplitTime(std::int64_t time, double rate, tSMPTETIME& out) noexcept;

/// Splits a count of frames by the mode of `out`; plain counts as drop. The drop modes start anew from the label
/// 2589407 on, a good minute before 24 hours of labels.
void SplitFrames(std::int64_t frames, tSMPTETIME& out) noexcept;

tMUSICTIME SplitMusicalTime(std::int64_t time, const tTIMEFORMAT& format) noexcept;

inline constexpr ULONG kTimeFull = 1;     ///< the form for display, without the fraction
inline constexpr ULONG kTimeAbsolute = 2; ///< without the offset, and measure and beat from 0

/// Formats a time; a negative one gets an ASCII "-" ahead. `pattern` is one of `FormatValue` for the format's values,
/// null for the format's own. Of `flags` only `kTimeAbsolute` counts. Returns the bytes written; `dest` as there.
std::size_t FormatTimeEx(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, const char* pattern,
                         ULONG flags, const tLOCALEBLOCK& locale = UserLocale()) noexcept;

std::size_t FormatTime(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, bool full,
                       const tLOCALEBLOCK& locale = UserLocale()) noexcept;
std::size_t FormatTimeFlags(std::span<char> dest, const tTIMEFORMAT& format, std::int64_t time, ULONG flags,
                            const tLOCALEBLOCK& locale = UserLocale()) noexcept;
