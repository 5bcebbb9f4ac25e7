#include "platform/number.h"

#include <cmath>
#include <cstdlib>
#include <string>

// The C library knows no locale but "C"; it takes blanks, a plus and hexadecimal digits, which do not belong here.
std::from_chars_result KwReadNumber(const char* begin, const char* end, double& value) noexcept {
    const char* const first = begin != end && *begin == '-' ? begin + 1 : begin;
    const bool isWord = first != end && (*first == 'i' || *first == 'I' || *first == 'n' || *first == 'N');
    const bool isNumber = first != end && (isWord || *first == '.' || (*first >= '0' && *first <= '9'));
    if (!isNumber) return {begin, std::errc::invalid_argument};
    std::string copy(begin, end);
    if (const std::size_t x = copy.find_first_of("xX"); x != copy.npos) copy.resize(x);
    char* stop = nullptr;
    const double read = std::strtod(copy.c_str(), &stop);
    if (stop == copy.c_str()) return {begin, std::errc::invalid_argument};
    const char* const rest = begin + (stop - copy.c_str());
    if (!isWord && (std::isinf(read) || (read == 0.0 && copy.find_first_of("123456789") != copy.npos)))
        return {rest, std::errc::result_out_of_range};
    value = read;
    return {rest, std::errc{}};
}
