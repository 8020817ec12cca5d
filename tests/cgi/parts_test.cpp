// Multipart bodies: headers and parameters of each part, and how parts follow each other.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "qmv/cgi.h"
#include "tests/support/descriptors.h"
#include "tests/support/io.h"
#include "tests/support/request.h"

using qmv_test::ChildResult;
using qmv_test::fatal;
using qmv_test::print_content;
using qmv_test::Program;
using qmv_test::run_child;
using qmv_test::serve;

namespace {

constexpr const char *kBoundaryCall = "body: mode 3, count 1\n  boundary = \"XYZ\"\n";
constexpr const char *kLastCall = "body: mode 3, count 0, null\n";
constexpr const char *kNoLine = "cgidecode(): Couldn't read multipart line from STDIN.";

ChildResult serve_parts(const std::string &body, const Program &program = {}) {
    return serve({"POST", nullptr, "multipart/form-data; boundary=XYZ", "1"}, body, program);
}

/// The records of a part as a callback prints them, with the boundary in front.
std::string part(int count, const std::string &records) {
    return "body: mode 3, count " + std::to_string(count) + "\n  boundary = \"XYZ\"\n" + records;
}

std::string end(int returned = 0, const std::string &unread = "") {
    return std::string(kLastCall) + "returned " + std::to_string(returned) + "\nunread \"" +
           unread + "\"\n";
}

/// A body of one part with these header lines and the content "v".
std::string body_of(const std::string &headers) {
    return "--XYZ\r\n" + headers + "\r\nv\r\n--XYZ--\r\n";
}

}  // namespace

TEST(MultipartBody, HandsOverPartAfterPart) {
    const ChildResult child = serve_parts(
        "--XYZ\r\n"
        "Content-Disposition: form-data; name=\"user\"\r\n"
        "\r\n"
        "J\xC3\xBCrgen\r\n"
        "--XYZ\r\n"
        "Content-Disposition: form-data; name=\"file\"; filename=\"a.bin\"\r\n"
        "Content-Type: application/octet-stream\r\n"
        "\r\n"
        "line\r\n--XY\r\n\r\n\r\n"
        "--XYZ\r\n"
        "Content-Disposition: form-data; name=\"none\"\r\n"
        "\r\n"
        "\r\n"
        "--XYZ--\r\n"
        "epilogue");
    EXPECT_EQ(child.output,
              "body: mode 3, count 1\n"
              "  boundary = \"XYZ\"\n"
              "body: mode 3, count 3\n"
              "  boundary = \"XYZ\"\n"
              "  Content-Disposition = \"form-data\"\n"
              "  name = \"user\" of Content-Disposition\n"
              "  content \"J\\xC3\\xBCrgen\", 0\n"
              "body: mode 3, count 5\n"
              "  boundary = \"XYZ\"\n"
              "  Content-Disposition = \"form-data\"\n"
              "  name = \"file\" of Content-Disposition\n"
              "  filename = \"a.bin\" of Content-Disposition\n"
              "  Content-Type = \"application/octet-stream\"\n"
              "  content \"line\\r\\n--XY\\r\\n\\r\\n\", 0\n"
              "body: mode 3, count 3\n"
              "  boundary = \"XYZ\"\n"
              "  Content-Disposition = \"form-data\"\n"
              "  name = \"none\" of Content-Disposition\n"
              "  content \"\", 3\n"
              "body: mode 3, count 0, null\n"
              "returned 0\n"
              "unread \"epilogue\"\n");
    EXPECT_EQ(child.status, 0);
}

TEST(MultipartBody, ReturnsTheResultOfTheLastCall) {
    for (const int result : {-9, 0, 42}) {
        Program program;
        program.body_result = result;
        EXPECT_EQ(serve_parts("", program).output, kBoundaryCall + end(result));
        EXPECT_EQ(serve_parts(body_of("Content-A: b\r\n"), program).output,
                  kBoundaryCall + part(2, "  Content-A = \"b\"\n") + "  content \"v\", 3\n" +
                      end(result));
    }
}

TEST(MultipartBody, IgnoresTheResultForTheBoundaryRecord) {
    for (const int result : {-1, 2, 3}) {
        Program program;
        program.first_result = result;
        EXPECT_EQ(
            serve_parts(body_of("Content-A: b\r\n"), program).output,
            kBoundaryCall + part(2, "  Content-A = \"b\"\n") + "  content \"v\", 3\n" + end());
    }
}

TEST(MultipartBody, EndsAtAPartWhoseResultIsNotZero) {
    for (const int result : {-1, 1, 2, 3, 99}) {
        Program program;
        program.take_part = [=](cgivar *, unsigned) { return result; };
        EXPECT_EQ(
            serve_parts("--XYZ\r\nContent-A: b\r\n\r\nv\r\n--XYZ\r\nContent-C: d\r\n", program)
                .output,
            kBoundaryCall + part(2, "  Content-A = \"b\"\n") +
                end(0, "v\\r\\n--XYZ\\r\\nContent-C: d\\r\\n"))
            << "result " << result;
    }
}

TEST(MultipartBody, TakesTheInputAsTheCallbackLeavesIt) {
    // A callback that returns 0 and does not read: the content stands where headers are expected.
    Program program;
    program.take_part = [](cgivar *, unsigned) { return 0; };
    EXPECT_EQ(serve_parts("--XYZ\r\nContent-A: b\r\n\r\nContent-C: d\r\n\r\n", program).output,
              kBoundaryCall + part(2, "  Content-A = \"b\"\n") + part(2, "  Content-C = \"d\"\n") +
                  end());
}

TEST(MultipartBody, SkipsPartsWithoutAContentLine) {
    const std::string first = "--XYZ\r\nX-A: b\r\n\r\nskipped\r\n";
    const std::string second = "--XYZ\r\nContent-A: b\r\n\r\nv\r\n";
    const std::string taken = part(2, "  Content-A = \"b\"\n");
    EXPECT_EQ(serve_parts(first + "--XYZ--\r\nrest").output, kBoundaryCall + end(0, "rest"))
        << "only one";
    EXPECT_EQ(serve_parts(first + second + "--XYZ--\r\n").output,
              kBoundaryCall + taken + "  content \"v\", 3\n" + end())
        << "in front";
    EXPECT_EQ(serve_parts(second + first + "--XYZ--\r\n").output,
              kBoundaryCall + taken + "  content \"v\", 0\n" + end())
        << "at the end";
    EXPECT_EQ(serve_parts("--XYZ\r\n\r\nskipped\r\n" + second + "--XYZ--\r\n").output,
              kBoundaryCall + taken + "  content \"v\", 3\n" + end())
        << "no header at all";
}

TEST(MultipartBody, SkipsAllPartsWithoutACallback) {
    Program program;
    program.takes_body = false;
    program.body_result = 42;
    EXPECT_EQ(serve_parts("--XYZ\r\nContent-A: b\r\n\r\nv\r\n--XYZ\r\nContent-C: d\r\n\r\nw"
                          "\r\n--XYZ--\r\nrest",
                          program)
                  .output,
              "returned 0\nunread \"rest\"\n");
    EXPECT_EQ(serve_parts("", program).output, "returned 0\nunread \"\"\n");
}

TEST(MultipartBody, SkipsTheLinesInFrontOfTheFirstPart) {
    const std::string records = part(2, "  Content-A = \"b\"\n") + "  content \"v\", 3\n";
    EXPECT_EQ(serve_parts("preamble\r\n" + body_of("Content-A: b\r\n")).output,
              kBoundaryCall + records + end())
        << "a line";
    EXPECT_EQ(serve_parts("pre\r\n\r\namble\r\n" + body_of("Content-A: b\r\n")).output,
              kBoundaryCall + records + end())
        << "an empty line";
}

TEST(MultipartBody, MissesTheFirstPartBehindALeadingEmptyLine) {
    // The empty line ends the headers; its CR LF is gone when the delimiter is searched.
    EXPECT_EQ(
        serve_parts("\r\n--XYZ\r\nContent-A: b\r\n\r\nv\r\n" + body_of("Content-C: d\r\n")).output,
        kBoundaryCall + part(2, "  Content-C = \"d\"\n") + "  content \"v\", 3\n" + end());
}

TEST(MultipartBody, EndsWhereTheInputEnds) {
    const std::string records = part(2, "  Content-A = \"b\"\n");
    const struct {
        const char *label;
        const char *body;
        std::string calls;
    } rows[] = {
        {"nothing", "", ""},
        {"boundary line", "--XYZ\r\n", ""},
        {"closing line only", "--XYZ--\r\n", ""},
        {"inside a header", "--XYZ\r\nContent-A: b", ""},
        {"behind a header's CR", "--XYZ\r\nContent-A: b\r", ""},
        {"behind a header", "--XYZ\r\nContent-A: b\r\n", records + "  content \"\", 2\n"},
        {"behind the headers", "--XYZ\r\nContent-A: b\r\n\r\n", records + "  content \"\", 2\n"},
        {"inside the second header", "--XYZ\r\nContent-A: b\r\nContent-C",
         records + "  content \"\", 2\n"},
        {"inside the content", "--XYZ\r\nContent-A: b\r\n\r\nhello",
         records + "  content \"he\", 2\n"},
        {"behind the delimiter", "--XYZ\r\nContent-A: b\r\n\r\nhello\r\n--XYZ",
         records + "  content \"hello\", 2\n"},
        {"behind the next boundary line", "--XYZ\r\nContent-A: b\r\n\r\nhello\r\n--XYZ\r\n",
         records + "  content \"hello\", 0\n"},
        {"inside a skipped part", "--XYZ\r\nX: b\r\n\r\nhello", ""},
    };
    for (const auto &row : rows)
        EXPECT_EQ(serve_parts(row.body).output, kBoundaryCall + row.calls + end()) << row.label;
}

TEST(MultipartBody, DoesNotUseTheContentLengthAsALimit) {
    for (const char *length : {"1", "99999", "-5"})
        EXPECT_EQ(
            serve({"POST", nullptr, "m;boundary=XYZ", length}, body_of("Content-A: b\r\n")).output,
            kBoundaryCall + part(2, "  Content-A = \"b\"\n") + "  content \"v\", 3\n" + end())
            << "length " << length;
}

TEST(MultipartBody, TakesTheQueryStringFirst) {
    Program program;
    program.takes_query = true;
    EXPECT_EQ(serve({"POST", "q=1", "m;boundary=XYZ", "1"}, "", program).output,
              std::string("query: mode 1, count 1\n  q = \"1\"\n") + kBoundaryCall + end());
}

TEST(MultipartBody, EndsTheProcessWhenALineCannotBeRead) {
    Program program;
    program.prepare = [] { ::close(STDIN_FILENO); };
    const ChildResult closed = serve_parts("", program);
    EXPECT_EQ(closed.output, kBoundaryCall + fatal(kNoLine));
    EXPECT_EQ(closed.status, 1);

    for (const char *arrived :
         {"--XYZ\r\n", "--XYZ\r\nContent-A: b\r\n", "--XYZ\r\nContent-A: b\r\nContent-C"}) {
        const qmv_test::Pipe pipe(arrived);
        qmv_test::never_wait(pipe.reader());
        program.prepare = [&] { ::dup2(pipe.reader(), STDIN_FILENO); };
        const ChildResult child = serve_parts("", program);
        EXPECT_EQ(child.output, kBoundaryCall + fatal(kNoLine)) << arrived;
        EXPECT_EQ(child.status, 1) << arrived;
    }
}

TEST(MultipartBody, SearchesTheBoundaryWithoutItsTrailingCr) {
    const ChildResult child = run_child(body_of("Content-A: b\r\n") + "rest", [] {
        Program program;
        char boundary[] = "XYZ\r";
        return cgidecode(&program, boundary, qmv_test::body_callback, CGI_MODE_MULTIPART);
    });
    EXPECT_EQ(child.output,
              "body: mode 3, count 1\n"
              "  boundary = \"XYZ\\r\"\n"
              "body: mode 3, count 2\n"
              "  boundary = \"XYZ\\r\"\n"
              "  Content-A = \"b\"\n"
              "  content \"v\", 3\n"
              "body: mode 3, count 0, null\n");
}

TEST(MultipartBody, TakesAQuotedBoundaryWithItsQuotes) {
    const std::string type = "multipart/form-data; boundary=\"XYZ\"";
    const ChildResult child =
        serve({"POST", nullptr, type.c_str(), "1"},
              "--\"XYZ\"\r\nContent-A: b\r\n\r\nv\r\n--XYZ--\r\n\r\n--\"XYZ\"--\r\n");
    EXPECT_EQ(child.output,
              "body: mode 3, count 1\n"
              "  boundary = \"\"XYZ\"\"\n"
              "body: mode 3, count 2\n"
              "  boundary = \"\"XYZ\"\"\n"
              "  Content-A = \"b\"\n"
              "  content \"v\\r\\n--XYZ--\\r\\n\", 3\n"
              "body: mode 3, count 0, null\n"
              "returned 0\n"
              "unread \"\"\n");
}

TEST(MultipartBody, LosesAllBehindABoundaryLineAboveTheLineBuffer) {
    // A line of 1022 bytes is the longest that is read; a longer one swallows the body.
    for (const std::size_t length : {1020u, 1021u}) {
        const std::string boundary(length, 'b');
        const std::string record = "  boundary = \"" + boundary + "\"\n";
        const ChildResult child =
            serve({"POST", nullptr, ("m;boundary=" + boundary).c_str(), "1"},
                  "--" + boundary + "\r\nContent-A: b\r\n\r\nv\r\n--" + boundary + "--\r\n");
        const std::string taken =
            "body: mode 3, count 2\n" + record + "  Content-A = \"b\"\n  content \"v\", 3\n";
        EXPECT_EQ(child.output,
                  "body: mode 3, count 1\n" + record + (length == 1020 ? taken : "") + end())
            << "boundary of " << length;
    }
}

TEST(MultipartBody, LetsTheCallbackChangeItsStrings) {
    Program program;
    program.take_part = [](cgivar *vars, unsigned count) {
        for (unsigned i = 1; i < count; ++i) {
            std::memset(vars[i].name, '!', std::strlen(vars[i].name));
            std::memset(vars[i].value, '!', std::strlen(vars[i].value));
        }
        return print_content(vars[0].value);
    };
    const std::string headers = "Content-A: b; c=\"d\"\r\n\r\nv\r\n--XYZ";
    EXPECT_EQ(serve_parts("--XYZ\r\n" + headers + "\r\n" + headers + "--\r\n", program).output,
              kBoundaryCall +
                  part(3, "  Content-A = \"b\"\n  c = \"d\" of Content-A\n  content \"v\", 0\n") +
                  part(3, "  Content-A = \"b\"\n  c = \"d\" of Content-A\n  content \"v\", 3\n") +
                  end());
}
