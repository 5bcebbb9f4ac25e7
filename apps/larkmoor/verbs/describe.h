// How effects are described, to people and to programs.
#pragma once

#include <string>

#include "host/module.h"

namespace larkmoor {

std::string kindName(EffectKind kind);
/// "1", or "0 to 2".
std::string inputCount(const EffectInfo& info);

/// "{8F2A0C11-...}".
std::string idText(const GUID& id);

} // namespace larkmoor
