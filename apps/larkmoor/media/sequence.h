// Numbered files: names with one `%d` or `%04d` in them.
#pragma once

#include <string>
#include <vector>

namespace larkmoor {

bool isSequence(const std::string& path);

/// The sequence that a file is of, by the last digits of its name before the ending: "a_0012.png" is of "a_%04d.png".
/// Empty for a name without digits.
std::string sequenceOf(const std::string& file);

/// The numbers of the files that are there, in order.
std::vector<int> sequenceNumbers(const std::string& path);

/// The name with a number in place.
std::string sequenceName(const std::string& path, int number);

} // namespace larkmoor
