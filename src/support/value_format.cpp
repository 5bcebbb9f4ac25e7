#include "support/value_format.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <optional>

#include "base/arith.h"
#include "base/functions.h"
#include "support/named_strings.h"
#include "support/strings.h"
#include "support/text_sink.h"

namespace {

/// Longest conversion, and longest key or literal in "$()".
constexpr std::size_t kWorkSize = 260;

constexpr bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The result of one conversion of C; what doesn't fit is cut.
class CWorkText {
  public:
    void Put(std::string_view text) {
        const std::size_t count = std::min(text.size(), kWorkSize - 1 - m_length);
        text.copy(m_text + m_length, count);
        m_length += count;
    }
    void Fill(std::size_t count, char c) {
        count = std::min(count, kWorkSize - 1 - m_length);
        std::fill_n(m_text + m_length, count, c);
        m_length += count;
    }
    std::string_view View() const { return {m_text, m_length}; }

  private:
    char m_text[kWorkSize];
    std::size_t m_length = 0;
};

enum class eGroup { Grouped, Integer, Plain };

/// The sizes of the groups from the right, as `tLOCALEFACTS::grouping` packs them.
class CGroups {
  public:
    explicit CGroups(LONG packed) {
        char text[12]{};
        const auto end = std::to_chars(text, text + sizeof text, std::max(packed, 0)).ptr;
        for (const char* p = text; p != end; ++p) m_sizes[m_count++] = *p - '0';
    }
    /// Marks the places, counted in digits from the right, that a separator stands at.
    template <std::size_t N>
    void Mark(std::size_t digits, std::array<bool, N>& marks) const {
        std::size_t place = 0;
        for (std::size_t i = 0; m_sizes[i] > 0; i = std::min(i + 1, m_count - 1)) {
            place += static_cast<std::size_t>(m_sizes[i]);
            if (place >= digits) break;
            marks[place] = true;
        }
    }

  private:
    int m_sizes[12]{};
    std::size_t m_count = 0;
};

struct tNumber {
    bool negative = false;
    std::string_view whole, fraction;
};

/// What a number printer of the platform accepts: a sign, digits, one point.
std::optional<tNumber> ParseNumber(std::string_view text) {
    tNumber number;
    if (text.starts_with('-')) {
        number.negative = true;
        text.remove_prefix(1);
    }
    const std::size_t point = std::min(text.find('.'), text.size());
    number.whole = text.substr(0, point);
    number.fraction = text.substr(std::min(point + 1, text.size()));
    const bool digits = std::ranges::all_of(number.whole, IsDigit) && std::ranges::all_of(number.fraction, IsDigit);
    if (!digits || number.whole.size() + number.fraction.size() == 0) return {};
    return number;
}

/// Digits of a number with the wanted count of decimals, rounded half away from zero.
struct tDigits {
    char text[2 * kWorkSize + 2];
    std::size_t whole = 0, size = 0;

    tDigits(const tNumber& number, std::size_t decimals) {
        text[size++] = '0'; // room for a carry
        for (const char c : number.whole) text[size++] = c;
        whole = size;
        for (std::size_t i = 0; i < decimals; ++i) text[size++] = i < number.fraction.size() ? number.fraction[i] : '0';
        if (decimals < number.fraction.size() && number.fraction[decimals] >= '5') {
            std::size_t at = size;
            while (text[--at] == '9') text[at] = '0';
            ++text[at];
        }
    }
};

void PutNumber(CTextSink& sink, std::string_view text, LONG wantedDecimals, const tLOCALEBLOCK& locale, eGroup group) {
    const auto isPart = [text](std::size_t i) {
        const char c = text[i];
        if (c == '0') return i + 1 < text.size() && text[i + 1] == '.';
        return IsDigit(c) || c == '-' || c == '.';
    };
    std::size_t start = 0;
    while (start < text.size() && !isPart(start)) ++start;
    sink.Put(text.substr(0, start));
    // No number of the formatter is longer than its work text.
    const auto number = ParseNumber(text.substr(start, kWorkSize));
    if (!number || text.size() - start > kWorkSize) return;

    const std::size_t decimals = group == eGroup::Integer ? 0
                                 : wantedDecimals < 0     ? number->fraction.size()
                                                      : std::min(static_cast<std::size_t>(wantedDecimals), kWorkSize);
    const tDigits digits(*number, decimals);
    std::size_t first = 0;
    while (first < digits.whole && digits.text[first] == '0') ++first;
    if (first == digits.whole && (locale.facts.leadingZero || decimals == 0)) --first;

    if (number->negative) sink.Put("-");
    const std::size_t count = digits.whole - first;
    std::array<bool, kWorkSize + 2> marks{};
    if (group != eGroup::Plain) CGroups(locale.facts.grouping).Mark(count, marks);
    const std::string_view thousands = locale.facts.thousands.View();
    std::size_t from = first;
    for (std::size_t i = first + 1; i < digits.whole; ++i)
        if (marks[digits.whole - i]) {
            sink.Put({digits.text + from, i - from});
            sink.PutWhole(thousands);
            from = i;
        }
    sink.Put({digits.text + from, digits.whole - from});
    if (decimals > 0) {
        sink.PutWhole(locale.facts.decimal.View());
        sink.Put({digits.text + digits.whole, decimals});
    }
}

// The conversions of C, kept apart from the C library so that the locale of the process doesn't show in them.

struct tConversion {
    bool left = false, plus = false, space = false, alternate = false, zero = false;
    int width = 0, precision = -1; ///< precision -1: not given
    int bits = 32;
    char code = '\0';
};

/// Every double has fewer digits than this on either side of its point, or repeats zeros from there on.
constexpr int kLargestPrecision = 1100;

int TakeInteger(std::string_view& text, int largest) {
    int value = 0;
    for (; !text.empty() && IsDigit(text[0]); text.remove_prefix(1))
        value = std::min(value * 10 + text[0] - '0', largest);
    return value;
}

bool Take(std::string_view& text, std::string_view prefix) {
    if (!text.starts_with(prefix)) return false;
    text.remove_prefix(prefix.size());
    return true;
}

/// Reads "%-08.3I64d" without its lead-in; nothing for what C has no meaning for.
std::optional<tConversion> ParseConversion(std::string_view text) {
    tConversion c;
    for (bool flags = true; flags && !text.empty();) {
        switch (text[0]) {
        case '-':
            c.left = true;
            break;
        case '+':
            c.plus = true;
            break;
        case ' ':
            c.space = true;
            break;
        case '#':
            c.alternate = true;
            break;
        case '0':
            c.zero = true;
            break;
        default:
            flags = false;
            continue;
        }
        text.remove_prefix(1);
    }
    c.width = TakeInteger(text, static_cast<int>(kWorkSize));
    if (Take(text, ".")) c.precision = TakeInteger(text, kLargestPrecision);
    if (Take(text, "I64") || Take(text, "ll"))
        c.bits = 64;
    else if (Take(text, "hh"))
        c.bits = 8;
    else if (Take(text, "h"))
        c.bits = 16;
    else if (!Take(text, "I32") && !Take(text, "I")) // a long and a size have 32 bits in these formats
        Take(text, "l");
    if (text.size() != 1) return {};
    c.code = text[0];
    return c;
}

/// A sign or "0x", then a body, padded to the width.
void PutField(CWorkText& out, const tConversion& c, std::string_view prefix, std::size_t zeros, std::string_view body,
              bool zeroPads) {
    const std::size_t size = prefix.size() + zeros + body.size(), width = static_cast<std::size_t>(c.width);
    const std::size_t pad = width > size ? width - size : 0;
    const bool inside = c.zero && zeroPads && !c.left;
    if (!c.left && !inside) out.Fill(pad, ' ');
    out.Put(prefix);
    out.Fill(zeros + (inside ? pad : 0), '0');
    out.Put(body);
    if (c.left) out.Fill(pad, ' ');
}

std::string_view SignOf(const tConversion& c, bool negative) {
    return negative ? "-" : c.plus ? "+" : c.space ? " " : "";
}

void PutInteger(CWorkText& out, const tConversion& c, std::int64_t value) {
    const bool isSigned = c.code == 'd' || c.code == 'i';
    const int unused = 64 - c.bits;
    auto bits = static_cast<std::uint64_t>(value) << unused;
    bits = isSigned ? static_cast<std::uint64_t>(static_cast<std::int64_t>(bits) >> unused) : bits >> unused;
    const bool negative = isSigned && static_cast<std::int64_t>(bits) < 0;
    if (negative) bits = 0 - bits;

    const bool hex = c.code == 'x' || c.code == 'X';
    char text[24]{};
    char* const end = std::to_chars(text, text + sizeof text, bits, hex ? 16 : c.code == 'o' ? 8 : 10).ptr;
    if (c.code == 'X')
        for (char* p = text; p != end; ++p) *p = *p >= 'a' ? static_cast<char>(*p - 'a' + 'A') : *p;
    std::string_view body(text, static_cast<std::size_t>(end - text));
    if (bits == 0 && c.precision == 0) body = {};
    std::size_t zeros =
        c.precision > static_cast<int>(body.size()) ? static_cast<std::size_t>(c.precision) - body.size() : 0;
    if (c.alternate && c.code == 'o' && zeros == 0 && !body.starts_with('0')) zeros = 1;
    const std::string_view prefix = isSigned                            ? SignOf(c, negative)
                                    : !hex || !c.alternate || bits == 0 ? ""
                                    : c.code == 'x'                     ? "0x"
                                                                        : "0X";
    PutField(out, c, prefix, zeros, body, c.precision < 0);
}

/// "#" keeps the point, and with 'g' the zeros behind it.
std::size_t KeepPoint(char* text, std::size_t size, std::size_t room, bool general, std::size_t precision) {
    std::string_view view(text, size);
    const std::size_t mantissa = std::min(view.find('e'), size);
    const bool hasPoint = view.substr(0, mantissa).find('.') != view.npos;
    std::size_t zeros = 0;
    if (general) {
        std::size_t digits = 0;
        bool leading = true;
        for (const char c : view.substr(0, mantissa)) {
            leading = leading && (c == '0' || c == '.');
            digits += !leading && c != '.';
        }
        if (leading) digits = 1; // zero itself
        zeros = precision > digits ? precision - digits : 0;
    }
    const std::size_t more = std::min(zeros + !hasPoint, room - size);
    std::copy_backward(text + mantissa, text + size, text + size + more);
    std::fill_n(text + mantissa, more, '0');
    if (!hasPoint && more > 0) text[mantissa] = '.';
    return size + more;
}

void PutReal(CWorkText& out, const tConversion& c, double value) {
    const bool general = c.code == 'g' || c.code == 'G', finite = std::isfinite(value);
    const auto form = general         ? std::chars_format::general
                      : c.code == 'f' ? std::chars_format::fixed
                                      : std::chars_format::scientific;
    const int precision = c.precision < 0 ? 6 : general ? std::max(c.precision, 1) : c.precision;
    char text[2 * kLargestPrecision];
    auto size =
        static_cast<std::size_t>(std::to_chars(text, text + sizeof text, std::fabs(value), form, precision).ptr - text);
    if (c.alternate && finite && (general || precision == 0))
        size = KeepPoint(text, size, sizeof text, general, static_cast<std::size_t>(precision));
    if (c.code == 'E' || c.code == 'G')
        for (char& letter : std::span(text, size))
            if (letter >= 'a') letter = static_cast<char>(letter - 'a' + 'A');
    PutField(out, c, SignOf(c, std::signbit(value)), 0, {text, size}, finite);
}

void PutText(CWorkText& out, const tConversion& c, std::string_view text) {
    if (c.precision >= 0) text = text.substr(0, static_cast<std::size_t>(c.precision));
    text = text.substr(0, kWorkSize - 1);
    PutField(out, c, "", 0, text.substr(0, CTextSink::CutUtf8(text)), false);
}

/// A character by its code point; a zero, and what is no character, writes nothing.
void PutCharacter(CWorkText& out, const tConversion& c, std::int64_t code) {
    char text[4];
    std::size_t size = 0;
    if (code > 0 && code < 0x80) {
        text[size++] = static_cast<char>(code);
    } else if (code >= 0x80 && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF)) {
        const int tail = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
        constexpr int kLead[] = {0, 0xC0, 0xE0, 0xF0};
        text[size++] = static_cast<char>(kLead[tail] | code >> (6 * tail));
        for (int i = tail - 1; i >= 0; --i) text[size++] = static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
    }
    PutField(out, c, "", 0, {text, size}, false);
}

constexpr double kPowersOfTen[16] = {1.0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                     1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

/// The walk over a pattern.
class CFormatter {
  public:
    CFormatter(CTextSink& sink, const tLOCALEBLOCK& locale, std::span<const tFORMATARG> args)
        : m_sink(sink), m_locale(locale), m_args(args) {}

    void Run(std::string_view pattern) {
        m_rest = pattern;
        while (!m_rest.empty() && !m_sink.IsCut()) {
            const std::size_t lead = std::min(m_rest.find_first_of("$%"), m_rest.size());
            m_sink.Put(m_rest.substr(0, lead));
            m_rest.remove_prefix(lead);
            if (!m_rest.empty()) LeadIn();
        }
    }

  private:
    void LeadIn() {
        if (Take(m_rest, "$$"))
            m_sink.Put("$");
        else if (Take(m_rest, "%%") || Take(m_rest, "$%"))
            m_sink.Put("%");
        else if (m_rest.starts_with("$("))
            Paste();
        else
            Conversion();
    }

    void PutItem(LONG item) { m_sink.PutWhole(LocaleItem(m_locale, item)); }

    /// A bracket that isn't understood goes out with the text that was looked at.
    void Paste() {
        const std::string_view inside = m_rest.substr(2);
        const auto isLiteral = [](char c) { return IsDigit(c) || c == '.' || c == ','; };
        if (!inside.empty() && (IsDigit(inside[0]) || inside[0] == '-' || inside[0] == '.')) {
            std::size_t size = 1;
            while (size < inside.size() && isLiteral(inside[size])) ++size;
            if (size <= kWorkSize && inside.substr(size).starts_with(')'))
                Literal(inside.substr(0, size));
            else
                m_sink.Put(m_rest.substr(0, size + 2));
            m_rest.remove_prefix(std::min(size + 2 + (inside.substr(size).starts_with(')') ? 1 : 0), m_rest.size()));
            return;
        }
        const std::size_t size = inside.substr(0, kWorkSize + 1).find(')');
        const std::string_view whole = m_rest.substr(0, size == inside.npos ? kWorkSize + 2 : size + 3);
        std::string value;
        UserLocale(); // enters the names of the separators
        if (size != inside.npos && GetNamedString(inside.substr(0, size), value))
            m_sink.Put(value);
        else
            m_sink.Put(whole);
        m_rest.remove_prefix(whole.size());
    }

    /// Commas group the digits of a literal and say nothing.
    void Literal(std::string_view text) {
        CWorkText digits;
        for (const char c : text)
            if (c != ',') digits.Put({&c, 1});
        PutNumber(m_sink, digits.View(), -1, m_locale, eGroup::Grouped);
    }

    void Conversion() {
        const std::size_t size = m_rest.substr(0, kWorkSize).find_first_of("!&*,:EGXcdefgiosuxz", 1);
        if (size == m_rest.npos) {
            const std::string_view gathered = m_rest.substr(0, kWorkSize);
            m_sink.Put(gathered);
            m_rest.remove_prefix(gathered.size());
            return;
        }
        const std::string_view gathered = m_rest.substr(0, size + 1);
        m_rest.remove_prefix(size + 1);
        switch (gathered.back()) {
        case '*':
            return PutItem(kItemDecimal);
        case ',':
            return PutItem(kItemList);
        case ':':
            return PutItem(kItemTime);
        case '&':
            if (Take(m_rest, "."))
                PutItem(kItemBeatTick);
            else if (Take(m_rest, ":"))
                PutItem(kItemMeasureBeat);
            return;
        case '!':
            if (Take(m_rest, ":"))
                PutItem(kItemSmpteWhole);
            else if (Take(m_rest, "."))
                PutItem(kItemSmpteNonDrop);
            else if (Take(m_rest, ","))
                PutItem(kItemSmpteDrop);
            return;
        default:
            if (!Value(gathered)) m_sink.Put(gathered);
        }
    }

    /// False, with the output untouched, for a conversion that C doesn't know or that has no argument of its kind.
    bool Value(std::string_view gathered) {
        auto c = ParseConversion(gathered.substr(1));
        if (!c || m_args.empty()) return false;
        const tFORMATARG arg = m_args.front();
        m_args = m_args.subspan(1);
        if (arg.IsText() != (c->code == 's')) return false;
        const bool local = gathered[0] == '$';
        if (c->code == 'z') {
            if (c->precision > 0) return Scaled(*c, arg.Integer32(), local);
            c->code = 'd';
        }
        CWorkText work;
        LONG decimals = -1;
        std::optional<eGroup> group;
        switch (c->code) {
        case 's':
            PutText(work, *c, arg.Text());
            break;
        case 'c':
            PutCharacter(work, *c, arg.Integer());
            break;
        case 'd':
        case 'i':
        case 'u':
            PutInteger(work, *c, c->bits == 64 ? arg.Integer() : arg.Integer32());
            group = eGroup::Integer;
            break;
        case 'o':
        case 'x':
        case 'X':
            PutInteger(work, *c, c->bits == 64 ? arg.Integer() : arg.Integer32());
            break;
        case 'f':
            PutReal(work, *c, arg.Real());
            decimals = c->precision < 0 ? 6 : c->precision;
            group = eGroup::Grouped;
            break;
        case 'g':
        case 'G':
            PutReal(work, *c, arg.Real());
            if (work.View().find_first_of("eE") == std::string_view::npos) group = eGroup::Plain;
            break;
        default:
            PutReal(work, *c, arg.Real());
        }
        if (local && group)
            PutNumber(m_sink, work.View(), decimals, m_locale, *group);
        else
            m_sink.Put(work.View());
        return true;
    }

    bool Scaled(tConversion c, LONG value, bool local) {
        const auto decimals = static_cast<std::size_t>(c.precision);
        const double scale = decimals < std::size(kPowersOfTen) ? kPowersOfTen[decimals] : KwPow(10.0, c.precision);
        c.code = 'f';
        CWorkText work;
        PutReal(work, c, value / scale);
        PutNumber(m_sink, work.View(), c.precision, m_locale, local ? eGroup::Grouped : eGroup::Plain);
        return true;
    }

    CTextSink& m_sink;
    const tLOCALEBLOCK& m_locale;
    std::span<const tFORMATARG> m_args;
    std::string_view m_rest;
};

std::size_t PutNumberInto(std::span<char> dest, std::string_view text, LONG decimals, const tLOCALEBLOCK& locale,
                          eGroup group) {
    CTextSink sink(dest);
    PutNumber(sink, text, decimals, locale, group);
    return sink.Finish();
}

/// A text of the rotating pool; `code` is 'z' or 'f'.
const char* PoolText(tFORMATARG value, LONG decimals, bool isBelow, const char* suffix, char code) {
    using tText = std::array<char, 24>;
    thread_local std::array<tText, 64> pool;
    thread_local std::size_t next = 0;
    if (isBelow) return GetResourceString(nullptr, 48303);
    char pattern[] = {'$', '.', static_cast<char>('0' + KwClamp(decimals, 1, 9)), code, '\0'};
    char text[64];
    std::size_t size = decimals > 0 ? FormatValue(text, pattern, value) : FormatValue(text, "$d", value.Integer32());
    tText& out = pool[next];
    if (suffix) size += FormatValue(std::span(text).subspan(size), "%s", suffix);
    if (size >= out.size()) return GetResourceString(nullptr, 48302);
    next = (next + 1) % pool.size();
    std::copy_n(text, size + 1, out.data());
    return out.data();
}

} // namespace

std::int64_t tFORMATARG::Integer() const {
    return m_kind == eKind::Integer ? m_integer : m_kind == eKind::Real ? KwTrunc64(m_real) : 0;
}

LONG tFORMATARG::Integer32() const {
    return m_kind == eKind::Real ? KwTrunc(m_real) : KwWrap32(Integer());
}

double tFORMATARG::Real() const {
    return m_kind == eKind::Real ? m_real : m_kind == eKind::Integer ? static_cast<double>(m_integer) : 0.0;
}

std::size_t FormatValueArgs(const tLOCALEBLOCK& locale, std::span<char> dest, const char* pattern,
                            std::span<const tFORMATARG> args) noexcept {
    CTextSink sink(dest);
    try {
        CFormatter(sink, locale, args).Run(pattern ? pattern : "");
    } catch (...) { // a named string found no memory
    }
    return sink.Finish();
}

std::string FormatTextArgs(const tLOCALEBLOCK& locale, const char* pattern, std::span<const tFORMATARG> args) noexcept {
    std::string text;
    try {
        CTextSink sink(text);
        CFormatter(sink, locale, args).Run(pattern ? pattern : "");
    } catch (...) {
        text.clear();
    }
    return text;
}

std::size_t GroupNumber(std::string_view text, std::span<char> dest, LONG decimals,
                        const tLOCALEBLOCK& locale) noexcept {
    return PutNumberInto(dest, text, decimals, locale, eGroup::Grouped);
}

std::size_t GroupInteger(std::string_view text, std::span<char> dest, const tLOCALEBLOCK& locale) noexcept {
    return PutNumberInto(dest, text, 0, locale, eGroup::Integer);
}

std::size_t LocalizeNumber(std::string_view text, std::span<char> dest, LONG decimals,
                           const tLOCALEBLOCK& locale) noexcept {
    return PutNumberInto(dest, text, decimals, locale, eGroup::Plain);
}

const char* FormatCount(LONG value, LONG decimals, LONG limit, const char* suffix) noexcept {
    return PoolText(value, decimals, limit != 0 && value <= limit, suffix, 'z');
}

const char* FormatValueFloat(double value, LONG decimals, double limit, const char* suffix) noexcept {
    return PoolText(value, decimals, limit != 0.0 && value <= limit, suffix, 'f');
}

std::size_t DoubleAmpersands(std::span<char> dest, const char* text) noexcept {
    CTextSink sink(dest);
    for (std::string_view rest(text ? text : ""); !rest.empty() && !sink.IsCut();) {
        const std::size_t size = std::min(rest.find('&'), rest.size());
        sink.Put(rest.substr(0, size));
        rest.remove_prefix(size);
        if (Take(rest, "&")) sink.PutWhole("&&");
    }
    return sink.Finish();
}
