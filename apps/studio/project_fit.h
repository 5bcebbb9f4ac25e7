// What keeps a project one that can be rendered.
#pragma once

#include "preview.h"
#include "project.h"

namespace larkmoor {

/// Brings ranges and durations to the nearest that the pictures allow, so that whatever the window takes can be saved,
/// opened and rendered.
void fitToPictures(Project& project, const PictureFacts& facts);

} // namespace larkmoor
