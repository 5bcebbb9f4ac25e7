#include "pages/utf.h"

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsSurrogate(char32_t c) {
    return c >= 0xD800 && c < 0xE000;
}

void Append(std::string& to, char32_t c) {
    const auto tail = [&](int shift) { to += static_cast<char>(0x80 | (c >> shift & 0x3F)); };
    if (c < 0x80) {
        to += static_cast<char>(c);
    } else if (c < 0x800) {
        to += static_cast<char>(0xC0 | c >> 6);
        tail(0);
    } else if (c < 0x10000) {
        to += static_cast<char>(0xE0 | c >> 12);
        tail(6), tail(0);
    } else {
        to += static_cast<char>(0xF0 | c >> 18);
        tail(12), tail(6), tail(0);
    }
}

/// Takes one character off the front; of what is none, the longest beginning of one (Unicode 15, 3.9, U+FFFD
/// substitution of maximal subparts).
char32_t TakeCharacter(std::string_view& text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(0);
    const std::size_t tails = lead < 0xC2 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : lead < 0xF5 ? 3 : 0;
    char32_t c = tails ? lead & (0x3Fu >> tails) : lead < 0x80 ? lead : kReplacement;
    std::size_t taken = 1;
    for (; taken <= tails && taken < text.size(); ++taken) {
        // What follows the first byte decides over forms that are too long, surrogates, and the last plane.
        const unsigned char least = taken > 1 ? 0x80 : lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
        const unsigned char most = taken > 1 ? 0xBF : lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
        if (byte(taken) < least || byte(taken) > most) break;
        c = c << 6 | (byte(taken) & 0x3Fu);
    }
    text.remove_prefix(taken);
    return taken == tails + 1 ? c : kReplacement;
}

} // namespace

std::string KwUtf8(std::u16string_view text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        const char32_t next = i + 1 < text.size() ? text[i + 1] : 0;
        if (c >= 0xD800 && c < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        Append(out, IsSurrogate(c) ? kReplacement : c);
    }
    return out;
}

std::u16string KwUtf16(std::string_view text) {
    std::u16string out;
    while (!text.empty()) {
        const char32_t c = TakeCharacter(text);
        if (c < 0x10000) {
            out += static_cast<char16_t>(c);
        } else {
            out += static_cast<char16_t>(0xD7C0 + (c >> 10));
            out += static_cast<char16_t>(0xDC00 + (c & 0x3FF));
        }
    }
    return out;
}
