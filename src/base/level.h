// Which bodies of a row loop run: the plain definition, or the fastest that the processor takes.
#pragma once

#include <atomic>
#include <span>

/// The processors that bodies are made for, each a superset of the one before: the names of the x86-64 psABI, then the
/// byte permutations of AVX-512 VBMI. On other processors `Base` is all there is above `Plain`. Levels differ in speed
/// alone: every body gives the bytes of the plain one.
enum class eKwLevel { Plain, Base, V2, V3, V4, Vbmi };
inline constexpr int kKwLevels = 6;

/// The highest level that runs now: what the processor and the system offer, cut down by the environment variable
/// LARKMOOR_LEVEL ("plain", "base", "v2", "v3", "v4", "vbmi"; anything else is not heeded) and by `KwLimitLevel`.
/// Safe from any thread.
eKwLevel KwLevel();

/// Cuts the level down for all threads, from their next kernel call on; a limit above what the machine offers gives
/// what it offers. Returns the level before. For tests and measurements.
eKwLevel KwLimitLevel(eKwLevel limit);

/// The levels that this machine can run, from `Plain` up.
std::span<const eKwLevel> KwLevels();

/// "plain" to "vbmi".
const char* KwLevelName(eKwLevel level);

namespace kw_level {
inline constexpr int kUnknown = -1;
extern constinit std::atomic<int> current;
eKwLevel Find();
} // namespace kw_level

inline eKwLevel KwLevel() {
    const int level = kw_level::current.load(std::memory_order_relaxed);
    return level == kw_level::kUnknown ? kw_level::Find() : static_cast<eKwLevel>(level);
}
