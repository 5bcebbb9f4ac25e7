#include "base/level.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <string_view>

#include "platform/processor.h"

namespace {

constexpr std::array<eKwLevel, kKwLevels> kLevels{eKwLevel::Plain, eKwLevel::Base, eKwLevel::V2,
                                                  eKwLevel::V3,    eKwLevel::V4,   eKwLevel::Vbmi};
constexpr std::array<const char*, kKwLevels> kNames{"plain", "base", "v2", "v3", "v4", "vbmi"};

eKwLevel Offered() {
#if defined(__x86_64__)
    if (!kTakesWideVectors) return eKwLevel::Base;
    __builtin_cpu_init(); // the first caller may come before the runtime's own constructor
    const auto has = [](auto... offered) { return (offered && ...); };
    if (!has(__builtin_cpu_supports("ssse3"), __builtin_cpu_supports("sse4.2"), __builtin_cpu_supports("popcnt")))
        return eKwLevel::Base;
    if (!has(__builtin_cpu_supports("avx2"), __builtin_cpu_supports("bmi"), __builtin_cpu_supports("bmi2"),
             __builtin_cpu_supports("fma")))
        return eKwLevel::V2;
    if (!has(__builtin_cpu_supports("avx512f"), __builtin_cpu_supports("avx512bw"), __builtin_cpu_supports("avx512cd"),
             __builtin_cpu_supports("avx512dq"), __builtin_cpu_supports("avx512vl")))
        return eKwLevel::V3;
    return __builtin_cpu_supports("avx512vbmi") ? eKwLevel::Vbmi : eKwLevel::V4;
#else
    return eKwLevel::Base;
#endif
}

eKwLevel Allowed() {
    const char* const wanted = std::getenv("LARKMOOR_LEVEL");
    for (std::size_t i = 0; wanted && i < kNames.size(); ++i)
        if (std::string_view(wanted) == kNames[i]) return std::min(kLevels[i], Offered());
    return Offered();
}

} // namespace

constinit std::atomic<int> kw_level::current{kUnknown};

eKwLevel kw_level::Find() {
    const eKwLevel found = Allowed();
    int expected = kUnknown; // a limit that was set meanwhile stands
    current.compare_exchange_strong(expected, static_cast<int>(found), std::memory_order_relaxed);
    return expected == kUnknown ? found : static_cast<eKwLevel>(expected);
}

eKwLevel KwLimitLevel(eKwLevel limit) {
    const eKwLevel before = KwLevel();
    kw_level::current.store(static_cast<int>(std::min(limit, Offered())), std::memory_order_relaxed);
    return before;
}

std::span<const eKwLevel> KwLevels() {
    static const eKwLevel offered = Offered();
    return std::span(kLevels).first(static_cast<std::size_t>(offered) + 1);
}

const char* KwLevelName(eKwLevel level) {
    return kNames[static_cast<std::size_t>(level)];
}
