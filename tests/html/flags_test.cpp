#include <gtest/gtest.h>
#include <qmv/html.h>

#include <cstdlib>
#include <memory>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/malformed.h"
#include "tests/support/output.h"

namespace {

using qmv_test::kMalformed;
using qmv_test::prints;

struct Bit {
    unsigned flag;
    const char *text;
};

// In the order in which the attributes stand in a tag.
constexpr Bit kPrinted[] = {
    {0x2, " checked"},
    {0x1, " disabled"},
    {0x4, " readonly"},
    {0x8, " selected"},
    {0x80, " style=\"display: none;\""},
    {0x100, " style=\"visibility: hidden;\""},
};

constexpr Bit kAutocomplete[] = {
    {0x400, " autocomplete=\"off\""},
    {0x800, " autocomplete=\"on\""},
    {0xC00, " autocomplete=\"default\""},
};

constexpr Bit kSilent[] = {
    {0x10, "password"},
    {0x20, "masked"},
    {0x40, "data value"},
    {0x200, "submit"},
    {0x1000, "pre"},
    {0x2000, "comment"},
    {0x4000, "raw"},
    {0x8000, "empty choice"},
    {0x10000, "windows client"},
    {0x20000, "quiet"},
    {0x40000, "size"},
    {0x80000, "JSON comma"},
    {0xFFF00000, "bits without a name"},
};

struct Title {
    int result;
    std::string text;
};

Title title_of(const char *text) {
    char *out = nullptr;
    const int result = asprint_title(&out, text);
    const std::unique_ptr<char, decltype(&std::free)> owner(out, std::free);
    return {result, out != nullptr ? out : "(null)"};
}

TEST(PrintFlags, PrintsTheAttributeOfEachBit) {
    for (const Bit &bit : kPrinted)
        EXPECT_TRUE(prints(bit.text, [&] { return print_flags(bit.flag); })) << bit.flag;
    for (const Bit &bit : kAutocomplete)
        EXPECT_TRUE(prints(bit.text, [&] { return print_flags(bit.flag); })) << bit.flag;
}

TEST(PrintFlags, PrintsNothingForBitsThatAreReadElsewhere) {
    for (const Bit &bit : kSilent)
        EXPECT_TRUE(prints("", [&] { return print_flags(bit.flag); })) << bit.text;
    EXPECT_TRUE(prints("", [] { return print_flags(0); }));
}

TEST(PrintFlags, PutsCheckedInFrontOfDisabled) {
    EXPECT_TRUE(prints(" checked disabled", [] { return print_flags(0x3); }));
    EXPECT_TRUE(
        prints(" checked disabled autocomplete=\"default\"", [] { return print_flags(0x0C03); }));
}

TEST(PrintFlags, PutsDisplayInFrontOfVisibility) {
    EXPECT_TRUE(prints(" style=\"display: none;\" style=\"visibility: hidden;\"",
                       [] { return print_flags(0x0180); }));
}

TEST(PrintFlags, PrintsAllAttributesInOrder) {
    EXPECT_TRUE(
        prints(" checked disabled readonly selected style=\"display: none;\""
               " style=\"visibility: hidden;\" autocomplete=\"default\"",
               [] { return print_flags(0xFFFFFFFF); }));
}

TEST(PrintFlags, CombinesEveryAttributeWithEveryOther) {
    for (unsigned flags = 0; flags < 0x1000; ++flags) {
        std::string expected;
        for (const Bit &bit : kPrinted)
            expected += (flags & bit.flag) != 0 ? bit.text : "";
        for (const Bit &bit : kAutocomplete)
            expected += (flags & 0xC00) == bit.flag ? bit.text : "";
        ASSERT_TRUE(prints(expected, [&] { return print_flags(flags); })) << flags;
    }
}

TEST(PrintFlagValues, AreThoseOfTheProgramsAndScripts) {
    EXPECT_EQ(PRINT_DISABLED, 0x1);
    EXPECT_EQ(PRINT_CHECKED, 0x2);
    EXPECT_EQ(PRINT_READONLY, 0x4);
    EXPECT_EQ(PRINT_SELECTED, 0x8);
    EXPECT_EQ(PRINT_PASSWORD, 0x10);
    EXPECT_EQ(PRINT_MASKED, 0x20);
    EXPECT_EQ(PRINT_DATA_VALUE, 0x40);
    EXPECT_EQ(PRINT_DISPLAY_NONE, 0x80);
    EXPECT_EQ(PRINT_HIDDEN, 0x100);
    EXPECT_EQ(PRINT_SUBMIT, 0x200);
    EXPECT_EQ(PRINT_AUTOCOMPLETE_OFF, 0x400);
    EXPECT_EQ(PRINT_AUTOCOMPLETE_ON, 0x800);
    EXPECT_EQ(PRINT_AUTOCOMPLETE_DEFAULT, 0xC00);
    EXPECT_EQ(PRINT_PRE, 0x1000);
    EXPECT_EQ(PRINT_COMMENT, 0x2000);
    EXPECT_EQ(PRINT_RAW, 0x4000);
    EXPECT_EQ(PRINT_EMPTY_CHOICE, 0x8000);
    EXPECT_EQ(PRINT_WINDOWS_CLIENT, 0x10000);
    EXPECT_EQ(PRINT_QUIET, 0x20000);
    EXPECT_EQ(PRINT_SIZE, 0x40000);
    EXPECT_EQ(PRINT_JSON_COMMA, 0x80000);
    EXPECT_EQ(HEAD_SCRIPT_OPEN, 0x1);
    EXPECT_EQ(HEAD_SCRIPT_CLOSE, 0x2);
    EXPECT_EQ(HEAD_SCRIPT_FILE, 0x4);
}

TEST(HtmlAttr, NamesTheAttributeOfEachIndex) {
    EXPECT_STREQ(html_attr(0), "");
    EXPECT_STREQ(html_attr(1), " disabled");
    EXPECT_STREQ(html_attr(2), " checked");
    EXPECT_STREQ(html_attr(3), " readonly");
    EXPECT_STREQ(html_attr(4), " selected");
}

TEST(HtmlAttr, IsEmptyBehindTheTable) {
    for (const unsigned index : {5u, 6u, 7u, 100u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
        EXPECT_STREQ(html_attr(index), "") << index;
}

TEST(GetPrintFlags, AddsWindowsClient) {
    const struct {
        const char *label;
        unsigned flags;
        const char *user_agent;
        unsigned expected;
    } rows[] = {
        {"Windows", 0, "Mozilla/5.0 (Windows NT 10.0)", 0x10000},
        {"alone", 0, "Windows", 0x10000},
        {"within a word", 0, "xWindowsx", 0x10000},
        {"keeps the other flags", 0x4001, "Windows", 0x14001},
        {"keeps the flag", 0x10000, "Windows", 0x10000},
        {"lower case", 0, "Mozilla/5.0 (windows nt)", 0},
        {"upper case", 0, "WINDOWS", 0},
        {"cut", 0, "Window", 0},
        {"another system", 0x3, "Mozilla/5.0 (X11; Linux x86_64)", 0x3},
        {"another system does not remove it", 0x10000, "Linux", 0x10000},
        {"empty", 0x5, "", 0x5},
        {"null", 0x5, nullptr, 0x5},
    };
    for (const auto &row : rows)
        EXPECT_EQ(get_print_flags(row.flags, row.user_agent), row.expected) << row.label;
}

TEST(PrintJsonFlags, PrintsCommaOnlyWithItsFlag) {
    EXPECT_TRUE(prints(", ", [] { return print_json_flags(0x80000); }));
    EXPECT_TRUE(prints(", ", [] { return print_json_flags(0xFFFFFFFF); }));
    EXPECT_TRUE(prints("", [] { return print_json_flags(0); }));
    EXPECT_TRUE(prints("", [] { return print_json_flags(~0x80000u); }));
}

TEST(AsprintTitle, BuildsTheAttributeFromEscapedText) {
    const Title title = title_of("a<b");
    EXPECT_EQ(title.text, " title=\"a&lt;b\"");
    EXPECT_EQ(title.result, 15);
}

TEST(AsprintTitle, EscapesWhatCouldLeaveTheAttribute) {
    EXPECT_EQ(title_of("\" onclick=\"x").text, " title=\"&quot; onclick=&quot;x\"");
    EXPECT_EQ(title_of("100%s %n").text, " title=\"100%s %n\"");
}

TEST(AsprintTitle, ReturnsTheLengthOfLongTexts) {
    const std::string longer(10000, 't');
    const Title title = title_of(longer.c_str());
    EXPECT_EQ(title.text, " title=\"" + longer + "\"");
    EXPECT_EQ(title.result, 10009);
}

TEST(AsprintTitle, LeavesOutInvalidSequences) {
    for (const auto &row : kMalformed) {
        const std::string escaped = row.escaped;
        const Title title = title_of(row.text);
        EXPECT_EQ(title.text, escaped.empty() ? "(null)" : " title=\"" + escaped + "\"")
            << row.label;
        EXPECT_EQ(title.result, escaped.empty() ? -1 : static_cast<int>(escaped.size()) + 9)
            << row.label;
    }
}

TEST(AsprintTitle, RefusesTextThatIsEmptyOnceEscaped) {
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(asprint_title(&out, ""), -1);
    EXPECT_EQ(asprint_title(&out, "\x80\xC3"), -1);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(AsprintTitle, RefusesNullArguments) {
    char marker = 0;
    char *out = &marker;
    EXPECT_EQ(asprint_title(&out, nullptr), -1);
    EXPECT_EQ(asprint_title(nullptr, "text"), -1);
    EXPECT_EQ(out, &marker) << "out was touched";
}

TEST(AsprintTitle, PrintsNothing) {
    EXPECT_EQ(qmv_test::printed([] { title_of("text"); }), "");
}

#if QMV_FAKE_ALLOCATION

TEST(AsprintTitle, LeavesOutUntouchedWithoutMemory) {
    for (int succeed = 0; succeed < 2; ++succeed) {
        char marker = 0;
        char *out = &marker;
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure fake(succeed);
            result = asprint_title(&out, "text");
            failed = fake.failed();
        }
        EXPECT_GE(failed, 1) << succeed;
        EXPECT_EQ(result, -1) << succeed;
        EXPECT_EQ(out, &marker) << succeed;
    }
}

#endif

}  // namespace
