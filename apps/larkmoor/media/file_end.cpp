#include "media/file_end.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <numeric>
#include <optional>
#include <vector>

namespace larkmoor {

namespace {

using Bytes = std::span<const std::uint8_t>;

/// A number from its lowest byte on; none where the bytes end before.
std::optional<std::uint64_t> numberAt(Bytes bytes, std::uint64_t at, std::size_t size) {
    if (at > bytes.size() || bytes.size() - at < size) return {};
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;) number = number << 8 | bytes[at + i];
    return number;
}

std::vector<std::uint8_t> read(const std::string& path, std::uint64_t from, std::size_t most) {
    std::ifstream file(path, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from));
    std::vector<std::uint8_t> bytes(most);
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(most));
    bytes.resize(static_cast<std::size_t>(std::max<std::streamsize>(0, file.gcount())));
    return bytes;
}

/// The last page has to be whole and to say that it is the last (RFC 3533).
bool oggEndsEarly(const std::string& path, std::uint64_t length) {
    constexpr std::uint64_t longestPage = 65307;
    constexpr std::size_t head = 27, flags = 5, segments = 26;
    constexpr int last = 4;
    const std::vector<std::uint8_t> bytes = read(path, length - std::min(length, longestPage), longestPage);
    constexpr std::array<std::uint8_t, 5> mark{'O', 'g', 'g', 'S', 0};
    const auto page = std::find_end(bytes.begin(), bytes.end(), mark.begin(), mark.end());
    const Bytes rest(page, bytes.end());
    if (rest.size() < head || rest.size() < head + rest[segments]) return true;
    const Bytes sizes = rest.subspan(head, rest[segments]);
    const std::size_t size = std::accumulate(sizes.begin(), sizes.end(), head + sizes.size());
    return size > rest.size() || !(rest[flags] & last);
}

/// The object of file properties tells the size, unless the file was made for a live stream.
bool asfEndsEarly(const std::string& path, std::uint64_t length) {
    constexpr std::size_t headMost = 1 << 16, sizeAt = 40, flagsAt = 88;
    constexpr std::array<std::uint8_t, 16> properties{0xA1, 0xDC, 0xAB, 0x8C, 0x47, 0xA9, 0xCF, 0x11,
                                                      0x8E, 0xE4, 0x00, 0xC0, 0x0C, 0x20, 0x53, 0x65};
    const std::vector<std::uint8_t> bytes = read(path, 0, headMost);
    const auto object = std::search(bytes.begin(), bytes.end(), properties.begin(), properties.end());
    const Bytes rest(object, bytes.end());
    const auto size = numberAt(rest, sizeAt, 8), flags = numberAt(rest, flagsAt, 4);
    return size && flags && !(*flags & 1) && *size > length;
}

/// A transport stream is a row of packets of one size, each with its mark (ISO/IEC 13818-1, 2.4.3.2; 192 bytes with a
/// time before them on discs, 204 with sums behind them): where marks stand in that order up to the end, the last
/// packet has to be whole. What is no packet, as a recorder's padding, is no cut.
bool transportEndsEarly(const std::string& path, std::uint64_t length) {
    constexpr std::uint8_t mark = 0x47;
    constexpr std::uint64_t marks = 5;
    struct Kind {
        std::uint64_t size, fromMark;
    };
    for (const Kind kind : {Kind{188, 188}, Kind{192, 188}, Kind{204, 204}}) {
        const std::uint64_t looked = (marks + 1) * kind.size;
        if (length < looked) continue;
        const std::vector<std::uint8_t> bytes = read(path, length - looked, looked);
        for (std::uint64_t rest = 1; rest <= kind.size && bytes.size() == looked; ++rest) {
            bool row = true;
            for (std::uint64_t i = 0; i < marks; ++i) row = row && bytes[looked - rest - i * kind.size] == mark;
            if (row) return rest != kind.fromMark;
        }
    }
    return false;
}

} // namespace

bool endsEarly(const std::string& path, std::string_view format) {
    std::error_code error;
    struct Kind {
        std::string_view format;
        bool (*endsEarly)(const std::string& path, std::uint64_t length);
    };
    constexpr std::array<Kind, 3> kinds{{{"ogg", oggEndsEarly}, {"asf", asfEndsEarly}, {"mpegts", transportEndsEarly}}};
    const auto* const kind = std::ranges::find(kinds, format, &Kind::format);
    if (kind == kinds.end() || !std::filesystem::is_regular_file(path, error)) return false;
    const std::uint64_t length = std::filesystem::file_size(path, error);
    return !error && kind->endsEarly(path, length);
}

bool exrEndsEarly(std::span<const std::uint8_t> file) {
    constexpr std::uint64_t magic = 20000630, tiles = 0x200, parts = 0x1000;
    const auto version = numberAt(file, 4, 4);
    if (numberAt(file, 0, 4) != magic || !version || (*version & parts)) return false;
    // Attributes: a name and a type, each with a zero behind it, a size, so many bytes; an empty name ends them.
    std::uint64_t at = 8;
    const auto skipText = [&] {
        const std::uint64_t from = at;
        while (at < file.size() && file[at] != 0) ++at;
        return ++at - from > 1;
    };
    while (skipText()) {
        skipText();
        const auto size = numberAt(file, at, 4);
        if (!size) return true;
        at += 4 + *size;
    }
    // The places of all blocks follow, then the blocks, the first of them wherever.
    const bool tiled = *version & tiles;
    const std::uint64_t head = tiled ? 20 : 8;
    std::uint64_t first = file.size();
    for (; at < first; at += 8) {
        const auto place = numberAt(file, at, 8);
        const auto size = place ? numberAt(file, *place + head - 4, 4) : std::nullopt;
        if (!size || *place == 0 || *place + head + *size > file.size()) return true;
        first = std::min(first, *place);
    }
    return false;
}

} // namespace larkmoor
