#include <gtest/gtest.h>
#include <limits.h>
#include <qmv/system.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/fenced_text.h"
#include "tests/support/io.h"

namespace {

using qmv_test::FencedText;

std::vector<devinfo_row> variants(const std::vector<int32_t> &keys) {
    std::vector<devinfo_row> table;
    for (const int32_t key : keys) {
        devinfo_row row{};
        row.key = key;
        std::memset(row.data, 0xFF, sizeof row.data);
        table.push_back(row);
    }
    return table;
}

/// Number of the row that a device information selects.
long selected(const std::vector<devinfo_row> &table, const char *info) {
    const devinfo_row *const row = get_devinfo(table.data(), info);
    return row != nullptr ? row - table.data() : -1;
}

struct FlagCase {
    const char *label;
    int flags;
    std::vector<infoflag_row> table;  ///< with its end
    const char *info;
    const char *info2;
    int expected;
};

void expect_flags(const std::vector<FlagCase> &cases) {
    for (const FlagCase &c : cases)
        EXPECT_EQ(get_infoflags(c.flags, c.table.data(), c.info, c.info2), c.expected) << c.label;
}

constexpr infoflag_row kEnd = {0, 0};

}  // namespace

TEST(Devinfo, RowsHave32And8Bytes) {
    EXPECT_EQ(sizeof(devinfo_row), 32u);
    EXPECT_EQ(offsetof(devinfo_row, key), 0u);
    EXPECT_EQ(sizeof(infoflag_row), 8u);
    EXPECT_EQ(offsetof(infoflag_row, mask), 0u);
    EXPECT_EQ(offsetof(infoflag_row, pos), 4u);
}

TEST(GetDevinfo, SelectsFirstRowWhoseKeyIsNotBelowTheCharacter) {
    const auto table = variants({65, 67, 70, 0});
    EXPECT_EQ(selected(table, "A"), 0) << "the key of the first row";
    EXPECT_EQ(selected(table, "B"), 1) << "between two keys";
    EXPECT_EQ(selected(table, "C"), 1) << "the key of a row";
    EXPECT_EQ(selected(table, "D"), 2);
    EXPECT_EQ(selected(table, "F"), 2) << "the key of the last row";
    EXPECT_EQ(selected(table, "0"), 0) << "below the first key";
}

TEST(GetDevinfo, FallsBackToFirstRowWhenAllKeysAreBelow) {
    EXPECT_EQ(selected(variants({65, 67, 0}), "D"), 0);
    EXPECT_EQ(selected(variants({65, 0}), "B"), 0);
    EXPECT_EQ(selected(variants({1, 2, 3, 0}), "\x7F"), 0);
}

TEST(GetDevinfo, LooksAtTheFirstCharacterOnly) {
    const auto table = variants({65, 67, 70, 0});
    EXPECT_EQ(selected(table, "BFFF"), 1);
    EXPECT_EQ(selected(table, "F0"), 2);
    const FencedText whole(qmv_test::text("B\0"));
    EXPECT_EQ(selected(table, whole.get()), 1);
}

TEST(GetDevinfo, ReturnsFirstRowWithoutInformation) {
    const auto table = variants({65, 67, 0});
    EXPECT_EQ(selected(table, nullptr), 0);
    EXPECT_EQ(selected(table, ""), 0);
    EXPECT_EQ(selected(variants({-5, 5, 0}), ""), 0) << "a key below 0";
}

TEST(GetDevinfo, ReturnsFirstRowOfAnEmptyTable) {
    const auto table = variants({0, 67, 0});
    EXPECT_EQ(selected(table, "B"), 0) << "rows behind the end";
    EXPECT_EQ(selected(table, nullptr), 0);
}

TEST(GetDevinfo, StopsAtTheEndOfTheTable) {
    EXPECT_EQ(selected(variants({65, 0, 90, 0}), "D"), 0);
}

TEST(GetDevinfo, CountsBytesFrom0x80OnAsNegative) {
    EXPECT_EQ(selected(variants({1, 0xC3, 0}), "\xC3"), 0) << "-61 is below 1";
    const auto negative = variants({-100, -10, 1, 200, 0});
    EXPECT_EQ(selected(negative, "\x80"), 0) << "-128";
    EXPECT_EQ(selected(negative, "\x9C"), 0) << "-100";
    EXPECT_EQ(selected(negative, "\x9D"), 1) << "-99";
    EXPECT_EQ(selected(negative, "\xFF"), 2) << "-1";
    EXPECT_EQ(selected(negative, "\x7F"), 3) << "127";
}

TEST(GetDevinfo, ComparesWholeKeys) {
    EXPECT_EQ(selected(variants({0x40, 0x100, 0}), "B"), 1) << "key 256";
    EXPECT_EQ(selected(variants({INT_MIN, INT_MAX, 0}), "B"), 1) << "INT_MAX";
    EXPECT_EQ(selected(variants({INT_MIN, INT_MAX, 0}), "\x80"), 1) << "INT_MIN is below -128";
}

TEST(GetDevinfo, ReturnsNullForNullTable) {
    EXPECT_EQ(get_devinfo(nullptr, "A"), nullptr);
    EXPECT_EQ(get_devinfo(nullptr, nullptr), nullptr);
}

TEST(GetInfoflags, KeepsBitsWhoseCharacterIsOneOrAbove) {
    const std::vector<infoflag_row> row = {{0x4, 3}, kEnd};
    expect_flags({
        {"0", 0x7, row, "0010", nullptr, 0x3},
        {"1", 0x7, row, "0001", nullptr, 0x7},
        {"2", 0x7, row, "0002", nullptr, 0x7},
        {"A", 0x7, row, "000A", nullptr, 0x7},
        {"0x7F", 0x7, row, "000\x7F", nullptr, 0x7},
        {"/, the one below 0", 0x7, row, "000/", nullptr, 0x3},
        {"blank", 0x7, row, "000 ", nullptr, 0x3},
        {"control character", 0x7, row, "000\x01", nullptr, 0x3},
        {"the other characters do not count", 0x7, row, "1110111", nullptr, 0x3},
    });
}

TEST(GetInfoflags, CountsBytesFrom0x80OnAsBelowOne) {
    const std::vector<infoflag_row> row = {{0x4, 1}, kEnd};
    for (const char *const info : {"1\x80", "1\xB1", "1\xC3", "1\xFF"}) {
        EXPECT_EQ(get_infoflags(0x7, row.data(), info, nullptr), 0x3)
            << testing::PrintToString(info);
        EXPECT_EQ(get_infoflags(0x7, row.data(), "1", info), 0x3)
            << "second text " << testing::PrintToString(info);
    }
}

TEST(GetInfoflags, ReturnsZeroForFlagsZero) {
    const std::vector<infoflag_row> row = {{0x4, 0}, kEnd};
    expect_flags({{"character set", 0, row, "1", "1", 0}, {"empty table", 0, {kEnd}, "1", "1", 0}});
    EXPECT_EQ(get_infoflags(0, nullptr, "1", "1"), 0) << "no table";
}

TEST(GetInfoflags, ReturnsZeroWithoutInformation) {
    const std::vector<infoflag_row> row = {{0x4, 0}, kEnd};
    expect_flags({
        {"null", 0x7, row, nullptr, "1", 0},
        {"empty", 0x7, row, "", "1", 0},
        {"null, empty table", 0x7, {kEnd}, nullptr, "1", 0},
        {"empty, empty table", 0x7, {kEnd}, "", "1", 0},
    });
    EXPECT_EQ(get_infoflags(0x7, nullptr, nullptr, "1"), 0) << "null, no table";
    EXPECT_EQ(get_infoflags(0x7, nullptr, "", "1"), 0) << "empty, no table";
}

TEST(GetInfoflags, KeepsFlagsWithoutTable) {
    for (const int flags : {0x7, 1, -1, INT_MIN, INT_MAX}) {
        EXPECT_EQ(get_infoflags(flags, nullptr, "0", nullptr), flags) << "no table";
        EXPECT_EQ(get_infoflags(flags, &kEnd, "0", nullptr), flags) << "empty table";
    }
}

TEST(GetInfoflags, StopsAtTheEndOfTheTable) {
    expect_flags({{"row behind the end", 0x7, {{0x1, 0}, {0, 0}, {0x2, 0}, kEnd}, "0", "", 0x6},
                  {"first row is the end", 0x7, {{0, 5}, {0x2, 0}, kEnd}, "0", "", 0x7}});
}

TEST(GetInfoflags, WalksTheWholeTable) {
    const std::vector<infoflag_row> table = {{0x1, 0}, {0x6, 1}, {0x8, 2}, {0x10, 3}, kEnd};
    expect_flags({
        {"all set", 0xFF, table, "1111", nullptr, 0xFF},
        {"none set", 0xFF, table, "0000", nullptr, 0xE0},
        {"first", 0xFF, table, "1000", nullptr, 0xE1},
        {"a mask of two bits", 0xFF, table, "0100", nullptr, 0xE6},
        {"last", 0xFF, table, "0001", nullptr, 0xF0},
        {"bits that were not there do not come", 0x12, table, "1111", nullptr, 0x12},
        {"nor when they are cleared", 0x22, table, "0000", nullptr, 0x20},
    });
}

TEST(GetInfoflags, ClearsBitsThatOneOfSeveralRowsClears) {
    expect_flags({{"first row clears", 0xF, {{0x1, 0}, {0x1, 1}, kEnd}, "01", nullptr, 0xE},
                  {"second row clears", 0xF, {{0x1, 0}, {0x1, 1}, kEnd}, "10", nullptr, 0xE},
                  {"overlapping masks", 0xF, {{0x3, 0}, {0x6, 1}, kEnd}, "10", nullptr, 0x9},
                  {"both clear", 0xF, {{0x3, 0}, {0x6, 1}, kEnd}, "00", nullptr, 0x8}});
}

TEST(GetInfoflags, ClearsAllBitsOfAnyMask) {
    EXPECT_EQ(get_infoflags(-1, std::vector<infoflag_row>{{0x80000000, 0}, kEnd}.data(), "0", ""),
              INT_MAX);
    EXPECT_EQ(get_infoflags(-1, std::vector<infoflag_row>{{0xFFFFFFFF, 0}, kEnd}.data(), "0", ""),
              0);
    EXPECT_EQ(get_infoflags(-1, std::vector<infoflag_row>{{0x80000000, 0}, kEnd}.data(), "1", ""),
              -1);
}

TEST(GetInfoflags, TakesTheSamePositionOfTheSecondText) {
    const std::vector<infoflag_row> row = {{0x4, 3}, kEnd};
    expect_flags({
        {"set at the position", 0x7, row, "111", "0001", 0x7},
        {"clear at the position", 0x7, row, "111", "1110", 0x3},
        {"not counted on from the first text's end", 0x7, row, "111", "1000", 0x3},
        {"position equal to the first text's length", 0x7, row, "000", "0001", 0x7},
        {"first text of one character", 0x7, row, "0", "0001", 0x7},
    });
}

TEST(GetInfoflags, PrefersTheFirstText) {
    const std::vector<infoflag_row> row = {{0x4, 3}, kEnd};
    expect_flags({
        {"clear in the first text", 0x7, row, "1110", "1111", 0x3},
        {"set in the first text", 0x7, row, "0001", "0000", 0x7},
    });
}

TEST(GetInfoflags, ClearsBitsWhosePositionIsBehindBothTexts) {
    expect_flags({
        {"no second text", 0x7, {{0x4, 3}, kEnd}, "111", nullptr, 0x3},
        {"empty second text", 0x7, {{0x4, 3}, kEnd}, "111", "", 0x3},
        {"equal to both lengths", 0x7, {{0x4, 3}, kEnd}, "111", "111", 0x3},
        {"sum of both lengths less one", 0x7, {{0x4, 5}, kEnd}, "111", "111", 0x3},
        {"largest", 0x7, {{0x4, INT_MAX}, kEnd}, "111", "111", 0x3},
        {"2^16", 0x7, {{0x4, 0x10000}, kEnd}, "111", "111", 0x3},
    });
}

TEST(GetInfoflags, ClearsBitsWithNegativePosition) {
    const std::string texts = "111111";
    const char *const info = texts.c_str() + 2;
    expect_flags({
        {"-1, a 1 stands before the text", 0x7, {{0x4, -1}, kEnd}, info, nullptr, 0x3},
        {"-1, second text", 0x7, {{0x4, -1}, kEnd}, info, info, 0x3},
        {"-2", 0x7, {{0x4, -2}, kEnd}, info, info, 0x3},
        {"smallest", 0x7, {{0x4, INT_MIN}, kEnd}, info, info, 0x3},
    });
}

TEST(GetInfoflags, ReadsNothingBehindTheTexts) {
    const FencedText info(qmv_test::text("11\0"));
    const FencedText info2(qmv_test::text("111\0"));
    for (const int pos : {0, 1, 2, 3, 4, 100000, INT_MAX}) {
        const std::vector<infoflag_row> row = {{0x4, pos}, kEnd};
        EXPECT_EQ(get_infoflags(0x4, row.data(), info.get(), info2.get()), pos < 3 ? 0x4 : 0)
            << "position " << pos;
    }
}
