#include "host/names.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace larkmoor {
namespace {

char lowered(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

constexpr std::size_t kLongestName = 200;

/// Edits (insert, delete, replace, swap of neighbours) from one to the other: optimal string alignment.
std::size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<std::size_t> before(b.size() + 1), last(b.size() + 1), now(b.size() + 1);
    std::iota(last.begin(), last.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        now[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                now[j] = std::min(now[j], before[j - 2] + 1);
        }
        std::swap(before, last);
        std::swap(last, now);
    }
    return last[b.size()];
}

struct Nearness {
    std::size_t distance;
    bool isNear;
};

Nearness nearness(const std::string& wanted, const std::string& name) {
    const std::size_t edits = editDistance(wanted, name);
    const auto& [shorter, longer] = std::minmax(wanted, name, [](auto& a, auto& b) { return a.size() < b.size(); });
    std::size_t distance = edits;
    if (shorter.size() >= 2 && longer.starts_with(shorter))
        distance = std::min<std::size_t>(distance, 1);
    else if (shorter.size() >= 3 && longer.find(shorter) != std::string::npos)
        distance = std::min<std::size_t>(distance, 2);
    return {distance, distance <= std::max<std::size_t>(2, wanted.size() / 3) && distance < wanted.size()};
}

} // namespace

std::string foldName(std::string_view name) {
    std::string folded;
    for (const char c : name)
        if (!isBlank(c) && c != '-' && c != '_' && c != '&') folded += lowered(c);
    return folded;
}

bool sameName(std::string_view a, std::string_view b) {
    const std::string folded = foldName(a);
    return folded.empty() ? a == b : folded == foldName(b);
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
    return text;
}

std::string didYouMean(std::string_view wanted, std::span<const Candidate> candidates) {
    const std::string folded = foldName(wanted.substr(0, kLongestName));
    struct Row {
        Nearness nearness;
        const std::string* name;
    };
    std::vector<Row> rows;
    for (const Candidate& candidate : candidates) {
        Row row{nearness(folded, foldName(candidate.name)), &candidate.name};
        for (const std::string& other : candidate.others) {
            const Nearness by = nearness(folded, foldName(other));
            if (by.distance < row.nearness.distance) row.nearness = by;
        }
        rows.push_back(row);
    }
    // Of one distance, in the order of the candidates. std::stable_sort calls what C++20 has no more.
    std::sort(rows.begin(), rows.end(), [](const Row& a, const Row& b) {
        return std::pair(a.nearness.distance, a.name) < std::pair(b.nearness.distance, b.name);
    });
    if (std::any_of(rows.begin(), rows.end(), [](const Row& row) { return row.nearness.isNear; }))
        std::erase_if(rows, [](const Row& row) { return !row.nearness.isNear; });
    std::vector<std::string> names;
    for (const Row& row : rows)
        if (names.size() < 3) names.push_back(*row.name);
    return names.empty() ? std::string() : "did you mean " + quotedList(names) + "?";
}

std::string quotedList(std::span<const std::string> names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) list += i + 1 == names.size() ? " or " : ", ";
        list += inQuotes(names[i]);
    }
    return list;
}

std::string inQuotes(std::string_view text) {
    constexpr std::size_t kMost = 60;
    const bool cut = text.size() > kMost;
    if (cut) {
        std::size_t end = kMost;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
        text = text.substr(0, end);
    }
    std::string out = "\"";
    for (const char c : text) out += static_cast<unsigned char>(c) < 32 || c == 127 ? ' ' : c;
    return out + (cut ? "...\"" : "\"");
}

} // namespace larkmoor
