// Sizes of memory, where a size may have 32 bits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>

/// Whether `count` pieces of `bytes` can be one block where sizes are told by `Size`. A negative number does not fit.
template <class Size = std::size_t>
constexpr bool KwFits(std::uint64_t count, std::uint64_t bytes) {
    return bytes == 0 || count <= std::numeric_limits<Size>::max() / 2 / bytes;
}
