#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "qmv/util.h"
#include "tests/support/fenced_text.h"
#include "tests/support/io.h"

using qmv_test::FencedText;
using qmv_test::text;

namespace {

constexpr unsigned kUnlimited = 0xFFFFFFFF;

/// One call of utf8_to_ucs2(): the code and how far the cursor moved.
struct Step {
    unsigned code;
    long moved;
    bool operator==(const Step &) const = default;
};

std::ostream &operator<<(std::ostream &out, const Step &step) {
    return out << "code 0x" << std::hex << step.code << std::dec << ", moved " << step.moved;
}

Step decode(const std::string &bytes, unsigned avail) {
    const char *cursor = bytes.c_str();
    const unsigned code = utf8_to_ucs2(&cursor, avail);
    return {code, cursor - bytes.c_str()};
}

struct DecodeRow {
    const char *label;
    std::string bytes;
    unsigned avail;
    Step expected;
};

void check(const std::vector<DecodeRow> &rows) {
    for (const DecodeRow &row : rows)
        EXPECT_EQ(decode(row.bytes, row.avail), row.expected) << row.label;
}

/// What ucs2_to_utf8() wrote, and that it wrote nothing else.
std::string encode(unsigned code, unsigned room) {
    char out[8];
    std::memset(out, '#', sizeof out);
    const char *end = ucs2_to_utf8(out, room, code);
    const std::string written(out, static_cast<std::size_t>(end - out));
    EXPECT_EQ(
        std::string(static_cast<const char *>(end), static_cast<const char *>(out + sizeof out)),
        std::string(8 - written.size(), '#'))
        << "no NUL and nothing else is written behind code " << code;
    return written;
}

}  // namespace

TEST(Utf8ToUcs2, DecodesOneToThreeBytes) {
    check({
        {"ASCII", "A", kUnlimited, {0x41, 1}},
        {"first code", "\x01", kUnlimited, {0x01, 1}},
        {"last of one byte", "\x7F", kUnlimited, {0x7F, 1}},
        {"first of two bytes", "\xC2\x80", kUnlimited, {0x80, 2}},
        {"e with acute", "\xC3\xA9", kUnlimited, {0xE9, 2}},
        {"last of two bytes", "\xDF\xBF", kUnlimited, {0x7FF, 2}},
        {"first of three bytes", "\xE0\xA0\x80", kUnlimited, {0x800, 3}},
        {"euro sign", "\xE2\x82\xAC", kUnlimited, {0x20AC, 3}},
        {"last code", "\xEF\xBF\xBF", kUnlimited, {0xFFFF, 3}},
        {"only the first character", "\xC3\xA9x", kUnlimited, {0xE9, 2}},
    });
}

TEST(Utf8ToUcs2, StaysAtTheEndOfTheText) {
    check({
        {"empty", "", kUnlimited, {0, 0}},
        {"NUL", text("\0A"), 2, {0, 0}},
        {"nothing available", "A", 0, {0, 0}},
    });
}

TEST(Utf8ToUcs2, ReturnsZeroWithoutAText) {
    EXPECT_EQ(utf8_to_ucs2(nullptr, kUnlimited), 0u);
    const char *nothing = nullptr;
    EXPECT_EQ(utf8_to_ucs2(&nothing, kUnlimited), 0u);
    EXPECT_EQ(nothing, nullptr);
}

TEST(Utf8ToUcs2, SkipsBytesThatCannotBegin) {
    check({
        {"first continuation byte", "\x80g", kUnlimited, {0, 1}},
        {"last continuation byte", "\xBFg", kUnlimited, {0, 1}},
        {"four bytes", "\xF0\x9F\x98\x80", kUnlimited, {0, 1}},
        {"highest lead of four bytes", "\xF7\x80\x80\x80", kUnlimited, {0, 1}},
        {"five bytes", "\xF8\x80", kUnlimited, {0, 1}},
        {"0xFF", "\xFF\x80", kUnlimited, {0, 1}},
        {"0xFF, one byte available", "\xFF", 1, {0, 1}},
        {"0x80, one byte available", "\x80", 1, {0, 1}},
    });
}

TEST(Utf8ToUcs2, StopsAtTheEndInsideASequence) {
    check({
        {"NUL behind a lead of two", text("\xC3"), kUnlimited, {0, 1}},
        {"NUL behind a lead of three", text("\xE2"), kUnlimited, {0, 1}},
        {"NUL behind two of three", text("\xE2\x82"), kUnlimited, {0, 2}},
        {"NUL that is no end", text("\xE2\0\xAC"), 3, {0, 1}},
    });
}

TEST(Utf8ToUcs2, ConsumesTheAsciiByteBehindABadLeadByte) {
    check({
        {"second of two", "\xC3\x41", kUnlimited, {0, 2}},
        {"second of two, 0x7F", "\xC3\x7F", kUnlimited, {0, 2}},
        {"second of two, 0x01", "\xC3\x01", kUnlimited, {0, 2}},
        {"second of three", "\xE2\x41\x42", kUnlimited, {0, 2}},
        {"second of three, two available", "\xE2\x41\x42", 2, {0, 2}},
        {"third of three", "\xE2\x82\x41\x42", kUnlimited, {0, 3}},
        {"third of three, 0x7F", "\xE2\x82\x7F", kUnlimited, {0, 3}},
    });
}

TEST(Utf8ToUcs2, StaysWhereTheAvailableBytesCutASequence) {
    check({
        {"one of two", "\xC3\xA9", 1, {0, 0}},
        {"one of three", "\xE2\x82\xAC", 1, {0, 0}},
        {"two of three", "\xE2\x82\xAC", 2, {0, 0}},
        {"one of two in front of a NUL", "\xC3", 1, {0, 0}},
        {"all of one", "A", 1, {0x41, 1}},
        {"all of two", "\xC3\xA9", 2, {0xE9, 2}},
        {"all of three", "\xE2\x82\xAC", 3, {0x20AC, 3}},
    });
}

TEST(Utf8ToUcs2, ReadsNoByteBehindTheAvailableOnes) {
    for (const char *bytes : {"\xC3", "\xE2", "\xE2\x82", "A", "\x80", "\xF0"}) {
        const FencedText memory(bytes);
        const char *cursor = memory.get();
        utf8_to_ucs2(&cursor, static_cast<unsigned>(std::strlen(bytes)));
        SUCCEED() << "a byte beyond would have ended the process";
    }
}

TEST(Utf8ToUcs2, TakesEveryByteFrom0x80AsContinuation) {
    check({
        {"0xC3 behind 0xC3", "\xC3\xC3", kUnlimited, {0x103, 2}},
        {"0xFF behind 0xC3", "\xC3\xFF", kUnlimited, {0x13F, 2}},
        {"0xFF behind 0xDF", "\xDF\xFF", kUnlimited, {0x83F, 2}},
        {"0xC3 second of three", "\xE2\xC3\xA9", kUnlimited, {0x30E9, 3}},
        {"0xC3 third of three", "\xE2\x82\xC3", kUnlimited, {0x20C3, 3}},
    });
}

TEST(Utf8ToUcs2, CutsTheCodeTo16Bits) {
    check({
        {"0xEF 0xFF 0xFF", "\xEF\xFF\xFF", kUnlimited, {0x103F, 3}},
        {"exactly 0x10000", "\xEF\xC0\x80", kUnlimited, {0, 3}},
    });
}

TEST(Utf8ToUcs2, AcceptsOverlongForms) {
    check({
        {"A in two bytes", "\xC1\x81", kUnlimited, {0x41, 2}},
        {"0 in two bytes", "\xC0\x80", kUnlimited, {0, 2}},
        {"1 in three bytes", "\xE0\x80\x81", kUnlimited, {1, 3}},
    });
}

TEST(Utf8ToUcs2, AcceptsSurrogates) {
    check({
        {"first", "\xED\xA0\x80", kUnlimited, {0xD800, 3}},
        {"last", "\xED\xBF\xBF", kUnlimited, {0xDFFF, 3}},
    });
}

TEST(Ucs2ToUtf8, WritesOneToThreeBytes) {
    const struct {
        unsigned code;
        std::string expected;
    } rows[] = {
        {0x00, text("\0")},       {0x01, "\x01"},           {0x41, "A"},
        {0x7F, "\x7F"},           {0x80, "\xC2\x80"},       {0xE9, "\xC3\xA9"},
        {0x7FF, "\xDF\xBF"},      {0x800, "\xE0\xA0\x80"},  {0x20AC, "\xE2\x82\xAC"},
        {0xD800, "\xED\xA0\x80"}, {0xFFFF, "\xEF\xBF\xBF"},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(encode(row.code, 8), row.expected) << "code " << row.code;
        const auto length = static_cast<unsigned>(row.expected.size());
        EXPECT_EQ(encode(row.code, length), row.expected) << "code " << row.code << ", exact room";
    }
}

TEST(Ucs2ToUtf8, WritesNothingWithoutRoom) {
    const struct {
        unsigned code;
        unsigned needed;
    } rows[] = {{0x00, 1}, {0x41, 1}, {0x7F, 1}, {0x80, 2}, {0x7FF, 2}, {0x800, 3}, {0x20AC, 3}};
    for (const auto &row : rows)
        for (unsigned room = 0; room < row.needed; ++room)
            EXPECT_EQ(encode(row.code, room), "") << "code " << row.code << ", room " << room;
}

TEST(Ucs2ToUtf8, TakesTheLow16Bits) {
    EXPECT_EQ(encode(0x10041, 8), "A");
    EXPECT_EQ(encode(0xFFFF00E9, 8), "\xC3\xA9");
    EXPECT_EQ(encode(0x120AC, 8), "\xE2\x82\xAC");
    EXPECT_EQ(encode(0x10041, 1), "A") << "the room is that of the low 16 bits";
}

TEST(Ucs2ToUtf8, ReturnsNullForNull) {
    EXPECT_EQ(ucs2_to_utf8(nullptr, 8, 'A'), nullptr);
}

TEST(Ucs2ToUtf8, IsUndoneByUtf8ToUcs2ForEveryCode) {
    for (unsigned code = 1; code <= 0xFFFF; ++code) {
        const std::string bytes = encode(code, 3);
        const Step expected{code, code < 0x80 ? 1 : code < 0x800 ? 2 : 3};
        ASSERT_EQ(decode(bytes, kUnlimited), expected);
    }
}

TEST(Utf8Length, CountsCharactersAndTheirBytes) {
    const struct {
        const char *label;
        const char *s;
        unsigned max_chars;
        unsigned count;
        unsigned bytes;
    } rows[] = {
        {"empty", "", 10, 0, 0},
        {"below the limit", "h\xC3\xA9llo", 10, 5, 6},
        {"at the limit", "h\xC3\xA9llo", 5, 5, 6},
        {"beyond the limit", "h\xC3\xA9llo", 2, 2, 3},
        {"limit of one", "\xE2\x82\xAC\xE2\x82\xAC", 1, 1, 3},
        {"limit of none", "abc", 0, 0, 0},
        {"one to three bytes", "a\xC3\xA9\xE2\x82\xAC", kUnlimited, 3, 6},
    };
    for (const auto &row : rows) {
        unsigned bytes = 77;
        EXPECT_EQ(utf8_length(row.s, row.max_chars, &bytes), row.count) << row.label;
        EXPECT_EQ(bytes, row.bytes) << row.label;
        EXPECT_EQ(utf8_length(row.s, row.max_chars, nullptr), row.count) << row.label;
    }
}

TEST(Utf8Length, CountsAnInvalidTextAsFull) {
    const struct {
        const char *label;
        const char *s;
        unsigned max_chars;
        unsigned count;
        unsigned bytes;
    } rows[] = {
        {"continuation byte",
         "ab\x80"
         "cd",
         10, 10, 3},
        {"at the beginning", "\x80", 10, 10, 1},
        {"four bytes", "ab\xF0\x9F\x98\x80", 10, 10, 3},
        {"ASCII behind a lead byte",
         "a\xC3"
         "bc",
         10, 10, 3},
        {"lead byte at the end", "abc\xE2", 10, 10, 4},
        {"cut sequence at the end", "abc\xE2\x82", 10, 10, 5},
        {"overlong NUL",
         "a\xC0\x80"
         "b",
         10, 10, 3},
        {"no limit", "ab\x80", kUnlimited, kUnlimited, 3},
        {"as the last character counted", "ab\x80", 3, 3, 3},
        {"behind the limit it is not seen", "ab\x80", 2, 2, 2},
    };
    for (const auto &row : rows) {
        unsigned bytes = 77;
        EXPECT_EQ(utf8_length(row.s, row.max_chars, &bytes), row.count) << row.label;
        EXPECT_EQ(bytes, row.bytes) << row.label;
    }
}

TEST(Utf8Length, CountsLongTextsWhereverTheyLie) {
    constexpr unsigned kPlain = 20;  // some words of any machine
    for (unsigned length = 0; length <= 3 * kPlain; ++length) {
        std::string bytes(length, 'x');
        unsigned characters = length;
        if (length > kPlain) {
            bytes.replace(kPlain, 0, "\xC3\xA9");
            ++characters;
        }
        // The terminator is the last byte that can be read.
        const FencedText fenced(bytes + '\0');
        for (const unsigned most : {kUnlimited, characters, kPlain, kPlain + 1, 7U}) {
            unsigned used = 77;
            const unsigned counted = std::min(most, characters);
            EXPECT_EQ(utf8_length(fenced.get(), most, &used), counted) << length;
            EXPECT_EQ(used, counted + (counted > kPlain ? 1 : 0)) << length << ", " << most;
        }
    }
}

TEST(Utf8Length, ReturnsZeroForNullAndLeavesTheLength) {
    unsigned bytes = 77;
    EXPECT_EQ(utf8_length(nullptr, 10, &bytes), 0u);
    EXPECT_EQ(bytes, 77u);
}

TEST(Strsncpy, CopiesOrCutsAndTerminates) {
    const struct {
        const char *label;
        unsigned size;
        const char *src;
        int result;
        std::string dst;  // with '#' where nothing is written
    } rows[] = {
        {"more room than needed", 6, "abc", 3, text("abc\0####")},
        {"exact room", 4, "abc", 3, text("abc\0####")},
        {"one byte short", 3, "abc", -1, text("ab\0#####")},
        {"far too short", 2, "abcdefghijkl", -1, text("a\0######")},
        {"room for the terminator only", 1, "abc", -1, text("\0#######")},
        {"empty into one byte", 1, "", 0, text("\0#######")},
        {"empty", 8, "", 0, text("\0#######")},
        {"no room", 0, "abc", -1, "########"},
        {"no room for the empty one", 0, "", -1, "########"},
        {"cut inside a character", 3, "a\xC3\xA9", -1, text("a\xC3\0#####")},
    };
    for (const auto &row : rows) {
        std::string dst(8, '#');
        EXPECT_EQ(strsncpy(dst.data(), row.size, row.src), row.result) << row.label;
        EXPECT_EQ(dst, row.dst) << row.label;
    }
}

TEST(Strsncpy, ReadsNoMoreThanTheSize) {
    const FencedText source("abcd");  // without a terminator
    char dst[5];
    EXPECT_EQ(strsncpy(dst, 4, source.get()), -1);
    EXPECT_STREQ(dst, "abc");
}

TEST(Strsncpy, RefusesNull) {
    char dst[] = "##";
    EXPECT_EQ(strsncpy(nullptr, 3, "abc"), -1);
    EXPECT_EQ(strsncpy(dst, 3, nullptr), -1);
    EXPECT_STREQ(dst, "##");
}

TEST(CheckUcs2ToGsm, KnowsEveryCharacterOfTheAlphabet) {
    std::set<unsigned> single = {'@',   0xA3,  '$',   0xA5,  0xE8,  0xE9,  0xF9,  0xEC,  0xF2,
                                 0xE7,  0x0A,  0xD8,  0xF8,  0x0D,  0xC5,  0xE5,  '_',   0xC6,
                                 0xE6,  0xDF,  0xC9,  0xA4,  0x394, 0x3A6, 0x393, 0x39B, 0x3A9,
                                 0x3A0, 0x3A8, 0x3A3, 0x398, 0x39E, 0xA1,  0xC4,  0xD6,  0xD1,
                                 0xDC,  0xA7,  0xBF,  0xE4,  0xF6,  0xF1,  0xFC,  0xE0};
    for (const char c : std::string(" !\"#%&'()*+,-./0123456789:;<=>?"))
        single.insert(static_cast<unsigned char>(c));
    for (unsigned i = 0; i < 26; ++i)
        single.insert({'A' + i, 'a' + i});
    ASSERT_EQ(single.size(), 127u) << "128 positions without the escape";
    const std::set<unsigned> pairs = {'^', '{', '}', '\\', '[', '~', ']', '|', 0x20AC};
    for (unsigned code = 0; code <= 0xFFFF; ++code) {
        const int expected = single.count(code) != 0 ? 1 : pairs.count(code) != 0 ? 2 : 0;
        EXPECT_EQ(check_ucs2_to_gsm(code), expected) << "code " << code;
    }
}

TEST(CheckUcs2ToGsm, HasTheSmallCedillaInPlaceOfTheCapital) {
    EXPECT_EQ(check_ucs2_to_gsm(0xE7), 1);
    EXPECT_EQ(check_ucs2_to_gsm(0xC7), 0);
}

TEST(CheckUcs2ToGsm, NeverEncodesTheNoBreakSpaceOfTheEscapePosition) {
    EXPECT_EQ(check_ucs2_to_gsm(0xA0), 0);
    EXPECT_EQ(check_ucs2_to_gsm(0x1B), 0);
}

TEST(CheckUcs2ToGsm, HasNoFormFeed) {
    EXPECT_EQ(check_ucs2_to_gsm(0x0C), 0);
}

TEST(CheckUcs2ToGsm, TakesTheLow16Bits) {
    EXPECT_EQ(check_ucs2_to_gsm(0x10040), 1);
    EXPECT_EQ(check_ucs2_to_gsm(0xFFFF007B), 2);
    EXPECT_EQ(check_ucs2_to_gsm(0x120AC), 2);
    EXPECT_EQ(check_ucs2_to_gsm(0x100A0), 0);
    EXPECT_EQ(check_ucs2_to_gsm(0x10000), 0);
}
