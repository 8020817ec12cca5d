#include <gtest/gtest.h>
#include <qmv/html.h>

#include <string>

#include "tests/support/formatted.h"
#include "tests/support/malformed.h"
#include "tests/support/output.h"

namespace {

using qmv_test::formats;
using qmv_test::kMalformed;
using qmv_test::prints;

TEST(HtmlPrintf, EscapesLiteralTextUnlessRaw) {
    EXPECT_TRUE(formats("a&lt;b &lt;i&gt;", 0, "a<b %s", "<i>"));
    EXPECT_TRUE(formats("<td>x&amp;y</td>", 1, "<td>%s</td>", "x&y"));
    EXPECT_TRUE(formats("&lt;td&gt;x&amp;y&lt;/td&gt;", 0, "<td>%s</td>", "x&y"));
}

TEST(HtmlPrintf, TakesEveryNonzeroAsRaw) {
    EXPECT_TRUE(formats("<", 2, "<"));
    EXPECT_TRUE(formats("<", -1, "<"));
    EXPECT_TRUE(formats("<", 0x10000, "<"));
}

TEST(HtmlPrintf, PrintsLiteralTextOnly) {
    EXPECT_TRUE(formats("", 0, ""));
    EXPECT_TRUE(formats("", 1, ""));
    EXPECT_TRUE(formats("plain", 0, "plain"));
    const std::string longer(10000, 'l');
    EXPECT_TRUE(formats(longer, 0, longer));
    EXPECT_TRUE(formats(longer, 1, longer));
}

TEST(HtmlPrintf, ReturnsZeroForNullFormat) {
    const char *const none = nullptr;
    EXPECT_TRUE(prints("", [&] { return html_printf(1, none); }));
    EXPECT_TRUE(prints("", [&] { return html_printf(0, none); }));
}

TEST(HtmlPrintf, PrintsRawLiteralTextVerbatim) {
    for (const auto &row : kMalformed)
        EXPECT_TRUE(formats(row.text, 1, row.text)) << row.label;
}

TEST(HtmlPrintf, EndsAnEscapedPieceOfLiteralTextAtItsFirstInvalidSequence) {
    for (const auto &row : kMalformed) {
        EXPECT_TRUE(formats(row.escaped_head, 0, row.text)) << row.label;
        EXPECT_TRUE(
            formats("7" + std::string(row.escaped_head), 0, "%d" + std::string(row.text), 7))
            << row.label << " behind a conversion";
    }
    EXPECT_TRUE(formats("acd", 0, "a\x80z%sd", "c"));
}

TEST(HtmlPrintf, DoesNotReadACharacterAcrossAPercentSign) {
    EXPECT_TRUE(formats("a7", 0, "a\xE2%d", 7));
    EXPECT_TRUE(formats("a7", 0, "a\xE2\x82%d", 7));
}

TEST(HtmlPrintf, PrintsStrings) {
    const std::string digits110(110, 'n');
    const struct {
        const char *label;
        const char *format;
        const char *argument;
        std::string expected;
    } rows[] = {
        {"whole", "[%s]", "abcdef", "[abcdef]"},
        {"escaped in raw text", "<%s>", "<\">", "<&lt;&quot;&gt;>"},
        {"null", "[%s]", nullptr, "[]"},
        {"null with a limit", "[%3s]", nullptr, "[]"},
        {"empty", "[%s]", "", "[]"},
        {"number limits", "[%3s]", "abcdef", "[abc]"},
        {"number does not pad", "[%10s]", "abc", "[abc]"},
        {"number behind a point limits", "[%.2s]", "abcdef", "[ab]"},
        {"zero prints nothing", "[%0s]", "abc", "[]"},
        {"point alone is no number", "[%.s]", "abc", "[abc]"},
        {"flags are skipped", "[%-+ #2s]", "abc", "[ab]"},
        {"length modifiers are skipped", "[%ls]", "abc", "[abc]"},
        {"number counts characters", "[%2s]", "\xC3\xA9\xE2\x82\xAC\xC3\xA9", "[&eacute;&#8364;]"},
        {"number counts an entity once", "[%2s]", "<<<", "[&lt;&lt;]"},
        {"digits around other characters make one number", "[%1-0s]", "0123456789abc",
         "[0123456789]"},
        {"leading zeros", "[%002s]", "abc", "[ab]"},
        {"clamped number", "[%99999999999999999999s]", "abc", "[abc]"},
        {"number of 2^32", "[%4294967296s]", "abc", "[abc]"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintf, PointDoesNotEndTheNumber) {
    const std::string argument(200, 'n');
    EXPECT_TRUE(formats(std::string(105, 'n'), 1, "%10.5s", argument.c_str()));
    EXPECT_TRUE(formats(std::string(105, '-'), 1, "%10.5c", '-'));
}

TEST(HtmlPrintf, EndsAStringAtItsFirstInvalidSequence) {
    for (const auto &row : kMalformed)
        EXPECT_TRUE(formats('[' + std::string(row.escaped_head) + ']', 1, "[%s]", row.text))
            << row.label;
}

TEST(HtmlPrintf, TakesNumberFromArgument) {
    EXPECT_TRUE(formats("abc", 1, "%*s", 3, "abcdef"));
    EXPECT_TRUE(formats("", 1, "%*s", 0, "abcdef"));
    EXPECT_TRUE(formats("abc", 1, "%.*s", 3, "abcdef"));
    EXPECT_TRUE(formats("abcdef", 1, "%*s", 2147483647, "abcdef"));
    EXPECT_TRUE(formats("--", 1, "%*c", 2, '-'));
    EXPECT_TRUE(formats("", 1, "%*c", 0, '-'));
}

TEST(HtmlPrintf, IgnoresNegativeNumberArgument) {
    EXPECT_TRUE(formats("abcdef", 1, "%*s", -1, "abcdef"));
    EXPECT_TRUE(formats("-", 1, "%*c", -2147483647 - 1, '-'));
    EXPECT_TRUE(formats("abcd", 1, "%4*s", -1, "abcdef"));
}

TEST(HtmlPrintf, LastOfDigitsAndArgumentsCounts) {
    EXPECT_TRUE(formats("ab", 1, "%5*s", 2, "abcdef"));
    EXPECT_TRUE(formats("abcde", 1, "%*5s", 2, "abcdef"));
    EXPECT_TRUE(formats("abc", 1, "%**s", 2, 3, "abcdef"));
    EXPECT_TRUE(formats(std::string(13, '-'), 1, "%1*3c", 7, '-')) << "digits go on counting";
}

TEST(HtmlPrintf, PrintsCharacters) {
    const struct {
        const char *label;
        const char *format;
        int argument;
        const char *expected;
    } rows[] = {
        {"plain", "%c", 'a', "a"},
        {"escaped", "%c", '<', "&lt;"},
        {"Latin-1", "%c", 0xE9, "&eacute;"},
        {"bullet", "%c", 0x2022, "&#8226;"},
        {"low 16 bits", "%c", 0x1003C, "&lt;"},
        {"minus one", "%c", -1, "&#65535;"},
        {"code zero", "[%c]", 0, "[]"},
        {"code zero repeated", "[%3c]", 0, "[]"},
        {"repeated", "%3c", '-', "---"},
        {"repeated and escaped", "%2c", '&', "&amp;&amp;"},
        {"zero times", "[%0c]", '-', "[]"},
        {"number behind a point", "%.2c", '-', "--"},
        {"flags are skipped", "%- 2c", '-', "--"},
        {"length modifiers are skipped", "%lc", '-', "-"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(formats(row.expected, 1, row.format, row.argument)) << row.label;
}

TEST(HtmlPrintf, PrintsPercentSign) {
    EXPECT_TRUE(formats("100%", 1, "100%%"));
    EXPECT_TRUE(formats("100%", 0, "100%%"));
    EXPECT_TRUE(formats("%%", 1, "%%%%"));
    EXPECT_TRUE(formats("%s", 1, "%%s"));
    EXPECT_TRUE(formats("[%]", 1, "[%5%]")) << "a number does not repeat it";
    EXPECT_TRUE(formats("[%]", 1, "[%-.l%]"));
}

TEST(HtmlPrintf, StopsWhereTheFormatEndsWithinAConversion) {
    EXPECT_TRUE(formats("abc", 1, "abc%"));
    EXPECT_TRUE(formats("abc", 1, "abc%5"));
    EXPECT_TRUE(formats("abc", 1, "abc%-"));
    EXPECT_TRUE(formats("abc", 1, "abc%ll"));
    EXPECT_TRUE(formats("abc", 1, "abc%*", 3));
    EXPECT_TRUE(formats("a&lt;", 0, "a<%f"));
    EXPECT_TRUE(formats("7", 1, "%d%", 7));
    EXPECT_TRUE(formats("", 1, "%"));
}

TEST(HtmlPrintf, UnsupportedConversionSwallowsTextUpToTheNextSupportedLetter) {
    EXPECT_TRUE(formats("axz", 1, "a%fgh psz", "x"));
    EXPECT_TRUE(formats("a5nits", 1, "a%punits", 5));
    EXPECT_TRUE(formats("7", 1, "%ed", 7));
    EXPECT_TRUE(formats("8", 1, "%od", 8));
    EXPECT_TRUE(formats("9", 1, "%nd", 9));
    EXPECT_TRUE(formats("a%s z", 1, "a%f b%s z", "unused")) << "a second percent sign ends it";
    EXPECT_TRUE(formats("a", 1, "a%f or more")) << "no supported letter follows";
    EXPECT_TRUE(formats("a&lt;z", 1,
                        "a%\xC3\xA9\xFF"
                        "cz",
                        '<'))
        << "bytes above 0x7F";
}

TEST(HtmlPrintf, SumsAllBytes) {
    EXPECT_TRUE(formats("<a>&lt;-- 12 ff%</a>", 1, "<a>%s%2c %d %x%%</a>", "<", '-', 12, 255));
}

}  // namespace
