#include "support/value_read.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>

#include "platform/number.h"

namespace {

bool IsSpace(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// Room for any number that a field of a page can hold.
constexpr std::size_t kNumberSize = 260;

/// A text in C's form; keeps its size for `from_chars`.
struct tNormalized {
    char text[kNumberSize];
    std::string_view view;

    tNormalized(const char* from, const char** end, const tLOCALEBLOCK& locale) {
        const char* const rest = NormalizeNumberText(text, from, locale);
        if (end) *end = rest;
        view = text;
    }
    const char* Begin() const { return view.data(); }
    const char* End() const { return view.data() + view.size(); }
};

template <class T>
T ReadInteger(const char* text, const char** end, const tLOCALEBLOCK& locale) {
    const tNormalized number(text, end, locale);
    T value = 0;
    const auto status = std::from_chars(number.Begin(), number.End(), value).ec;
    if (status == std::errc::result_out_of_range)
        return number.view.starts_with('-') ? std::numeric_limits<T>::min() : std::numeric_limits<T>::max();
    return value;
}

} // namespace

const char* NormalizeNumberText(std::span<char> dest, const char* text, const tLOCALEBLOCK& locale) noexcept {
    std::ranges::fill(dest, '\0');
    if (!text) return text;
    while (IsSpace(*text)) ++text;
    std::size_t size = 0;
    const auto put = [&](char c) {
        if (size + 1 >= dest.size()) return false;
        dest[size++] = c;
        return true;
    };
    std::string_view rest(text);
    const auto starts = [&rest](const tLOCALEMARK& mark) { return mark.length > 0 && rest.starts_with(mark.View()); };
    const tLOCALEFACTS& facts = locale.facts;
    if (starts(facts.readNegativeSign) && put('-')) rest.remove_prefix(facts.readNegativeSign.View().size());
    while (!rest.empty()) {
        if (starts(facts.thousands))
            rest.remove_prefix(facts.thousands.View().size());
        else if (starts(facts.decimal) && put('.'))
            rest.remove_prefix(facts.decimal.View().size());
        else if (rest[0] >= '0' && rest[0] <= '9' && put(rest[0]))
            rest.remove_prefix(1);
        else
            break;
    }
    return rest.data();
}

double ReadDouble(const char* text, const char** end, const tLOCALEBLOCK& locale) noexcept {
    const tNormalized number(text, end, locale);
    double value = 0.0;
    KwReadNumber(number.Begin(), number.End(), value);
    return value;
}

LONG ReadLong(const char* text, const char** end, const tLOCALEBLOCK& locale) noexcept {
    return ReadInteger<LONG>(text, end, locale);
}

std::int64_t ReadInt64(const char* text, const char** end, const tLOCALEBLOCK& locale) noexcept {
    return ReadInteger<std::int64_t>(text, end, locale);
}

DWORD ReadHex(const char* text, const char** end) noexcept {
    const auto digit = [](char c) {
        return c >= '0' && c <= '9'   ? c - '0'
               : c >= 'a' && c <= 'f' ? c - 'a' + 10
               : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                      : -1;
    };
    DWORD value = 0;
    if (text) {
        while (IsSpace(*text)) ++text;
        if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X') && digit(text[2]) >= 0) text += 2;
        for (; digit(*text) >= 0; ++text) value = value << 4 | static_cast<DWORD>(digit(*text));
    }
    if (end) *end = text;
    return value;
}
