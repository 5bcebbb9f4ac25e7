#include "support/value_format.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "locales.h"
#include "platform/locale_table.h"
#include "platform/system_locale.h"
#include "support/named_strings.h"
#include "support/strings.h"
#include "support/value_read.h"

namespace {

template <class... A>
std::string In(const tLOCALEBLOCK& locale, const char* pattern, const A&... args) {
    char text[1024];
    const std::size_t size = FormatValue(locale, text, pattern, args...);
    EXPECT_EQ(size, std::string_view(text).size());
    return text;
}

template <class... A>
std::string Plain(const char* pattern, const A&... args) {
    return In(PlainBlock(), pattern, args...);
}

TEST(ValueFormat, ReadsByLocale) {
    struct {
        const char *locale, *real, *whole, *scaled, *clock;
    } const rows[] = {
        {"en_US", "1,234.500", "-1,234,567", "0.500", "01:02"},
        {"de_DE", "1.234,500", "-1.234.567", "0,500", "01:02"},
        {"fr_FR", "1\u202F234,500", "-1\u202F234\u202F567", "0,500", "01:02"},
        {"hi_IN", "1,234.500", "-12,34,567", "0.500", "01:02"},
        {"de_CH", "1\u2019234.500", "-1\u2019234\u2019567", "0.500", "01:02"},
        {"fr_CA", "1\u00A0234,500", "-1\u00A0234\u00A0567", "0,500", "01h02"},
        {"sv_SE", "1\u00A0234,500", "-1\u00A0234\u00A0567", "0,500", "01:02"},
        {"ar_EG", "1,234.500", "-1,234,567", "0.500", "01:02"},
        {"da_DK", "1.234,500", "-1.234.567", "0,500", "01.02"},
        {"de_DE.UTF-8@euro", "1.234,500", "-1.234.567", "0,500", "01:02"},
        {"C.UTF-8", "1,234.500", "-1,234,567", "0.500", "01:02"},
        {"xx_YY", "1,234.500", "-1,234,567", "0.500", "01:02"},
    };
    for (const auto& row : rows) {
        const tLOCALEBLOCK locale = BlockOf(row.locale);
        SCOPED_TRACE(row.locale);
        EXPECT_EQ(In(locale, "$.3f", 1234.5), row.real);
        EXPECT_EQ(In(locale, "$d", -1234567), row.whole);
        EXPECT_EQ(In(locale, "$.3z", 500), row.scaled);
        EXPECT_EQ(In(locale, "%02u$:%02u", 1, 2), row.clock);
    }
}

TEST(ValueFormat, Codes) {
    const struct {
        const char* pattern;
        const char* want;
    } rows[] = {
        {"", ""},
        {"$$ %% $%", "$ % %"},
        {"$* %* $, $:", ". . , :"},
        {"$&.|$&:|$&x|$!:|$!.|$!,|$!x", ".|.|x|:|.|,|x"},
        {"$(no such name)", "$(no such name)"},
        {"$()", "$()"},
        {"$(open", "$(open"},
        {"$(", "$("},
        {"$(12.5)", "12.5"},
        {"$(-1234567.50)", "-1,234,567.50"},
        {"$(1,234.5)", "1,234.5"},
        {"$(.5)", "0.5"},
        {"$(12.5", "$(12.5"},
        {"$(12.5x)", "$(12.5x)"},
        {"$(1.2.3)", ""},
        {"$(sMPTE.drop)", ","},
        {"$(SMPTE.Label.Drop)", "hr:mn:sc,fr"},
        {"$(SMPTE.Label.NonDrop.Full)", "hours:minutes:seconds.frames"},
        {"$(MusicTime.Label)", "ms.bt.tk"},
        {"100%", "100%"},
        {"5$", "5$"},
        {"%d and %s", "%d and %s"}, // no arguments
        {"%n%nd%kd", "%n%nd%kd"},
        {"\u00e9\u2019$$\U0001F600", "\u00e9\u2019$\U0001F600"},
    };
    for (const auto& row : rows) EXPECT_EQ(Plain(row.pattern), row.want) << row.pattern;
}

TEST(ValueFormat, OneConversion) {
    const double infinity = std::numeric_limits<double>::infinity();
    const struct {
        const char* pattern;
        tFORMATARG value;
        const char* want;
    } rows[] = {
        {"%d", 0, "0"},
        {"$d", 0, "0"},
        {"$d", 1000, "1,000"},
        {"$u", -1, "4,294,967,295"},
        {"%hd", 0x12345, "9029"},
        {"%ld", std::int64_t{1} << 40 | 7, "7"},
        {"%I64d", std::numeric_limits<std::int64_t>::min(), "-9223372036854775808"},
        {"$I64d", std::numeric_limits<std::int64_t>::min(), "-9,223,372,036,854,775,808"},
        {"$I64u", -1, "18,446,744,073,709,551,615"},
        {"%I64x", std::int64_t{1} << 40, "10000000000"},
        {"$X", 0xBEEFBEE, "BEEFBEE"},
        {"$10d", 1234, "      1,234"}, // padded ahead of the grouping
        {"$05d", 1234, "01,234"},
        {"$+d", 1234, "+1,234"},
        {"$-8d", 12, ""}, // blanks behind the digits are no number
        {"$.1f", 3, "3.0"},
        {"$.0f", 1234567.5, "1,234,568"},
        {"$f", 0.5, "0.500000"},
        {"$.2f", -0.125, "-0.12"},
        {"$.3f", 999999.9996, "1,000,000.000"},
        {"$e", 12345.678, "1.234568e+04"},
        {"$g", 1234567.0, "1.23457e+06"},
        {"$g", 123456.0, "123456"},
        {"%G", 1e-10, "1E-10"},
        {"$f", infinity, "inf"},
        {"$f", -infinity, ""},
        {"$.3f", std::nan(""), "nan"},
        {"%.3z", 1234567, "1234.567"},
        {"$.3z", 1234567, "1,234.567"},
        {"$z", 1234567, "1,234,567"},
        {"$.z", 5, "5"},
        {"$.18z", 5, "0.000000000000000005"},
        {"$.2z", std::numeric_limits<LONG>::min(), "-21,474,836.48"},
        {"%d", 2.9, "2"},
        {"%d", 1e300, "-2147483648"},
        {"%c", 'x', "x"},
        {"%c", 0x20AC, "\u20AC"},
        {"%c|", 0, "|"},
        {"%s", "\u00e9t\u00e9", "\u00e9t\u00e9"},
        {"$.2s", "\u00e9t\u00e9", "\u00e9"},
        {"$.4s", "\u00e9t\u00e9", "\u00e9t"}, // never half a letter
        {"%5s|%-5", "ab", "   ab|%-5"},
        {"%s", static_cast<const char*>(nullptr), ""},
        {"%d", "text", "%d"},
        {"%s", 5, "%s"},
    };
    for (const auto& row : rows) EXPECT_EQ(Plain(row.pattern, row.value), row.want) << row.pattern;
}

TEST(ValueFormat, PercentIsPrintf) {
    std::mt19937 random(7);
    const auto pick = [&](std::string_view of) { return of[random() % of.size()]; };
    for (int i = 0; i < 20000; ++i) {
        std::string spec = "%";
        for (auto flags = random() % 3; flags > 0; --flags) spec += pick("-+ #0");
        if (random() % 2) spec += std::to_string(random() % 40);
        if (random() % 2) spec.append(".").append(std::to_string(random() % 30));
        const char code = pick("diuoxXeEfgG");
        std::string want(1024, '\0');
        const bool real = std::string_view("eEfgG").find(code) != std::string_view::npos;
        const double value = std::ldexp(static_cast<double>(random()) - 2e9, static_cast<int>(random() % 120) - 70);
        const int whole = static_cast<int>(random()) >> random() % 32;
        std::string cSpec = spec + code;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
        want.resize(static_cast<std::size_t>(real ? std::snprintf(want.data(), 1024, cSpec.c_str(), value)
                                                  : std::snprintf(want.data(), 1024, cSpec.c_str(), whole)));
#pragma GCC diagnostic pop
        ASSERT_EQ(real ? Plain(cSpec.c_str(), value) : Plain(cSpec.c_str(), whole), want)
            << cSpec << " " << value << " " << whole;
    }
}

/// Groups by the rule as told: sizes from the right, the last one repeated unless a 0 stands behind it.
TEST(ValueFormat, GroupSizes) {
    const struct {
        LONG grouping;
        const char* want;
    } rows[] = {{0, "1234567890"},       {3, "1,234,567,890"}, {32, "1,23,45,67,890"},
                {30, "1234567,890"},     {4, "12,3456,7890"},  {123, "1,234,567,89,0"},
                {1230, "1234,567,89,0"}, {-5, "1234567890"},   {std::numeric_limits<LONG>::max(), "123,4567,89,0"}};
    for (const auto& row : rows) {
        tLOCALEBLOCK locale = PlainBlock();
        locale.facts.grouping = row.grouping;
        if (row.grouping < 1000000)
            EXPECT_EQ(In(locale, "$I64d", 1234567890), row.want) << row.grouping;
        else
            EXPECT_NE(In(locale, "$I64d", 1234567890), "");
    }
}

TEST(ValueFormat, NumberPrinters) {
    tLOCALEBLOCK locale = PlainBlock();
    char text[64];
    const auto grouped = [&](const char* number, LONG decimals) {
        GroupNumber(number, text, decimals, locale);
        return std::string(text);
    };
    EXPECT_EQ(grouped("1234.995", 2), "1,235.00");
    EXPECT_EQ(grouped("999.5", 0), "1,000");
    EXPECT_EQ(grouped("-0.5", -1), "-0.5");
    EXPECT_EQ(grouped("about 12", 1), "about 12.0");
    EXPECT_EQ(grouped("12 apples", 1), "");
    EXPECT_EQ(grouped("-", 1), "");
    GroupInteger("-1234.5", text, locale);
    EXPECT_STREQ(text, "-1,235");
    LocalizeNumber("1234.5", text, 2, locale);
    EXPECT_STREQ(text, "1234.50");
    locale.facts.leadingZero = 0;
    EXPECT_EQ(grouped("0.5", -1), ".5");
    EXPECT_EQ(grouped("-0.5", 0), "-1");
}

TEST(ValueFormat, MarksStayApart) {
    tLOCALEFACTS facts = PlainBlock().facts;
    facts.decimal = ",";
    EXPECT_EQ(MakeLocaleBlock(facts).facts.decimal.View(), ".");
    facts.decimal = facts.thousands = ".";
    EXPECT_EQ(MakeLocaleBlock(facts).facts.decimal.View(), ",");
}

TEST(ValueFormat, NothingLeavesTheBuffer) {
    for (const char* const name : kLocaleNames) {
        const tLOCALEBLOCK locale = BlockOf(name);
        const std::string whole = In(locale, "\u00e9$.3f\u2019$d", 1234567.5, 89012);
        for (std::size_t size = 0; size <= whole.size() + 1; ++size) {
            std::vector<char> text(size + 4, '#');
            const std::size_t length =
                FormatValue(locale, std::span(text).first(size), "\u00e9$.3f\u2019$d", 1234567.5, 89012);
            EXPECT_EQ(std::string(text.end() - 4, text.end()), "####");
            if (size == 0) continue;
            ASSERT_LT(length, size);
            EXPECT_EQ(text[length], '\0');
            EXPECT_EQ(whole.substr(0, length), text.data());
            EXPECT_NE(static_cast<unsigned char>(whole[length]) & 0xC0, 0x80) << "cut within a letter";
            EXPECT_LE(size - length, 4u) << "more was cut than one letter";
        }
    }
    // One conversion ends at 259 bytes, the text as a whole doesn't.
    const std::string pattern = "%300d" + std::string(500, 'x') + "%s";
    const std::string text = FormatText(pattern.c_str(), 5, std::string(400, 'y').c_str());
    EXPECT_EQ(text, std::string(259, ' ') + std::string(500, 'x') + std::string(259, 'y'));
    EXPECT_EQ(FormatText("$("
                         "%s",
                         "a"),
              "$(%s");
}

TEST(ValueFormat, PoolOfShortTexts) {
    const std::string mark(LocaleItem(UserLocale(), kItemDecimal));
    EXPECT_EQ(FormatCount(1250, 2, 0, " dB"), "12" + mark + "50 dB");
    EXPECT_STREQ(FormatCount(7, -3, 0, nullptr), "7");
    EXPECT_STREQ(FormatCount(-960, 1, -960, " dB"), "-Inf.");
    EXPECT_EQ(FormatValueFloat(0.5, 3, 0.0, nullptr), "0" + mark + "500");
    EXPECT_EQ(FormatValueFloat(0.5, 12, 0.0, nullptr), "0" + mark + "500000000");
    EXPECT_STREQ(FormatValueFloat(-7.9, 0, 0.0, "%"), "-7%");
    EXPECT_STREQ(FormatValueFloat(1e300, 2, 0.0, nullptr), "Err.");
    EXPECT_STREQ(FormatCount(1, 1, 0, std::string(1000, 'x').c_str()), "Err.");
    const char* const first = FormatCount(1, 0, 0, nullptr);
    for (int i = 0; i < 63; ++i) FormatCount(2, 0, 0, nullptr);
    EXPECT_STREQ(first, "1");
}

TEST(ValueFormat, Ampersands) {
    char text[8];
    EXPECT_EQ(DoubleAmpersands(text, "a & b"), 6u);
    EXPECT_STREQ(text, "a && b");
    EXPECT_EQ(DoubleAmpersands(text, "sixsix&&"), 6u);
    EXPECT_STREQ(text, "sixsix");
    EXPECT_EQ(DoubleAmpersands(std::span(text).first(1), "&"), 0u);
    EXPECT_EQ(DoubleAmpersands({}, "&"), 0u);
    EXPECT_EQ(DoubleAmpersands(text, nullptr), 0u);
}

TEST(NamedStrings, ReplaceFindAndRemove) {
    SetNamedString("Zeta", "1");
    SetNamedString("zETA", "2 $d");
    SetNamedString("Alpha", "3");
    EXPECT_EQ(FormatText("$(zeta) $(ALPHA) $(Zeta0)"), "2 $d 3 $(Zeta0)");
    SetNamedString("zeta", nullptr);
    EXPECT_EQ(FormatText("$(zeta)"), "$(zeta)");
    const std::string key(260, 'k');
    SetNamedString(key.c_str(), "long");
    EXPECT_EQ(FormatText(("$(" + key + ")").c_str()), "long");
    SetNamedString((key + "k").c_str(), "longer");
    EXPECT_EQ(FormatText(("$(" + key + "k)").c_str()), "$(" + key + "k)");
    SetNamedString(key.c_str(), nullptr);
    SetNamedString((key + "k").c_str(), nullptr);
    SetNamedString(nullptr, "x");
}

TEST(NamedStrings, ThreadsSeeWholeValues) {
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([t] {
            for (int i = 0; i < 2000; ++i) {
                if (t < 2)
                    SetNamedString("Shared", t ? "a long value that needs memory" : "another long value, as long");
                const std::string text = FormatText("$(Shared)");
                ASSERT_TRUE(text.starts_with("a") || text == "$(Shared)") << text;
                ASSERT_STREQ(FormatCount(i, 0, 100000, nullptr), "-Inf.");
                ASSERT_STREQ(GetResourceString(nullptr, 48016), "\n\nThe operation was cancelled by the user.");
            }
        });
    for (std::thread& thread : threads) thread.join();
    SetNamedString("Shared", nullptr);
}

TEST(LocaleBlock, CopiesByPart) {
    tLOCALEBLOCK block{};
    EXPECT_EQ(GetLocaleBlock(&block, sizeof block + 100), sizeof block);
    EXPECT_EQ(block.size, sizeof block);
    EXPECT_EQ(block.facts.decimal.View(), UserLocale().facts.decimal.View());
    std::memset(static_cast<void*>(&block), 0x55, sizeof block);
    EXPECT_EQ(GetLocaleBlock(&block, 8), 8u);
    EXPECT_EQ(block.size, 8u);
    EXPECT_EQ(block.facts.languageNumber, 0x55555555);
    EXPECT_EQ(GetLocaleBlock(&block, 3), 0u);
    EXPECT_EQ(GetLocaleBlock(nullptr, 8), 0u);
}

TEST(LocaleBlock, Facts) {
    const tLOCALEFACTS swiss = KwReadLocale("de_CH");
    EXPECT_EQ(swiss.languageNumber, 0x807);
    EXPECT_EQ(swiss.languageEnglish.View(), "German");
    EXPECT_EQ(swiss.language.View(), "Deutsch");
    EXPECT_EQ(swiss.countryEnglish.View(), "Switzerland");
    EXPECT_EQ(swiss.countryNumber, 756);
    EXPECT_EQ(swiss.measure, 0);
    EXPECT_EQ(KwReadLocale("en_US").measure, 1);
    EXPECT_EQ(KwReadLocale("de_DE").listSeparator.View(), ";");
    EXPECT_EQ(KwReadLocale("hi_IN").grouping, 32);
    EXPECT_EQ(KwReadLocale("sv_SE").negativeSign.View(), "\u2212");
    EXPECT_EQ(KwReadLocale("en_US_and_then_a_very_long_tail_that_no_locale_has_at_all_________").decimal.View(), ".");
    EXPECT_EQ(KwReadLocale(std::string(5000, 'x').c_str()).decimal.View(), ".");
}

TEST(LocaleBlock, TableTellsWhatTheSystemDoes) {
    const auto same = [](const tLOCALEFACTS& one, const tLOCALEFACTS& other) {
        return std::memcmp(&one, &other, sizeof one) == 0;
    };
    const auto read = [](std::string_view name) {
        tLOCALEFACTS facts{};
        KwReadLocaleTable(name, facts);
        return facts;
    };
    tLOCALEFACTS facts{};
    const bool hasSystem = KwReadSystemLocale("en_US", facts);
    for (const std::string_view name : KwLocaleTableNames()) {
        facts = {};
        KwReadSystemLocale(std::string(name).c_str(), facts);
        facts.leadingZero = 0;
        EXPECT_TRUE(!hasSystem || same(read(name), facts)) << name;
    }
    const char* const rows[][2] = {{"de_LU", "de_DE"}, {"de-CH", "de_CH"}, {"fr", "fr_FR"}, {"fr_", "fr_FR"},
                                   {"dex", "en_US"},   {"xx_DE", "en_US"}, {"d", "en_US"},  {"", "en_US"}};
    for (const auto& [name, as] : rows) EXPECT_TRUE(same(read(name), read(as))) << name;
    for (const char* const name : kLocaleNames)
        EXPECT_NE(std::ranges::find(KwLocaleTableNames(), name), KwLocaleTableNames().end());
}

TEST(ValueRead, StopsBehindTheDigits) {
    const struct {
        const char *text, *rest;
        double value;
    } rows[] = {
        {"1,234.5", "", 1234.5}, {"12abc", "abc", 12}, {"  -7 ", " ", -7},
        {"abc", "abc", 0},       {"", "", 0},          {"-", "", 0},
        {".5", "", 0.5},         {"--5", "-5", 0},     {"1.2.3", "", 1.2},
        {"+5", "+5", 0},         {"1e5", "e5", 1},     {"nan", "nan", 0},
        {"0x10", "x10", 0},
    };
    const tLOCALEBLOCK locale = PlainBlock();
    for (const auto& row : rows) {
        const char* end = nullptr;
        EXPECT_EQ(ReadDouble(row.text, &end, locale), row.value) << row.text;
        EXPECT_STREQ(end, row.rest) << row.text;
        EXPECT_EQ(ReadLong(row.text, nullptr, locale), std::trunc(row.value)) << row.text;
    }
    EXPECT_EQ(ReadLong("99,999,999,999", nullptr, locale), std::numeric_limits<LONG>::max());
    EXPECT_EQ(ReadLong("-99999999999", nullptr, locale), std::numeric_limits<LONG>::min());
    EXPECT_EQ(ReadInt64("-9,223,372,036,854,775,808", nullptr, locale), std::numeric_limits<std::int64_t>::min());
    const char* end = "";
    EXPECT_EQ(ReadDouble(nullptr, &end, locale), 0.0);
    EXPECT_EQ(end, nullptr);
    EXPECT_GT(ReadDouble(std::string(1000, '9').c_str(), nullptr, locale), 1e200);
}

TEST(ValueRead, Hex) {
    const struct {
        const char *text, *rest;
        DWORD value;
    } rows[] = {
        {"0xFf", "", 255}, {" 0X1g", "g", 1}, {"beef", "", 0xBEEF}, {"0x", "x", 0}, {"123456789", "", 0x23456789},
        {"", "", 0}};
    for (const auto& row : rows) {
        const char* end = nullptr;
        EXPECT_EQ(ReadHex(row.text, &end), row.value) << row.text;
        EXPECT_STREQ(end, row.rest);
    }
    EXPECT_EQ(ReadHex(nullptr, nullptr), 0u);
}

TEST(ValueRead, NormalizesIntoAnySize) {
    const tLOCALEBLOCK locale = BlockOf("de_CH");
    const char text[] = " -1\u2019234.5x";
    for (std::size_t size = 0; size < 12; ++size) {
        std::vector<char> out(size + 2, '#');
        const char* const rest = NormalizeNumberText(std::span(out).first(size), text, locale);
        EXPECT_EQ(out[size], '#');
        if (size == 0) continue;
        EXPECT_EQ(std::string("-1234.5").substr(0, size - 1), out.data());
        EXPECT_EQ(*rest == 'x', size > 7);
    }
}

TEST(ValueRead, RoundTripInEveryLocale) {
    std::mt19937 random(5);
    for (const char* const name : kLocaleNames) {
        const tLOCALEBLOCK locale = BlockOf(name);
        SCOPED_TRACE(name);
        for (int i = 0; i < 2000; ++i) {
            const auto thousandths = static_cast<LONG>(random()) >> random() % 32;
            const char* end = nullptr;
            char text[64];
            FormatValue(locale, text, "$.3z", thousandths);
            ASSERT_EQ(ReadDouble(text, &end, locale), thousandths / 1000.0) << text;
            ASSERT_EQ(*end, '\0') << text;
            FormatValue(locale, text, "$.3f", thousandths / 1000.0);
            ASSERT_EQ(ReadDouble(text, &end, locale), thousandths / 1000.0) << text;
            const std::int64_t wide = std::int64_t{thousandths} * static_cast<LONG>(random());
            FormatValue(locale, text, "$I64d", wide);
            ASSERT_EQ(ReadInt64(text, &end, locale), wide) << text;
            FormatValue(locale, text, "$d", thousandths);
            ASSERT_EQ(ReadLong(text, &end, locale), thousandths) << text;
            FormatValue(locale, text, "%x", thousandths);
            ASSERT_EQ(ReadHex(text, &end), static_cast<DWORD>(thousandths)) << text;
        }
    }
}

} // namespace
