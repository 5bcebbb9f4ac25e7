// Numbers as the user reads them. A pattern is that of printf, with a second lead-in: `%` conversions come out as in C,
// `$` conversions in the user's locale, and some codes stand for the locale's separators.
//
//   %d %i %u %x %X %o   32-bit integers; with I64 or ll ahead of the letter, 64 bits
//   %f %e %E %g %G      doubles
//   %c %s               a character, a UTF-8 text
//   $d $i $u $f $g $G   the same in the locale, grouped ($g: decimal mark alone)
//   $.3z                a 32-bit integer in thousandths, grouped; %.3z without groups
//   $* $, $:            decimal mark, list separator, time separator
//   $&: $&.             measure-beat and beat-tick separators
//   $!: $!. $!,         SMPTE separators: whole, non-drop, drop
//   $(name) $(12.5)     a named string; a number literal in the locale
//   $$ %%               the lead-ins themselves
//
// Nothing is reported: what isn't understood, or has no argument of its kind, is copied as it stands. Widths count
// bytes and pad ahead of the grouping. One conversion gives at most 259 bytes before grouping.
#pragma once

#include <array>
#include <concepts>
#include <span>
#include <string>

#include "support/locale_block.h"

/// An argument of a pattern. Integers and reals convert into each other where the conversion asks for it.
class tFORMATARG {
  public:
    enum class eKind { Integer, Real, Text };

    template <std::integral T>
    constexpr tFORMATARG(T value) : m_kind(eKind::Integer), m_integer(static_cast<std::int64_t>(value)) {}
    template <std::floating_point T>
    constexpr tFORMATARG(T value) : m_kind(eKind::Real), m_real(static_cast<double>(value)) {}
    /// Ended by a zero; null is an empty text.
    constexpr tFORMATARG(const char* value) : m_kind(eKind::Text), m_text(value ? value : "") {}

    constexpr bool IsText() const { return m_kind == eKind::Text; }
    std::int64_t Integer() const; ///< a real is truncated, the least integer if it doesn't fit; 0 for a text
    LONG Integer32() const;       ///< the same for 32 bits; of a wider integer the low half
    double Real() const;          ///< 0 for a text
    const char* Text() const { return IsText() ? m_text : ""; }

  private:
    eKind m_kind;
    union {
        std::int64_t m_integer;
        double m_real;
        const char* m_text;
    };
};

/// Formats into `dest`, which is always ended by a zero if it has room for one. Text that doesn't fit is cut, never
/// within a UTF-8 sequence. Returns the bytes written without the zero. A null pattern is an empty one.
std::size_t FormatValueArgs(const tLOCALEBLOCK& locale, std::span<char> dest, const char* pattern,
                            std::span<const tFORMATARG> args) noexcept;

template <std::convertible_to<tFORMATARG>... A>
std::size_t FormatValue(const tLOCALEBLOCK& locale, std::span<char> dest, const char* pattern,
                        const A&... args) noexcept {
    const std::array<tFORMATARG, sizeof...(A)> list{tFORMATARG(args)...};
    return FormatValueArgs(locale, dest, pattern, list);
}

template <std::convertible_to<tFORMATARG>... A>
std::size_t FormatValue(std::span<char> dest, const char* pattern, const A&... args) noexcept {
    return FormatValue(UserLocale(), dest, pattern, args...);
}

/// The text for a control or a message, of any length; empty if memory runs out.
std::string FormatTextArgs(const tLOCALEBLOCK& locale, const char* pattern, std::span<const tFORMATARG> args) noexcept;

template <std::convertible_to<tFORMATARG>... A>
std::string FormatText(const char* pattern, const A&... args) noexcept {
    const std::array<tFORMATARG, sizeof...(A)> list{tFORMATARG(args)...};
    return FormatTextArgs(UserLocale(), pattern, list);
}

/// A number text of C in the locale: leading text that isn't part of the number is copied, the rest must be digits with
/// at most one "." and a "-" ahead, or nothing is written for it. `decimals` rounds or pads; -1 keeps those there are.
/// Return and `dest` as for `FormatValueArgs`.
std::size_t GroupNumber(std::string_view text, std::span<char> dest, LONG decimals,
                        const tLOCALEBLOCK& locale = UserLocale()) noexcept;
/// The same without decimals.
std::size_t GroupInteger(std::string_view text, std::span<char> dest,
                         const tLOCALEBLOCK& locale = UserLocale()) noexcept;
/// The same with decimals and without groups.
std::size_t LocalizeNumber(std::string_view text, std::span<char> dest, LONG decimals,
                           const tLOCALEBLOCK& locale = UserLocale()) noexcept;

/// A value in units of 10 to the minus `decimals` (0 to 9), with a suffix, null for none. "-Inf." for a value at or
/// under a `limit` that isn't 0, "Err." for a text longer than 23 bytes. The text stays good for the next 63 calls of
/// this thread.
const char* FormatCount(LONG value, LONG decimals, LONG limit, const char* suffix) noexcept;
/// The same for a plain value; without decimals it is truncated.
const char* FormatValueFloat(double value, LONG decimals, double limit, const char* suffix) noexcept;

/// Copies a text with each "&" doubled, so that it shows in a menu or a label. A pair that doesn't fit is cut whole.
/// Return and `dest` as for `FormatValueArgs`.
std::size_t DoubleAmpersands(std::span<char> dest, const char* text) noexcept;
