// A clip to try effects on, made of the module's own generators and effects.
#pragma once

#include "project.h"

namespace larkmoor {

/// Eight seconds of bars that wave and change their colours under a running timecode.
Project demonstrationProject(const Module& module);

} // namespace larkmoor
