#include "platform/memory.h"

#include <cstdlib>

#include <sys/mman.h>

void* KwAllocateAligned(std::size_t alignment, std::size_t bytes) noexcept {
    void* const memory = std::aligned_alloc(alignment, bytes);
#ifdef MADV_HUGEPAGE
    if (memory && alignment >= std::size_t{2} << 20) madvise(memory, bytes, MADV_HUGEPAGE);
#endif
    return memory;
}

void KwFreeAligned(void* memory) noexcept {
    std::free(memory);
}
