// What a plug-in tells of itself.
#pragma once

#include "catalog.h"

namespace larkmoor::openfx {

/// The major one is raised when projects made with earlier plug-ins could no longer be read.
inline constexpr unsigned kVersionMajor = 1, kVersionMinor = LARKMOOR_MINOR;

void describe(const Suites& suites, const Plugin& plugin, EffectHandle effect);
void describeInContext(const Suites& suites, const Plugin& plugin, EffectHandle effect, const char* context);

/// Generators fill the project's frame. False where the host does not tell it.
bool tellRegion(const Suites& suites, const Plugin& plugin, EffectHandle effect, const Properties& out);
/// Every pixel may depend on the whole of each input.
void tellInterest(const Suites& suites, const Plugin& plugin, EffectHandle effect, double time, const Properties& out);
void tellPreferences(const Suites& suites, const Plugin& plugin, EffectHandle effect, const Properties& out);

} // namespace larkmoor::openfx
