#include "media/sequence.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include <fmt/format.h>

extern "C" {
#include <libavformat/avformat.h>
}

#include "folder.h"

namespace larkmoor {

namespace fs = std::filesystem;

bool isSequence(const std::string& path) {
    return av_filename_number_test(path.c_str()) == 1;
}

std::string sequenceName(const std::string& path, int number) {
    std::string name(path.size() + 64, '\0');
    if (av_get_frame_filename(name.data(), static_cast<int>(name.size()), path.c_str(), number) < 0) return path;
    name.resize(name.find('\0'));
    return name;
}

std::vector<int> sequenceNumbers(const std::string& path) {
    const fs::path whole(path);
    const std::string pattern = whole.filename();
    const std::string prefix = pattern.substr(0, pattern.find('%'));
    const fs::path folder = whole.has_parent_path() ? whole.parent_path() : fs::path(".");
    std::vector<int> numbers;
    std::error_code error;
    for (const fs::path& entry : entriesOf(folder, error)) {
        const std::string name = entry.filename();
        if (!name.starts_with(prefix)) continue;
        int number = 0;
        const auto [last, status] = std::from_chars(name.data() + prefix.size(), name.data() + name.size(), number);
        if (status == std::errc() && number >= 0 && sequenceName(pattern, number) == name) numbers.push_back(number);
    }
    std::ranges::sort(numbers);
    return numbers;
}

std::string sequenceOf(const std::string& file) {
    const fs::path path(file);
    const std::string stem = path.stem().string();
    constexpr const char* digits = "0123456789";
    const std::size_t last = stem.find_last_of(digits);
    if (last == std::string::npos) return {};
    const std::size_t before = stem.find_last_not_of(digits, last);
    const std::size_t first = before == std::string::npos ? 0 : before + 1;
    const std::size_t count = last - first + 1;
    const std::string number = count > 1 ? fmt::format("%0{}d", count) : "%d";
    // A "%" of the name's own stands doubled.
    const auto literal = [](const std::string& text) {
        std::string doubled;
        for (const char c : text) doubled.append(c == '%' ? 2 : 1, c);
        return doubled;
    };
    const std::string name =
        literal(stem.substr(0, first)) + number + literal(stem.substr(last + 1) + path.extension().string());
    return (fs::path(literal(path.parent_path().string())) / name).string();
}

} // namespace larkmoor
