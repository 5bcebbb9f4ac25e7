#include "platform/memory.h"

#include <cstdlib>

void* KwAllocateAligned(std::size_t alignment, std::size_t bytes) noexcept {
    return std::aligned_alloc(alignment, bytes);
}

void KwFreeAligned(void* memory) noexcept {
    std::free(memory);
}
