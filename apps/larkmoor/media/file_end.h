// Whether files hold all that they say of themselves, for the kinds whose readers do not notice.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace larkmoor {

/// Whether an Ogg or ASF file or a transport stream is cut short; of the last only what ends inside a packet.
/// @param format by FFmpeg's name; false for any other
bool endsEarly(const std::string& path, std::string_view format);

/// Whether an OpenEXR file of one part, with all its bytes given, lacks rows or tiles.
bool exrEndsEarly(std::span<const std::uint8_t> file);

} // namespace larkmoor
