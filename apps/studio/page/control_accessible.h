// The page's own controls for those who do not see them.
#pragma once

namespace larkmoor {

/// Tells the toolkit of the controls' roles, values and ranges. Once for a process; further calls do nothing.
void announceControls();

} // namespace larkmoor
