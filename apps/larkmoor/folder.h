#pragma once

#include <filesystem>
#include <system_error>
#include <vector>

namespace larkmoor {

/// What a folder holds, in no order: all that could be read before `error`, if there was one. Throws where memory is
/// short, which the library's own walk does not live through.
std::vector<std::filesystem::path> entriesOf(const std::filesystem::path& folder, std::error_code& error);

} // namespace larkmoor
