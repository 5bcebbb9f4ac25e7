#include "pages/utf.h"

#include <unicode/unistr.h>

std::string KwUtf8(std::u16string_view text) {
    std::string out;
    icu::UnicodeString(text.data(), static_cast<int32_t>(text.size())).toUTF8String(out);
    return out;
}

std::u16string KwUtf16(std::string_view text) {
    const icu::UnicodeString wide =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
    return {wide.getBuffer(), static_cast<std::size_t>(wide.length())};
}
