#include "kernels/cpu.h"

#include <atomic>

namespace {
std::atomic<bool> s_fastPaths{true};
} // namespace

bool KwCpuPermutesBytes() {
#if defined(__x86_64__)
    static const bool offered = __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
                                __builtin_cpu_supports("avx512vbmi");
    return offered;
#else
    return false;
#endif
}

bool KwFastPaths() {
    return s_fastPaths.load(std::memory_order_relaxed);
}

bool KwSetFastPaths(bool allowed) {
    return s_fastPaths.exchange(allowed, std::memory_order_relaxed);
}
