// Standard input, output and error, in whatever state the program is started.
#pragma once

#include <string_view>

namespace larkmoor {

/// Fills the places of standard files that are closed, so that no other file comes to stand there and gets what is
/// meant for them; using them goes on failing. A pipe that nobody reads becomes an error in place of a signal. Call
/// first.
void settleStandardFiles();

/// Writes to standard error. What cannot be written is dropped: the work goes on without its notes.
void tell(std::string_view text) noexcept;

} // namespace larkmoor
