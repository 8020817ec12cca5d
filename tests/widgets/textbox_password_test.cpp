// Writing the posted values of password boxes.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <string>
#include <vector>

#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/malformed.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::kMalformed;
using qmv_test::TempDir;

constexpr const char *kBullet = "\xE2\x80\xA2";
constexpr unsigned kMark = 0xABCD;

struct Asked {
    unsigned pos;
    unsigned ch;

    bool operator==(const Asked &) const = default;
};

void PrintTo(const Asked &asked, std::ostream *out) {
    *out << asked.pos << ':' << asked.ch;
}

std::vector<Asked> asked;

int no_digits(unsigned pos, unsigned ch) {
    asked.push_back({pos, ch});
    return ch >= '0' && ch <= '9' ? 0 : 1;
}

int refuse_all(unsigned, unsigned) {
    return 0;
}

/// A posted password and what becomes of it; the item holds "old" before.
struct Posted {
    const char *label;
    std::string value;
    unsigned maxchars;
    textbox_filter filter;
    int result;
    unsigned rejected;
    std::string content;
};

std::string bullets(int count) {
    std::string text;
    while (count-- > 0)
        text += kBullet;
    return text;
}

void expect_outcome(const Posted &row) {
    const ItemFile item("old\n");
    unsigned rejected = kMark;
    EXPECT_EQ(update_password_item(item.dir(), item.name(), row.value.c_str(), row.maxchars,
                                   row.filter, &rejected),
              row.result)
        << row.label;
    EXPECT_EQ(rejected, row.rejected) << row.label;
    EXPECT_EQ(item.content(), row.content) << row.label;
    EXPECT_EQ(item.touched(), row.result > 0) << row.label;
}

TEST(UpdatePasswordItem, WritesANewPassword) {
    const Posted rows[] = {
        {"new", "new", 10, nullptr, 4, 0, "new\n"},
        {"accepted by the filter", "new", 10, no_digits, 4, 0, "new\n"},
        {"UTF-8", "\xC3\xA9\xE2\x82\xAC", 10, nullptr, 6, 0, "\xC3\xA9\xE2\x82\xAC\n"},
        {"cut at its characters", "abcdef", 3, nullptr, 4, 0, "abc\n"},
        {"equal", "old", 10, nullptr, 0, 0, "old\n"},
        {"invalid sequences are not seen",
         "\x80n\xFF"
         "ew\xC0\x80",
         10, nullptr, 4, 0, "new\n"},
        {"markup is written as posted", "<&\">", 10, nullptr, 5, 0, "<&\">\n"},
    };
    for (const Posted &row : rows)
        expect_outcome(row);
}

TEST(UpdatePasswordItem, UntouchedBulletsLeaveTheItemAlone) {
    for (const int count : {1, 3, 10, 11, 2000}) {
        for (const textbox_filter filter : {static_cast<textbox_filter>(nullptr), &refuse_all})
            expect_outcome({"bullets", bullets(count), 10, filter, 0, 0, "old\n"});
    }
    expect_outcome(
        {"and invalid sequences", "\x80" + bullets(2) + "\xFF", 10, nullptr, 0, 0, "old\n"});
}

TEST(UpdatePasswordItem, RefusedCharactersWriteNothingAndAreCounted) {
    const Posted rows[] = {
        {"one", "ab1", 10, no_digits, 0, 1, "old\n"},
        {"several", "1a2b3", 10, no_digits, 0, 3, "old\n"},
        {"all", "123", 10, no_digits, 0, 3, "old\n"},
        {"with bullets", "1" + bullets(2), 10, no_digits, 0, 1, "old\n"},
        {"all, and bullets", bullets(1) + "12", 10, no_digits, 0, 2, "old\n"},
        {"do not count against the limit", "111111abc", 3, no_digits, 0, 6, "old\n"},
        {"behind the limit", "abc111", 3, no_digits, 4, 0, "abc\n"},
    };
    for (const Posted &row : rows)
        expect_outcome(row);
}

TEST(UpdatePasswordItem, MixtureOfBulletsAndCharactersWritesNothing) {
    const Posted rows[] = {
        {"bullets first", bullets(2) + "abc", 10, nullptr, 0, 0, "old\n"},
        {"bullets last", "abc" + bullets(2), 10, nullptr, 0, 0, "old\n"},
        {"bullet between", "a" + bullets(1) + "c", 10, nullptr, 0, 0, "old\n"},
        {"bullet behind the limit is not seen", "abc" + bullets(1), 3, nullptr, 4, 0, "abc\n"},
        {"bullets do not count against the limit", bullets(3) + "ab", 2, nullptr, 0, 0, "old\n"},
    };
    for (const Posted &row : rows)
        expect_outcome(row);
}

TEST(UpdatePasswordItem, EmptyValueEmptiesTheItem) {
    expect_outcome({"empty", "", 10, nullptr, 1, 0, "\n"});
    expect_outcome({"empty, with a filter", "", 10, refuse_all, 1, 0, "\n"});
    expect_outcome({"invalid sequences only", "\x80\xFF", 10, nullptr, 1, 0, "\n"});
}

TEST(UpdatePasswordItem, ZeroCharactersLeaveTheItemAlone) {
    expect_outcome({"no character is taken", "new", 0, nullptr, 0, 0, "old\n"});
}

TEST(UpdatePasswordItem, BulletsAreNotHandedToTheFilter) {
    const ItemFile item("old\n");
    asked.clear();
    const std::string value = "a" + bullets(2) + "1b";
    update_password_item(item.dir(), item.name(), value.c_str(), 10, no_digits, nullptr);
    EXPECT_EQ(asked, (std::vector<Asked>{{0, 'a'}, {1, '1'}, {1, 'b'}}));
}

TEST(UpdatePasswordItem, WorksWithoutAPlaceForTheCount) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_password_item(item.dir(), item.name(), "1", 10, no_digits, nullptr), 0);
    EXPECT_EQ(update_password_item(item.dir(), item.name(), "new", 10, no_digits, nullptr), 4);
    EXPECT_EQ(item.content(), "new\n");
}

TEST(UpdatePasswordItem, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed) {
        const std::string content = std::string(row.encoded) + "\n";
        expect_outcome(
            {row.label, row.text, 20, nullptr, static_cast<int>(content.size()), 0, content});
    }
}

TEST(UpdatePasswordItem, CharacterThatDoesNotFitWritesNothing) {
    expect_outcome(
        {"two bytes that encode to three", "\xDF\xFF", 10, nullptr, 4, 0, "\xE0\xA0\xBF\n"});
    // Four bytes and room for five.
    expect_outcome({"twice", "\xDF\xFF\xDF\xFF", 10, nullptr, 0, 0, "old\n"});
}

TEST(UpdatePasswordItem, DoesNotTakeThreeTimesItsCharactersModulo) {
    expect_outcome({"2^32 + 2", "abcdef", 0x55555556, nullptr, 7, 0, "abcdef\n"});
    expect_outcome({"no limit", "abcdef", 0xFFFFFFFF, nullptr, 7, 0, "abcdef\n"});
}

TEST(UpdatePasswordItem, ReturnsMinusOneForNullValueOrUnreadableItem) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_password_item(item.dir(), item.name(), nullptr, 10, nullptr, nullptr), -1);
    EXPECT_FALSE(item.touched());
    const TempDir dir;
    unsigned rejected = kMark;
    EXPECT_EQ(update_password_item(dir.path(), "missing", "v", 10, nullptr, &rejected), -1);
    EXPECT_EQ(rejected, 0u);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_password_item(dir.path(), "missing", kBullet, 10, nullptr, &rejected), 0)
        << "bullets do not even ask for the item";
    EXPECT_EQ(update_password_item(nullptr, "x", "v", 10, nullptr, nullptr), -1);
}

}  // namespace
