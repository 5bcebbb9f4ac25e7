// The walk over all effects, presets, fields and forms of pixels whose digests are kept in tests/data/digests.txt.
#pragma once

#include <string>
#include <vector>

#include "host/module.h"

/// How far the walk goes: presets are half of the rows and a sixth of the pictures.
enum class eWalk { Presets, PresetsAndFields };

/// The lines of the table, with its head. Throws nothing that depends on what effects refuse.
std::vector<std::string> digestsOf(const larkmoor::Module& module, eWalk walk = eWalk::PresetsAndFields);
