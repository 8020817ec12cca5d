// Taking the text of a text box from a posted value.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <string>
#include <vector>

#include "tests/support/malformed.h"

namespace {

using qmv_test::kMalformed;

constexpr unsigned kNoLimit = 0xFFFFFFFF;

struct Scanned {
    int result;
    std::string text;

    bool operator==(const Scanned &) const = default;
};

void PrintTo(const Scanned &scanned, std::ostream *out) {
    *out << scanned.result << ' ' << testing::PrintToString(scanned.text);
}

/// Scans into a buffer of exactly outsize + 1 bytes, with a guard byte behind.
Scanned scan(const char *in, unsigned maxchars, unsigned minchars = 0, unsigned outsize = 100,
             textbox_filter filter = nullptr) {
    std::vector<char> out(outsize + 2, '#');
    const int result = scan_textbox(in, maxchars, minchars, out.data(), outsize, filter);
    EXPECT_EQ(out.back(), '#') << "more than outsize + 1 bytes were written";
    out.back() = '\0';
    return {result, out.data()};
}

/// What a filter was asked.
struct Asked {
    unsigned pos;
    unsigned ch;

    bool operator==(const Asked &) const = default;
};

void PrintTo(const Asked &asked, std::ostream *out) {
    *out << asked.pos << ':' << asked.ch;
}

std::vector<Asked> asked;

int accept_all(unsigned pos, unsigned ch) {
    asked.push_back({pos, ch});
    return 1;
}

int refuse_all(unsigned pos, unsigned ch) {
    asked.push_back({pos, ch});
    return 0;
}

int no_digits(unsigned pos, unsigned ch) {
    asked.push_back({pos, ch});
    return ch >= '0' && ch <= '9' ? 0 : -1;
}

int no_leading_blank(unsigned pos, unsigned ch) {
    return pos != 0 || ch != ' ' ? 1 : 0;
}

int no_bullet(unsigned, unsigned ch) {
    return ch != 0x2022 ? 1 : 0;
}

TEST(ScanTextbox, KeepsTheFirstCharacters) {
    EXPECT_EQ(scan("abcdef", 3), (Scanned{1, "abc"}));
    EXPECT_EQ(scan("abcdef", 6), (Scanned{1, "abcdef"}));
    EXPECT_EQ(scan("abcdef", kNoLimit), (Scanned{1, "abcdef"}));
    EXPECT_EQ(scan("abc", 1), (Scanned{1, "a"}));
}

TEST(ScanTextbox, CountsCharactersAndNotBytes) {
    EXPECT_EQ(scan("\xC3\xA9\xE2\x82\xAC"
                   "abc",
                   3),
              (Scanned{1,
                       "\xC3\xA9\xE2\x82\xAC"
                       "a"}));
}

TEST(ScanTextbox, KeepsControlCharacters) {
    EXPECT_EQ(scan("a\tb\r\nc\x01\x7F", 20), (Scanned{1, "a\tb\r\nc\x01\x7F"}));
}

TEST(ScanTextbox, ReturnsZeroWhenNothingIsKept) {
    EXPECT_EQ(scan("", 3), (Scanned{0, ""}));
    EXPECT_EQ(scan("abc", 0), (Scanned{0, ""}));
    EXPECT_EQ(scan("\x80\xFF", 3), (Scanned{0, ""}));
    EXPECT_EQ(scan("abc", 3, 0, 100, refuse_all), (Scanned{0, ""}));
}

TEST(ScanTextbox, ReturnsMinusTwoForTooFewCharacters) {
    EXPECT_EQ(scan("", 10, 1), (Scanned{-2, ""}));
    EXPECT_EQ(scan("abc", 10, 3), (Scanned{1, "abc"}));
    EXPECT_EQ(scan("abc", 10, 4), (Scanned{-2, "abc"})) << "what was kept stays";
    EXPECT_EQ(scan("abc", 2, 3), (Scanned{-2, "ab"})) << "beyond maxchars nothing counts";
    EXPECT_EQ(scan("\xC3\xA9\xC3\xA9", 10, 3), (Scanned{-2, "\xC3\xA9\xC3\xA9"}))
        << "bytes do not count";
    EXPECT_EQ(scan("abc", 10, kNoLimit), (Scanned{-2, "abc"}));
    EXPECT_EQ(scan("1a2", 10, 2, 100, no_digits), (Scanned{-2, "a"}))
        << "refused characters do not count";
    EXPECT_EQ(scan("a\x80\x80", 10, 2), (Scanned{-2, "a"})) << "invalid sequences do not count";
    EXPECT_EQ(scan("abcd", 10, 4, 3), (Scanned{-2, "abc"})) << "what has no room does not count";
}

TEST(ScanTextbox, TakesNullForAnEmptyValue) {
    EXPECT_EQ(scan(nullptr, 10, 0), (Scanned{0, ""}));
    EXPECT_EQ(scan(nullptr, 10, 1), (Scanned{-2, ""}));
    EXPECT_EQ(scan(nullptr, 10, 0, 1), (Scanned{0, ""}));
}

TEST(ScanTextbox, RefusesNullOutAndOutsizeZero) {
    char out[2] = "x";
    EXPECT_EQ(scan_textbox("abc", 10, 0, nullptr, 10, nullptr), -1);
    EXPECT_EQ(scan_textbox("abc", 10, 0, out, 0, nullptr), -1);
    EXPECT_EQ(scan_textbox(nullptr, 10, 5, nullptr, 10, nullptr), -1);
    EXPECT_EQ(scan_textbox(nullptr, 10, 5, out, 0, nullptr), -1);
    EXPECT_STREQ(out, "x") << "out was touched";
}

TEST(ScanTextbox, FillsOutToItsLastByteAndTerminatesBehindIt) {
    EXPECT_EQ(scan("abcdef", 10, 0, 3), (Scanned{1, "abc"}));
    EXPECT_EQ(scan("abcdef", 10, 0, 1), (Scanned{1, "a"}));
    EXPECT_EQ(scan("abc", 10, 0, 3), (Scanned{1, "abc"}));
    EXPECT_EQ(scan("\xE2\x82\xAC\xE2\x82\xAC", 10, 0, 3), (Scanned{1, "\xE2\x82\xAC"}));
}

TEST(ScanTextbox, StopsAtTheFirstCharacterThatDoesNotFit) {
    EXPECT_EQ(scan("ab\xC3\xA9z", 10, 0, 3), (Scanned{1, "ab"})) << "z would fit";
    EXPECT_EQ(scan("a\xE2\x82\xACz", 10, 0, 3), (Scanned{1, "a"})) << "z would fit";
    EXPECT_EQ(scan("\xE2\x82\xACz", 10, 0, 2), (Scanned{0, ""})) << "z would fit";
    EXPECT_EQ(scan("\xC3\xA9z", 10, 0, 1), (Scanned{0, ""})) << "z would fit";
}

TEST(ScanTextbox, StopsAtAnOverlongSequenceThatGrowsBeyondOut) {
    EXPECT_EQ(scan("\xDF\xFF", 10, 0, 3), (Scanned{1, "\xE0\xA0\xBF"}));
    EXPECT_EQ(scan("\xDF\xFFz", 10, 0, 2), (Scanned{0, ""}));
    EXPECT_EQ(scan("\xDF\xFF\xDF\xFFz", 10, 0, 5), (Scanned{1, "\xE0\xA0\xBF"}));
    EXPECT_EQ(scan("\xDF\xFF\xDF\xFFz", 10, 0, 7), (Scanned{1, "\xE0\xA0\xBF\xE0\xA0\xBFz"}));
}

TEST(ScanTextbox, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed) {
        const std::string encoded = row.encoded;
        EXPECT_EQ(scan(row.text, 20), (Scanned{encoded.empty() ? 0 : 1, encoded})) << row.label;
    }
}

TEST(ScanTextbox, DoesNotCountInvalidSequences) {
    EXPECT_EQ(scan("\x80\x80\x80"
                   "xyz",
                   2),
              (Scanned{1, "xy"}));
}

TEST(ScanTextbox, TakesEverySingleByte) {
    for (int byte = 1; byte < 256; ++byte) {
        const char in[] = {static_cast<char>(byte), '\0'};
        EXPECT_EQ(scan(in, 5), byte < 0x80 ? (Scanned{1, in}) : (Scanned{0, ""})) << byte;
    }
}

TEST(ScanTextbox, DropsWhatTheFilterRefuses) {
    EXPECT_EQ(scan("a1b2c3", 10, 0, 100, no_digits), (Scanned{1, "abc"}));
    EXPECT_EQ(scan("a1b2c3", 2, 0, 100, no_digits), (Scanned{1, "ab"})) << "they do not count";
}

TEST(ScanTextbox, TellsTheFilterBytesKeptSoFarAndCharacter) {
    asked.clear();
    EXPECT_EQ(scan("1\xC3\xA9\xE2\x82\xAC"
                   "2z",
                   10, 0, 100, no_digits)
                  .text,
              "\xC3\xA9\xE2\x82\xACz");
    EXPECT_EQ(asked, (std::vector<Asked>{{0, '1'}, {0, 0xE9}, {2, 0x20AC}, {5, '2'}, {5, 'z'}}));
}

TEST(ScanTextbox, DoesNotAskTheFilterAboutInvalidSequences) {
    asked.clear();
    scan(
        "\x80"
        "a\xFF\xC0\x80",
        10, 0, 100, accept_all);
    EXPECT_EQ(asked, (std::vector<Asked>{{0, 'a'}}));
}

TEST(ScanTextbox, AsksTheFilterNothingBehindTheLimit) {
    asked.clear();
    scan("abc", 2, 0, 100, accept_all);
    EXPECT_EQ(asked, (std::vector<Asked>{{0, 'a'}, {1, 'b'}}));
}

TEST(ScanTextbox, FilterOnPositionZeroDropsEveryLeadingBlank) {
    EXPECT_EQ(scan("   a b ", 10, 0, 100, no_leading_blank), (Scanned{1, "a b "}));
    EXPECT_EQ(scan("   ", 10, 0, 100, no_leading_blank), (Scanned{0, ""}));
    EXPECT_EQ(scan("\x80 \x80 a", 10, 0, 100, no_leading_blank), (Scanned{1, "a"}));
}

TEST(ScanTextbox, HandsBulletsToTheFilterLikeAnyCharacter) {
    EXPECT_EQ(scan("\xE2\x80\xA2"
                   "a",
                   10),
              (Scanned{1,
                       "\xE2\x80\xA2"
                       "a"}));
    EXPECT_EQ(scan("\xE2\x80\xA2"
                   "a",
                   10, 0, 100, no_bullet),
              (Scanned{1, "a"}));
}

}  // namespace
