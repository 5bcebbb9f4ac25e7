// Lines of the cache asked for before they are read, where no processor foresees them.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/bodies.h"

enum class eFetch { toRead, toWrite };

inline constexpr std::ptrdiff_t kCacheLine = 64; ///< bytes

/// Asks for the line `offset` bytes from `at`. It need not be memory of anybody: nothing is touched.
template <eFetch kFor = eFetch::toRead>
KWINLINE inline void KwFetch(const void* at, std::ptrdiff_t offset) {
    __builtin_prefetch(
        reinterpret_cast<const void*>(reinterpret_cast<std::uintptr_t>(at) + static_cast<std::uintptr_t>(offset)),
        kFor == eFetch::toWrite);
}
