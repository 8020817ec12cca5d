// Character filters of text boxes: every code, at the beginning and later.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <bitset>
#include <cstdio>
#include <string>
#include <string_view>

namespace {

constexpr unsigned kCodes = 0x10000;
constexpr unsigned kAscii = 0x80;

using Codes = std::bitset<kCodes>;

Codes between(unsigned first, unsigned last) {
    Codes codes;
    for (unsigned code = first; code <= last; ++code)
        codes.set(code);
    return codes;
}

Codes each_of(std::string_view characters) {
    Codes codes;
    for (const char c : characters)
        codes.set(static_cast<unsigned char>(c));
    return codes;
}

const Codes kDigits = each_of("0123456789");
const Codes kLettersAndDigits =
    each_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz") | kDigits;
const Codes kHostName = kLettersAndDigits | each_of("-.");
const Codes kQuotes = each_of("\"'`");
const Codes kUserName = between(0x21, 0x7F) & ~kQuotes;
const Codes kShellQuoted = ~(each_of("\\$") | kQuotes);

const struct {
    const char *name;
    textbox_filter filter;
    Codes accepted;
    Codes refused_at_the_beginning;
} kFilters[] = {
    {"alnum", textbox_filter_alnum, kLettersAndDigits, {}},
    {"digit", textbox_filter_digit, kDigits, {}},
    {"ascii_printable", textbox_filter_ascii_printable, between(0x21, 0x7E) & ~kQuotes, {}},
    {"dns", textbox_filter_dns, kHostName, {}},
    {"dns6", textbox_filter_dns6, kHostName | each_of(":"), {}},
    {"cname", textbox_filter_cname, kHostName | each_of("_@"), {}},
    {"asn1", textbox_filter_asn1, kHostName | each_of(" _@*"), {}},
    {"ip6prefix", textbox_filter_ip6prefix, kDigits | each_of("ABCDEFabcdef:/"), {}},
    {"octet", textbox_filter_octet, between(0, kAscii - 1), each_of(" ")},
    {"ppp_username", textbox_filter_ppp_username, kUserName, {}},
    {"ppp_password", textbox_filter_ppp_password, kUserName, each_of("*?")},
    {"shell_quoted", textbox_filter_shell_quoted, kShellQuoted, {}},
    {"smtp", textbox_filter_smtp, kShellQuoted & ~each_of(": *?"), {}},
};

/// Codes, in hexadecimal, that a filter does not answer with exactly 1 or 0 as the set says.
std::string wrong_answers(textbox_filter filter, unsigned pos, unsigned high_bits,
                          const Codes &accepted) {
    std::string wrong;
    for (unsigned code = 0; code < kCodes; ++code) {
        const int answer = filter(pos, high_bits | code);
        if (answer == (accepted[code] ? 1 : 0))
            continue;
        char text[32];
        std::snprintf(text, sizeof text, "%X:%d ", code, answer);
        wrong += text;
        if (wrong.size() > 200)
            return wrong + "...";
    }
    return wrong;
}

TEST(TextboxFilter, AnswersEveryCodeAtTheBeginning) {
    for (const auto &row : kFilters)
        EXPECT_EQ(wrong_answers(row.filter, 0, 0, row.accepted & ~row.refused_at_the_beginning), "")
            << row.name;
}

TEST(TextboxFilter, AnswersEveryCodeBehindTheBeginning) {
    for (const auto &row : kFilters) {
        for (const unsigned pos : {1u, 2u, 3u, 0x100u, 0x10000u, 0x80000000u, 0xFFFFFFFFu})
            EXPECT_EQ(wrong_answers(row.filter, pos, 0, row.accepted), "")
                << row.name << " at " << pos;
    }
}

TEST(TextboxFilter, LooksAtTheLow16BitsOfTheCodeOnly) {
    for (const auto &row : kFilters) {
        for (const unsigned high_bits : {0x10000u, 0x800000u, 0x80000000u, 0xFFFF0000u}) {
            EXPECT_EQ(wrong_answers(row.filter, 1, high_bits, row.accepted), "")
                << row.name << " with bits " << high_bits;
            EXPECT_EQ(wrong_answers(row.filter, 0, high_bits,
                                    row.accepted & ~row.refused_at_the_beginning),
                      "")
                << row.name << " at 0 with bits " << high_bits;
        }
    }
}

TEST(TextboxFilter, UserNameAndPasswordHoldDelAndPrintableTextDoesNot) {
    for (const unsigned pos : {0u, 1u}) {
        EXPECT_EQ(textbox_filter_ascii_printable(pos, 0x7E), 1);
        EXPECT_EQ(textbox_filter_ascii_printable(pos, 0x7F), 0);
        EXPECT_EQ(textbox_filter_ppp_username(pos, 0x7F), 1);
        EXPECT_EQ(textbox_filter_ppp_password(pos, 0x7F), 1);
        EXPECT_EQ(textbox_filter_ppp_username(pos, 0x80), 0);
        EXPECT_EQ(textbox_filter_ppp_password(pos, 0x80), 0);
    }
}

TEST(TextboxFilter, OnlyShellQuotedAndSmtpHoldCharactersBeyondAscii) {
    for (const auto &row : kFilters) {
        const bool beyond =
            row.filter == textbox_filter_shell_quoted || row.filter == textbox_filter_smtp;
        for (const unsigned code : {0x80u, 0xA0u, 0xE9u, 0xFFu, 0x100u, 0x130u, 0x20ACu, 0xFF21u})
            EXPECT_EQ(row.filter(0, code), beyond ? 1 : 0) << row.name << ", code " << code;
    }
}

TEST(TextboxFilter, ShellQuotedAndSmtpHoldControlCharacters) {
    for (unsigned code = 0; code < 0x20; ++code) {
        EXPECT_EQ(textbox_filter_shell_quoted(0, code), 1) << code;
        EXPECT_EQ(textbox_filter_smtp(0, code), 1) << code;
    }
    EXPECT_EQ(textbox_filter_shell_quoted(0, 0x7F), 1);
    EXPECT_EQ(textbox_filter_smtp(0, 0x7F), 1);
}

TEST(TextboxFilter, OctetRefusesABlankAtTheBeginningOnly) {
    EXPECT_EQ(textbox_filter_octet(0, ' '), 0);
    EXPECT_EQ(textbox_filter_octet(1, ' '), 1);
    EXPECT_EQ(textbox_filter_octet(0, '\t'), 1);
    EXPECT_EQ(textbox_filter_octet(0, 0xA0), 0);
}

TEST(TextboxFilter, PppPasswordRefusesWildcardsAtTheBeginningOnly) {
    EXPECT_EQ(textbox_filter_ppp_password(0, '*'), 0);
    EXPECT_EQ(textbox_filter_ppp_password(0, '?'), 0);
    EXPECT_EQ(textbox_filter_ppp_password(3, '*'), 1);
    EXPECT_EQ(textbox_filter_ppp_password(1, '?'), 1);
    EXPECT_EQ(textbox_filter_ppp_password(3, ' '), 0);
    EXPECT_EQ(textbox_filter_ppp_username(0, '*'), 1);
}

TEST(TextboxFilter, Ip6PrefixHoldsHexadecimalDigitsInEitherCaseAndNoDot) {
    EXPECT_EQ(textbox_filter_ip6prefix(0, 'F'), 1);
    EXPECT_EQ(textbox_filter_ip6prefix(0, 'f'), 1);
    EXPECT_EQ(textbox_filter_ip6prefix(0, '/'), 1);
    EXPECT_EQ(textbox_filter_ip6prefix(0, 'g'), 0);
    EXPECT_EQ(textbox_filter_ip6prefix(0, 'G'), 0);
    EXPECT_EQ(textbox_filter_ip6prefix(0, '.'), 0);
}

TEST(TextboxFilter, PicksTheCharactersOfAPostedValue) {
    const struct {
        const char *label;
        textbox_filter filter;
        const char *posted;
        const char *kept;
    } rows[] = {
        {"all leading blanks go, later ones stay", textbox_filter_octet, "   a  b ", "a  b "},
        {"a refused character does not end the beginning", textbox_filter_octet, " \xC3\xA9 a b",
         "a b"},
        {"a tab ends the beginning", textbox_filter_octet, " \t a", "\t a"},
        {"all leading wildcards go, later ones stay", textbox_filter_ppp_password, "**??*a*?",
         "a*?"},
        {"a blank between wildcards goes too", textbox_filter_ppp_password, "* ?\"*b**", "b**"},
        {"wildcards of a user name stay", textbox_filter_ppp_username, "*?a", "*?a"},
        {"host name", textbox_filter_dns, " www.ex_ample-1.org: ", "www.example-1.org"},
        {"wildcard name", textbox_filter_asn1, "*.a b_c@d:e", "*.a b_c@de"},
        {"common name", textbox_filter_cname, "*.a b_c@d:e", ".ab_c@de"},
        {"prefix", textbox_filter_ip6prefix, "2001:DB8::g/32.", "2001:DB8::/32"},
        {"shell", textbox_filter_shell_quoted, "\xC3\xA9$(a)`b`\\\"'; c\n", "\xC3\xA9(a)b; c\n"},
        {"mail", textbox_filter_smtp, "\xE2\x82\xAC a:b*c?$d",
         "\xE2\x82\xAC"
         "abcd"},
        {"digits", textbox_filter_digit, "1a2\xD9\xA3 3", "123"},
        {"nothing is left", textbox_filter_digit, "abc", ""},
    };
    for (const auto &row : rows) {
        char kept[64] = "";
        EXPECT_EQ(scan_textbox(row.posted, 63, 0, kept, 63, row.filter),
                  row.kept[0] != '\0' ? 1 : 0)
            << row.label;
        EXPECT_STREQ(kept, row.kept) << row.label;
    }
}

TEST(PasswdChars, NamesTheCharactersForPeople) {
    EXPECT_STREQ(passwd_chars(), "a-z A-Z 0-9 . , - + / : ; # @");
    EXPECT_EQ(passwd_chars(), passwd_chars());
}

}  // namespace
