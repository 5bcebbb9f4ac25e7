#include "host/text_fields.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "host/names.h"
#include "platform/font.h"

namespace larkmoor {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr int kLeastSize = 4, kMostSize = 4096; ///< pixels of a font; below that a number belongs to a family's name
constexpr LONG kRegular = 400, kBold = 700;

void appendUtf8(std::string& out, char32_t c) {
    const auto put = [&](char32_t byte) { out += static_cast<char>(byte); };
    if (c < 0x80) return put(c);
    if (c < 0x800) {
        put(0xC0 | c >> 6);
    } else {
        if (c < 0x10000) {
            put(0xE0 | c >> 12);
        } else {
            put(0xF0 | c >> 18);
            put(0x80 | (c >> 12 & 0x3F));
        }
        put(0x80 | (c >> 6 & 0x3F));
    }
    put(0x80 | (c & 0x3F));
}

/// Takes one character off the front; what is no UTF-8 gives the replacement character.
char32_t takeUtf8(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    text.remove_prefix(1);
    if (first < 0x80) return first;
    const int more = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4) return kReplacement;
    char32_t c = first & (0x3F >> more);
    for (int i = 0; i < more; ++i) {
        if (text.empty() || (static_cast<unsigned char>(text.front()) & 0xC0) != 0x80) return kReplacement;
        c = c << 6 | (static_cast<unsigned char>(text.front()) & 0x3F);
        text.remove_prefix(1);
    }
    constexpr char32_t kLeast[] = {0, 0x80, 0x800, 0x10000};
    return c < kLeast[more] || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000) ? kReplacement : c;
}

LONG loadCount(const tFieldInfo& field, std::span<const std::byte> record) {
    LONG count = 0;
    const auto place = static_cast<std::size_t>(field.offset);
    if (field.offset >= 0 && record.size() >= place + sizeof count)
        std::memcpy(&count, record.data() + place, sizeof count);
    return std::max<LONG>(count, 0);
}

std::size_t textBegin(const tFieldInfo& field) {
    return static_cast<std::size_t>(std::max<LONG>(field.offset, 0)) + sizeof(LONG);
}

} // namespace

std::size_t textEnd(const tFieldInfo& field, std::span<const std::byte> record) {
    return textBegin(field) + static_cast<std::size_t>(loadCount(field, record)) * sizeof(char16_t);
}

std::string loadText(const tFieldInfo& field, std::span<const std::byte> record) {
    const std::size_t begin = textBegin(field), end = std::min(textEnd(field, record), record.size());
    const auto unitAt = [&](std::size_t place) {
        char16_t unit = 0;
        if (place + sizeof unit <= end) std::memcpy(&unit, record.data() + place, sizeof unit);
        return unit;
    };
    std::string text;
    for (std::size_t at = begin; unitAt(at); at += 2) {
        char32_t c = unitAt(at);
        const char16_t next = unitAt(at + 2);
        if ((c & 0xFC00) == 0xD800 && (next & 0xFC00) == 0xDC00) {
            c = 0x10000 + ((c & 0x3FF) << 10 | (next & 0x3FFu));
            at += 2;
        } else if ((c & 0xF800) == 0xD800) {
            c = kReplacement;
        }
        if (c == '\r' && next == '\n') at += 2;
        if (c == '\r' || c == '\n')
            text += "\\n";
        else if (c == '\t')
            text += "\\t";
        else if (c == '\\')
            text += "\\\\";
        else
            appendUtf8(text, c);
    }
    return text;
}

void storeText(const tFieldInfo& field, std::vector<std::byte>& record, std::string_view text) {
    std::u16string units;
    while (!text.empty()) {
        char32_t c = takeUtf8(text);
        if (c == '\\' && !text.empty()) {
            const char next = text.front();
            if (next == 'n' || next == 't' || next == '\\') {
                c = next == 'n' ? '\n' : next == 't' ? '\t' : '\\';
                text.remove_prefix(1);
            }
        }
        if (c == '\r' && text.starts_with('\n')) continue;
        // Lines end with a carriage return in records.
        if (c == '\n') c = '\r';
        if (c >= 0x10000) {
            units += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            c = 0xDC00 + (c & 0x3FF);
        }
        units += static_cast<char16_t>(c);
    }
    units += u'\0';
    const auto count = static_cast<LONG>(units.size());
    const std::size_t begin = textBegin(field);
    record.resize(begin + units.size() * sizeof(char16_t));
    std::memcpy(record.data() + begin - sizeof count, &count, sizeof count);
    std::memcpy(record.data() + begin, units.data(), units.size() * sizeof(char16_t));
}

std::string loadFont(const tFieldInfo& field, std::span<const std::byte> record) {
    tLOGFONT font;
    std::memcpy(&font, record.data() + field.offset, sizeof font);
    std::string text(font.lfFaceName, strnlen(font.lfFaceName, sizeof font.lfFaceName));
    if (font.lfWeight == kBold) text += " Bold";
    if (font.lfItalic) text += " Italic";
    return text + ' ' + std::to_string(font.lfHeight);
}

bool storeFont(const tFieldInfo& field, std::span<std::byte> record, std::string_view text) {
    tLOGFONT font;
    std::memcpy(&font, record.data() + field.offset, sizeof font);
    text = trimmed(text);
    const auto lastWord = [&] { return text.substr(text.rfind(' ') + 1); };
    const auto dropWord = [&] { text = trimmed(text.substr(0, text.size() - lastWord().size())); };

    int size = 0;
    const std::string_view number = lastWord();
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), size);
    const bool isNumber = error == std::errc() && end == number.data() + number.size();
    if (isNumber && (size >= kLeastSize || size < 0)) {
        if (size > kMostSize || size < -kMostSize) return false;
        font.lfHeight = size;
        dropWord();
    }
    font.lfWeight = kRegular;
    font.lfItalic = 0;
    for (;; dropWord()) {
        const std::string_view word = lastWord();
        if (word.size() == text.size()) break; // the family at least
        if (sameName(word, "Bold"))
            font.lfWeight = kBold;
        else if (sameName(word, "Italic") || sameName(word, "Oblique"))
            font.lfItalic = 1;
        else if (!sameName(word, "Regular"))
            break;
    }
    // The name ends with a zero in records.
    if (text.empty() || text.size() >= sizeof font.lfFaceName || text.find('\0') != text.npos) return false;
    std::memset(font.lfFaceName, 0, sizeof font.lfFaceName);
    std::memcpy(font.lfFaceName, text.data(), text.size());
    std::memcpy(record.data() + field.offset, &font, sizeof font);
    return true;
}

} // namespace larkmoor
