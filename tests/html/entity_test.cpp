#include <gtest/gtest.h>
#include <qmv/html.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <map>
#include <string>

#include "tests/support/output.h"

namespace {

using qmv_test::prints;

struct Named {
    unsigned code;
    const char *name;
};

constexpr Named kLatin1[] = {
    {0xA0, "nbsp"},   {0xA1, "iexcl"},  {0xA2, "cent"},   {0xA3, "pound"},  {0xA4, "curren"},
    {0xA5, "yen"},    {0xA6, "brvbar"}, {0xA7, "sect"},   {0xA8, "uml"},    {0xA9, "copy"},
    {0xAA, "ordf"},   {0xAB, "laquo"},  {0xAC, "not"},    {0xAD, "shy"},    {0xAE, "reg"},
    {0xAF, "macr"},   {0xB0, "deg"},    {0xB1, "plusmn"}, {0xB2, "sup2"},   {0xB3, "sup3"},
    {0xB4, "acute"},  {0xB5, "micro"},  {0xB6, "para"},   {0xB7, "middot"}, {0xB8, "cedil"},
    {0xB9, "sup1"},   {0xBA, "ordm"},   {0xBB, "raquo"},  {0xBC, "frac14"}, {0xBD, "frac12"},
    {0xBE, "frac34"}, {0xBF, "iquest"}, {0xC0, "Agrave"}, {0xC1, "Aacute"}, {0xC2, "Acirc"},
    {0xC3, "Atilde"}, {0xC4, "Auml"},   {0xC5, "Aring"},  {0xC6, "AElig"},  {0xC7, "Ccedil"},
    {0xC8, "Egrave"}, {0xC9, "Eacute"}, {0xCA, "Ecirc"},  {0xCB, "Euml"},   {0xCC, "Igrave"},
    {0xCD, "Iacute"}, {0xCE, "Icirc"},  {0xCF, "Iuml"},   {0xD0, "ETH"},    {0xD1, "Ntilde"},
    {0xD2, "Ograve"}, {0xD3, "Oacute"}, {0xD4, "Ocirc"},  {0xD5, "Otilde"}, {0xD6, "Ouml"},
    {0xD7, "times"},  {0xD8, "Oslash"}, {0xD9, "Ugrave"}, {0xDA, "Uacute"}, {0xDB, "Ucirc"},
    {0xDC, "Uuml"},   {0xDD, "Yacute"}, {0xDE, "THORN"},  {0xDF, "szlig"},  {0xE0, "agrave"},
    {0xE1, "aacute"}, {0xE2, "acirc"},  {0xE3, "atilde"}, {0xE4, "auml"},   {0xE5, "aring"},
    {0xE6, "aelig"},  {0xE7, "ccedil"}, {0xE8, "egrave"}, {0xE9, "eacute"}, {0xEA, "ecirc"},
    {0xEB, "euml"},   {0xEC, "igrave"}, {0xED, "iacute"}, {0xEE, "icirc"},  {0xEF, "iuml"},
    {0xF0, "eth"},    {0xF1, "ntilde"}, {0xF2, "ograve"}, {0xF3, "oacute"}, {0xF4, "ocirc"},
    {0xF5, "otilde"}, {0xF6, "ouml"},   {0xF7, "divide"}, {0xF8, "oslash"}, {0xF9, "ugrave"},
    {0xFA, "uacute"}, {0xFB, "ucirc"},  {0xFC, "uuml"},   {0xFD, "yacute"}, {0xFE, "thorn"},
    {0xFF, "yuml"},
};
static_assert(std::size(kLatin1) == 96);

/// What a code prints as, looked up rather than computed as the library does.
std::string expected_entity(unsigned code) {
    static const std::map<unsigned, std::string> names = [] {
        std::map<unsigned, std::string> all = {
            {0x22, "&quot;"}, {0x26, "&amp;"}, {0x3C, "&lt;"}, {0x3E, "&gt;"}, {0, ""}};
        for (const Named &entry : kLatin1)
            all[entry.code] = '&' + std::string(entry.name) + ';';
        return all;
    }();
    const auto found = names.find(code);
    if (found != names.end())
        return found->second;
    return code <= 0x7E ? std::string(1, static_cast<char>(code))
                        : "&#" + std::to_string(code) + ';';
}

/// Encodes into a buffer full of marks; the marks behind what was written come out as they are.
std::string encoded(unsigned code) {
    unsigned char buffer[24];
    std::memset(buffer, '~', sizeof buffer);
    const int length = html_entity_encode(buffer, code);
    if (length < 0 || length > 8)
        return "length " + std::to_string(length);
    if (std::any_of(buffer + length, std::end(buffer), [](unsigned char c) { return c != '~'; }))
        return "wrote behind its result";
    return {reinterpret_cast<const char *>(buffer), static_cast<std::size_t>(length)};
}

TEST(HtmlEntityEncode, NamesCodes160To255) {
    for (const Named &entry : kLatin1)
        EXPECT_EQ(encoded(entry.code), '&' + std::string(entry.name) + ';') << entry.code;
}

TEST(HtmlEntityEncode, NamesMarkupCharacters) {
    EXPECT_EQ(encoded('&'), "&amp;");
    EXPECT_EQ(encoded('"'), "&quot;");
    EXPECT_EQ(encoded('<'), "&lt;");
    EXPECT_EQ(encoded('>'), "&gt;");
}

TEST(HtmlEntityEncode, LeavesApostropheAndControlCharactersAlone) {
    EXPECT_EQ(encoded('\''), "'");
    EXPECT_EQ(encoded(1), "\x01");
    EXPECT_EQ(encoded('\n'), "\n");
    EXPECT_EQ(encoded(27), "\x1B");
    EXPECT_EQ(encoded(126), "~");
}

TEST(HtmlEntityEncode, NumbersCodesWithoutName) {
    EXPECT_EQ(encoded(127), "&#127;");
    EXPECT_EQ(encoded(128), "&#128;");
    EXPECT_EQ(encoded(159), "&#159;");
    EXPECT_EQ(encoded(256), "&#256;");
    EXPECT_EQ(encoded(8364), "&#8364;");
    EXPECT_EQ(encoded(65535), "&#65535;");
}

TEST(HtmlEntityEncode, EncodesEveryCode) {
    for (unsigned code = 0; code <= 0xFFFF; ++code)
        ASSERT_EQ(encoded(code), expected_entity(code)) << code;
}

TEST(HtmlEntityEncode, WritesNothingForCodeZero) {
    unsigned char buffer[24] = {'#'};
    EXPECT_EQ(html_entity_encode(buffer, 0), 0);
    EXPECT_EQ(buffer[0], '#');
}

TEST(HtmlEntityEncode, CutsCodeToLow16Bits) {
    EXPECT_EQ(encoded(0x10041), "A");
    EXPECT_EQ(encoded(0x1003C), "&lt;");
    EXPECT_EQ(encoded(0xFFFF00E9), "&eacute;");
    EXPECT_EQ(encoded(0x1F600), "&#62976;");
    EXPECT_EQ(encoded(0x10000), "");
    EXPECT_EQ(encoded(0xFFFFFFFF), "&#65535;");
}

TEST(HtmlEntityEncode, ReturnsZeroForNullBuffer) {
    EXPECT_EQ(html_entity_encode(nullptr, 'a'), 0);
}

TEST(HtmlPrintUcs2, PrintsEveryCodeEscaped) {
    std::string expected;
    for (unsigned code = 0; code <= 0xFFFF; ++code)
        expected += expected_entity(code);
    EXPECT_TRUE(prints(expected, [] {
        int count = 0;
        for (unsigned code = 0; code <= 0xFFFF; ++code)
            count += html_print_ucs2(code);
        return count;
    }));
}

TEST(HtmlPrintUcs2, ReturnsBytesPrinted) {
    EXPECT_TRUE(prints("a", [] { return html_print_ucs2('a'); }));
    EXPECT_TRUE(prints("&amp;", [] { return html_print_ucs2('&'); }));
    EXPECT_TRUE(prints("&#8226;", [] { return html_print_ucs2(0x2022); }));
}

TEST(HtmlPrintUcs2, PrintsNothingForCodeZero) {
    EXPECT_TRUE(prints("", [] { return html_print_ucs2(0); }));
    EXPECT_TRUE(prints("", [] { return html_print_ucs2(0x20000); }));
}

TEST(HtmlPrintUcs2, CutsCodeToLow16Bits) {
    EXPECT_TRUE(prints("&gt;", [] { return html_print_ucs2(0x7001003E); }));
}

}  // namespace
