// Effects on the clipboard, as readable text.
#pragma once

#include "document.h"

namespace larkmoor {

/// The selected effect, or all that follow the source. Nothing for a clip.
void copyEffect(const Document& document);
void copyAllEffects(const Document& document);
/// Behind what is selected; a transition takes the place of the one that is there. Throws Error where the clipboard has
/// no effects, or none that can be here.
void pasteEffects(Document& document);

} // namespace larkmoor
