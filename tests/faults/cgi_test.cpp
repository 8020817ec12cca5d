// Requests when memory runs out or their body cannot be read. Each is decoded in a process of its
// own, which the library may end.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/cgi.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "tests/faults/scenario.h"
#include "tests/support/request.h"

namespace {

using qmv_test::Aside;
using qmv_test::Call;
using qmv_test::fatal;
using qmv_test::from;
using qmv_test::in_quotes;
using qmv_test::Manner;
using qmv_test::Nth;
using qmv_test::only;
using qmv_test::Request;
using qmv_test::Scenario;
using qmv_test::set_environment;
using qmv_test::TempDir;
using qmv_test::with_descriptor;

int collect(void *text, const void *bytes, int len) {
    static_cast<std::string *>(text)->append(static_cast<const char *>(bytes),
                                             static_cast<std::size_t>(len));
    return 0;
}

/// Prints what it receives, and the content of a part with the result of reading it.
int print_batch(void *, cgivar *vars, unsigned count, unsigned mode) {
    std::printf("(%u", mode);
    for (unsigned i = 0; i < count; ++i)
        std::printf(" %s=%s", vars[i].name, vars[i].value);
    std::printf(")");
    if (mode != CGI_MODE_MULTIPART)
        return 5;
    if (count < 2)
        return 6;
    std::string content;
    const int result = scan_boundary(STDIN_FILENO, vars[0].value, 3, collect, &content);
    std::printf("%s %d", in_quotes(content).c_str(), result);
    return result;
}

Scenario::Work request(const Request &request, cgivars_callback query = nullptr) {
    return [request, query](const TempDir &) {
        {
            const Aside aside;
            set_environment(request);
        }
        return std::to_string(getcgivars(nullptr, print_batch, query));
    };
}

/// The process ended with a message, after what had been printed before.
std::string ended(const std::string &message, const std::string &printed = "") {
    return "exit 1 printed " + in_quotes(printed + fatal(message));
}

TEST(GetCgiVars, DecodesNothingWithoutMemoryForTheQuery) {
    Scenario(request({"GET", "a=1&b", nullptr, nullptr}))
        .fed("")
        .gives("5 printed \"(0 a=1 b=)\"")
        .fails(Call::kStrdup, "0")
        .fails(Call::kMalloc, "2")
        .check();
}

TEST(GetCgiVars, EndsWithoutMemoryForABodyOrTheBody) {
    Scenario(request({"POST", nullptr, "application/x-www-form-urlencoded", "5"}))
        .fed("a=1&b")
        .gives("5 printed \"(2 a=1 b=)\"")
        .fails(Call::kMalloc, ended("getcgivars(): Couldn't malloc for cgiinput."), only(1))
        .fails(Call::kMalloc, "2", only(2))
        .fails(Call::kRead, ended("getcgivars(): Couldn't read CGI input from STDIN."))
        .check();
}

/// A callback of the query of a POST, which lets the body be decoded.
int print_query(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    return print_batch(ctx, vars, count, mode);
}

TEST(GetCgiVars, DecodesTheBodyWithoutMemoryForTheQuery) {
    const std::string query = "(1 q=1)";
    Scenario(request({"POST", "q=1", "application/x-www-form-urlencoded", "5"}, print_query))
        .fed("a=1&b")
        .gives("5 printed \"(1 q=1)(2 a=1 b=)\"")
        .fails(Call::kStrdup, "5 printed \"(2 a=1 b=)\"")
        .fails_for_good(Call::kStrdup, ended("getcgivars(): Couldn't malloc for cgiinput."))
        .fails(Call::kMalloc, "5 printed \"(2 a=1 b=)\"", only(1))
        .fails_for_good(Call::kMalloc, ended("getcgivars(): Couldn't malloc for cgiinput."),
                        only(1))
        .fails(Call::kMalloc, ended("getcgivars(): Couldn't malloc for cgiinput.", query), only(2))
        .fails(Call::kMalloc, "2 printed \"(1 q=1)\"", only(3))
        .fails(Call::kRead, ended("getcgivars(): Couldn't read CGI input from STDIN.", query))
        .check();
}

/// Two parts, the second of them without a header: it is skipped.
constexpr const char *kBody =
    "--B\r\n"
    "Content-A: f\r\n"
    "\r\n"
    "hello\r\n--B\r\n"
    "\r\n"
    "\r\n--B--\r\n";

// A line is read two bytes first and then byte by byte: 4 reads for "--B", 13 for the header, 1 for
// the empty line. Of the content 5 bytes come first, as many as a delimiter has, then one by one.
constexpr Nth kFirstHeader = {1, 18};
constexpr Nth kFirstDelimiter = {23, 25};
constexpr unsigned kSecondHeader = 26;

TEST(GetCgiVars, EndsWhenAHeaderCannotBeReadOrStored) {
    const std::string no_line = "cgidecode(): Couldn't read multipart line from STDIN.";
    const std::string no_memory = "cgidecode(): Couldn't malloc for multipart.";
    const std::string begun = "(3 boundary=B)";
    const std::string header = begun + "(3 boundary=B Content-A=f)";
    const std::string part = header + "\"hello\" 0";
    const auto cut = [&](const std::string &content) {
        return "6 printed " + in_quotes(header + "\"" + content + "\" 2(3)");
    };
    const std::string whole = "6 printed " + in_quotes(part + "(3)");
    Scenario(request({"POST", nullptr, "multipart/form-data; boundary=B", "1"}))
        .fed(kBody)
        .gives(whole)
        .fails(Call::kStrdup, "0")
        .fails(Call::kMalloc, ended(no_memory, begun))
        .fails(Call::kMalloc, ended(no_memory, part), only(4))
        .fails(Call::kRead, ended(no_line, begun), kFirstHeader)
        // What could be the beginning of a delimiter is lost.
        .fails(Call::kRead, cut(""), only(19))
        .fails(Call::kRead, cut("he"), only(20))
        .fails(Call::kRead, cut("hel"), only(21))
        .fails(Call::kRead, cut("hell"), only(22))
        .fails(Call::kRead, cut("hello"), kFirstDelimiter)
        .fails(Call::kRead, ended(no_line, part), only(kSecondHeader))
        .fails(Call::kRead, whole, from(kSecondHeader + 1))
        .check();
}

/* ---- The parts of the decoder that programs call themselves ---- */

TEST(CgiDecode, CountsTheVariablesWithoutMemory) {
    Scenario([](const TempDir &) {
        char text[] = "a=1&b";
        return std::to_string(cgidecode(nullptr, text, print_batch, CGI_MODE_QUERY));
    })
        .gives("5 printed \"(0 a=1 b=)\"")
        .fails(Call::kMalloc, "2")
        .check();
}

std::string scan(const TempDir &dir, const char *boundary) {
    return with_descriptor(dir.file("in"), O_RDONLY, [boundary](int fd) {
        std::string content;
        const int result = scan_boundary(fd, boundary, 3, collect, &content);
        return std::to_string(result) + " " + in_quotes(content);
    });
}

TEST(ScanBoundary, HandsOverWhatCouldBeRead) {
    Scenario([](const TempDir &dir) { return scan(dir, "B"); })
        .with("in", "hello\r\n--B\r\nnext")
        .gives("0 \"hello\"")
        .fails(Call::kRead, "2 \"\"", only(1))
        .fails(Call::kRead, "2 \"he\"", only(2))
        .fails(Call::kRead, "2 \"hel\"", only(3))
        .fails(Call::kRead, "2 \"hell\"", only(4))
        .fails(Call::kRead, "2 \"hello\"", from(5))
        .check();
}

TEST(ScanBoundary, ReadsNothingWithoutMemoryForALongBoundary) {
    const std::string boundary(5000, 'B');
    Scenario([&boundary](const TempDir &dir) { return scan(dir, boundary.c_str()); })
        .with("in", "hello\r\n--" + boundary + "--\r\n")
        .gives("3 \"hello\"")
        .fails(Call::kMalloc, "2 \"\"")
        .fails(Call::kRead, "2 \"\"", only(1))
        // 5004 bytes have come, of which all but the last 3 stand for content so far.
        .fails(Call::kRead, "2 \"hello\"", from(2))
        // Nobody misses the line end behind the last delimiter.
        .fails(Call::kRead, "3 \"hello\"", only(4))
        .check();
}

TEST(MpartWriteFd, DoesNotReportAFailure) {
    Scenario([](const TempDir &dir) {
        return with_descriptor(dir.file("out"), O_WRONLY | O_CREAT, [](int fd) {
            return std::to_string(mpart_write_fd(&fd, "hello", 5));
        });
    })
        .gives("0 out=\"hello\"")
        .fails(Call::kWrite, "0 out=\"\"")
        .goes(Manner::kFillsUp, Call::kWrite, "0 out=\"h\"")
        .check();
}

TEST(MpartFwrite, DoesNotReportAFailure) {
    Scenario([](const TempDir &) { return std::to_string(mpart_fwrite(stdout, "hello", 5)); })
        .gives("0 printed \"hello\"")
        .fails(Call::kFwrite, "0")
        .check();
}

}  // namespace
