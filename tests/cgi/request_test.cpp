// Whole requests: which variables go to which callback, and the answers to those that cannot be
// decoded.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "qmv/cgi.h"
#include "tests/fakes/allocation.h"
#include "tests/support/descriptors.h"
#include "tests/support/io.h"
#include "tests/support/request.h"

using qmv_test::ChildResult;
using qmv_test::fatal;
using qmv_test::Program;
using qmv_test::Request;
using qmv_test::run_child;
using qmv_test::serve;
using qmv_test::set_environment;

namespace {

constexpr const char *kForm = "application/x-www-form-urlencoded";

constexpr const char *kNoMethod = "getcgivars(): no REQUEST_METHOD specified.";
constexpr const char *kBadMethod = "getcgivars(): Unsupported REQUEST_METHOD.";
constexpr const char *kBadType = "getcgivars(): Unsupported Content-Type.";
constexpr const char *kNoLength = "getcgivars(): No Content-Length was sent with the POST request.";
constexpr const char *kNoMemory = "getcgivars(): Couldn't malloc for cgiinput.";
constexpr const char *kNoInput = "getcgivars(): Couldn't read CGI input from STDIN.";

Program with_query(int query_result = 0) {
    Program program;
    program.takes_query = true;
    program.query_result = query_result;
    return program;
}

/// The request is answered, with exactly this output.
void expect_served(const ChildResult &child, const std::string &output, const char *label) {
    EXPECT_EQ(child.output, output) << label;
    EXPECT_EQ(child.status, 0) << label;
}

/// The request ends the process, with exactly this output.
void expect_fatal(const ChildResult &child, const std::string &output, const char *label) {
    EXPECT_EQ(child.output, output) << label;
    EXPECT_EQ(child.status, 1) << label;
}

}  // namespace

TEST(GetCgiVars, EndsWithoutARequestMethod) {
    expect_fatal(serve({nullptr, "a=1", kForm, "3"}, "b=2"), fatal(kNoMethod), "unset");
}

TEST(GetCgiVars, EndsOnOtherRequestMethods) {
    for (const char *method :
         {"", "PUT", "get", "Get", "head", "post", "GETX", "GE", "POST ", "DELETE", "OPTIONS"})
        expect_fatal(serve({method, "a=1", kForm, "3"}, "b=2"), fatal(kBadMethod), method);
}

TEST(GetCgiVars, DecodesTheQueryStringOfGetAndHead) {
    for (const char *method : {"GET", "HEAD"}) {
        Program program;
        program.body_result = 42;
        expect_served(serve({method, "a=1&b=2;c"}, "body", program),
                      "body: mode 0, count 3\n"
                      "  a = \"1\"\n"
                      "  b = \"2\"\n"
                      "  c = \"\"\n"
                      "returned 42\n"
                      "unread \"body\"\n",
                      method);
    }
}

TEST(GetCgiVars, PrefersTheQueryCallbackForGet) {
    Program program = with_query(-7);
    program.body_result = 42;
    const std::string output =
        "query: mode 0, count 1\n"
        "  a = \"1\"\n"
        "returned -7\n"
        "unread \"\"\n";
    expect_served(serve({"GET", "a=1"}, "", program), output, "both callbacks");
    program.takes_body = false;
    expect_served(serve({"GET", "a=1"}, "", program), output, "only the query callback");
}

TEST(GetCgiVars, CountsTheQueryStringOfGetWithoutCallbacks) {
    Program program;
    program.takes_body = false;
    expect_served(serve({"GET", "a=1&b"}, "", program), "returned 2\nunread \"\"\n", "two");
}

TEST(GetCgiVars, CallsNothingForAnEmptyQueryString) {
    for (const char *query : {static_cast<const char *>(nullptr), ""}) {
        const char *label = query == nullptr ? "unset" : "empty";
        Program program = with_query(-7);
        program.body_result = 42;
        expect_served(serve({"GET", query}, "", program), "returned 0\nunread \"\"\n", label);
        program.takes_query = false;
        expect_served(serve({"GET", query}, "", program), "returned 0\nunread \"\"\n", label);
    }
}

TEST(GetCgiVars, LeavesTheEnvironmentAsItIs) {
    const ChildResult child = run_child("", [] {
        set_environment({"GET", "a=%41+b"});
        Program program;
        getcgivars(&program, qmv_test::body_callback, nullptr);
        std::printf("%s\n", ::getenv("QUERY_STRING"));
        return 0;
    });
    EXPECT_EQ(child.output, "body: mode 0, count 1\n  a = \"A b\"\na=%41+b\n");
}

TEST(GetCgiVars, DecodesTheBodyOfAForm) {
    for (const char *type : {kForm, "APPLICATION/X-WWW-Form-UrlEncoded"}) {
        Program program;
        program.body_result = -3;
        expect_served(serve({"POST", "q=1", type, "9"}, "a=1&b=%41next", program),
                      "body: mode 2, count 2\n"
                      "  a = \"1\"\n"
                      "  b = \"A\"\n"
                      "returned -3\n"
                      "unread \"next\"\n",
                      type);
    }
}

TEST(GetCgiVars, IgnoresTheQueryStringOfPostWithoutAQueryCallback) {
    expect_served(serve({"POST", "q=1", kForm, "3"}, "a=1"),
                  "body: mode 2, count 1\n  a = \"1\"\nreturned 0\nunread \"\"\n", "form");
}

TEST(GetCgiVars, DecodesTheQueryStringOfPostBeforeItsBody) {
    for (const int query_result : {0, 1, 42}) {
        Program program = with_query(query_result);
        program.body_result = 5;
        expect_served(serve({"POST", "q=1&r=2", kForm, "3"}, "a=1", program),
                      "query: mode 1, count 2\n"
                      "  q = \"1\"\n"
                      "  r = \"2\"\n"
                      "body: mode 2, count 1\n"
                      "  a = \"1\"\n"
                      "returned 5\n"
                      "unread \"\"\n",
                      "the body's result is returned");
    }
}

TEST(GetCgiVars, DecodesTheBodyWhenThePostHasNoQueryString) {
    for (const char *query : {static_cast<const char *>(nullptr), ""})
        expect_served(serve({"POST", query, kForm, "3"}, "a=1", with_query(-7)),
                      "body: mode 2, count 1\n  a = \"1\"\nreturned 0\nunread \"\"\n",
                      query == nullptr ? "unset" : "empty");
}

TEST(GetCgiVars, ReadsTheBodyOfAFormBeforeARefusedQueryTakesEffect) {
    expect_served(serve({"POST", "q=1", kForm, "3"}, "a=1next", with_query(-7)),
                  "query: mode 1, count 1\n  q = \"1\"\nreturned -7\nunread \"next\"\n",
                  "the body is read and not decoded");
}

TEST(GetCgiVars, LeavesAMultipartBodyUnreadAfterARefusedQuery) {
    expect_served(serve({"POST", "q=1", "multipart/form-data; boundary=XYZ", "20"}, "--XYZ\r\n",
                        with_query(-1)),
                  "query: mode 1, count 1\n  q = \"1\"\nreturned -1\nunread \"--XYZ\\r\\n\"\n",
                  "multipart");
}

TEST(GetCgiVars, CountsTheBodyOfAFormWithoutACallback) {
    Program program;
    program.takes_body = false;
    expect_served(serve({"POST", "q=1", kForm, "7"}, "a=1&b=2", program),
                  "returned 2\nunread \"\"\n", "two variables");
}

TEST(GetCgiVars, DecodesWhatArrivedOfAShorterBody) {
    expect_served(serve({"POST", nullptr, kForm, "100"}, "a=1&b"),
                  "body: mode 2, count 2\n  a = \"1\"\n  b = \"\"\nreturned 0\nunread \"\"\n",
                  "5 of 100 bytes");
    expect_served(serve({"POST", nullptr, kForm, "100"}, ""), "returned 0\nunread \"\"\n",
                  "none of 100 bytes");
}

TEST(GetCgiVars, EndsABodyAtItsFirstNul) {
    expect_served(serve({"POST", nullptr, kForm, "9"}, std::string("a=1\0&b=2!", 9)),
                  "body: mode 2, count 1\n  a = \"1\"\nreturned 0\nunread \"\"\n", "NUL");
}

TEST(GetCgiVars, ConvertsTheContentLengthAsADecimalNumber) {
    const struct {
        const char *label;
        const char *length;
        const char *rest;
    } rows[] = {
        {"plain", "3", "&b=2"},
        {"leading zeros are no octal", "0003", "&b=2"},
        {"white space in front", " \t\n\v\f\r3", "&b=2"},
        {"plus sign", "+3", "&b=2"},
        {"text behind", "3abc", "&b=2"},
        {"fraction", "3.9", "&b=2"},
        {"blank behind", "3 9", "&b=2"},
        {"exact", "7", ""},
        {"above", "8", ""},
    };
    for (const auto &row : rows) {
        const bool whole = row.rest[0] == '\0';
        expect_served(serve({"POST", nullptr, kForm, row.length}, "a=1&b=2"),
                      std::string(whole ? "body: mode 2, count 2\n  a = \"1\"\n  b = \"2\"\n"
                                        : "body: mode 2, count 1\n  a = \"1\"\n") +
                          "returned 0\nunread \"" + row.rest + "\"\n",
                      row.label);
    }
}

TEST(GetCgiVars, EndsWhenTheContentLengthIsZero) {
    for (const char *length : {static_cast<const char *>(nullptr), "", "0", "abc", "-0", "+", "x3",
                               "0x10", "000", "+-3", "- 3", "0.9"}) {
        const char *label = length == nullptr ? "unset" : length;
        expect_fatal(serve({"POST", "q=1", kForm, length}, "a=1", with_query()), fatal(kNoLength),
                     label);
        expect_fatal(serve({"POST", "q=1", "multipart/form-data; boundary=XYZ", length}, "--XYZ",
                           with_query()),
                     fatal(kNoLength), label);
    }
}

TEST(GetCgiVars, AnswersANegativeContentLengthLikeAFailedAllocation) {
    for (const char *length : {"-1", " -3", "-2147483647", "-2147483648", "-2147483649",
                               "-4294967295", "-99999999999999999999"})
        expect_fatal(serve({"POST", nullptr, kForm, length}, "a=1"), fatal(kNoMemory), length);
    expect_fatal(serve({"POST", "q=1", kForm, "-1"}, "a=1", with_query()),
                 "query: mode 1, count 1\n  q = \"1\"\n" + fatal(kNoMemory),
                 "the query string comes first");
}

#if QMV_FAKE_ALLOCATION  // a sanitizer fills large blocks
TEST(GetCgiVars, TakesAHugeContentLengthForTheLargestInt) {
    // Cut to 32 bits these would be -1, 0, 1 and so on. A small machine does not give 2 GiB.
    for (const char *length : {"2147483647", "2147483648", "4294967295", "4294967296", "4294967297",
                               "99999999999999999999"}) {
        const ChildResult child = serve({"POST", nullptr, kForm, length}, "a=1&b=2");
        if (child.status == 1) {
            EXPECT_EQ(child.output, fatal(kNoMemory)) << length;
        } else {
            expect_served(
                child, "body: mode 2, count 2\n  a = \"1\"\n  b = \"2\"\nreturned 0\nunread \"\"\n",
                length);
        }
    }
}
#endif

TEST(GetCgiVars, AcceptsPrefixesOfTheMultipartType) {
    const struct {
        const char *type;
        const char *boundary;
    } rows[] = {
        {"multipart/form-data;boundary=XYZ", "XYZ"},
        {"multipart/form-data; boundary=XYZ", "XYZ"},
        {"multipart/form-data; \t\r\n\v\fboundary=XYZ", "XYZ"},
        {"MULTIPART/Form-Data; Boundary=xyZ", "xyZ"},
        {"multipart/form-dat;boundary=XYZ", "XYZ"},
        {"multipart; boundary=XYZ", "XYZ"},
        {"m;boundary=XYZ", "XYZ"},
        {";boundary=XYZ", "XYZ"},
        {"multipart/form-data; boundary=\"XYZ\"", "\"XYZ\""},
        {"multipart/form-data; boundary=XYZ; charset=utf-8", "XYZ; charset=utf-8"},
        {"multipart/form-data; boundary= XYZ ", " XYZ "},
        {"multipart/form-data; boundary==XYZ", "=XYZ"},
        {"multipart/form-data; boundary=", ""},
    };
    for (const auto &row : rows)
        expect_served(serve({"POST", nullptr, row.type, "1"}, ""),
                      std::string("body: mode 3, count 1\n  boundary = \"") + row.boundary +
                          "\"\nbody: mode 3, count 0, null\nreturned 0\nunread \"\"\n",
                      row.type);
}

TEST(GetCgiVars, EndsOnOtherContentTypes) {
    for (const char *type : {static_cast<const char *>(nullptr),
                             "",
                             "text/plain",
                             "multipart/form-data",
                             "multipart/form-data boundary=XYZ",
                             "boundary=XYZ",
                             "text/plain; boundary=XYZ",
                             "application/x-www-form-urlencoded; charset=utf-8",
                             "application/x-www-form-urlencoded ",
                             "application/x-www-form-urlencode",
                             " application/x-www-form-urlencoded",
                             "multipart/form-data ; boundary=XYZ",
                             "multipart/form-datas; boundary=XYZ",
                             " multipart/form-data; boundary=XYZ",
                             "ultipart; boundary=XYZ",
                             "multipart/mixed; boundary=XYZ",
                             "multipart/form-data;",
                             "multipart/form-data; boundary",
                             "multipart/form-data; charset=utf-8; boundary=XYZ",
                             "multipart/form-data;; boundary=XYZ",
                             "multipart/form-data; boundary =XYZ",
                             "multipart/form-data; xboundary=XYZ"})
        expect_fatal(serve({"POST", "q=1", type, "10"}, "a=1", with_query()), fatal(kBadType),
                     type == nullptr ? "unset" : type);
}

TEST(GetCgiVars, ChecksTheTypeBeforeTheLengthAndTheLengthBeforeTheQuery) {
    expect_fatal(serve({"POST", "q=1", "text/plain", nullptr}, "", with_query()), fatal(kBadType),
                 "both are missing");
    expect_fatal(serve({"POST", "q=1", kForm, "abc"}, "", with_query()), fatal(kNoLength),
                 "the query callback is not called");
}

TEST(GetCgiVars, EndsWhenTheBodyCannotBeRead) {
    Program program;
    program.prepare = [] { ::close(STDIN_FILENO); };
    expect_fatal(serve({"POST", nullptr, kForm, "3"}, "a=1", program), fatal(kNoInput), "closed");
    program.prepare = [] {
        const int fd = ::open("/", O_RDONLY);
        ::dup2(fd, STDIN_FILENO);
    };
    expect_fatal(serve({"POST", nullptr, kForm, "3"}, "a=1", program), fatal(kNoInput),
                 "directory");
    program.takes_query = true;
    program.query_result = -1;
    expect_fatal(serve({"POST", "q=1", kForm, "3"}, "a=1", program),
                 "query: mode 1, count 1\n  q = \"1\"\n" + fatal(kNoInput),
                 "the body is read even after a refused query");
}

TEST(GetCgiVars, EndsWhenAPartOfTheBodyCannotBeRead) {
    const qmv_test::Pipe pipe("a=1");
    qmv_test::never_wait(pipe.reader());
    Program program;
    program.prepare = [&] { ::dup2(pipe.reader(), STDIN_FILENO); };
    expect_fatal(serve({"POST", nullptr, kForm, "10"}, "", program), fatal(kNoInput),
                 "three of ten bytes");
}

TEST(GetCgiVars, ReadsTheBodyFromAPipeInPieces) {
    const std::string value = std::string(20000, 'v');
    const qmv_test::InputPipe in("a=" + value, 1000);
    Program program;
    program.prepare = [&] { ::dup2(in.fd(), STDIN_FILENO); };
    expect_served(serve({"POST", nullptr, kForm, "20002"}, "", program),
                  "body: mode 2, count 1\n  a = \"" + value + "\"\nreturned 0\nunread \"\"\n",
                  "20002 bytes");
}

TEST(GetCgiVars, HandsTheContextThrough) {
    const ChildResult child = run_child("a=1", [] {
        static int context;
        static int seen;
        seen = 0;
        const cgivars_callback check = [](void *ctx, cgivar *, unsigned, unsigned) {
            seen += ctx == &context ? 1 : 100;
            return 0;
        };
        set_environment({"POST", "q=1", kForm, "3"});
        getcgivars(&context, check, check);
        return seen;
    });
    EXPECT_EQ(child.status, 2) << "both callbacks receive it";
}

#if QMV_FAKE_ALLOCATION

namespace {

/// A request during which only the first allocations succeed. The output of the callbacks needs
/// none.
ChildResult serve_without_memory(const Request &request, std::string_view body, int succeed) {
    return run_child(body, [&] {
        static char buffer[4096];
        std::setvbuf(stdout, buffer, _IOFBF, sizeof buffer);
        set_environment(request);
        const cgivars_callback report = [](void *, cgivar *vars, unsigned count, unsigned mode) {
            std::printf("called: mode %u, count %u, %s\n", mode, count, vars[0].name);
            return 0;
        };
        int result = 0;
        int failed = 0;
        {
            const qmv_test::AllocationFailure no_memory(succeed);
            result = getcgivars(nullptr, report, report);
            failed = no_memory.failed();
        }
        std::printf("returned %d, %d failed\n", result, failed);
        return 0;
    });
}

}  // namespace

TEST(GetCgiVars, DecodesNothingWithoutMemoryForTheQueryString) {
    expect_served(serve_without_memory({"GET", "a=1&b"}, "", 0), "returned 0, 1 failed\n", "GET");
}

TEST(GetCgiVars, CountsVariablesWithoutMemoryForTheirRecords) {
    expect_served(serve_without_memory({"GET", "a=1&b"}, "", 1), "returned 2, 1 failed\n", "GET");
    expect_served(serve_without_memory({"POST", "q=1", kForm, "7"}, "a=1&b=2", 3),
                  "called: mode 1, count 1, q\nreturned 2, 1 failed\n", "POST");
}

TEST(GetCgiVars, EndsWithoutMemoryForTheBody) {
    // The query string and its records come first.
    expect_fatal(serve_without_memory({"POST", "q=1", kForm, "7"}, "a=1&b=2", 2),
                 "called: mode 1, count 1, q\n" + fatal(kNoMemory), "form");
}

TEST(GetCgiVars, EndsWithoutMemoryForAPart) {
    // The boundary and the query string with its records come first.
    expect_fatal(serve_without_memory({"POST", "q=1", "m;boundary=XYZ", "7"}, "--XYZ\r\n", 3),
                 "called: mode 1, count 1, q\ncalled: mode 3, count 1, boundary\n" +
                     fatal("cgidecode(): Couldn't malloc for multipart."),
                 "first line");
    expect_fatal(serve_without_memory({"POST", "", "m;boundary=XYZ", "7"},
                                      "--XYZ\r\nContent-A: 1\r\nContent-B: 2\r\n\r\n", 4),
                 "called: mode 3, count 1, boundary\n" +
                     fatal("cgidecode(): Couldn't malloc for multipart."),
                 "second header");
}

#endif

#if defined(__GLIBC__)
TEST(GetCgiVars, FreesAllThatItAllocates) {
    const ChildResult child = run_child("", [] {
        const cgivars_callback ignore = [](void *, cgivar *vars, unsigned count, unsigned mode) {
            if (mode != CGI_MODE_MULTIPART || count < 2)
                return 0;
            return scan_boundary(STDIN_FILENO, vars[0].value, 3, nullptr, nullptr);
        };
        const cgivars_callback refuse = [](void *, cgivar *, unsigned, unsigned) { return -1; };
        const auto serve_all = [&] {
            const qmv_test::InputFile in(
                "a=1&b=2"
                "a=1&b=2"
                "--X\r\nContent-A: 1\r\nContent-B: 2; c=\"3\"\r\nD: 4\r\n\r\n5\r\n--X\r\n"
                "E: 6\r\n\r\n7\r\n--X\r\n"
                "Content-F: 8\r\nContent-G: 8\r\nContent-H: 8\r\nContent-I: 8\r\nContent-J: 8\r\n"
                "\r\n\r\n--X--\r\n");
            ::dup2(in.fd(), STDIN_FILENO);
            set_environment({"GET", "a=1&b=2"});
            getcgivars(nullptr, ignore, nullptr);
            set_environment({"POST", "q=1", kForm, "7"});
            getcgivars(nullptr, ignore, ignore);
            getcgivars(nullptr, ignore, refuse);
            set_environment({"POST", "q=1", "multipart/form-data; boundary=X", "7"});
            getcgivars(nullptr, ignore, refuse);
            getcgivars(nullptr, ignore, ignore);
        };
        serve_all();
        const auto used = static_cast<long>(::mallinfo2().uordblks);
        // A block takes at least 32 bytes; the allocator's own rounding is below that.
        constexpr long kRounds = 100;
        for (long i = 0; i < kRounds; ++i)
            serve_all();
        const auto growth = static_cast<long>(::mallinfo2().uordblks) - used;
        std::printf(growth < kRounds * 16 ? "all is freed\n" : "%ld bytes more\n", growth);
        return 0;
    });
    EXPECT_EQ(child.output, "all is freed\n");
    EXPECT_EQ(child.status, 0) << "a sanitizer found a leak";
}
#endif
