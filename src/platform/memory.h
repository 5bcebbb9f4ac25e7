// Memory that begins at a multiple of some power of two.
#pragma once

#include <cstddef>

/// At least `bytes`, a multiple of `alignment`; null where memory is short. From 2 MiB on the alignment asks for large
/// pages as well, where the system has them.
void* KwAllocateAligned(std::size_t alignment, std::size_t bytes) noexcept;
/// Takes null, too.
void KwFreeAligned(void* memory) noexcept;
