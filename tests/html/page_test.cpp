#include <gtest/gtest.h>
#include <qmv/html.h>

#include <string>

#include "tests/fakes/allocation.h"
#include "tests/support/io.h"
#include "tests/support/malformed.h"
#include "tests/support/output.h"

namespace {

using qmv_test::kMalformed;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::TempDir;

/// A conversion that no formatter carries out: its width does not fit.
std::string impossible_format() {
    return '%' + std::to_string(2147483648u) + 'd';
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
std::string impossible_refresh() {
    return printed([] { print_head_refresh(5, impossible_format().c_str(), 1); });
}

std::string impossible_page() {
    return printed([] { print_refresh("H\r\n\r\n", nullptr, 5, impossible_format().c_str(), 1); });
}
#pragma GCC diagnostic pop

TEST(PrintHeadP1, PrintsHeaderLinesAndTheBeginningOfTheHead) {
    EXPECT_TRUE(prints("A: 1\r\nB: 2\r\n\r\n<html>\r\n<head>\r\n<meta>", 6,
                       [] { return print_head_p1("A: 1\r\n", "B: 2\r\n\r\n", "<meta>"); }));
}

TEST(PrintHeadP1, LeavesOutNullArguments) {
    EXPECT_TRUE(
        prints("<html>\r\n<head>\r\n", 0, [] { return print_head_p1(nullptr, nullptr, nullptr); }));
    EXPECT_TRUE(prints("B\r\n\r\n<html>\r\n<head>\r\n", 0,
                       [] { return print_head_p1(nullptr, "B\r\n\r\n", nullptr); }));
    EXPECT_TRUE(prints("A\r\n\r\n<html>\r\n<head>\r\n<x>", 3,
                       [] { return print_head_p1("A\r\n\r\n", nullptr, "<x>"); }));
}

TEST(PrintHeadP1, PrintsAllRaw) {
    EXPECT_EQ(printed([] { print_head_p1("<\xFF", "&\x80", "\"%s"); }),
              "<\xFF&\x80<html>\r\n<head>\r\n\"%s");
}

TEST(PrintHeadP2, PrintsEscapedTitleAndRawBodyAttributes) {
    EXPECT_EQ(printed([] { print_head_p2("a<b", " onload=\"f('&')\""); }),
              "<title>a&lt;b</title>\r\n</head>\r\n<body onload=\"f('&')\">\r\n");
}

TEST(PrintHeadP2, LeavesOutNullArguments) {
    EXPECT_EQ(printed([] { print_head_p2(nullptr, nullptr); }), "</head>\r\n<body>\r\n");
    EXPECT_EQ(printed([] { print_head_p2(nullptr, " class=\"c\""); }),
              "</head>\r\n<body class=\"c\">\r\n");
    EXPECT_EQ(printed([] { print_head_p2("T", nullptr); }),
              "<title>T</title>\r\n</head>\r\n<body>\r\n");
}

TEST(PrintHeadP2, PrintsEmptyTitle) {
    EXPECT_EQ(printed([] { print_head_p2("", nullptr); }),
              "<title></title>\r\n</head>\r\n<body>\r\n");
}

TEST(PrintHeadP2, LeavesOutInvalidSequencesOfTheTitle) {
    for (const auto &row : kMalformed)
        EXPECT_EQ(printed([&] { print_head_p2(row.text, nullptr); }),
                  "<title>" + std::string(row.escaped) + "</title>\r\n</head>\r\n<body>\r\n")
            << row.label;
}

TEST(PrintHeadRefresh, PrintsSecondsAlone) {
    EXPECT_EQ(printed([] { print_head_refresh(30, nullptr); }),
              "<meta http-equiv=\"refresh\" content=\"30\">\r\n");
    EXPECT_EQ(printed([] { print_head_refresh(4294967295u, nullptr); }),
              "<meta http-equiv=\"refresh\" content=\"4294967295\">\r\n");
}

TEST(PrintHeadRefresh, PrintsFormattedAddress) {
    EXPECT_EQ(printed([] { print_head_refresh(0, "/cgi/%s?n=%d", "page", 7); }),
              "<meta http-equiv=\"refresh\" content=\"0; URL=/cgi/page?n=7\">\r\n");
    EXPECT_EQ(printed([] { print_head_refresh(4294967295u, "/"); }),
              "<meta http-equiv=\"refresh\" content=\"4294967295; URL=/\">\r\n");
}

TEST(PrintHeadRefresh, PrintsAddressRaw) {
    EXPECT_EQ(printed([] { print_head_refresh(1, "%s", "a?b=1&c=\"<%s"); }),
              "<meta http-equiv=\"refresh\" content=\"1; URL=a?b=1&c=\"<%s\">\r\n");
}

TEST(PrintHeadRefresh, LeavesTheTagOpenWhenTheAddressCannotBeFormatted) {
    EXPECT_EQ(impossible_refresh(), "<meta http-equiv=\"refresh\"");
}

TEST(PrintRefresh, PrintsWholePageWithoutBody) {
    EXPECT_EQ(printed([] { print_refresh("A\r\n", "B\r\n\r\n", 3, "/%s", "next"); }),
              "A\r\nB\r\n\r\n<html>\r\n<head>\r\n"
              "<meta http-equiv=\"refresh\" content=\"3; URL=/next\">\r\n"
              "</head>\r\n</html>\r\n");
}

TEST(PrintRefresh, LeavesOutNullArguments) {
    EXPECT_EQ(printed([] { print_refresh(nullptr, nullptr, 3, nullptr); }),
              "<html>\r\n<head>\r\n</head>\r\n</html>\r\n");
    EXPECT_EQ(printed([] { print_refresh("A\r\n\r\n", nullptr, 4294967295u, "u"); }),
              "A\r\n\r\n<html>\r\n<head>\r\n"
              "<meta http-equiv=\"refresh\" content=\"4294967295; URL=u\">\r\n"
              "</head>\r\n</html>\r\n");
}

TEST(PrintRefresh, LeavesOutMetaElementWhenTheAddressCannotBeFormatted) {
    EXPECT_EQ(impossible_page(), "H\r\n\r\n<html>\r\n<head>\r\n</head>\r\n</html>\r\n");
}

TEST(PrintFoot, PrintsTheEndOfThePage) {
    EXPECT_TRUE(prints("</body>\r\n</html>\r\n", [] { return print_foot(); }));
}

TEST(PrintTimeline, PrintsItemTextAndClock) {
    const TempDir dir;
    dir.write("name", "Box <1>\nmore");
    EXPECT_EQ(printed([&] { print_timeline(dir.path(), "name", 63, "Status & more"); }),
              "<table class=\"HeadTable\"><tr><td class=\"HeadLeft\">Box &lt;1&gt;"
              "</td><td class=\"HeadRight\">Status &amp; more"
              "<script>document.write(fl_time());</script></td></tr></table>\r\n");
}

TEST(PrintTimeline, LeavesOutWhatIsMissingOrEmpty) {
    const TempDir dir;
    dir.write("empty", "");
    dir.write("line", "\n");
    const std::string bare =
        "<table class=\"HeadTable\"><tr><td class=\"HeadLeft\"></td><td class=\"HeadRight\">"
        "<script>document.write(fl_time());</script></td></tr></table>\r\n";
    for (const char *name : {"empty", "line", "missing", ""})
        EXPECT_EQ(printed([&] { print_timeline(dir.path(), name, 63, nullptr); }), bare) << name;
    EXPECT_EQ(printed([] { print_timeline(nullptr, "x", 63, ""); }), bare);
    EXPECT_EQ(printed([] { print_timeline("x", nullptr, 63, ""); }), bare);
}

TEST(PrintTimeline, CutsItemAtItsSizeInBytes) {
    const TempDir dir;
    dir.write("name", "abcdef\n");
    dir.write("long", std::string(6000, 'n'));
    const auto item_shown = [&](const char *name, unsigned size) {
        const std::string page = printed([&] { print_timeline(dir.path(), name, size, nullptr); });
        const std::size_t begin = page.find("HeadLeft\">") + 10;
        return page.substr(begin, page.find("</td>") - begin);
    };
    EXPECT_EQ(item_shown("name", 3), "abc");
    EXPECT_EQ(item_shown("name", 6), "abcdef");
    EXPECT_EQ(item_shown("name", 7), "abcdef");
    EXPECT_EQ(item_shown("name", 0), "");
    EXPECT_EQ(item_shown("long", 5000), std::string(5000, 'n'));
}

TEST(PrintTimeline, LeavesOutInvalidSequences) {
    for (const auto &row : kMalformed) {
        const TempDir dir;
        dir.write("name", row.text);
        EXPECT_EQ(printed([&] { print_timeline(dir.path(), "name", 63, row.text); }),
                  "<table class=\"HeadTable\"><tr><td class=\"HeadLeft\">" +
                      std::string(row.escaped) + "</td><td class=\"HeadRight\">" + row.escaped +
                      "<script>document.write(fl_time());</script></td></tr></table>\r\n")
            << row.label;
    }
}

#if QMV_FAKE_ALLOCATION

TEST(PrintHeadRefresh, LeavesTheTagOpenWithoutMemory) {
    EXPECT_EQ(printed([] {
                  const qmv_test::AllocationFailure fake(0);
                  print_head_refresh(5, "/%s", "page");
              }),
              "<meta http-equiv=\"refresh\"");
}

TEST(PrintTimeline, LeavesOutItemWithoutMemory) {
    const TempDir dir;
    dir.write("name", "Box\n");
    int failed = 0;
    const std::string page = printed([&] {
        const qmv_test::AllocationFailure fake(0);
        print_timeline(dir.path(), "name", 100000, "t");
        failed = fake.failed();
    });
    EXPECT_GE(failed, 1);
    EXPECT_EQ(page,
              "<table class=\"HeadTable\"><tr><td class=\"HeadLeft\"></td><td "
              "class=\"HeadRight\">t<script>document.write(fl_time());</script></td></tr>"
              "</table>\r\n");
}

TEST(PrintTimeline, DoesNotTakeTheLargestSizeModulo) {
    // In 32 bits, a byte more than this is none.
    const TempDir dir;
    dir.write("name", "Box\n");
    int failed = 0;
    const std::string page = printed([&] {
        const qmv_test::AllocationFailure fake(0);
        print_timeline(dir.path(), "name", 0xFFFFFFFF, "t");
        failed = fake.failed();
    });
    EXPECT_GE(failed, 1) << "it did without memory";
    EXPECT_EQ(page.find("Box"), std::string::npos);
}

#endif

TEST(PrintNumStrMark, GroupsDigitsInThrees) {
    const struct {
        const char *label;
        const char *digits;
        const char *mark;
        const char *expected;
    } rows[] = {
        {"four", "1234", ",", "1,234"},
        {"five", "12345", ",", "12,345"},
        {"six", "123456", ",", "123,456"},
        {"seven", "1234567", ".", "1.234.567"},
        {"eight", "12345678", ".", "12.345.678"},
        {"nine", "123456789", ".", "123.456.789"},
        {"ten", "1234567890", ".", "1.234.567.890"},
        {"long mark", "1234567", "&nbsp;", "1&nbsp;234&nbsp;567"},
        {"mark and digits raw", "<23456", "<\xFF>", "<23<\xFF>456"},
        {"sign counts as a digit", "-123", ".", "-.123"},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.expected, 0, [&] {
            return print_num_str_mark(row.digits, row.mark);
        })) << row.label;
}

TEST(PrintNumStrMark, PrintsVerbatimWhatIsNotGrouped) {
    const struct {
        const char *label;
        const char *digits;
        const char *mark;
    } rows[] = {
        {"three", "123", ","},
        {"two", "12", ","},
        {"one", "1", ","},
        {"none", "", ","},
        {"null mark", "1234567", nullptr},
        {"empty mark", "1234567", ""},
        {"raw", "<&>", ","},
    };
    for (const auto &row : rows)
        EXPECT_TRUE(prints(row.digits, [&] { return print_num_str_mark(row.digits, row.mark); }))
            << row.label;
}

TEST(PrintNumStrMark, DoesNothingForNullDigits) {
    EXPECT_TRUE(prints("", [] { return print_num_str_mark(nullptr, ","); }));
    EXPECT_TRUE(prints("", [] { return print_num_str_mark(nullptr, nullptr); }));
}

}  // namespace
