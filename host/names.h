// Names as people type them.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace larkmoor {

/// A name without case, blanks, `-`, `_` and `&`, for comparing.
std::string foldName(std::string_view name);

/// Equal, without regard to case, blanks, `-`, `_` and `&`. Names of nothing else are compared as they stand.
bool sameName(std::string_view a, std::string_view b);

/// Text without the blanks around it.
std::string_view trimmed(std::string_view text);

/// A thing by the name that is shown and by others that lead to it.
struct Candidate {
    std::string name;
    std::vector<std::string> others = {};
};

/// `did you mean "A", "B" or "C"?`: up to three, nearest first, by edit distance, with a common beginning or a part
/// counting as near; the three nearest when none is near. Empty without candidates.
std::string didYouMean(std::string_view wanted, std::span<const Candidate> candidates);

/// `"A", "B" or "C"`.
std::string quotedList(std::span<const std::string> names);

/// Text between quotes, cut after 60 bytes (at the start of a character), without control characters.
std::string inQuotes(std::string_view text);

} // namespace larkmoor
