// Variables of the boot loader environment.
#include <gtest/gtest.h>
#include <qmv/system.h>

#include <iterator>
#include <string>

#include "tests/support/boot_environment.h"
#include "tests/support/fenced_text.h"
#include "tests/support/io.h"

namespace {

using qmv_test::BootEnvironment;
using qmv_test::FencedText;
using qmv_test::text;

struct Row {
    const char *label;
    std::string area;
    const char *name;
    const char *value;  ///< null: there is none
};

std::string shown(const char *value) {
    return value != nullptr ? '"' + std::string(value) + '"' : "null";
}

/// Looks a variable up in a new environment. The name ends directly before an unreadable page.
std::string value_of(const std::string &area, const std::string &name) {
    const FencedText fenced(name + '\0');
    BootEnvironment environment;
    EXPECT_EQ(environment.read(qmv_test::image(area)), 0);
    return shown(uboot_getenv(fenced.get()));
}

template <std::size_t N>
void expect_values(const Row (&rows)[N]) {
    for (const Row &row : rows)
        EXPECT_EQ(value_of(row.area, row.name), shown(row.value)) << row.label;
}

}  // namespace

TEST(UbootGetenv, FindsEveryEntry) {
    const std::string area = text("a=1\0bb=2\0long_name=with blanks, =\0last=z\0\0");
    expect_values({
        {"first", area, "a", "1"},
        {"second", area, "bb", "2"},
        {"third", area, "long_name", "with blanks, ="},
        {"last", area, "last", "z"},
        {"none of them", area, "c", nullptr},
        {"a value", area, "1", nullptr},
    });
}

TEST(UbootGetenv, PointsIntoTheLoadedBlock) {
    BootEnvironment environment;
    ASSERT_EQ(environment.read(qmv_test::image(text("a=1\0bb=2\0\0"))), 0);
    const char *const a = uboot_getenv("a");
    ASSERT_NE(a, nullptr);
    EXPECT_EQ(uboot_getenv("a"), a) << "the same each time";
    EXPECT_EQ(uboot_getenv("bb"), a + 5);
}

TEST(UbootGetenv, ComparesWholeNames) {
    const std::string area = text("bb=2\0abc=3\0ab=4\0ABC=5\0\0");
    expect_values({
        {"beginning of a name", area, "b", nullptr},
        {"beginning of one that is there as well", area, "ab", "4"},
        {"longer than a name", area, "bbb", nullptr},
        {"end of a name", area, "bc", nullptr},
        {"other case", area, "ABC", "5"},
        {"other case, absent", area, "Abc", nullptr},
        {"blank behind it", area, "bb ", nullptr},
    });
}

TEST(UbootGetenv, GivesTheFirstOfEqualNames) {
    expect_values({{"twice", text("a=1\0a=2\0\0"), "a", "1"},
                   {"behind another", text("b=0\0a=1\0a=2\0\0"), "a", "1"}});
}

TEST(UbootGetenv, GivesEmptyValues) {
    expect_values({{"last", text("a=\0\0"), "a", ""},
                   {"before another", text("a=\0b=1\0\0"), "a", ""},
                   {"the one behind it", text("a=\0b=1\0\0"), "b", "1"}});
}

TEST(UbootGetenv, TakesANameThatEndsInAnEqualsSign) {
    const std::string area = text("a=1\0bb=2\0c==3\0\0");
    expect_values({
        {"first", area, "a=", "1"},
        {"second", area, "bb=", "2"},
        {"beginning of a name", area, "b=", nullptr},
        {"no such name", area, "x=", nullptr},
        {"two signs", area, "c", "=3"},
        {"two signs, asked with one", area, "c=", "=3"},
    });
}

TEST(UbootGetenv, StopsComparingBehindACommonEqualsSign) {
    const std::string area = text("a=1\0b=x=2\0\0");
    expect_values({{"another value", area, "a=9", "1"},
                   {"the same value", area, "a=1", "1"},
                   {"a value that holds the sign", area, "b=x", "x=2"}});
}

TEST(UbootGetenv, FindsAnEmptyNameBeforeAnEqualsSignOnly) {
    expect_values({{"no such entry", text("a=1\0bb=2\0\0"), "", nullptr},
                   {"first entry", text("=1\0bb=2\0\0"), "", "1"},
                   {"second entry", text("a=1\0=2\0\0"), "", "2"},
                   {"a sign alone", text("a=1\0=2\0\0"), "=", "2"},
                   {"a sign alone, no such entry", text("a=1\0\0"), "=", nullptr}});
}

TEST(UbootGetenv, SkipsEntriesWithoutEqualsSign) {
    const std::string area = text("noise\0a=1\0tail\0\0");
    expect_values({
        {"its whole text", area, "noise", nullptr},
        {"its beginning", area, "noi", nullptr},
        {"a longer name", area, "noise2", nullptr},
        {"its text and a sign", area, "noise=", nullptr},
        {"an empty name", area, "", nullptr},
        {"the entry behind it", area, "a", "1"},
        {"the last one", area, "tail", nullptr},
        {"both around the NUL", area, "noisea", nullptr},
    });
}

TEST(UbootGetenv, EndsAtAnEmptyEntry) {
    const std::string area = text("a=1\0\0zz=9\0\0");
    expect_values({{"before it", area, "a", "1"},
                   {"behind it", area, "zz", nullptr},
                   {"an empty name", area, "", nullptr}});
}

TEST(UbootGetenv, FindsNothingWhenTheFirstEntryIsEmpty) {
    expect_values({{"entries behind it", text("\0a=1\0\0"), "a", nullptr},
                   {"nothing but zeros", text("\0\0\0\0\0\0"), "a", nullptr},
                   {"nothing but zeros, empty name", text("\0\0\0\0\0\0"), "", nullptr},
                   {"one byte", text("\0"), "", nullptr}});
}

TEST(UbootGetenv, FindsNothingInAndBehindALastEntryWithoutTerminator) {
    const std::string area = text("a=1\0bb=2");
    expect_values({
        {"the one before it", area, "a", "1"},
        {"the last one itself", area, "bb", nullptr},
        {"a name that is not there", area, "c", nullptr},
        {"the only one", "a=1", "a", nullptr},
        {"one that ends in the sign", "a=", "a", nullptr},
        {"one without sign", "aaaa", "aaaa", nullptr},
        {"one without sign, a longer name", "aaaa", "aaaaa", nullptr},
        {"nothing but filler", std::string(100, '\xFF'), "a", nullptr},
    });
}

TEST(UbootGetenv, FindsNothingBehindAListThatEndsWithThePartition) {
    const std::string area = text("a=1\0bb=2\0");
    expect_values(
        {{"last entry", area, "bb", "2"}, {"a name that is not there", area, "c", nullptr}});
}

TEST(UbootGetenv, FindsNamesOfAnyBytes) {
    const std::string area = text("\xC3\xA4=1\0\xFF=2\0 =3\0\n=4\0\0");
    expect_values({{"UTF-8", area, "\xC3\xA4", "1"},
                   {"0xFF", area, "\xFF", "2"},
                   {"blank", area, " ", "3"},
                   {"newline", area, "\n", "4"}});
}

TEST(UbootGetenv, ReturnsNullForNullName) {
    BootEnvironment environment;
    ASSERT_EQ(environment.read(qmv_test::image(text("a=1\0=2\0\0"))), 0);
    EXPECT_EQ(uboot_getenv(nullptr), nullptr);
}
