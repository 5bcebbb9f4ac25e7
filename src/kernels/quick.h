// Blocks of pixels that numbers of fewer digits decide, but where those are too close to a step.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "base/bodies.h"

/// A float that compilers know nothing of. GCC 12 keeps one between two limits that it knows by three comparisons and
/// choices, between hidden ones by a maximum and a minimum.
template <class Real>
KWINLINE inline Real KwHidden(Real value) {
#if defined(__x86_64__)
    asm("" : "+x"(value));
#endif
    return value;
}

/// Has `close(from, count)` decide anew what is not 0 in `open`: one part of the block, or the whole one, which costs
/// less than two parts. Returns how many blocks from there on it had better decide at once: where much was too close to
/// a step, which a flat color may be, more is.
template <class Close>
KWINLINE inline std::int32_t KwCloseOpen(const std::uint32_t* open, std::ptrdiff_t count, Close close) {
    constexpr std::ptrdiff_t kPart = 16; // pixels
    std::ptrdiff_t parts = 0, at = 0;
    for (std::ptrdiff_t i = 0; i < count; i += kPart) {
        std::uint32_t any = 0;
        for (std::ptrdiff_t k = i; k < std::min(i + kPart, count); ++k) any |= open[k];
        if (any == 0) continue;
        at = i;
        ++parts;
    }
    if (parts == 1)
        close(at, std::min(kPart, count - at));
    else if (parts > 1)
        close(0, count);
    return parts > 1 ? 3 : 0;
}
