#include "platform/memory.h"

#include <malloc.h>

void* KwAllocateAligned(std::size_t alignment, std::size_t bytes) noexcept {
    return _aligned_malloc(bytes, alignment);
}

void KwFreeAligned(void* memory) noexcept {
    _aligned_free(memory);
}
