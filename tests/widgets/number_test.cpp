// Number boxes: scanning, printing, their items.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <string>

#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;

constexpr unsigned kMax = 4294967295u;

/* ---- Scanning ---- */

struct ScanRow {
    const char *label;
    const char *in;
    unsigned before;
    unsigned min;
    unsigned max;
    unsigned fallback;
    int result;
    unsigned after;
};

void expect_scan(const ScanRow &row) {
    unsigned value = row.before;
    EXPECT_EQ(scan_number(row.in, &value, row.min, row.max, row.fallback), row.result) << row.label;
    EXPECT_EQ(value, row.after) << row.label;
}

TEST(ScanNumber, StoresANumberBetweenItsLimits) {
    const ScanRow rows[] = {
        {"inside", "7", 5, 1, 10, 3, 1, 7},
        {"at min", "1", 5, 1, 10, 3, 1, 1},
        {"at max", "10", 5, 1, 10, 3, 1, 10},
        {"below min", "0", 5, 1, 10, 3, 1, 1},
        {"above max", "99", 5, 1, 10, 3, 1, 10},
        {"whole range, highest", "4294967295", 5, 0, kMax, 3, 1, kMax},
        {"whole range, 0", "0", 5, 0, kMax, 3, 1, 0},
        {"limits are equal", "7", 5, 9, 9, 3, 1, 9},
        {"above 2147483647 is not negative", "2147483648", 5, 1, 10, 3, 1, 10},
    };
    for (const ScanRow &row : rows)
        expect_scan(row);
}

TEST(ScanNumber, ReturnsZeroWhenTheValueStays) {
    const ScanRow rows[] = {
        {"same number", "7", 7, 1, 10, 3, 0, 7},
        {"clamped to the current value", "99", 10, 1, 10, 3, 0, 10},
        {"raised to the current value", "0", 1, 1, 10, 3, 0, 1},
        {"fallback is the current value", "abc", 3, 1, 10, 3, 0, 3},
        {"unclamped fallback is the current value", "abc", 99, 1, 10, 99, 0, 99},
    };
    for (const ScanRow &row : rows)
        expect_scan(row);
}

TEST(ScanNumber, CurrentValueOutOfRangeIsNotClampedUnlessPosted) {
    expect_scan({"posted as it is", "99", 99, 1, 10, 3, 1, 10});
    expect_scan({"nothing posted", "", 99, 1, 10, 99, 0, 99});
}

TEST(ScanNumber, ClampsBelowMinFirst) {
    // With the limits the wrong way round the lower one wins for numbers below it.
    expect_scan({"below both", "1", 50, 10, 5, 3, 1, 10});
    expect_scan({"between", "7", 50, 10, 5, 3, 1, 10});
    expect_scan({"above both", "20", 50, 10, 5, 3, 1, 5});
    expect_scan({"at min", "10", 50, 10, 5, 3, 1, 5});
}

TEST(ScanNumber, FallbackIsNotClamped) {
    expect_scan({"above max", "abc", 5, 1, 10, 99, 1, 99});
    expect_scan({"below min", "", 5, 1, 10, 0, 1, 0});
    expect_scan({"highest", "-", 5, 1, 10, kMax, 1, kMax});
}

TEST(ScanNumber, ReadsTheDigitsBehindLeadingBlanks) {
    const ScanRow rows[] = {
        {"blanks", "   7", 5, 1, 10, 3, 1, 7},
        {"leading zeros", "0007", 5, 1, 10, 3, 1, 7},
        {"many leading zeros", "00000000000000000000000000000008", 5, 1, 10, 3, 1, 8},
        {"letters behind", "7abc", 5, 1, 10, 3, 1, 7},
        {"a fraction", "7.9", 5, 1, 10, 3, 1, 7},
        {"a blank ends it", "7 8", 5, 1, 10, 3, 1, 7},
        {"an invalid byte ends it", "7\xB2", 5, 1, 10, 3, 1, 7},
        {"no hexadecimal", "0x9", 5, 1, 10, 3, 1, 1},
        {"no exponent", "1e1", 5, 1, 10, 3, 1, 1},
    };
    for (const ScanRow &row : rows)
        expect_scan(row);
}

TEST(ScanNumber, TextWithoutALeadingDigitGivesTheFallback) {
    for (const char *in :
         {"", "   ", "abc", "a7", "-7", "+7", "\t7", "\n7", " \t7", ".5", "/7", ":7", "\xB2",
          "\xC2\xA0"
          "7",
          ",7"})
        expect_scan({in, in, 5, 1, 10, 3, 1, 3});
}

TEST(ScanNumber, OverlongNumbersWrapAt2To32) {
    expect_scan({"2^32", "4294967296", 5, 0, kMax, 3, 1, 0});
    expect_scan({"2^32 + 7", "4294967303", 5, 0, kMax, 3, 1, 7});
    expect_scan({"2^33 + 1", "8589934593", 5, 0, kMax, 3, 1, 1});
    expect_scan({"2^64 + 9", "18446744073709551625", 5, 0, kMax, 3, 1, 9});
    // 99999999999999999999 - 23283064365 * 2^32
    expect_scan({"twenty nines", "99999999999999999999", 5, 0, kMax, 3, 1, 1661992959u});
    expect_scan({"wrapped and then clamped", "4294967296", 5, 2, 10, 3, 1, 2});
}

TEST(ScanNumber, NullArgumentGivesZeroAndChangesNothing) {
    unsigned value = 5;
    EXPECT_EQ(scan_number(nullptr, &value, 1, 10, 3), 0);
    EXPECT_EQ(value, 5u);
    EXPECT_EQ(scan_number("7", nullptr, 1, 10, 3), 0);
}

/* ---- Printing ---- */

constexpr const char *kAllFlags =
    " checked disabled readonly selected style=\"display: none;\" style=\"visibility: hidden;\""
    " autocomplete=\"default\"";

TEST(GenXnumberbox, PrintsMaxlengthValueAttributesAndFlags) {
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"5\" value=\"7\">", '>',
                       [] { return gen_xnumberbox(5, 7, 0, nullptr); }));
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"0\" value=\"0\">", '>',
                       [] { return gen_xnumberbox(0, 0, 0, nullptr); }));
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"4294967295\" value=\"4294967295\">", '>',
                       [] { return gen_xnumberbox(kMax, kMax, 0, nullptr); }));
    EXPECT_TRUE(prints(
        "<input type=\"text\" maxlength=\"5\" value=\"7\" name=\"a<b\" x=\"3\""
        " disabled>",
        '>',
        [] { return gen_xnumberbox(5, 7, PRINT_DISABLED, " name=\"%s\" x=\"%d\"", "a<b", 3); }));
    // Neither a type "password", nor bullets, nor a size.
    EXPECT_TRUE(prints("<input type=\"text\" maxlength=\"5\" value=\"7\">", '>',
                       [] { return gen_xnumberbox(5, 7, 0x10 | 0x20 | 0x40 | 0x40000, nullptr); }));
}

TEST(GenXnumberbox, ReadOnlyBoxHasNoMaxlength) {
    EXPECT_TRUE(prints("<input type=\"text\" value=\"7\" x readonly>", '>',
                       [] { return gen_xnumberbox(5, 7, PRINT_READONLY, " x"); }));
    EXPECT_TRUE(prints(std::string("<input type=\"text\" value=\"7\"") + kAllFlags + ">", '>',
                       [] { return gen_xnumberbox(5, 7, 0xFFFFFFFF, nullptr); }));
}

TEST(GenNumberbox, PrintsNameSizeMaxlengthValueAndFlags) {
    EXPECT_TRUE(prints("<input type=\"text\" name=\"n\" size=\"4\" maxlength=\"5\" value=\"7\">",
                       '>', [] { return gen_numberbox("n", 4, 5, 7, 0); }));
    EXPECT_TRUE(prints("<input type=\"text\" size=\"4\" maxlength=\"5\" value=\"7\" disabled>", '>',
                       [] { return gen_numberbox(nullptr, 4, 5, 7, PRINT_DISABLED); }));
    EXPECT_TRUE(
        prints("<input type=\"text\" name=\"a<%s\"\" size=\"0\" maxlength=\"0\""
               " value=\"0\">",
               '>', [] { return gen_numberbox("a<%s\"", 0, 0, 0, 0); }));
    EXPECT_TRUE(
        prints("<input type=\"text\" name=\"\" size=\"4294967295\""
               " maxlength=\"4294967295\" value=\"4294967295\">",
               '>', [] { return gen_numberbox("", kMax, kMax, kMax, 0); }));
}

TEST(GenNumberbox, ReadOnlyBoxKeepsItsMaxlength) {
    EXPECT_TRUE(
        prints("<input type=\"text\" name=\"n\" size=\"4\" maxlength=\"5\" value=\"7\""
               " readonly>",
               '>', [] { return gen_numberbox("n", 4, 5, 7, PRINT_READONLY); }));
    EXPECT_TRUE(prints(std::string("<input type=\"text\" size=\"4\" maxlength=\"5\" value=\"7\"") +
                           kAllFlags + ">",
                       '>', [] { return gen_numberbox(nullptr, 4, 5, 7, 0xFFFFFFFF); }));
}

/* ---- The item ---- */

/// An item's content and the number that a box with the fallback 42 shows for it.
struct ItemNumber {
    const char *label;
    const char *content;
    unsigned value;
};

constexpr ItemNumber kItemNumbers[] = {
    {"number", "7\n", 7},
    {"no newline", "7", 7},
    {"0", "0\n", 0},
    {"highest", "4294967295\n", kMax},
    {"wraps at 2^32", "4294967303\n", 7},
    {"letters behind", "7abc\n", 7},
    {"no number", "abc\n", 0},
    {"leading blank", " 7\n", 0},
    {"empty gives the fallback", "", 42},
    {"only a newline gives the fallback", "\n", 42},
};

TEST(RdNumberboxItem, ReadsTheNumber) {
    for (const ItemNumber &row : kItemNumbers) {
        const ItemFile item(row.content);
        unsigned value = 99;
        EXPECT_EQ(rd_numberbox_item(item.dir(), item.name(), &value, 42), 0u) << row.label;
        EXPECT_EQ(value, row.value) << row.label;
        EXPECT_EQ(rd_numberbox_item(item.dir(), item.name(), nullptr, 42), 0u) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(RdNumberboxItem, UnreadableItemGivesTheFallbackAndDisabled) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *dir;
        const char *name;
    } rows[] = {
        {"missing", dir.path(), "missing"},
        {"a directory", "", dir.path()},
        {"null directory", nullptr, "x"},
        {"null name", dir.path(), nullptr},
    };
    for (const auto &row : rows) {
        unsigned value = 99;
        EXPECT_EQ(rd_numberbox_item(row.dir, row.name, &value, 42), 1u) << row.label;
        EXPECT_EQ(value, 42u) << row.label;
        EXPECT_EQ(rd_numberbox_item(row.dir, row.name, nullptr, 42), 1u) << row.label;
    }
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(GenNumberboxItem, PrintsTheItemWithAMaximumLengthOf15) {
    for (const ItemNumber &row : kItemNumbers) {
        const ItemFile item(row.content);
        unsigned flags = 99;
        EXPECT_EQ(printed([&] {
                      flags = gen_numberbox_item(item.dir(), item.name(), "n", 4, 42,
                                                 PRINT_READONLY | PRINT_JSON_COMMA);
                  }),
                  "<input type=\"text\" name=\"n\" size=\"4\" maxlength=\"15\" value=\"" +
                      std::to_string(row.value) + "\" readonly>")
            << row.label;
        EXPECT_EQ(flags, 0x80004u) << row.label;
    }
}

TEST(GenNumberboxItem, UnreadableItemPrintsTheFallbackDisabled) {
    const TempDir dir;
    unsigned flags = 99;
    EXPECT_EQ(printed([&] {
                  flags = gen_numberbox_item(dir.path(), "missing", nullptr, 4, 42, PRINT_CHECKED);
              }),
              "<input type=\"text\" size=\"4\" maxlength=\"15\" value=\"42\" checked disabled>");
    EXPECT_EQ(flags, 3u);
}

TEST(GenNumberboxItem, CallersDisabledStays) {
    const ItemFile item("7\n");
    unsigned flags = 99;
    EXPECT_EQ(
        printed([&] { flags = gen_numberbox_item(item.dir(), item.name(), nullptr, 4, 42, 1); }),
        "<input type=\"text\" size=\"4\" maxlength=\"15\" value=\"7\" disabled>");
    EXPECT_EQ(flags, 1u);
}

TEST(WrNumberboxItem, WritesTheNumber) {
    const struct {
        unsigned value;
        std::string content;
    } rows[] = {{0, "0\n"}, {7, "7\n"}, {2147483648u, "2147483648\n"}, {kMax, "4294967295\n"}};
    for (const auto &row : rows) {
        const ItemFile item("old\n");
        EXPECT_EQ(wr_numberbox_item(item.dir(), item.name(), row.value),
                  static_cast<int>(row.content.size()))
            << row.value;
        EXPECT_EQ(item.content(), row.content);
        EXPECT_TRUE(item.same_file()) << row.value;
    }
}

TEST(WrNumberboxItem, LeavesTheItemAloneWhenUnchanged) {
    for (const char *content : {"4294967295\n", "4294967295"}) {
        const ItemFile item(content);
        EXPECT_EQ(wr_numberbox_item(item.dir(), item.name(), kMax), 0);
        EXPECT_FALSE(item.touched());
        EXPECT_TRUE(item.same_file());
        EXPECT_EQ(item.content(), content);
    }
}

TEST(WrNumberboxItem, ComparesTextsAndNotNumbers) {
    for (const char *content : {"007\n", "7abc\n", "70\n", " 7\n"}) {
        const ItemFile item(content);
        EXPECT_EQ(wr_numberbox_item(item.dir(), item.name(), 7), 2) << content;
        EXPECT_EQ(item.content(), "7\n") << content;
    }
}

TEST(WrNumberboxItem, ReturnsTheItemWritersFailuresAndCreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(wr_numberbox_item(dir.path(), "missing", 7), -1);
    EXPECT_EQ(wr_numberbox_item(nullptr, "missing", 7), -1);
    EXPECT_EQ(wr_numberbox_item(dir.path(), nullptr, 7), -1);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(GenJsonNumberItem, PrintsTheItemAsAMember) {
    for (const ItemNumber &row : kItemNumbers) {
        const ItemFile item(row.content);
        unsigned flags = 99;
        EXPECT_EQ(
            printed([&] { flags = gen_json_number_item(item.dir(), item.name(), "n", 42, 0); }),
            "\"n\": " + std::to_string(row.value))
            << row.label;
        EXPECT_EQ(flags, 0x80000u) << row.label;
    }
}

TEST(GenJsonNumberItem, PrintsACommaInFrontOfTheNextMember) {
    const ItemFile item("7\n");
    unsigned flags = 0x4;
    EXPECT_EQ(printed([&] {
                  flags = gen_json_number_item(item.dir(), item.name(), "a", 42, flags);
                  flags = gen_json_number_item(item.dir(), item.name(), "b\"%s", 42, flags);
              }),
              "\"a\": 7, \"b\"%s\": 7");
    EXPECT_EQ(flags, 0x80004u);
}

TEST(GenJsonNumberItem, UnreadableItemPrintsNullAndIsDisabled) {
    const TempDir dir;
    const struct {
        const char *label;
        unsigned flags;
        const char *member;
        unsigned result;
    } rows[] = {
        {"first", 0, "\"n\": null", 0x80001},
        {"next", 0x80000, ", \"n\": null", 0x80001},
        {"other flags stay", 0x6, "\"n\": null", 0x80007},
    };
    for (const auto &row : rows) {
        unsigned flags = 99;
        EXPECT_EQ(printed([&] {
                      flags = gen_json_number_item(dir.path(), "missing", "n", 42, row.flags);
                  }),
                  row.member)
            << row.label;
        EXPECT_EQ(flags, row.result) << row.label;
    }
    EXPECT_EQ(printed([] { gen_json_number_item(nullptr, nullptr, "n", 42, 0); }), "\"n\": null");
}

TEST(GenJsonNumberItem, CallersDisabledDoesNotPrintNull) {
    const ItemFile item("7\n");
    unsigned flags = 99;
    EXPECT_EQ(
        printed([&] { flags = gen_json_number_item(item.dir(), item.name(), "n", 42, 0x80001); }),
        ", \"n\": 7");
    EXPECT_EQ(flags, 0x80001u);
}

TEST(GenJsonNumberItem, NullNamePrintsNothingAndReturnsTheFlags) {
    const ItemFile item("7\n");
    for (const unsigned flags : {0u, 1u, 0x80000u}) {
        unsigned result = 99;
        EXPECT_EQ(printed([&] {
                      result = gen_json_number_item(item.dir(), item.name(), nullptr, 42, flags);
                  }),
                  "");
        EXPECT_EQ(result, flags);
        printed([&] { result = gen_json_number_item(item.dir(), "missing", nullptr, 42, flags); });
        EXPECT_EQ(result, flags) << "the item does not count";
    }
}

TEST(NumberboxItems, LeaveNoDescriptorOpen) {
    const ItemFile item("7\n");
    const int before = open_descriptors();
    printed([&] {
        for (const char *name : {item.name(), "missing"}) {
            rd_numberbox_item(item.dir(), name, nullptr, 0);
            gen_numberbox_item(item.dir(), name, "n", 1, 0, 0);
            gen_json_number_item(item.dir(), name, "n", 0, 0);
            wr_numberbox_item(item.dir(), name, 8);
        }
    });
    EXPECT_EQ(open_descriptors(), before);
}

}  // namespace
