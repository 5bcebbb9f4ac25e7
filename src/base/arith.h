// Arithmetic that shows in results: conversions with one defined outcome and the blend rules.
#pragma once

#include <cstdint>
#include <limits>
#include <type_traits>

/// Truncates towards zero. What does not fit a 32-bit integer, not-a-number included, gives the least integer: what
/// the conversion instructions of x86 give.
constexpr std::int32_t KwTrunc(double value) {
    return value > -2147483649.0 && value < 2147483648.0 ? static_cast<std::int32_t>(value)
                                                         : std::numeric_limits<std::int32_t>::min();
}
constexpr std::int32_t KwTrunc(float value) {
    return value >= -2147483648.0f && value < 2147483648.0f ? static_cast<std::int32_t>(value)
                                                            : std::numeric_limits<std::int32_t>::min();
}

/// Truncates towards zero into 64 bits; what does not fit gives the least integer.
constexpr std::int64_t KwTrunc64(double value) {
    return value >= -9223372036854775808.0 && value < 9223372036854775808.0 ? static_cast<std::int64_t>(value)
                                                                            : std::numeric_limits<std::int64_t>::min();
}

/// Limits to a range by plain comparisons: not-a-number passes through unchanged.
template <class T>
constexpr T KwClamp(T value, std::type_identity_t<T> low, std::type_identity_t<T> high) {
    return value < low ? low : value > high ? high : value;
}

/// Two's complement wrap to 32 bits.
constexpr std::int32_t KwWrap32(std::int64_t value) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(static_cast<std::uint64_t>(value)));
}

/// Keeps the low eight bits.
constexpr std::uint8_t KwByte(std::int32_t value) {
    return static_cast<std::uint8_t>(value & 0xFF);
}

/// Division by 256 that truncates towards zero.
constexpr std::int32_t KwDiv256(std::int32_t value) {
    return (value + ((value >> 31) & 255)) >> 8;
}

/// The 8-bit blend rule: d + (s - d) * a / 256 with `a` from 0 to 255. At 255 it stops short of `s` by up to 1/256 of
/// the difference.
constexpr std::uint8_t KwBlend8(std::int32_t d, std::int32_t s, std::int32_t a) {
    return KwByte(d + KwDiv256((s - d) * a));
}

/// The float blend rule, without a clamp.
constexpr float KwBlendFloat(float d, float s, float a) {
    return d + (s - d) * a;
}
