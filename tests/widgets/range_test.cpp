// Range boxes: scanning and printing.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <string>

#include "tests/support/io.h"
#include "tests/support/output.h"

namespace {

using qmv_test::printed;
using qmv_test::prints;

constexpr unsigned kMax = 4294967295u;
constexpr unsigned kFallback = 777;  // outside of the limits below

/* ---- Scanning ---- */

struct RangeRow {
    const char *label;
    const char *in;
    unsigned low;
    unsigned high;
};

/// Scans with limits; the range was 55 to 66 before.
void expect_range(const RangeRow &row, unsigned min, unsigned max) {
    unsigned low = 55;
    unsigned high = 66;
    const int changed = row.low != 55 || row.high != 66 ? 1 : 0;
    EXPECT_EQ(scan_range(row.in, &low, &high, min, max, kFallback), changed) << row.label;
    EXPECT_EQ(low, row.low) << row.label;
    EXPECT_EQ(high, row.high) << row.label;
}

TEST(ScanRange, StoresTheSmallerNumberFirst) {
    const RangeRow rows[] = {
        {"low to high", "10-20", 10, 20},    {"high to low", "20-10", 10, 20},
        {"with a colon", "10:20", 10, 20},   {"with a colon, high to low", "20:10", 10, 20},
        {"equal", "10-10", 10, 10},          {"from 0", "0-0", 0, 0},
        {"same as before", "55-66", 55, 66}, {"same as before, turned", "66-55", 55, 66},
    };
    for (const RangeRow &row : rows)
        expect_range(row, 0, 100);
}

TEST(ScanRange, ClampsBothNumbers) {
    const RangeRow rows[] = {
        {"both above", "300:400", 100, 100},    {"both below", "1-2", 10, 10},
        {"one on each side", "1-300", 10, 100}, {"one on each side, turned", "300-1", 10, 100},
        {"at the limits", "10-100", 10, 100},   {"second above", "50-101", 50, 100},
        {"first below", "9-50", 10, 50},        {"one number above", "300", 100, 100},
        {"one number below", "9", 10, 10},
    };
    for (const RangeRow &row : rows)
        expect_range(row, 10, 100);
}

TEST(ScanRange, ClampsBelowMinFirstAndOrdersBehindClamping) {
    // With the limits the wrong way round the smaller number becomes the larger one.
    expect_range({"below both and above both", "1-20", 5, 10}, 10, 5);
    expect_range({"below both", "1-2", 10, 10}, 10, 5);
    expect_range({"above both", "20-30", 5, 5}, 10, 5);
    expect_range({"one number", "7", 10, 10}, 10, 5);
}

TEST(ScanRange, OneNumberGivesBothEnds) {
    const RangeRow rows[] = {
        {"alone", "5", 5, 5},
        {"a dash and nothing behind", "5-", 5, 5},
        {"a colon and nothing behind", "5:", 5, 5},
        {"a dash and blanks", "5-   ", 5, 5},
        {"a dash and a letter", "5-x", 5, 5},
        {"two dashes", "5--10", 5, 5},
        {"dash and colon", "5-:10", 5, 5},
        {"a plus sign", "5-+10", 5, 5},
        {"another separator", "5,10", 5, 5},
        {"a blank is no separator", "5 10", 5, 5},
        {"a letter", "5x-10", 5, 5},
        {"a tab in front of the dash", "5\t-10", 5, 5},
        {"a tab behind the dash", "5-\t10", 5, 5},
    };
    for (const RangeRow &row : rows)
        expect_range(row, 0, 100);
}

TEST(ScanRange, NoNumberGivesTheUnclampedFallback) {
    for (const char *in : {"", "   ", "abc", "-", ":", " - ", "-x", "--", "+5", "\t5", "x5-10"})
        expect_range({in, in, kFallback, kFallback}, 0, 100);
}

TEST(ScanRange, OnlyASecondNumberGivesTheFallback) {
    for (const char *in : {"-5", ":5", "  -5", "- 5", "-5-10", "-999"})
        expect_range({in, in, kFallback, kFallback}, 0, 100);
}

TEST(ScanRange, SkipsBlanksAroundNumbersAndSeparator) {
    const RangeRow rows[] = {
        {"everywhere", "   10   -   20   ", 10, 20},
        {"with a colon", " 10 : 20 ", 10, 20},
        {"what follows the second number is ignored", "10-20-30", 10, 20},
        {"letters behind", "10-20abc", 10, 20},
        {"leading zeros", "0010-0020", 10, 20},
    };
    for (const RangeRow &row : rows)
        expect_range(row, 0, 100);
}

TEST(ScanRange, OverlongNumbersWrapAt2To32) {
    // 2^32 + 2 and 2^32 + 1; 2^64 + 9.
    expect_range({"both", "4294967298-4294967297", 1, 2}, 0, kMax);
    expect_range({"first", "18446744073709551625-20", 9, 20}, 0, kMax);
    expect_range({"second", "20-4294967296", 0, 20}, 0, kMax);
    expect_range({"highest", "4294967295-4294967294", 4294967294u, kMax}, 0, kMax);
}

TEST(ScanRange, ReturnsWhetherThePairChanged) {
    const struct {
        const char *label;
        const char *in;
        unsigned low;
        unsigned high;
        int result;
    } rows[] = {
        {"neither", "10-20", 10, 20, 0},
        {"low", "10-20", 9, 20, 1},
        {"high", "10-20", 10, 21, 1},
        {"both", "10-20", 1, 2, 1},
        {"stored the wrong way round", "10-20", 20, 10, 1},
        {"one number", "10", 10, 20, 1},
        {"one number, neither", "10", 10, 10, 0},
        {"fallback, neither", "", 777, 777, 0},
        {"fallback, high", "", 777, 778, 1},
        {"dash first, neither", "-5", 777, 777, 0},
    };
    for (const auto &row : rows) {
        unsigned low = row.low;
        unsigned high = row.high;
        EXPECT_EQ(scan_range(row.in, &low, &high, 0, 100, kFallback), row.result) << row.label;
    }
}

TEST(ScanRange, NullArgumentGivesZeroAndChangesNothing) {
    unsigned low = 55;
    unsigned high = 66;
    EXPECT_EQ(scan_range(nullptr, &low, &high, 0, 100, 7), 0);
    EXPECT_EQ(scan_range("1-2", nullptr, &high, 0, 100, 7), 0);
    EXPECT_EQ(scan_range("1-2", &low, nullptr, 0, 100, 7), 0);
    EXPECT_EQ(low, 55u);
    EXPECT_EQ(high, 66u);
}

/* ---- Printing ---- */

TEST(GenXrangebox, PrintsTheRangeOrTheText) {
    const unsigned three = 3;
    const unsigned also_three = 3;
    const unsigned seven = 7;
    const unsigned most = kMax;
    const struct {
        const char *label;
        const unsigned *low;
        const unsigned *high;
        const char *text;
        const char *value;
    } rows[] = {
        {"both", &three, &seven, nullptr, "3-7"},
        {"both, turned", &seven, &three, nullptr, "7-3"},
        {"equal", &three, &also_three, nullptr, "3"},
        {"the same", &three, &three, nullptr, "3"},
        {"low only", &three, nullptr, nullptr, "3"},
        {"high only", nullptr, &seven, nullptr, "-7"},
        {"neither", nullptr, nullptr, nullptr, "-"},
        {"highest", &three, &most, nullptr, "3-4294967295"},
        {"highest low", &most, nullptr, nullptr, "4294967295"},
        {"highest high", nullptr, &most, nullptr, "-4294967295"},
        {"text", &three, &seven, "any", "any"},
        {"text alone", nullptr, nullptr, "any", "any"},
        {"empty text", &three, &seven, "", ""},
        {"escaped text", &three, &seven, "<\"&%s\xC3\xA9", "&lt;&quot;&amp;%s&eacute;"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(
            "<input type=\"text\" maxlength=\"11\" value=\"" + std::string(row.value) + "\">", '>',
            [&] { return gen_xrangebox(11, row.low, row.high, row.text, 0, nullptr); }))
            << row.label;
}

TEST(GenXrangebox, PrintsItsValueBehindTheFlags) {
    const unsigned low = 3;
    const unsigned high = 7;
    EXPECT_TRUE(
        prints("<input type=\"text\" maxlength=\"11\" name=\"a<b\" x=\"2\" checked disabled"
               " value=\"3-7\">",
               '>', [&] {
                   return gen_xrangebox(11, &low, &high, nullptr, PRINT_DISABLED | PRINT_CHECKED,
                                        " name=\"%s\" x=\"%d\"", "a<b", 2);
               }));
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"11\" x disabled value=\"t\">", '>',
                       [&] { return gen_xrangebox(11, &low, &high, "t", PRINT_DISABLED, " x"); }));
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"11\" disabled value=\"-\">", '>', [&] {
        return gen_xrangebox(11, nullptr, nullptr, nullptr, PRINT_DISABLED, nullptr);
    }));
}

TEST(GenXrangebox, ReadOnlyBoxHasNoMaxlength) {
    const unsigned low = 3;
    EXPECT_TRUE(prints("<input type=\"text\" x readonly value=\"3\">", '>', [&] {
        return gen_xrangebox(11, &low, nullptr, nullptr, PRINT_READONLY, " x");
    }));
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"4294967295\" value=\"3\">", '>',
                       [&] { return gen_xrangebox(kMax, &low, nullptr, nullptr, 0, nullptr); }));
}

TEST(GenXrangebox, LeavesTheRangeAlone) {
    unsigned low = 7;
    unsigned high = 3;
    printed([&] { gen_xrangebox(11, &low, &high, nullptr, 0, nullptr); });
    EXPECT_EQ(low, 7u);
    EXPECT_EQ(high, 3u);
}

}  // namespace
