// The parts of a page's head that copy files: scripts and style sheets.
#include <gtest/gtest.h>
#include <qmv/html.h>
#include <unistd.h>

#include <string>

#include "tests/support/io.h"
#include "tests/support/output.h"

namespace {

using qmv_test::open_descriptors;
using qmv_test::printed;
using qmv_test::prints;
using qmv_test::run_child;
using qmv_test::TempDir;

constexpr unsigned kOpen = HEAD_SCRIPT_OPEN;
constexpr unsigned kClose = HEAD_SCRIPT_CLOSE;
constexpr unsigned kFile = HEAD_SCRIPT_FILE;

TEST(PrintHeadScript, PrintsTextBetweenTheTagsAskedFor) {
    const struct {
        unsigned how;
        const char *expected;
    } rows[] = {
        {0, "f(\"<&\");"},
        {kOpen, "<script>\r\nf(\"<&\");"},
        {kClose, "f(\"<&\");</script>\r\n"},
        {kOpen | kClose, "<script>\r\nf(\"<&\");</script>\r\n"},
        {0xFFFFFFFB, "<script>\r\nf(\"<&\");</script>\r\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(printed([&] { print_head_script(row.how, "f(\"<&\");"); }), row.expected)
            << row.how;
}

TEST(PrintHeadScript, PrintsFileBetweenTheTagsAskedFor) {
    const TempDir dir;
    const std::string path = dir.write("s.js", "var a = '<';\n");
    const struct {
        unsigned how;
        const char *expected;
    } rows[] = {
        {kFile, "var a = '<';\n"},
        {kFile | kOpen, "<script>\r\nvar a = '<';\n"},
        {kFile | kClose, "var a = '<';\n</script>\r\n"},
        {kFile | kOpen | kClose, "<script>\r\nvar a = '<';\n</script>\r\n"},
    };
    for (const auto &row : rows)
        EXPECT_EQ(printed([&] { print_head_script(row.how, path.c_str()); }), row.expected)
            << row.how;
}

TEST(PrintHeadScript, WithoutTextPrintsOneTagAndReturnsItsLength) {
    EXPECT_TRUE(prints("", [] { return print_head_script(0, nullptr); }));
    EXPECT_TRUE(prints("<script>\r\n", [] { return print_head_script(kOpen, nullptr); }));
    EXPECT_TRUE(prints("</script>\r\n", [] { return print_head_script(kClose, nullptr); }));
    EXPECT_TRUE(prints("", [] { return print_head_script(kFile, nullptr); }));
    EXPECT_TRUE(prints("<script>\r\n", [] { return print_head_script(kFile | kOpen, nullptr); }));
    EXPECT_TRUE(prints("</script>\r\n", [] { return print_head_script(kFile | kClose, nullptr); }));
}

TEST(PrintHeadScript, WithoutTextBothFlagsPrintOnlyTheClosingTag) {
    EXPECT_EQ(printed([] { print_head_script(kOpen | kClose, nullptr); }), "</script>\r\n");
}

TEST(PrintHeadScript, MissingFileGetsItsTagsAroundNothing) {
    const TempDir dir;
    const std::string path = dir.file("missing.js");
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen | kClose, path.c_str()); }),
              "<script>\r\n</script>\r\n");
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen, path.c_str()); }), "<script>\r\n");
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen | kClose, ""); }),
              "<script>\r\n</script>\r\n");
}

TEST(PrintHeadScript, DirectoryInPlaceOfAFileGetsItsTagsAroundNothing) {
    const TempDir dir;
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen | kClose, dir.path()); }),
              "<script>\r\n</script>\r\n");
}

TEST(PrintHeadScript, EmptyTextOrFileGetsItsTagsAroundNothing) {
    const TempDir dir;
    const std::string path = dir.write("empty.js", "");
    EXPECT_EQ(printed([] { print_head_script(kOpen | kClose, ""); }), "<script>\r\n</script>\r\n");
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen | kClose, path.c_str()); }),
              "<script>\r\n</script>\r\n");
}

TEST(PrintHeadScript, CopiesLongFileWhole) {
    const TempDir dir;
    const std::string content = std::string(10000, 's') + qmv_test::text("\0\xFF end");
    const std::string path = dir.write("long.js", content);
    EXPECT_EQ(printed([&] { print_head_script(kFile | kOpen | kClose, path.c_str()); }),
              "<script>\r\n" + content + "</script>\r\n");
}

TEST(PrintHeadScript, FileOnDescriptorZeroCountsAsNoText) {
    const TempDir dir;
    const std::string path = dir.write("s.js", "var a;\n");
    const struct {
        unsigned how;
        const char *expected;
    } rows[] = {
        {kFile, ""},
        {kFile | kOpen, "<script>\r\n"},
        {kFile | kClose, "</script>\r\n"},
        {kFile | kOpen | kClose, "</script>\r\n"},
    };
    for (const auto &row : rows) {
        const auto child = run_child("", [&] {
            ::close(0);
            print_head_script(row.how, path.c_str());
            return 0;
        });
        EXPECT_EQ(child.output, row.expected) << row.how;
        EXPECT_EQ(child.status, 0) << row.how;
    }
}

TEST(PrintHeadCss, CopiesFilesIntoOneElement) {
    const TempDir dir;
    const std::string a = dir.write("a.css", "a { b: '<' }\n");
    const std::string b = dir.write("b.css", "c { }\n");
    EXPECT_EQ(printed([&] { print_head_css(a.c_str(), nullptr); }),
              "<style>\r\na { b: '<' }\n</style>\r\n");
    EXPECT_EQ(printed([&] { print_head_css(a.c_str(), b.c_str(), a.c_str(), nullptr); }),
              "<style>\r\na { b: '<' }\nc { }\na { b: '<' }\n</style>\r\n");
}

TEST(PrintHeadCss, PrintsNothingForAnEmptyList) {
    EXPECT_TRUE(prints("", [] { return print_head_css(nullptr); }));
}

TEST(PrintHeadCss, StopsAtTheNullPointer) {
    const TempDir dir;
    const std::string a = dir.write("a.css", "a");
    EXPECT_EQ(printed([&] { print_head_css(nullptr, a.c_str(), nullptr); }), "");
    EXPECT_EQ(printed([&] { print_head_css(a.c_str(), nullptr, a.c_str(), nullptr); }),
              "<style>\r\na</style>\r\n");
}

TEST(PrintHeadCss, MissingFileCountsSoThatTheElementIsPrintedAroundNothing) {
    const TempDir dir;
    const std::string a = dir.write("a.css", "a");
    const std::string missing = dir.file("missing.css");
    EXPECT_EQ(printed([&] { print_head_css(missing.c_str(), nullptr); }),
              "<style>\r\n</style>\r\n");
    EXPECT_EQ(printed([&] { print_head_css(missing.c_str(), a.c_str(), nullptr); }),
              "<style>\r\na</style>\r\n");
    EXPECT_EQ(printed([&] { print_head_css(a.c_str(), missing.c_str(), a.c_str(), nullptr); }),
              "<style>\r\naa</style>\r\n");
}

TEST(PrintHeadCss, CopiesLongFileWhole) {
    const TempDir dir;
    const std::string content(10000, 'c');
    const std::string path = dir.write("long.css", content);
    EXPECT_EQ(printed([&] { print_head_css(path.c_str(), nullptr); }),
              "<style>\r\n" + content + "</style>\r\n");
}

TEST(PrintHeadCss, LeavesOutFilesOnDescriptorZero) {
    const TempDir dir;
    const std::string a = dir.write("a.css", "a");
    const auto child = run_child("", [&] {
        ::close(0);
        print_head_css(a.c_str(), a.c_str(), nullptr);
        return 0;
    });
    EXPECT_EQ(child.output, "");
    EXPECT_EQ(child.status, 0);
}

TEST(PrintHeadFiles, LeaveNoDescriptorOpen) {
    const TempDir dir;
    const std::string path = dir.write("f", "content");
    const std::string missing = dir.file("missing");
    const int before = open_descriptors();
    printed([&] {
        print_head_script(kFile | kOpen, path.c_str());
        print_head_script(kFile, missing.c_str());
        print_head_script(kFile, dir.path());
        print_head_css(path.c_str(), missing.c_str(), dir.path(), path.c_str(), nullptr);
        print_timeline(dir.path(), "f", 63, nullptr);
        print_timeline(dir.path(), "missing", 63, nullptr);
    });
    EXPECT_EQ(open_descriptors(), before);
}

TEST(PrintHeadFiles, LeaveDescriptorZeroClosedWhenItWas) {
    const TempDir dir;
    const std::string path = dir.write("f", "content");
    const auto child = run_child("", [&] {
        ::close(0);
        print_head_script(kFile, path.c_str());
        print_head_css(path.c_str(), nullptr);
        return ::dup(1);  // the lowest descriptor that is free
    });
    EXPECT_EQ(child.status, 0);
}

}  // namespace
