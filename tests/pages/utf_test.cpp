#include <gtest/gtest.h>

#include "pages/utf.h"

namespace {

TEST(Utf, Converts) {
    const struct {
        std::string narrow;
        std::u16string wide;
        bool back = true;
    } rows[] = {
        {"", u""},
        {"a\x7f", u"a\x7f"},
        {"\xC2\x80\xDF\xBF", u"\u0080\u07FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {"a\x80\xBFz", u"a\uFFFD\uFFFDz", false},                           // tails alone
        {"\xC0\xAF\xC1\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},           // too long
        {"\xE0\x9F\xBF", u"\uFFFD\uFFFD\uFFFD", false},                     // too long
        {"\xF0\x8F\xBF\xBF", u"\uFFFD\uFFFD\uFFFD\uFFFD", false},           // too long
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD", false},                     // a surrogate
        {"\xF4\x90\x80\x80\xF5", u"\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD", false}, // past the last plane
        {"\xE2\x82", u"\uFFFD", false},                                     // cut off
        {"\xF0\x9F\x98z\xE2\x82\xC3\xA9", u"\uFFFDz\uFFFD\u00E9", false},   // cut off by what follows
    };
    for (const auto& row : rows) {
        EXPECT_EQ(KwUtf16(row.narrow), row.wide) << row.narrow;
        if (row.back) {
            EXPECT_EQ(KwUtf8(row.wide), row.narrow);
        }
    }
    for (const char16_t lone : {u'\xD800', u'\xDBFF', u'\xDC00', u'\xDFFF'}) {
        EXPECT_EQ(KwUtf8(std::u16string{u'a', lone}), "a\xEF\xBF\xBD");
        EXPECT_EQ(KwUtf8(std::u16string{lone, u'z'}), "\xEF\xBF\xBDz");
    }
}

} // namespace
