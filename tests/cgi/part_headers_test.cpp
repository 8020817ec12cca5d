// Header lines of a part and their parameters.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/io.h"
#include "tests/support/request.h"

using qmv_test::ChildResult;
using qmv_test::printable;
using qmv_test::Program;
using qmv_test::serve;

namespace {

struct Part {
    const char *label;
    std::string headers;  ///< lines, each with its CR LF
    int count;            ///< records, with that of the boundary
    std::string records;
    std::string content = "v";
};

/// Expects the records and the content of a body's only part, whose content is "v".
void check(const Part &part) {
    const ChildResult child = serve({"POST", nullptr, "m;boundary=XYZ", "1"},
                                    "--XYZ\r\n" + part.headers + "\r\nv\r\n--XYZ--\r\n");
    EXPECT_EQ(child.output,
              "body: mode 3, count 1\n"
              "  boundary = \"XYZ\"\n"
              "body: mode 3, count " +
                  std::to_string(part.count) +
                  "\n"
                  "  boundary = \"XYZ\"\n" +
                  part.records + "  content \"" + printable(part.content) +
                  "\", 3\n"
                  "body: mode 3, count 0, null\n"
                  "returned 0\n"
                  "unread \"\"\n")
        << part.label;
    EXPECT_EQ(child.status, 0) << part.label;
}

}  // namespace

TEST(PartHeader, BecomesARecord) {
    const Part rows[] = {
        {"blank behind the colon", "Content-A: b\r\n", 2, "  Content-A = \"b\"\n"},
        {"nothing behind the colon", "Content-A:b\r\n", 2, "  Content-A = \"b\"\n"},
        {"white space is skipped", "Content-A: \t\v\f b\r\n", 2, "  Content-A = \"b\"\n"},
        {"CR and LF are white space", "Content-A:\n\r b\r\n", 2, "  Content-A = \"b\"\n"},
        {"trailing blanks stay", "Content-A: b \r\n", 2, "  Content-A = \"b \"\n"},
        {"empty value", "Content-A:\r\n", 2, "  Content-A = \"\"\n"},
        {"only blanks", "Content-A:  \r\n", 2, "  Content-A = \"\"\n"},
        {"the first colon separates", "Content-A: b:c\r\n", 2, "  Content-A = \"b:c\"\n"},
        {"case of the name stays", "CONTENT-tYPE: X\r\n", 2, "  CONTENT-tYPE = \"X\"\n"},
        {"empty rest of the name", "Content-:b\r\n", 2, "  Content- = \"b\"\n"},
        {"blanks in the name stay", "Content-A B : c\r\n", 2, "  Content-A B  = \"c\"\n"},
        {"escapes are not decoded", "Content-A: %41+b\r\n", 2, "  Content-A = \"%41+b\"\n"},
        {"several", "Content-A: b\r\nContent-C: d\r\n", 3,
         "  Content-A = \"b\"\n  Content-C = \"d\"\n"},
        {"the same twice", "Content-A: b\r\nContent-A: c\r\n", 3,
         "  Content-A = \"b\"\n  Content-A = \"c\"\n"},
        {"as long as a line can be", "Content-A: " + std::string(1011, 'b') + "\r\n", 2,
         "  Content-A = \"" + std::string(1011, 'b') + "\"\n"},
    };
    for (const Part &row : rows)
        check(row);
}

TEST(PartHeader, IsDroppedWhenItIsNoContentLine) {
    for (const char *line : {"X-A: b", "Content-A b", "Content: b", "Content A: b", "Conten-A: b",
                             " Content-A: b", "X-Content-A: b", "A: Content-B: c", ":Content-A: b",
                             "--XYZ", "--XYZ--", "Content-", "C"})
        check({line, std::string("Content-1: x\r\n") + line + "\r\nContent-2: y\r\n", 3,
               "  Content-1 = \"x\"\n  Content-2 = \"y\"\n"});
}

TEST(PartHeader, SwallowsTheBodyWhenItIsTooLong) {
    const ChildResult child =
        serve({"POST", nullptr, "m;boundary=XYZ", "1"},
              "--XYZ\r\nContent-A: b\r\nContent-B: " + std::string(1012, 'c') +
                  "\r\nContent-D: e\r\n\r\nv\r\n--XYZ--\r\n");
    EXPECT_EQ(child.output,
              "body: mode 3, count 1\n"
              "  boundary = \"XYZ\"\n"
              "body: mode 3, count 2\n"
              "  boundary = \"XYZ\"\n"
              "  Content-A = \"b\"\n"
              "  content \"\", 2\n"
              "body: mode 3, count 0, null\n"
              "returned 0\n"
              "unread \"\"\n");
}

TEST(PartHeader, FiveKeptLinesEndTheHeadersInFrontOfTheEmptyLine) {
    const std::string four = "Content-A: 1\r\nContent-B: 2\r\nContent-C: 3\r\nContent-D: 4\r\n";
    const std::string records =
        "  Content-A = \"1\"\n  Content-B = \"2\"\n  Content-C = \"3\"\n  Content-D = \"4\"\n";
    const std::string fifth = records + "  Content-E = \"5\"\n";
    const Part rows[] = {
        {"four lines", four, 5, records},
        {"five lines", four + "Content-E: 5\r\n", 6, fifth, "\r\nv"},
        {"six lines", four + "Content-E: 5\r\nContent-F: 6\r\n", 6, fifth, "Content-F: 6\r\n\r\nv"},
        {"dropped lines do not count", "X: 1\r\nY: 2\r\n" + four + "Z: 3\r\nContent-E: 5\r\n", 6,
         fifth, "\r\nv"},
    };
    for (const Part &row : rows)
        check(row);
}

TEST(PartHeader, IsDroppedWhenTheBatchIsFull) {
    const std::string line = "Content-A: b; c=\"1\"; d=\"2\"; e=\"3\"; f=\"4\"";
    const std::string records =
        "  Content-A = \"b\"\n"
        "  c = \"1\" of Content-A\n"
        "  d = \"2\" of Content-A\n"
        "  e = \"3\" of Content-A\n"
        "  f = \"4\" of Content-A\n";
    const Part rows[] = {
        {"four parameters", line + "\r\n", 6, records},
        {"the fifth parameter is dropped", line + "; g=\"5\"\r\n", 6, records},
        {"further headers are dropped up to the empty line",
         line + "\r\nContent-B: c\r\nContent-C: d\r\nContent-D: e\r\nContent-E: f\r\n"
                "Content-F: g\r\n",
         6, records},
    };
    for (const Part &row : rows)
        check(row);
}

TEST(PartHeader, IsCutAtItsSemicolonWhenItFillsTheBatch) {
    check({"last record", "Content-A: b; c=\"1\"; d=\"2\"; e=\"3\"\r\nContent-B: f; g=\"4\"\r\n", 6,
           "  Content-A = \"b\"\n"
           "  c = \"1\" of Content-A\n"
           "  d = \"2\" of Content-A\n"
           "  e = \"3\" of Content-A\n"
           "  Content-B = \"f\"\n"});
}

TEST(PartHeader, ParametersBelongToTheirOwnHeader) {
    check({"two headers", "Content-A: b; c=\"1\"\r\nContent-B: d; e=\"2\"\r\n", 5,
           "  Content-A = \"b\"\n"
           "  c = \"1\" of Content-A\n"
           "  Content-B = \"d\"\n"
           "  e = \"2\" of Content-B\n"});
}

TEST(PartParameter, IsANameAndAQuotedValue) {
    const struct {
        const char *label;
        const char *value;  ///< of the header, with its parameters
        const char *cut;    ///< the value that remains
        const char *records;
        int count;
    } rows[] = {
        {"one", "b; c=\"1\"", "b", "  c = \"1\" of Content-A\n", 1},
        {"no blank", "b;c=\"1\";d=\"2\"", "b",
         "  c = \"1\" of Content-A\n  d = \"2\" of Content-A\n", 2},
        {"white space in front", "b; \t\v\f c=\"1\"; \td=\"2\"", "b",
         "  c = \"1\" of Content-A\n  d = \"2\" of Content-A\n", 2},
        {"empty header value", "; c=\"1\"", "", "  c = \"1\" of Content-A\n", 1},
        {"blank in front of the semicolon stays", "b ; c=\"1\"", "b ", "  c = \"1\" of Content-A\n",
         1},
        {"empty value", "b; c=\"\"; d=\"2\"", "b",
         "  c = \"\" of Content-A\n  d = \"2\" of Content-A\n", 2},
        {"empty name", "b; =\"1\"", "b", "   = \"1\" of Content-A\n", 1},
        {"semicolon inside", "b; c=\"1;2\"; d=\"3\"", "b",
         "  c = \"1;2\" of Content-A\n  d = \"3\" of Content-A\n", 2},
        {"equals sign inside", "b; c=\"1=2\"", "b", "  c = \"1=2\" of Content-A\n", 1},
        {"no escapes of quotes", "b; c=\"1\\\"; d=\"2\"", "b",
         "  c = \"1\\\" of Content-A\n  d = \"2\" of Content-A\n", 2},
        {"escapes of URLs are not decoded", "b; c=\"%41+\"", "b", "  c = \"%41+\" of Content-A\n",
         1},
        {"the name runs to =", "b; c; d=\"1\"", "b", "  c; d = \"1\" of Content-A\n", 1},
        {"a blank behind the name stays", "b; c =\"1\"", "b", "  c  = \"1\" of Content-A\n", 1},
        {"nothing behind the semicolon", "b;", "b", "", 0},
        {"only blanks behind the semicolon", "b;  ", "b", "", 0},
        {"without =", "b; c", "b", "", 0},
        {"without =, behind another", "b; c=\"1\"; d", "b", "  c = \"1\" of Content-A\n", 1},
        {"semicolon at the end", "b; c=\"1\";", "b", "  c = \"1\" of Content-A\n", 1},
        {"unquoted value ends", "b; c=1; d=\"2\"", "b", "", 0},
        {"unquoted value behind another ends", "b; c=\"1\"; d=2; e=\"3\"", "b",
         "  c = \"1\" of Content-A\n", 1},
        {"single quotes are none", "b; c='1'; d=\"2\"", "b", "", 0},
        {"blank in front of the quote ends", "b; c= \"1\"; d=\"2\"", "b", "", 0},
        {"nothing behind =", "b; c=", "b", "", 0},
        {"no closing quote", "b; c=\"1", "b", "", 0},
        {"no closing quote and no value", "b; c=\"", "b", "", 0},
        {"no closing quote, behind another", "b; c=\"1\"; d=\"2", "b", "  c = \"1\" of Content-A\n",
         1},
        {"blank behind the quote ends", "b; c=\"1\" ; d=\"2\"", "b", "  c = \"1\" of Content-A\n",
         1},
        {"text behind the quote ends", "b; c=\"1\"x; d=\"2\"", "b", "  c = \"1\" of Content-A\n",
         1},
        {"comma behind the quote ends", "b; c=\"1\", d=\"2\"", "b", "  c = \"1\" of Content-A\n",
         1},
    };
    for (const auto &row : rows)
        check({row.label, std::string("Content-A: ") + row.value + "\r\n", 2 + row.count,
               std::string("  Content-A = \"") + row.cut + "\"\n" + row.records});
}
