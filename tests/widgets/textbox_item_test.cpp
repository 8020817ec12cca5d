// Text boxes bound to items.
#include <gtest/gtest.h>
#include <qmv/widgets.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/item_file.h"
#include "tests/support/malformed.h"
#include "tests/support/output.h"

namespace {

using qmv_test::ItemFile;
using qmv_test::kMalformed;
using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;

struct ReadText {
    unsigned flags;
    std::string text;
};

/// Reads into a buffer of bufsize + 1 bytes, with a guard byte behind.
ReadText read_text(const char *dir, const char *name, unsigned bufsize, unsigned maxchars,
                   unsigned flags = 0) {
    std::vector<char> buffer(bufsize + 2, '#');
    const unsigned result = rd_textbox_item(dir, name, buffer.data(), bufsize, maxchars, flags);
    EXPECT_EQ(buffer.back(), '#') << "more than bufsize + 1 bytes were written";
    buffer.back() = '\0';
    return {result, buffer.data()};
}

TEST(RdTextboxItem, ReadsTheItem) {
    const ItemFile item("value\n");
    const ReadText read = read_text(item.dir(), item.name(), 30, 10, PRINT_SIZE);
    EXPECT_EQ(read.text, "value");
    EXPECT_EQ(read.flags, unsigned{PRINT_SIZE});
}

TEST(RdTextboxItem, CutsBehindItsCharacters) {
    const ItemFile item("a\xC3\xA9\xE2\x82\xACz\n");
    const struct {
        unsigned maxchars;
        const char *text;
    } rows[] = {{0, ""},
                {1, "a"},
                {2, "a\xC3\xA9"},
                {3, "a\xC3\xA9\xE2\x82\xAC"},
                {4, "a\xC3\xA9\xE2\x82\xACz"},
                {0xFFFFFFFF, "a\xC3\xA9\xE2\x82\xACz"}};
    for (const auto &row : rows)
        EXPECT_EQ(read_text(item.dir(), item.name(), 30, row.maxchars).text, row.text)
            << row.maxchars;
}

TEST(RdTextboxItem, ReadsNoMoreBytesThanItsBuffer) {
    const ItemFile item("abcdef\n");
    EXPECT_EQ(read_text(item.dir(), item.name(), 4, 10).text, "abcd");
    EXPECT_EQ(read_text(item.dir(), item.name(), 0, 10).text, "");
    EXPECT_EQ(read_text(item.dir(), item.name(), 0, 10).flags, 0u) << "it could be read";
}

TEST(RdTextboxItem, CutsBehindTheFirstInvalidSequence) {
    for (const auto &row : kMalformed) {
        const ItemFile item(std::string(row.text) + "\n");
        const ReadText read = read_text(item.dir(), item.name(), 30, 20);
        EXPECT_EQ(read.text, row.cut) << row.label;
        EXPECT_EQ(read.flags, 0u) << row.label;
    }
}

TEST(RdTextboxItem, IsNotDisabledByAnEmptyItem) {
    const ItemFile item("");
    EXPECT_EQ(read_text(item.dir(), item.name(), 30, 10, PRINT_SIZE).flags, unsigned{PRINT_SIZE});
}

TEST(RdTextboxItem, IsDisabledWhenTheItemCannotBeRead) {
    const TempDir dir;
    const struct {
        const char *label;
        const char *dir;
        const char *name;
    } rows[] = {{"missing", dir.path(), "missing"},
                {"directory", "", dir.path()},
                {"null directory", nullptr, "x"},
                {"null name", dir.path(), nullptr}};
    for (const auto &row : rows) {
        const ReadText read = read_text(row.dir, row.name, 30, 10, PRINT_SIZE);
        EXPECT_EQ(read.flags, unsigned{PRINT_SIZE | PRINT_DISABLED}) << row.label;
        EXPECT_EQ(read.text, "") << row.label;
    }
}

TEST(RdTextboxItem, IsDisabledWithoutABuffer) {
    const ItemFile item("value\n");
    EXPECT_EQ(rd_textbox_item(item.dir(), item.name(), nullptr, 30, 10, PRINT_SIZE),
              unsigned{PRINT_SIZE | PRINT_DISABLED});
}

TEST(RdTextboxItem, KeepsPrintDisabledOfTheCaller) {
    const ItemFile item("value\n");
    const ReadText read = read_text(item.dir(), item.name(), 30, 10, PRINT_DISABLED);
    EXPECT_EQ(read.flags, unsigned{PRINT_DISABLED});
    EXPECT_EQ(read.text, "value");
}

TEST(GenXtextboxItem, PrintsTheItem) {
    const ItemFile item("a<b\n");
    unsigned flags = 0;
    EXPECT_EQ(printed([&] {
                  flags = gen_xtextbox_item(item.dir(), item.name(), 8, PRINT_SIZE, " name=\"%s\"",
                                            "host");
              }),
              "<input type=\"text\" size=\"8\" maxlength=\"8\" value=\"a&lt;b\" name=\"host\">");
    EXPECT_EQ(flags, unsigned{PRINT_SIZE});
}

TEST(GenXtextboxItem, CutsTheItemAtItsCharacters) {
    const ItemFile item("\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC\n");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 2, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"2\" value=\"&#8364;&#8364;\">");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 3, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"3\" value=\"&#8364;&#8364;&#8364;\">");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 0, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"0\" value=\"\">");
}

TEST(GenXtextboxItem, PrintsLongItemsWhole) {
    std::string value;
    std::string escaped;
    for (int i = 0; i < 3000; ++i) {
        value += "\xE2\x82\xAC";
        escaped += "&#8364;";
    }
    const ItemFile item(value + "\n");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 3000, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"3000\" value=\"" + escaped + "\">");
}

TEST(GenXtextboxItem, IsDisabledAndEmptyWhenTheItemIsMissing) {
    const TempDir dir;
    unsigned flags = 0;
    EXPECT_EQ(printed([&] { flags = gen_xtextbox_item(dir.path(), "missing", 8, 0, " a"); }),
              "<input type=\"text\" maxlength=\"8\" value=\"\" a disabled>");
    EXPECT_EQ(flags, unsigned{PRINT_DISABLED});
}

TEST(GenXtextboxItem, MissingPasswordShowsItsSizeInBullets) {
    const TempDir dir;
    EXPECT_EQ(printed([&] {
                  gen_xtextbox_item(dir.path(), "missing", 2, PRINT_PASSWORD | PRINT_DATA_VALUE,
                                    nullptr);
              }),
              "<input type=\"password\" maxlength=\"2\" value=\"&#8226;&#8226;\" data-value=\"\""
              " disabled>");
}

TEST(GenXtextboxItem, InvalidItemEndsAtItsFirstInvalidSequence) {
    for (const auto &row : kMalformed) {
        const ItemFile item(std::string(row.text) + "\n");
        EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 20, 0, nullptr); }),
                  "<input type=\"text\" maxlength=\"20\" value=\"" + std::string(row.escaped_head) +
                      "\">")
            << row.label;
    }
}

TEST(GenJsonText, PrintsOneMember) {
    const struct {
        const char *label;
        const char *value;
        unsigned flags;
        const char *text;
        unsigned result;
    } rows[] = {
        {"first", "v", 0, "\"x\": \"v\"", PRINT_JSON_COMMA},
        {"following", "v", PRINT_JSON_COMMA, ", \"x\": \"v\"", PRINT_JSON_COMMA},
        {"empty", "", 0, "\"x\": \"\"", PRINT_JSON_COMMA},
        {"null", nullptr, 0, "\"x\": null", PRINT_JSON_COMMA | PRINT_DISABLED},
        {"null, following", nullptr, PRINT_JSON_COMMA, ", \"x\": null",
         PRINT_JSON_COMMA | PRINT_DISABLED},
        {"disabled", "v", PRINT_DISABLED, "\"x\": null", PRINT_JSON_COMMA | PRINT_DISABLED},
        {"other flags stay", "v", PRINT_SIZE | PRINT_RAW, "\"x\": \"v\"",
         PRINT_SIZE | PRINT_RAW | PRINT_JSON_COMMA},
        {"UTF-8", "\xC3\xA9\xFF", 0, "\"x\": \"\xC3\xA9\xFF\"", PRINT_JSON_COMMA},
    };
    for (const auto &row : rows) {
        unsigned result = 0;
        EXPECT_EQ(printed([&] { result = gen_json_text(row.value, "x", row.flags); }), row.text)
            << row.label;
        EXPECT_EQ(result, row.result) << row.label;
    }
}

TEST(GenJsonText, EscapesNeitherNameNorValue) {
    EXPECT_EQ(printed([] { gen_json_text("a\"b\\c\n<%s>", "n\"<%d>", 0); }),
              "\"n\"<%d>\": \"a\"b\\c\n<%s>\"");
}

TEST(GenJsonText, PrintsNothingWithoutAName) {
    for (const char *value : {"v", static_cast<const char *>(nullptr)}) {
        unsigned result = 0;
        EXPECT_EQ(printed([&] { result = gen_json_text(value, nullptr, PRINT_JSON_COMMA | 0x10); }),
                  "");
        EXPECT_EQ(result, unsigned{PRINT_JSON_COMMA | 0x10});
        EXPECT_EQ(gen_json_text(value, nullptr, 0), 0u);
    }
}

TEST(GenJsonText, ThreadsTheCommaFromMemberToMember) {
    EXPECT_EQ(printed([] {
                  unsigned flags = gen_json_text("1", "a", 0);
                  flags = gen_json_text("2", nullptr, flags);
                  flags = gen_json_text("3", "c", flags);
                  flags = gen_json_text(nullptr, "d", flags);
                  gen_json_text("5", "e", flags);
              }),
              "\"a\": \"1\", \"c\": \"3\", \"d\": null, \"e\": null");
}

TEST(GenJsonTextItem, PrintsTheItem) {
    const ItemFile item("a\xC3\xA9z\n");
    unsigned flags = 0;
    EXPECT_EQ(printed([&] {
                  flags = gen_json_text_item(item.dir(), item.name(), 2, "x", PRINT_JSON_COMMA);
              }),
              ", \"x\": \"a\xC3\xA9\"");
    EXPECT_EQ(flags, unsigned{PRINT_JSON_COMMA});
}

TEST(GenJsonTextItem, PrintsAnEmptyItemAsEmptyText) {
    const ItemFile item("\n");
    unsigned flags = 0;
    EXPECT_EQ(printed([&] { flags = gen_json_text_item(item.dir(), item.name(), 9, "x", 0); }),
              "\"x\": \"\"");
    EXPECT_EQ(flags, unsigned{PRINT_JSON_COMMA});
}

TEST(GenJsonTextItem, PrintsNullWhenTheItemIsMissing) {
    const TempDir dir;
    unsigned flags = 0;
    EXPECT_EQ(printed([&] { flags = gen_json_text_item(dir.path(), "missing", 9, "x", 0); }),
              "\"x\": null");
    EXPECT_EQ(flags, unsigned{PRINT_JSON_COMMA | PRINT_DISABLED});
}

TEST(GenJsonTextItem, PrintsNothingWithoutAName) {
    const TempDir dir;
    unsigned flags = 0;
    EXPECT_EQ(printed([&] { flags = gen_json_text_item(dir.path(), "missing", 9, nullptr, 0x10); }),
              "");
    EXPECT_EQ(flags, unsigned{PRINT_DISABLED | 0x10});
}

TEST(GenTextItem, PrintsTheItemEscapedWithoutATag) {
    const ItemFile item("<\xC3\xA9>\nmore\n");
    EXPECT_TRUE(prints("&lt;&eacute;&gt;", 4, [&] {
        return gen_text_item(item.dir(), item.name());
    })) << "the result counts bytes of the item";
}

TEST(GenTextItem, PrintsNothingForAnEmptyOrMissingItem) {
    const ItemFile item("\n");
    EXPECT_TRUE(prints("", 0, [&] { return gen_text_item(item.dir(), item.name()); }));
    EXPECT_TRUE(prints("", -1, [&] { return gen_text_item(item.dir(), "missing"); }));
    EXPECT_TRUE(prints("", -1, [&] { return gen_text_item("", item.dir()); })) << "a directory";
    EXPECT_TRUE(prints("", -1, [&] { return gen_text_item(nullptr, "x"); }));
    EXPECT_TRUE(prints("", -1, [&] { return gen_text_item(item.dir(), nullptr); }));
}

TEST(GenTextItem, ReadsAPageLessOneByteAtMost) {
    const auto limit = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE)) - 1;
    const ItemFile fits(std::string(limit, 'p'));
    EXPECT_TRUE(
        prints(std::string(limit, 'p'), [&] { return gen_text_item(fits.dir(), fits.name()); }));
    const ItemFile longer(std::string(limit + 1, 'p'));
    EXPECT_TRUE(prints(std::string(limit, 'p'),
                       [&] { return gen_text_item(longer.dir(), longer.name()); }));
}

TEST(GenTextItem, LeavesOutInvalidSequencesAndGoesOn) {
    for (const auto &row : kMalformed) {
        const std::string text = row.text;
        const ItemFile item(text + "\n");
        EXPECT_TRUE(prints(row.escaped, static_cast<int>(text.size()), [&] {
            return gen_text_item(item.dir(), item.name());
        })) << row.label;
    }
}

TEST(TextboxItems, LeaveNoDescriptorOpen) {
    const ItemFile item("value\n");
    const int before = open_descriptors();
    for (const char *name : {"item", "missing", ""}) {
        printed([&] {
            gen_xtextbox_item(item.dir(), name, 8, 0, nullptr);
            gen_json_text_item(item.dir(), name, 8, "x", 0);
            gen_text_item(item.dir(), name);
        });
    }
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_ALLOCATION

TEST(GenXtextboxItem, IsDisabledWithoutMemory) {
    const ItemFile item("value\n");
    unsigned flags = 0;
    int failed = 0;
    EXPECT_EQ(printed([&] {
                  const qmv_test::AllocationFailure fake(0);
                  flags = gen_xtextbox_item(item.dir(), item.name(), 5000, 0, nullptr);
                  failed = fake.failed();
              }),
              "<input type=\"text\" maxlength=\"5000\" value=\"\" disabled>");
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(flags, unsigned{PRINT_DISABLED});
}

TEST(GenJsonTextItem, PrintsNullWithoutMemory) {
    const ItemFile item("value\n");
    unsigned flags = 0;
    EXPECT_EQ(printed([&] {
                  const qmv_test::AllocationFailure fake(0);
                  flags = gen_json_text_item(item.dir(), item.name(), 5000, "x", 0);
              }),
              "\"x\": null");
    EXPECT_EQ(flags, unsigned{PRINT_JSON_COMMA | PRINT_DISABLED});
}

TEST(GenXtextboxItem, DoesNotTakeThreeTimesItsCharactersModulo) {
    // Three times this is 2^32 + 2.
    constexpr unsigned kMaxChars = 0x55555556;
    // Volatile: the compiler must not refuse it where no object can be as large.
    const volatile std::size_t size = std::size_t{1} << 31;
    void *const probe = std::malloc(size);
    std::free(probe);
    if (probe == nullptr)
        GTEST_SKIP() << "no memory for a text of this length";
    const ItemFile item("value\n");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), kMaxChars, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"1431655766\" value=\"value\">");
    EXPECT_EQ(printed([&] { gen_xtextbox_item(item.dir(), item.name(), 0xFFFFFFFF, 0, nullptr); }),
              "<input type=\"text\" maxlength=\"2147483647\" value=\"value\">");
}

#endif

}  // namespace
