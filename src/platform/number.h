// Numbers from text, whatever the locale.
#pragma once

#include <charconv>

#if defined(__wasm__) // its C++ library reads whole numbers alone
std::from_chars_result KwReadNumber(const char* begin, const char* end, double& value) noexcept;
#else
/// `std::from_chars`.
inline std::from_chars_result KwReadNumber(const char* begin, const char* end, double& value) noexcept {
    return std::from_chars(begin, end, value);
}
#endif
