// Requests when memory runs out or their body cannot be read. Each is decoded in a process of its
// own, which the library may end.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <qmv/cgi.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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

// The header lines come in one reading, and what is behind them is put back. Of the content 5 bytes
// come first, as many as a delimiter has, then one by one.
constexpr Nth kFirstDelimiter = {6, 8};
constexpr unsigned kSecondHeader = 9;

/// Decodes a body that comes through a pipe.
std::string decode_pipe(const char *body) {
    int ends[2];
    {
        const Aside aside;
        const std::string text(body);
        if (::pipe2(ends, O_CLOEXEC) != 0 ||
            ::write(ends[1], text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            return "no pipe";
        ::close(ends[1]);
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        set_environment({"POST", nullptr, "multipart/form-data; boundary=B", "1"});
    }
    return std::to_string(getcgivars(nullptr, print_batch, nullptr));
}

TEST(GetCgiVars, ReadsHeadersOfAPipe) {
    const std::string no_line = "cgidecode(): Couldn't read multipart line from STDIN.";
    const std::string no_memory = "cgidecode(): Couldn't malloc for multipart.";
    const std::string begun = "(3 boundary=B)";
    const std::string header = begun + "(3 boundary=B Content-A=f)";
    const std::string part = header + "\"hello\" 0";
    const std::string whole = "6 printed " + in_quotes(part + "(3)");
    const auto cut = [&](const std::string &content) {
        return "6 printed " + in_quotes(header + "\"" + content + "\" 2(3)");
    };
    Scenario([](const TempDir &) { return decode_pipe(kBody); })
        .fed("")
        .gives(whole)
        .fails(Call::kPeek, ended(no_line, begun), only(1))
        .fails(Call::kPeek, ended(no_line, part), only(2))
        .fails(Call::kPipe, whole)
        .fails(Call::kFstat, whole)
        .fails(Call::kStrdup, "0")
        .fails(Call::kMalloc, ended(no_memory, begun))
        .fails(Call::kMalloc, ended(no_memory, part), only(4))
        // The copy, and what was seen, cannot be read.
        .fails(Call::kRead, ended(no_line, begun), Nth{1, 2})
        .fails(Call::kRead, cut(""), only(3))
        .fails(Call::kRead, cut("he"), only(4))
        .fails(Call::kRead, cut("hel"), only(5))
        .fails(Call::kRead, cut("hell"), only(6))
        .fails(Call::kRead, cut("hello"), Nth{7, 9})
        .fails(Call::kRead, ended(no_line, part), Nth{10, 11})
        .fails(Call::kRead, whole, from(12))
        .check();
}

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
        .fails(Call::kRead, ended(no_line, begun), only(1))
        .fails(Call::kSeek, ended(no_line, begun), only(1))
        .fails(Call::kSeek, ended(no_line, part), only(2))
        // Without looking ahead.
        .fails(Call::kFstat, whole)
        // What could be the beginning of a delimiter is lost.
        .fails(Call::kRead, cut(""), only(2))
        .fails(Call::kRead, cut("he"), only(3))
        .fails(Call::kRead, cut("hel"), only(4))
        .fails(Call::kRead, cut("hell"), only(5))
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

/// The scanning of a descriptor that was filled with a content by the test.
std::string scan_end(int reader, int writer, const std::string &content) {
    {
        const Aside aside;
        if (::write(writer, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
            return "not written";
        ::close(writer);
    }
    std::string received;
    const int result = scan_boundary(reader, "B", 3, collect, &received);
    std::string rest(64, '\0');
    {
        const Aside aside;
        const ssize_t left = ::read(reader, rest.data(), rest.size());
        rest.resize(left > 0 ? static_cast<std::size_t>(left) : 0);
        ::close(reader);
    }
    return std::to_string(result) + " " + in_quotes(received) + " then " + in_quotes(rest);
}

std::string scan_pipe(const std::string &content) {
    int ends[2];
    {
        const Aside aside;
        if (::pipe2(ends, O_CLOEXEC) != 0)
            return "no pipe";
    }
    return scan_end(ends[0], ends[1], content);
}

std::string scan_connection(const std::string &content) {
    int ends[2];
    {
        const Aside aside;
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
            return "no connection";
    }
    return scan_end(ends[0], ends[1], content);
}

// Of a longer content 5 bytes come first and then six single ones; the eighth reading looks ahead.
constexpr unsigned kLookingAhead = 8;
constexpr const char *kLonger = "abcdefghijklmnopqrst\r\n--B\r\nnext";
constexpr const char *kLongerContent = "abcdefghijklmnopqrst";

TEST(ScanBoundary, LooksAheadInAFile) {
    const std::string whole = "0 " + in_quotes(kLongerContent);
    Scenario scenario([](const TempDir &dir) { return scan(dir, "B"); });
    scenario.with("in", kLonger).gives(whole);
    scenario.fails(Call::kRead, "2 \"\"", only(1));
    for (unsigned n = 2; n <= kLookingAhead; ++n)
        scenario.fails(Call::kRead, "2 " + in_quotes(std::string(kLongerContent, n)), only(n));
    scenario.fails(Call::kMalloc, whole)
        .fails(Call::kFstat, whole)
        // What is behind the part could not be put back.
        .fails(Call::kSeek, "2 " + in_quotes(kLongerContent))
        .check();
}

TEST(ScanBoundary, LooksAheadInAPipe) {
    const std::string whole = "0 " + in_quotes(kLongerContent) + " then \"next\"";
    const std::string first = "2 " + in_quotes("abcdefgh") + " then " + in_quotes(kLonger + 11);
    Scenario scenario([](const TempDir &) { return scan_pipe(kLonger); });
    scenario.gives(whole);
    scenario.fails(Call::kRead, "2 \"\" then " + in_quotes(kLonger), only(1));
    for (unsigned n = 2; n < kLookingAhead; ++n)
        scenario.fails(Call::kRead,
                       "2 " + in_quotes(std::string(kLongerContent, n)) + " then " +
                           in_quotes(kLonger + n + 3),
                       only(n));
    // The copy cannot be read; the part is found and cannot be taken.
    scenario.fails(Call::kRead, first, only(kLookingAhead))
        .fails(Call::kRead, "2 " + in_quotes(kLongerContent) + " then " + in_quotes(kLonger + 11),
               only(kLookingAhead + 1))
        .fails(Call::kPeek, first)
        .fails(Call::kMalloc, whole)
        .fails(Call::kFstat, whole)
        .fails(Call::kPipe, whole)
        .check();
}

TEST(ScanBoundary, LooksAheadInAConnection) {
    const std::string whole = "0 " + in_quotes(kLongerContent) + " then \"next\"";
    Scenario scenario([](const TempDir &) { return scan_connection(kLonger); });
    scenario.gives(whole);
    scenario.fails(Call::kRead, "2 \"\" then " + in_quotes(kLonger), only(1));
    for (unsigned n = 2; n < kLookingAhead; ++n)
        scenario.fails(Call::kRead,
                       "2 " + in_quotes(std::string(kLongerContent, n)) + " then " +
                           in_quotes(kLonger + n + 3),
                       only(n));
    scenario
        .fails(Call::kRead, "2 " + in_quotes(kLongerContent) + " then " + in_quotes(kLonger + 11),
               only(kLookingAhead))
        .fails(Call::kPeek, "2 " + in_quotes("abcdefgh") + " then " + in_quotes(kLonger + 11))
        .fails(Call::kMalloc, whole)
        .fails(Call::kFstat, whole)
        .check();
}

// What is read at once is then more than a window. The eighth reading is the first to look ahead.
TEST(ScanBoundary, ReadsALongBoundaryWhereTheSystemRefusesToLookAhead) {
    const std::string boundary(100000, 'b');
    const std::string content(1000000, 'c');
    const qmv_test::InputFile in(content + "\r\n--" + boundary + "\r\nnext");
    std::string received;
    qmv_test::CallCounts counts;
    int result = -1;
    {
        const qmv_test::Fault refused{Call::kRead, Manner::kFails, EINVAL, 1, kLookingAhead};
        const qmv_test::Inject inject(refused, counts);
        result = scan_boundary(in.fd(), boundary.c_str(), 3, collect, &received);
    }
    EXPECT_TRUE(counts.faulty);
    EXPECT_EQ(result, 0);
    EXPECT_TRUE(received == content);
    EXPECT_EQ(in.rest(), "next");
}

TEST(ScanBoundary, StopsWhenAWindowCannotBeTaken) {
    // More than a window, in a connection that holds all of it.
    const std::string content(70000, 'c');
    const auto result = [](int returned, std::size_t received, std::size_t left) {
        return std::to_string(returned) + " " + std::to_string(received) + " of the content, " +
               std::to_string(left) + " bytes left";
    };
    constexpr std::size_t kEnd = 7 + 4;  // what is behind the content
    constexpr std::size_t kSingle = 11;  // bytes that are read before
    Scenario scenario([&](const TempDir &) {
        int ends[2];
        {
            const Aside aside;
            const std::string body = content + "\r\n--B\r\nnext";
            if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0 ||
                ::write(ends[1], body.data(), body.size()) != static_cast<ssize_t>(body.size()))
                return std::string("no connection");
            ::close(ends[1]);
        }
        std::string received;
        const int returned = scan_boundary(ends[0], "B", 3, collect, &received);
        const Aside aside;
        std::string rest(content.size() + 100, '\0');
        const ssize_t left = ::recv(ends[0], rest.data(), rest.size(), MSG_WAITALL);
        ::close(ends[0]);
        return result(returned, received.size(),
                      static_cast<std::size_t>(std::max<ssize_t>(left, 0)));
    });
    scenario.gives(result(0, 70000, 4));
    for (unsigned n = 1; n < kLookingAhead; ++n)
        scenario.fails(Call::kRead,
                       n == 1 ? result(2, 0, 70000 + kEnd) : result(2, n, 70000 + kEnd - n - 3),
                       only(n));
    scenario
        // The first window, and the second.
        .fails(Call::kRead, result(2, kSingle + 65536 - 3, 70000 + kEnd - kSingle),
               only(kLookingAhead))
        .fails(Call::kRead, result(2, 70000, 70000 + kEnd - kSingle - 65536),
               only(kLookingAhead + 1))
        .fails(Call::kPeek, result(2, kSingle - 3, 70000 + kEnd - kSingle), only(1))
        .fails(Call::kPeek, result(2, kSingle + 65536 - 3, 70000 + kEnd - kSingle - 65536), only(2))
        .fails(Call::kMalloc, result(0, 70000, 4))
        .fails(Call::kFstat, result(0, 70000, 4))
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
