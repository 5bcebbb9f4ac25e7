// Texts from hosts that hand over the wrong kind of pointer.
#pragma once

#include <optional>
#include <string>

namespace larkmoor::frei0r {

/// The text of a frei0r string parameter, which is a pointer to a `char*`; some hosts pass the `char*` itself, and that
/// is understood too. Nothing is read that is not readable memory. Empty for what leads to no UTF-8 text of up to
/// 65535 bytes without control characters other than tab and line ends.
std::optional<std::string> guardedText(const void* parameter);

} // namespace larkmoor::frei0r
