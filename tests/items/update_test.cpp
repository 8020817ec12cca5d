// Comparing an item with a value, and writing it only when it changed.
#include <gtest/gtest.h>
#include <qmv/items.h>

#include <climits>
#include <string>

#include "tests/support/io.h"
#include "tests/support/item_file.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::TempDir;
using qmv_test::text;

constexpr int kEqual = 0;
constexpr int kDifferent = 1;

struct Comparison {
    const char *label;
    std::string content;
    const char *value;
    int size;
    int result;
    const char *rewritten;  ///< what an update leaves when the values differ
};

const Comparison kComparisons[] = {
    {"equal", "1\n", "1", 2, kEqual, ""},
    {"different", "0\n", "1", 2, kDifferent, "1\n"},
    {"only the first bytes count", "abc", "abcdef", 3, kEqual, ""},
    {"longer than what is stored, cut", "ab", "abcdef", 3, kDifferent, "abc\n"},
    {"value is a prefix", "abcdef\n", "abc", 63, kDifferent, "abc\n"},
    {"stored value is a prefix", "abc\n", "abcdef", 63, kDifferent, "abcdef\n"},
    {"value is one byte shorter", "abcd\n", "abc", 63, kDifferent, "abc\n"},
    {"stored bytes beyond the size do not count", "abcdef\n", "abc", 3, kEqual, ""},
    {"stored bytes and value beyond the size", "abcxyz\n", "abcdef", 3, kEqual, ""},
    {"differ in the last byte", "abc\n", "abd", 63, kDifferent, "abd\n"},
    {"differ in the first byte", "abc\n", "xbc", 63, kDifferent, "xbc\n"},
    {"differ in case", "abc\n", "ABC", 63, kDifferent, "ABC\n"},
    {"size is the length", "abc\n", "abc", 3, kEqual, ""},
    {"largest size", "abc\n", "abc", INT_MAX, kEqual, ""},
    {"largest size, different", "abc\n", "abx", INT_MAX, kDifferent, "abx\n"},
    {"no newline stored", "abc", "abc", 63, kEqual, ""},
    {"stored value ends at a control character", "abc\tdef\n", "abc", 63, kEqual, ""},
    {"both empty", "", "", 63, kEqual, ""},
    {"empty line and empty value", "\n", "", 63, kEqual, ""},
    {"empty value", "abc\n", "", 63, kDifferent, "\n"},
    {"empty item", "", "abc", 63, kDifferent, "abc\n"},
    {"size zero counts nothing", "abc\n", "xyz", 0, kEqual, ""},
    {"high bytes", "\xC3\xA9\n", "\xC3\xA9", 63, kEqual, ""},
    {"high bytes, different", "\xC3\xA9\n", "\xC3\xA8", 63, kDifferent, "\xC3\xA8\n"},
    {"value with a newline", "a\nb\n", "a\nb", 63, kDifferent, "a\nb\n"},
    {"value with a newline at its end", "a\n", "a\n", 63, kDifferent, "a\n\n"},
    {"value is a newline", "\n", "\n", 63, kDifferent, "\n\n"},
    {"value with DEL", "a\x7F\n", "a\x7F", 63, kDifferent, "a\x7F\n"},
    {"stored NUL ends the value", text("ab\0cd\n"), "ab", 63, kEqual, ""},
};

TEST(CompareItem, TellsWhetherTheValuesDiffer) {
    for (const Comparison &row : kComparisons) {
        const ItemFile item(row.content);
        EXPECT_EQ(compare_item(item.dir(), item.name(), row.value, row.size), row.result)
            << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
        EXPECT_EQ(item.content(), row.content) << row.label;
    }
}

TEST(CompareItem, ComparesLongValues) {
    for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 100000u}) {
        std::string value(length, 'v');
        const ItemFile item(value + "\n");
        EXPECT_EQ(compare_item(item.dir(), item.name(), value.c_str(), 1000000), 0) << length;
        value.back() = 'w';
        EXPECT_EQ(compare_item(item.dir(), item.name(), value.c_str(), 1000000), 1) << length;
        value.pop_back();
        EXPECT_EQ(compare_item(item.dir(), item.name(), value.c_str(), 1000000), 1) << length;
    }
}

TEST(CompareItem, ReturnsMinusOneWhenTheItemCannotBeRead) {
    const TempDir dir;
    EXPECT_EQ(compare_item(dir.path(), "missing", "v", 63), -1);
    EXPECT_EQ(compare_item("", dir.path(), "v", 63), -1) << "a directory";
    EXPECT_EQ(compare_item(nullptr, "x", "v", 63), -1);
    EXPECT_EQ(compare_item(dir.path(), nullptr, "v", 63), -1);
}

TEST(CompareItem, RefusesNullValue) {
    const ItemFile item("v\n");
    EXPECT_EQ(compare_item(item.dir(), item.name(), nullptr, 63), -1);
}

TEST(UpdateItem, LeavesFileAloneWhenEqual) {
    for (const Comparison &row : kComparisons) {
        if (row.result != kEqual)
            continue;
        const ItemFile item(row.content);
        EXPECT_EQ(update_item(item.dir(), item.name(), row.value, row.size), 0) << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
        EXPECT_EQ(item.content(), row.content) << row.label;
    }
}

TEST(UpdateItem, RewritesInPlaceWhenDifferent) {
    for (const Comparison &row : kComparisons) {
        if (row.result == kEqual)
            continue;
        const ItemFile item(row.content);
        const std::string rewritten = row.rewritten;
        EXPECT_EQ(update_item(item.dir(), item.name(), row.value, row.size),
                  static_cast<int>(rewritten.size()))
            << row.label;
        EXPECT_EQ(item.content(), rewritten) << row.label;
        EXPECT_TRUE(item.touched()) << row.label;
        EXPECT_TRUE(item.same_file()) << row.label;
    }
}

TEST(UpdateItem, WritesAValueWithANewlineWholeEveryTime) {
    const ItemFile item("a\nb\n");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(update_item(item.dir(), item.name(), "a\nb", 63), 4);
        EXPECT_EQ(item.content(), "a\nb\n");
    }
}

TEST(UpdateItem, ShortensALongItem) {
    const ItemFile item(std::string(10000, 'l') + "\n");
    EXPECT_EQ(update_item(item.dir(), item.name(), "s", 63), 2);
    EXPECT_EQ(item.content(), "s\n");
}

TEST(UpdateItem, WritesLongValues) {
    for (const std::size_t length : {4094u, 4095u, 4096u, 4097u, 200000u}) {
        const ItemFile item("old\n");
        const std::string value(length, 'v');
        EXPECT_EQ(update_item(item.dir(), item.name(), value.c_str(), INT_MAX),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(item.content(), value + "\n") << length;
    }
}

TEST(UpdateItem, CreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(update_item(dir.path(), "missing", "v", 63), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_item(dir.path(), "missing", "", 63), -1);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(UpdateItem, ReturnsMinusOneWhenTheItemCannotBeRead) {
    const TempDir dir;
    EXPECT_EQ(update_item("", dir.path(), "v", 63), -1) << "a directory";
    EXPECT_EQ(update_item(nullptr, "x", "v", 63), -1);
    EXPECT_EQ(update_item(dir.path(), nullptr, "v", 63), -1);
}

TEST(UpdateItem, RefusesNullValue) {
    const ItemFile item("v\n");
    EXPECT_EQ(update_item(item.dir(), item.name(), nullptr, 63), -1);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateItemUint, WritesOnlyWhenDifferent) {
    const ItemFile item("42\n");
    EXPECT_EQ(update_item_uint(item.dir(), item.name(), 42), 0);
    EXPECT_FALSE(item.touched());
    EXPECT_EQ(update_item_uint(item.dir(), item.name(), 4294967295u), 11);
    EXPECT_EQ(item.content(), "4294967295\n");
    EXPECT_EQ(update_item_uint(item.dir(), item.name(), 4294967295u), 0);
    EXPECT_EQ(update_item_uint(item.dir(), item.name(), 0), 2);
    EXPECT_EQ(item.content(), "0\n");
    EXPECT_TRUE(item.same_file());
}

TEST(UpdateItemUint, ComparesTextAndNotNumbers) {
    const ItemFile item("042\n");
    EXPECT_EQ(update_item_uint(item.dir(), item.name(), 42), 3);
    EXPECT_EQ(item.content(), "42\n");
}

TEST(UpdateItemUint, CreatesNothing) {
    const TempDir dir;
    EXPECT_EQ(update_item_uint(dir.path(), "missing", 1), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_item_uint(nullptr, "x", 1), -1);
    EXPECT_EQ(update_item_uint(dir.path(), nullptr, 1), -1);
}

}  // namespace
