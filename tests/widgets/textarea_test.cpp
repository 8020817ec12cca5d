// Text areas: printing, carriage returns, the file behind one.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/widgets.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ostream>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/fakes/descriptor.h"
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

constexpr int kClosingLength = 11;  // of "</textarea>"

// Three bytes each.
constexpr const char *kEuro = "\xE2\x82\xAC";
constexpr const char *kEuros = "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC";

/* ---- Printing ---- */

TEST(GenTextarea, PrintsWholeElements) {
    const struct {
        const char *label;
        const char *text;
        unsigned flags;
        const char *element;
    } rows[] = {
        {"plain", "abc", 0, "<textarea>abc</textarea>"},
        {"empty", "", 0, "<textarea></textarea>"},
        {"no text", nullptr, 0, "<textarea></textarea>"},
        {"escaped", "</textarea>\"&'", 0, "<textarea>&lt;/textarea&gt;&quot;&amp;'</textarea>"},
        {"line ends stay", "a\nb\r\nc\n", 0, "<textarea>a\nb\r\nc\n</textarea>"},
        {"characters as entities", "\xC3\xA9\xE2\x82\xAC", 0,
         "<textarea>&eacute;&#8364;</textarea>"},
        {"percent signs", "%s%n", 0, "<textarea>%s%n</textarea>"},
        {"disabled shows its text", "abc", 0x1, "<textarea disabled>abc</textarea>"},
        {"read-only", "abc", 0x4, "<textarea readonly>abc</textarea>"},
        {"flags of other widgets", "abc", 0x10 | 0x20 | 0x40 | 0x200 | 0x4000 | 0x40000 | 0x80000,
         "<textarea>abc</textarea>"},
        {"all flags", "a", 0xFFFFFFFF,
         "<textarea checked disabled readonly selected style=\"display: none;\""
         " style=\"visibility: hidden;\" autocomplete=\"default\">a</textarea>"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.element, kClosingLength, [&] {
            return gen_textarea(row.text, row.flags, nullptr);
        })) << row.label;
}

TEST(GenTextarea, PutsTheCallersAttributesRawInFrontOfTheFlags) {
    EXPECT_TRUE(prints(
        "<textarea name=\"a<b\"\" rows=\"5\" disabled>&lt;</textarea>", kClosingLength,
        [] { return gen_textarea("<", PRINT_DISABLED, " name=\"%s\" rows=\"%d\"", "a<b\"", 5); }));
}

TEST(GenTextarea, LeavesOutInvalidSequences) {
    for (const auto &row : kMalformed)
        EXPECT_EQ(printed([&] { gen_textarea(row.text, 0, nullptr); }),
                  "<textarea>" + std::string(row.escaped) + "</textarea>")
            << row.label;
}

/* ---- Carriage returns ---- */

struct UnixText {
    const char *label;
    const char *posted;
    const char *kept;
};

constexpr UnixText kUnixTexts[] = {
    {"two lines with CR LF", "one\r\ntwo\r\n", "one\ntwo\n"},
    {"empty", "", ""},
    {"none", "one\ntwo", "one\ntwo"},
    {"only carriage returns", "\r\r\r", ""},
    {"one alone counts, too", "a\rb", "ab"},
    {"at both ends", "\rab\r", "ab"},
    {"several in a row", "a\r\r\nb", "a\nb"},
    {"other control characters stay", "a\t\v\f\x1B\x7F", "a\t\v\f\x1B\x7F"},
    {"UTF-8 and invalid bytes stay", "\xC3\xA9\r\x80\xFF\x8D", "\xC3\xA9\x80\xFF\x8D"},
};

TEST(TextareaToUnix, LeavesOutEveryCarriageReturn) {
    for (const UnixText &row : kUnixTexts) {
        const std::string kept = row.kept;
        std::string buffer(std::string(row.posted).size() + 8, '#');
        EXPECT_EQ(textarea_to_unix(buffer.data(), row.posted), buffer.data()) << row.label;
        EXPECT_STREQ(buffer.c_str(), row.kept) << row.label;
        EXPECT_EQ(buffer.find_first_not_of('#', kept.size() + 1), std::string::npos)
            << row.label << ": wrote behind the terminator";
    }
}

TEST(TextareaToUnix, WorksInPlace) {
    for (const UnixText &row : kUnixTexts) {
        std::string buffer = row.posted;
        EXPECT_EQ(textarea_to_unix(buffer.data(), buffer.data()), buffer.data()) << row.label;
        EXPECT_STREQ(buffer.c_str(), row.kept) << row.label;
    }
}

TEST(TextareaToUnix, LeavesTheSourceAlone) {
    const std::string posted = "a\r\nb\r\n";
    std::string source = posted;
    char buffer[8];
    textarea_to_unix(buffer, source.data());
    EXPECT_EQ(source, posted);
}

TEST(TextareaToUnix, NullArgumentGivesNull) {
    char buffer[] = "a\r";
    EXPECT_EQ(textarea_to_unix(nullptr, "a"), nullptr);
    EXPECT_EQ(textarea_to_unix(buffer, nullptr), nullptr);
    EXPECT_STREQ(buffer, "a\r");
}

/* ---- Reading ---- */

/// What get_textarea_file() returned and stored.
struct Got {
    int result;
    bool stored;
    std::string text;

    bool operator==(const Got &) const = default;
};

void PrintTo(const Got &got, std::ostream *out) {
    *out << got.result << (got.stored ? " \"" + got.text + '"' : " nothing stored");
}

Got get(const char *dir, const char *name, unsigned maxchars) {
    char mark[] = "mark";
    char *out = mark;
    Got got{};
    got.result = get_textarea_file(&out, dir, name, maxchars);
    got.stored = out != mark;
    if (got.stored && out != nullptr) {
        got.text = out;
        std::free(out);
    }
    return got;
}

TEST(GetTextareaFile, ReadsAWholeFile) {
    const struct {
        const char *label;
        std::string content;
        unsigned maxchars;
        int result;
        std::string text;
    } rows[] = {
        {"lines stay as they are", "one\r\ntwo\n\n", 20, 61, "one\r\ntwo\n\n"},
        {"empty file", "", 20, 61, ""},
        {"shorter than the limit", "ab", 3, 10, "ab"},
        {"as long as the limit", "abc", 3, 10, "abc"},
        {"one character more is cut", "abcd", 3, 10, "abc"},
        {"more than three bytes for each is cut", "abcdefghijklm", 3, 10, "abc"},
        {"characters of three bytes fill the limit", kEuros, 3, 10, kEuros},
        {"and one more is cut", std::string(kEuros) + "z", 3, 10, kEuros},
        {"half a character read behind the limit is cut", std::string("a") + kEuros, 2, 7,
         std::string("a") + kEuro},
        {"characters and not bytes", "\xC3\xA9\xC3\xA9\xC3\xA9z", 3, 10,
         "\xC3\xA9\xC3\xA9\xC3\xA9"},
        {"ends in half a character", "ab\xE2\x82", 20, 61, "ab\xE2\x82"},
        {"ends in the first byte of one", "ab\xC3", 20, 61, "ab\xC3"},
        {"ends at a NUL byte", qmv_test::text("ab\0cd"), 20, 61, "ab"},
        {"no character", "abc", 0, 1, ""},
        {"one character", "abc", 1, 4, "a"},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_EQ(get(item.dir(), item.name(), row.maxchars), (Got{row.result, true, row.text}))
            << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
    }
}

TEST(GetTextareaFile, CutsBehindTheFirstInvalidSequence) {
    for (const auto &row : kMalformed) {
        const ItemFile item(row.text);
        EXPECT_EQ(get(item.dir(), item.name(), 20), (Got{61, true, row.cut})) << row.label;
    }
}

TEST(GetTextareaFile, ReadsLargeFiles) {
    const std::string lines(100000, 'l');
    const ItemFile item(lines);
    EXPECT_EQ(get(item.dir(), item.name(), 100000), (Got{300001, true, lines}));
    EXPECT_EQ(get(item.dir(), item.name(), 40000), (Got{120001, true, lines.substr(0, 40000)}));
}

TEST(GetTextareaFile, DoesNotTakeThreeTimesItsCharactersModulo) {
    // Three times the first is 2^32 + 2, three times the last 2^32 - 3.
    const ItemFile item("abcdef");
    for (const unsigned maxchars : {0x55555556u, 0xFFFFFFFFu, 0x2AAAAAABu, 0x55555554u}) {
        const Got got = get(item.dir(), item.name(), maxchars);
        if (got.result == -1)  // There may be no memory for it.
            continue;
        EXPECT_EQ(got, (Got{INT_MAX, true, "abcdef"})) << maxchars;
    }
}

TEST(GetTextareaFile, MissingFileGivesZeroAndAnEmptyTextToFree) {
    const TempDir dir;
    EXPECT_EQ(get(dir.path(), "missing", 20), (Got{0, true, ""}));
    EXPECT_EQ(get(dir.path(), "missing", 0), (Got{0, true, ""}));
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(GetTextareaFile, FileThatOpensButCannotBeReadGivesAnEmptyTextAndItsSize) {
    const TempDir dir;
    EXPECT_EQ(get("", dir.path(), 20), (Got{61, true, ""})) << "a directory";
}

TEST(GetTextareaFile, NullArgumentGivesMinusOneAndStoresNothing) {
    const ItemFile item("abc");
    EXPECT_EQ(get_textarea_file(nullptr, item.dir(), item.name(), 20), -1);
    EXPECT_EQ(get(nullptr, item.name(), 20), (Got{-1, false, ""}));
    EXPECT_EQ(get(item.dir(), nullptr, 20), (Got{-1, false, ""}));
}

/* ---- Writing ---- */

TEST(UpdateTextareaFile, WritesTheTextAndReturnsItsBytesPlusOne) {
    const struct {
        const char *label;
        std::string before;
        std::string posted;
        unsigned maxchars;
        int result;
        std::string after;
    } rows[] = {
        {"new text", "old\n", "new text\n", 20, 10, "new text\n"},
        {"no newline is added", "old\n", "new", 20, 4, "new"},
        {"shorter", "a long old text", "x", 20, 2, "x"},
        {"the beginning of the old one", "abcdef", "abc", 20, 4, "abc"},
        {"begins with the old one", "abc", "abcdef", 20, 7, "abcdef"},
        {"same length", "abc", "abd", 20, 4, "abd"},
        {"same count of characters, other bytes", "\xC3\xA9", "e", 20, 2, "e"},
        {"empty text empties the file", "old\n", "", 20, 1, ""},
        {"into an empty file", "", "new", 20, 4, "new"},
        {"carriage returns are written as posted", "old", "a\r\nb\r\n", 20, 7, "a\r\nb\r\n"},
        {"control characters and markup, too", "old", "<\x01&\t", 20, 5, "<\x01&\t"},
        {"fills the limit", "old", "abcd", 4, 5, "abcd"},
        {"cut at its characters", "old", "abcdef", 4, 5, "abcd"},
        {"fills the limit with three bytes each", "old", kEuros, 3, 10, kEuros},
        {"characters and not bytes", "old", std::string(kEuros) + "z", 3, 10, kEuros},
        {"cut to what the file holds", "abc", "abcdef", 3, 4, "abc"},
        {"ends in half a character", "old", "ab\xE2\x82", 20, 5, "ab\xE2\x82"},
        {"no character", "old", "new", 0, 1, ""},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.before);
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), row.posted.c_str(), row.maxchars),
                  row.result)
            << row.label;
        EXPECT_EQ(item.content(), row.after) << row.label;
        EXPECT_TRUE(item.touched()) << row.label;
        EXPECT_TRUE(item.same_file()) << row.label;
    }
}

TEST(UpdateTextareaFile, LeavesTheFileAloneWhenUnchanged) {
    const struct {
        const char *label;
        std::string content;
        std::string posted;
        unsigned maxchars;
    } rows[] = {
        {"same", "one\ntwo\n", "one\ntwo\n", 20},
        {"same with carriage returns", "one\r\n", "one\r\n", 20},
        {"both empty", "", "", 20},
        {"fills the limit", "abcd", "abcd", 4},
        {"fills the limit with three bytes each", kEuros, kEuros, 3},
        {"both end in half a character", "ab\xE2\x82", "ab\xE2\x82", 20},
        {"both hold an invalid sequence", "a\x80z", "a\x80z", 20},
        {"file ends at a NUL byte", qmv_test::text("ab\0cd"), "ab", 20},
        {"file goes on behind three bytes for each", "abcdefgh", "abcdef", 2},
        {"no character of a file with some", "abc", "", 0},
    };
    for (const auto &row : rows) {
        const ItemFile item(row.content);
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), row.posted.c_str(), row.maxchars),
                  0)
            << row.label;
        EXPECT_FALSE(item.touched()) << row.label;
        EXPECT_TRUE(item.same_file()) << row.label;
        EXPECT_EQ(item.content(), row.content) << row.label;
    }
}

TEST(UpdateTextareaFile, OverlongTextIsWrittenAgainEachTimeItIsPosted) {
    const ItemFile item("old");
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), "abcdef", 4), 5) << time;
        EXPECT_EQ(item.content(), "abcd") << time;
    }
    EXPECT_EQ(update_textarea_file(item.dir(), item.name(), "abcd", 4), 0);
}

TEST(UpdateTextareaFile, WritesUpToTheEndOfTheFirstInvalidSequence) {
    for (const auto &row : kMalformed) {
        const ItemFile item("old");
        const std::string cut = row.cut;
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), row.text, 20),
                  static_cast<int>(cut.size()) + 1)
            << row.label;
        EXPECT_EQ(item.content(), cut) << row.label;
    }
}

TEST(UpdateTextareaFile, WritesLargeTexts) {
    const ItemFile item("old");
    const std::string lines(100000, 'l');
    EXPECT_EQ(update_textarea_file(item.dir(), item.name(), lines.c_str(), 100000), 100001);
    EXPECT_EQ(item.content(), lines);
    EXPECT_EQ(update_textarea_file(item.dir(), item.name(), lines.c_str(), 100000), 0);
}

TEST(UpdateTextareaFile, DoesNotTakeThreeTimesItsCharactersModulo) {
    for (const unsigned maxchars : {0x55555556u, 0xFFFFFFFFu}) {
        const ItemFile item("old");
        const int result = update_textarea_file(item.dir(), item.name(), "abcdef", maxchars);
        if (result == -2)  // There may be no memory for it.
            continue;
        EXPECT_EQ(result, 7) << maxchars;
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), "abcdef", maxchars), 0) << maxchars;
    }
}

TEST(UpdateTextareaFile, NeverCreatesAFile) {
    const TempDir dir;
    EXPECT_EQ(update_textarea_file(dir.path(), "missing", "new", 20), -1);
    EXPECT_EQ(update_textarea_file(dir.path(), "missing", "", 20), -1);
    EXPECT_FALSE(dir.exists("missing"));
}

TEST(UpdateTextareaFile, NullArgumentGivesMinusOneAndLeavesTheFileAlone) {
    const ItemFile item("old");
    EXPECT_EQ(update_textarea_file(nullptr, item.name(), "new", 20), -1);
    EXPECT_EQ(update_textarea_file(item.dir(), nullptr, "new", 20), -1);
    EXPECT_EQ(update_textarea_file(item.dir(), item.name(), nullptr, 20), -1);
    EXPECT_FALSE(item.touched());
}

TEST(UpdateTextareaFile, FileThatCannotBeOpenedForWritingGivesMinusOne) {
    const TempDir dir;
    EXPECT_EQ(update_textarea_file("", dir.path(), "new", 20), -1) << "a directory";
}

TEST(UpdateTextareaFile, FailedWriteGivesMinusOne) {
    EXPECT_EQ(update_textarea_file("/dev", "full", "new", 20), -1);
}

TEST(TextareaFiles, LeaveNoDescriptorOpenAndPrintNothing) {
    const ItemFile item("old");
    const auto calls = [&] {
        for (const char *name : {item.name(), "missing", ""}) {
            get(item.dir(), name, 20);
            update_textarea_file(item.dir(), name, "new", 20);
            update_textarea_file(item.dir(), name, "new", 20);
        }
        update_textarea_file("/dev", "full", "new", 20);
    };
    const int before = open_descriptors();
    EXPECT_EQ(printed(calls), "");
    EXPECT_EQ(qmv_test::printed_error(calls), "");
    EXPECT_EQ(open_descriptors(), before);
}

TEST(TextareaFile, WorksWithDescriptorZeroClosed) {
    const ItemFile item("old");
    const auto child = qmv_test::run_child("", [&] {
        ::close(STDIN_FILENO);
        EXPECT_EQ(get(item.dir(), item.name(), 20), (Got{61, true, "old"}));
        EXPECT_EQ(update_textarea_file(item.dir(), item.name(), "new", 20), 4);
        EXPECT_EQ(::dup(STDOUT_FILENO), STDIN_FILENO) << "it is in use";
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
    EXPECT_EQ(item.content(), "new");
}

#if QMV_FAKE_ALLOCATION

/// The descriptor that the next open() gives.
int next_descriptor() {
    const int fd = ::open("/", O_RDONLY | O_CLOEXEC);
    ::close(fd);
    return fd;
}

TEST(GetTextareaFile, FileThatFailsBehindItsBeginningGivesAnEmptyText) {
    const ItemFile item("abcdef");
    qmv_test::DescriptorCalls file(next_descriptor());
    file.moves(3).fails(EIO);
    EXPECT_EQ(get(item.dir(), item.name(), 20), (Got{61, true, ""}));
    EXPECT_EQ(file.unused(), 0u);
}

TEST(GetTextareaFile, GivesMinusOneWithoutMemoryAndOpensNothing) {
    const ItemFile item("abc");
    const int before = open_descriptors();
    char mark[] = "mark";
    char *out = mark;
    int result = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = get_textarea_file(&out, item.dir(), item.name(), 20);
    }
    EXPECT_EQ(result, -1);
    EXPECT_EQ(out, mark);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(UpdateTextareaFile, GivesMinusTwoWithoutMemoryAndKeepsItsDescriptorOpen) {
    const ItemFile item("old");
    const int before = open_descriptors();
    const int expected = next_descriptor();
    int result = 0;
    int failed = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = update_textarea_file(item.dir(), item.name(), "new", 20);
        failed = fake.failed();
    }
    EXPECT_EQ(result, -2);
    EXPECT_GE(failed, 1);
    EXPECT_FALSE(item.touched());
    EXPECT_EQ(open_descriptors(), before + 1);
    char content[8] = {};
    EXPECT_EQ(::read(expected, content, sizeof content), 3) << "it is the file, nothing read yet";
    EXPECT_STREQ(content, "old");
    EXPECT_EQ(::fcntl(expected, F_GETFL) & O_ACCMODE, O_RDONLY);
    ::close(expected);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(UpdateTextareaFile, MissingFileGivesMinusOneAlsoWithoutMemory) {
    const TempDir dir;
    int result = 0;
    {
        const qmv_test::AllocationFailure fake(0);
        result = update_textarea_file(dir.path(), "missing", "new", 20);
    }
    EXPECT_EQ(result, -1);
}

#endif

}  // namespace
