// Writing the posted values of text boxes.
#include <gtest/gtest.h>
#include <qmv/widgets.h>

#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/malformed.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::kMalformed;
using qmv_test::open_descriptors;
using qmv_test::TempDir;

constexpr const char *kBullet = "\xE2\x80\xA2";

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

int no_leading_blank(unsigned pos, unsigned ch) {
    return pos != 0 || ch != ' ' ? 1 : 0;
}

int refuse_all(unsigned, unsigned) {
    return 0;
}

TEST(UpdateTextbox, WritesTheValueUnchanged) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox(item.dir(), item.name(), "new\x80\n", 10), 6);
    EXPECT_EQ(item.content(), "new\x80\n\n");
    EXPECT_TRUE(item.same_file());
}

TEST(UpdateTextbox, LeavesFileAloneWhenEqual) {
    const ItemFile item("same\n");
    EXPECT_EQ(update_textbox(item.dir(), item.name(), "same", 10), 0);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateTextbox, WritesThreeBytesForEachCharacterAtMost) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox(item.dir(), item.name(), "abcdefgh", 2), 7);
    EXPECT_EQ(item.content(), "abcdef\n");
    EXPECT_EQ(update_textbox(item.dir(), item.name(), "abcdefxy", 2), 0)
        << "bytes behind the limit do not count";
}

TEST(UpdateTextbox, DoesNotTakeThreeTimesItsCharactersModulo) {
    // Three times the first is 2^32 + 2, three times the second 2^32 - 1.
    for (const unsigned maxchars : {0x55555556u, 0x55555555u, 0x2AAAAAABu, 0xFFFFFFFFu}) {
        const ItemFile item("old\n");
        EXPECT_EQ(update_textbox(item.dir(), item.name(), "abcdef", maxchars), 7) << maxchars;
        EXPECT_EQ(item.content(), "abcdef\n") << maxchars;
    }
}

TEST(UpdateTextbox, ReturnsTheItemWritersFailures) {
    const TempDir dir;
    EXPECT_EQ(update_textbox(dir.path(), "missing", "v", 10), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_textbox(nullptr, "x", "v", 10), -1);
    EXPECT_EQ(update_textbox(dir.path(), nullptr, "v", 10), -1);
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox(item.dir(), item.name(), nullptr, 10), -1);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateTextboxItem, WritesAcceptedCharacters) {
    const struct {
        const char *label;
        const char *value;
        unsigned maxchars;
        textbox_filter filter;
        std::string content;
    } rows[] = {
        {"whole", "new", 10, nullptr, "new\n"},
        {"cut at its characters", "abcdef", 3, nullptr, "abc\n"},
        {"characters and not bytes", "\xC3\xA9\xE2\x82\xACz", 2, nullptr, "\xC3\xA9\xE2\x82\xAC\n"},
        {"refused characters are dropped", "a1b2c3", 10, no_digits, "abc\n"},
        {"refused characters do not count", "a1b2c3", 2, no_digits, "ab\n"},
        {"filter sees the position", "   a b ", 10, no_leading_blank, "a b \n"},
        {"nothing accepted", "abc", 10, refuse_all, "\n"},
        {"empty", "", 10, nullptr, "\n"},
        {"invalid sequences only", "\x80\xFF", 10, nullptr, "\n"},
        {"invalid sequences do not count", "\x80\x80xyz", 2, nullptr, "xy\n"},
        {"control characters stay", "a\nb", 10, nullptr, "a\nb\n"},
        {"bullets stay", "\xE2\x80\xA2z", 10, nullptr, "\xE2\x80\xA2z\n"},
        {"no limit", "abcdef", 0xFFFFFFFF, nullptr, "abcdef\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item("old\n");
        EXPECT_EQ(update_textbox_item(item.dir(), item.name(), row.value, row.maxchars, row.filter),
                  static_cast<int>(row.content.size()))
            << row.label;
        EXPECT_EQ(item.content(), row.content) << row.label;
    }
}

TEST(UpdateTextboxItem, LeavesFileAloneWhenEqualOnceFiltered) {
    const ItemFile item("abc\n");
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), "1a2b3c", 10, no_digits), 0);
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), "abcdef", 3, nullptr), 0);
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), "abc\x80", 10, nullptr), 0);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateTextboxItem, KeepsNothingOfAValueForZeroCharacters) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), "new", 0, nullptr), 0);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateTextboxItem, TellsTheFilterBytesKeptSoFarAndCharacter) {
    const ItemFile item("old\n");
    asked.clear();
    update_textbox_item(item.dir(), item.name(),
                        "1\xC3\xA9\x80\xE2\x82\xAC"
                        "2z",
                        10, no_digits);
    EXPECT_EQ(asked, (std::vector<Asked>{{0, '1'}, {0, 0xE9}, {2, 0x20AC}, {5, '2'}, {5, 'z'}}));
}

TEST(UpdateTextboxItem, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed) {
        const ItemFile item("old\n");
        update_textbox_item(item.dir(), item.name(), row.text, 20, nullptr);
        EXPECT_EQ(item.content(), std::string(row.encoded) + "\n") << row.label;
    }
}

TEST(UpdateTextboxItem, HasRoomForOneByteMoreThanWasPosted) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), "\xDF\xFF", 10, nullptr), 4);
    EXPECT_EQ(item.content(), "\xE0\xA0\xBF\n");
}

TEST(UpdateTextboxItem, DropsWhatDoesNotFitAndGoesOn) {
    const std::string grows = "\xDF\xFF";
    const std::string grown = "\xE0\xA0\xBF";
    const struct {
        const char *label;
        std::string value;
        std::string content;
    } rows[] = {
        {"room for five", grows + grows, grown + "\n"},
        {"room for six", grows + grows + "z", grown + grown + "\n"},
        {"room for eight: the third does not fit, what follows does", grows + grows + grows + "z",
         grown + grown + "z\n"},
        {"room for ten", grows + grows + grows + "abc", grown + grown + grown + "a\n"},
    };
    for (const auto &row : rows) {
        const ItemFile item("old\n");
        EXPECT_EQ(update_textbox_item(item.dir(), item.name(), row.value.c_str(), 10, nullptr),
                  static_cast<int>(row.content.size()))
            << row.label;
        EXPECT_EQ(item.content(), row.content) << row.label;
    }
}

TEST(UpdateTextboxItem, KeepsToItsMemoryWhereALongValueGrows) {
    const struct {
        const char *label;
        const char *tail;
        int grown;  ///< characters of three bytes that fit
        const char *kept;
    } rows[] = {
        {"room for 6001", "", 2000, ""},
        {"room for 6002", "z", 2000, "z"},
        {"room for 6003, all of it used", "zz", 2001, ""},
    };
    for (const auto &row : rows) {
        std::string value;
        std::string content;
        for (int i = 0; i < 3000; ++i)
            value += "\xDF\xFF";
        for (int i = 0; i < row.grown; ++i)
            content += "\xE0\xA0\xBF";
        value += row.tail;
        content += std::string(row.kept) + "\n";
        const ItemFile item("old\n");
        EXPECT_EQ(update_textbox_item(item.dir(), item.name(), value.c_str(), 9000, nullptr),
                  static_cast<int>(content.size()))
            << row.label;
        EXPECT_EQ(item.content(), content) << row.label;
    }
}

TEST(UpdateTextboxItem, TakesValuesOfAnyLength) {
    for (const std::size_t length : {4093u, 4094u, 4095u, 4096u, 100000u}) {
        const ItemFile item("old\n");
        const std::string value(length, 'v');
        EXPECT_EQ(update_textbox_item(item.dir(), item.name(), value.c_str(), 0xFFFFFFFF, nullptr),
                  static_cast<int>(length) + 1);
        EXPECT_EQ(item.content(), value + "\n") << length;
    }
}

TEST(UpdateTextboxItem, ReturnsMinusOneForNullValueOrUnreadableItem) {
    const ItemFile item("old\n");
    EXPECT_EQ(update_textbox_item(item.dir(), item.name(), nullptr, 10, nullptr), -1);
    EXPECT_FALSE(item.touched());
    const TempDir dir;
    EXPECT_EQ(update_textbox_item(dir.path(), "missing", "v", 10, nullptr), -1);
    EXPECT_FALSE(dir.exists("missing"));
    EXPECT_EQ(update_textbox_item("", dir.path(), "v", 10, nullptr), -1) << "a directory";
    EXPECT_EQ(update_textbox_item(nullptr, "x", "v", 10, nullptr), -1);
}

TEST(TextboxWriters, LeaveNoDescriptorOpen) {
    const ItemFile item("old\n");
    const int before = open_descriptors();
    for (const char *name : {"item", "missing", ""}) {
        update_textbox(item.dir(), name, "a", 5);
        update_textbox_item(item.dir(), name, "b", 5, nullptr);
        update_password_item(item.dir(), name, "c", 5, nullptr, nullptr);
        update_password_item(item.dir(), name, kBullet, 5, nullptr, nullptr);
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(TextboxWriters, PrintNothing) {
    const ItemFile item("old\n");
    const auto calls = [&] {
        update_textbox_item(item.dir(), "missing", "b", 5, nullptr);
        update_password_item(item.dir(), item.name(), "c1", 5, no_digits, nullptr);
    };
    EXPECT_EQ(qmv_test::printed(calls), "");
    EXPECT_EQ(qmv_test::printed_error(calls), "");
}

#if QMV_FAKE_ALLOCATION

TEST(TextboxWriters, LeaveTheItemAloneWithoutMemory) {
    const std::string value(5000, 'v');
    const ItemFile item("old\n");
    int text = 0;
    int password = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        text = update_textbox_item(item.dir(), item.name(), value.c_str(), 5000, nullptr);
        password =
            update_password_item(item.dir(), item.name(), value.c_str(), 5000, nullptr, nullptr);
        failed = fake.failed();
    }
    EXPECT_GE(failed, 2);
    EXPECT_EQ(text, -1);
    EXPECT_EQ(password, -1);
    EXPECT_FALSE(item.touched());
}

#endif

}  // namespace
