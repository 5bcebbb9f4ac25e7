// What the platform lets processors do.
#pragma once

/// Whether places on the stack can hold vectors of more than 16 bytes. GCC does not align them on Windows (its bug
/// 54412).
#if defined(_WIN32)
inline constexpr bool kTakesWideVectors = false;
#else
inline constexpr bool kTakesWideVectors = true;
#endif
