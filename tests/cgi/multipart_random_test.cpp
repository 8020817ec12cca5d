// scan_boundary() against two plain ways to do the same, on thousands of bodies full of pieces of
// delimiters, from every kind of descriptor.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <termios.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "qmv/cgi.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/request.h"
#include "tests/support/scan.h"

using qmv_test::printable;
using qmv_test::Scan;
using qmv_test::scan;

namespace {

constexpr int kState = 3;

/// The delimiter's part of a boundary.
std::string up_to_cr(const std::string &boundary) {
    return boundary.substr(0, boundary.find('\r'));
}

enum class End { kOfInput, kFailure };

/// Reads a body as a descriptor is read: no more than is asked for. A failure at its end takes the
/// bytes that came before it in the same reading.
class Body {
  public:
    Body(const std::string &body, End end) : body_(body), end_(end) {}

    std::string read(std::size_t count) {
        const std::string bytes = body_.substr(at_, count);
        at_ += bytes.size();
        return end_ == End::kFailure && bytes.size() < count ? "" : bytes;
    }
    std::string rest() const { return body_.substr(at_); }

  private:
    std::string body_;
    End end_;
    std::size_t at_ = 0;
};

void hand_over(Scan &scan, std::string bytes) {
    for (; bytes.size() > 1024; bytes.erase(0, 1024))
        scan.pieces.push_back(bytes.substr(0, 1024));
    scan.pieces.push_back(bytes);
}

/// Step by step with a buffer that holds, counts as confirmed, and hands over.
Scan scan_by_steps(const std::string &text, const std::string &whole_boundary,
                   End end = End::kOfInput) {
    const std::string boundary = up_to_cr(whole_boundary);
    const std::size_t length = boundary.size();
    Body body(text, end);
    Scan scan;
    std::string held;
    std::size_t confirmed = 0;
    std::size_t request = length + 4;
    for (;;) {
        const std::string bytes = body.read(request);
        if (bytes.empty()) {
            if (confirmed > 0)
                hand_over(scan, held.substr(0, confirmed));
            scan.result = 2;
            scan.rest = body.rest();
            return scan;
        }
        held += bytes;
        const std::size_t match = held.find("\r\n--", confirmed);
        if (held.size() - confirmed < 4) {
            request = length;
        } else if (match == std::string::npos) {
            confirmed = held.size() - 3;
            request = length;
        } else {
            confirmed = match;
            const std::string behind = held.substr(match + 4);
            if (behind.size() < length) {
                request = length - behind.size();
            } else if (behind.substr(0, length) == boundary) {
                break;
            } else {
                ++confirmed;
                request = 1;
            }
        }
        if (confirmed > 0 && confirmed + length + 4 >= 1024) {
            hand_over(scan, held.substr(0, confirmed));
            held.erase(0, confirmed);
            confirmed = 0;
        }
    }
    hand_over(scan, held.substr(0, confirmed));
    const std::string tail = body.read(2);
    if (tail.size() < 2) {
        scan.result = 2;
    } else if (tail == "\r\n") {
        scan.result = 0;
    } else {
        body.read(2);
        scan.result = kState;
    }
    scan.rest = body.rest();
    return scan;
}

/// The whole body at once. False when it has no delimiter.
bool split(const std::string &text, const std::string &boundary, std::string &content,
           std::string &rest, int &result) {
    const std::string delimiter = "\r\n--" + up_to_cr(boundary);
    const std::size_t place = text.find(delimiter);
    if (place == std::string::npos)
        return false;
    content = text.substr(0, place);
    const std::string behind = text.substr(place + delimiter.size());
    const std::string tail = behind.substr(0, 2);
    result = tail.size() < 2 ? 2 : tail == "\r\n" ? 0 : kState;
    const std::size_t consumed = result == kState ? 4 : 2;
    rest = behind.size() > consumed ? behind.substr(consumed) : "";
    return true;
}

using Random = std::mt19937;

std::size_t below(Random &random, std::size_t limit) {
    return random() % limit;
}

/// A body of what looks like delimiters, mostly short, sometimes beyond the work buffer.
std::string make_body(Random &random, const std::string &boundary) {
    const std::string start = up_to_cr(boundary);
    const std::string pieces[] = {
        "\r",     "\n",     "-",          "--",  "\r\n",           "\r\n-",
        "\r\n--", "\r\r\n", "\r\n\r\n--", start, "\r\n--" + start, "a"};
    std::string body;
    for (std::size_t count = below(random, 25); count > 0; --count) {
        const std::size_t kind = below(random, std::size(pieces) + 6);
        if (kind < std::size(pieces) && (kind != 10 || below(random, 4) == 0))
            body += pieces[kind];
        else if (kind < std::size(pieces) + 4)  // a delimiter that is cut
            body += "\r\n--" + start.substr(0, below(random, start.size() + 1));
        else
            body += std::string(below(random, 12), 'b');
        if (below(random, 120) == 0)
            body += std::string(900 + below(random, 1500), 'c');
    }
    const char *const tails[] = {"\r\n", "--\r\n", "--", "-", "", "ab"};
    if (below(random, 3) > 0)
        body += "\r\n--" + start + tails[below(random, std::size(tails))];
    if (below(random, 2) > 0)
        body += "next\r\n";
    return body;
}

void compare(const std::string &body, const std::string &boundary) {
    SCOPED_TRACE("boundary \"" + printable(boundary) + "\", body \"" + printable(body) + '"');
    const Scan actual = scan(body, boundary, kState);
    const Scan expected = scan_by_steps(body, boundary);
    ASSERT_EQ(actual.pieces, expected.pieces);
    ASSERT_EQ(actual.result, expected.result);
    ASSERT_EQ(actual.rest, expected.rest);
    if (up_to_cr(boundary).empty())
        return;  // ends behind its first reading, wherever a delimiter stands
    std::string content;
    std::string rest;
    int result = 0;
    if (split(body, boundary, content, rest, result)) {
        ASSERT_EQ(actual.content(), content);
        ASSERT_EQ(actual.result, result);
        ASSERT_EQ(actual.rest, rest);
    } else {
        ASSERT_EQ(actual.result, 2);
        ASSERT_TRUE(body.starts_with(actual.content()));
        ASSERT_EQ(actual.rest, "");
    }
}

/// A connection whose other end has sent a body.
class Connection {
  public:
    explicit Connection(const std::string &body) {
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends_.data()) != 0 ||
            ::send(ends_[1], body.data(), body.size(), 0) != static_cast<ssize_t>(body.size()))
            std::abort();
    }
    Connection(const Connection &) = delete;
    Connection &operator=(const Connection &) = delete;
    ~Connection() {
        ::close(ends_[0]);
        hang_up();
    }

    int fd() const { return ends_[0]; }
    void hang_up() {
        if (ends_[1] >= 0)
            ::close(std::exchange(ends_[1], -1));
    }

  private:
    std::array<int, 2> ends_{};
};

/// All that a descriptor still gives, up to its end or a failure.
std::string read_rest(int fd) {
    std::string rest;
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(fd, buffer, sizeof buffer)) > 0;)
        rest.append(buffer, static_cast<std::size_t>(n));
    return rest;
}

Scan scan_whole(int fd, const std::string &boundary) {
    Scan result = scan(fd, boundary, kState);
    result.rest = read_rest(fd);
    return result;
}

Scan scan_pipe(const std::string &body, const std::string &boundary, End end) {
    qmv_test::Pipe pipe(body);
    if (end == End::kFailure)
        qmv_test::never_wait(pipe.reader());
    else
        pipe.close_writer();
    return scan_whole(pipe.reader(), boundary);
}

Scan scan_connection(const std::string &body, const std::string &boundary, End end) {
    Connection connection(body);
    if (end == End::kFailure)
        qmv_test::never_wait(connection.fd());
    else
        connection.hang_up();
    return scan_whole(connection.fd(), boundary);
}

std::vector<std::size_t> sizes(const Scan &scan) {
    std::vector<std::size_t> sizes;
    for (const std::string &piece : scan.pieces)
        sizes.push_back(piece.size());
    return sizes;
}

void expect_same(const Scan &actual, const Scan &expected, const char *kind) {
    EXPECT_EQ(sizes(actual), sizes(expected)) << kind;
    EXPECT_TRUE(actual.content() == expected.content()) << kind;
    EXPECT_EQ(actual.result, expected.result) << kind;
    EXPECT_EQ(actual.rest, expected.rest) << kind;
}

void compare_kinds(const std::string &body, const std::string &boundary) {
    const std::string label =
        "boundary \"" + printable(boundary) + "\", body \"" + printable(body) + '"';
    SCOPED_TRACE(label);
    const Scan expected = scan_by_steps(body, boundary);
    expect_same(scan(body, boundary, kState), expected, "file");
    expect_same(scan_pipe(body, boundary, End::kOfInput), expected, "pipe");
    expect_same(scan_connection(body, boundary, End::kOfInput), expected, "socket");
    const Scan failed = scan_by_steps(body, boundary, End::kFailure);
    expect_same(scan_pipe(body, boundary, End::kFailure), failed, "pipe that fails");
    expect_same(scan_connection(body, boundary, End::kFailure), failed, "socket that fails");
}

/// A terminal that hands over what is typed at once and as it is.
class Terminal {
  public:
    Terminal() : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        if (master_ < 0 || ::grantpt(master_) != 0 || ::unlockpt(master_) != 0)
            return;
        char name[64];
        if (::ptsname_r(master_, name, sizeof name) != 0)
            return;
        slave_ = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
        termios raw{};
        ::tcgetattr(slave_, &raw);
        ::cfmakeraw(&raw);
        ::tcsetattr(slave_, TCSANOW, &raw);
    }
    Terminal(const Terminal &) = delete;
    Terminal &operator=(const Terminal &) = delete;
    ~Terminal() {
        ::close(slave_);
        ::close(master_);
    }

    int fd() const { return slave_; }
    bool type(const std::string &text) const {
        return ::write(master_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

  private:
    int master_;
    int slave_ = -1;
};

/// Stays below what a terminal holds.
constexpr std::size_t kMaxTyped = 2000;

}  // namespace

TEST(ScanBoundaryRandom, AgreesWithItsStepsAndWithSplittingTheWholeBody) {
    const std::string boundaries[] = {"XYZ",
                                      "X",
                                      "-",
                                      "--",
                                      "\n",
                                      "\n--",
                                      "a-a-a",
                                      "",
                                      "XYZ\r",
                                      "bbbb",
                                      "\r",
                                      "\n--X\n--Xa",
                                      "----------------------------735323031399963166993862"};
    Random random(20240611);
    for (int i = 0; i < 6000 && !::testing::Test::HasFatalFailure(); ++i) {
        const std::string &boundary = boundaries[below(random, std::size(boundaries))];
        compare(make_body(random, boundary), boundary);
    }
}

TEST(ScanBoundaryRandom, AgreesForBoundariesAsLongAsTheBuffer) {
    Random random(4711);
    for (int i = 0; i < 1500 && !::testing::Test::HasFatalFailure(); ++i) {
        const std::size_t lengths[] = {500, 1000, 1015, 1016, 1017, 1019, 1020, 1021, 1024, 5000};
        const std::string boundary(lengths[below(random, std::size(lengths))], 'b');
        compare(make_body(random, boundary), boundary);
    }
}

TEST(ScanBoundaryKinds, FilesPipesAndSocketsGiveTheSame) {
    const std::string boundaries[] = {
        "XYZ", "X", "-", "\n", "a-a-a", "", "\n--X\n--Xa", "----WebKitFormBoundary7MA4YWxkTrZu0gW"};
    Random random(31);
    for (int i = 0; i < 4000 && !::testing::Test::HasFailure(); ++i) {
        const std::string &boundary = boundaries[below(random, std::size(boundaries))];
        compare_kinds(make_body(random, boundary), boundary);
    }
}

TEST(ScanBoundaryKinds, BoundariesOfEveryLengthGiveTheSame) {
    Random random(77);
    for (std::size_t length = 0; length < 1100 && !::testing::Test::HasFailure(); ++length) {
        const std::string boundary(length, 'b');
        std::string body = make_body(random, boundary);
        body.insert(0, length * below(random, 10), 'c');
        if (body.size() < 60000)
            compare_kinds(body, boundary);
    }
}

TEST(ScanBoundaryKinds, ABoundaryLargerThanAWindowGivesTheSame) {
    const std::string boundary(140000, 'b');
    const std::string body =
        std::string(20, 'c') + "\r\n--" + boundary.substr(1) + "\r\n--" + boundary + "\r\nnext";
    for (int i = 0; i < 20; ++i) {
        const std::string longer = std::string(static_cast<std::size_t>(i) * 140000, 'c') + body;
        expect_same(scan(longer, boundary, kState), scan_by_steps(longer, boundary), "file");
    }
}

TEST(ScanBoundaryKinds, EveryReadingTakesAWholeMessage) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    // Of the second message, and of each behind it, one byte is read and the others are lost.
    for (const char *message : {"hello", "wxx", "o", "rx", "l", "d", "!", ".", ".", "\r", "\nx",
                                "-", "-", "Bx", "\r\nxx", "next"})
        ASSERT_GT(::send(ends[1], message, std::strlen(message), 0), 0);
    const Scan result = scan(ends[0], "B", kState);
    EXPECT_EQ(result.content(), "helloworld!..");
    EXPECT_EQ(result.result, 0);
    char rest[8] = "";
    EXPECT_EQ(::read(ends[0], rest, sizeof rest), 4);
    EXPECT_STREQ(rest, "next");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(ScanBoundaryKinds, DelimitersAtEveryPlaceOfAWindowGiveTheSame) {
    const std::string boundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";
    const std::string next = "\r\n--" + boundary + "\r\nnext";
    for (std::size_t size = 65500; size < 65800 && !::testing::Test::HasFailure(); ++size) {
        const std::string body = qmv_test::pattern(size) + next;
        expect_same(scan(body, boundary, kState), scan_by_steps(body, boundary), "file");
        // What a connection holds goes beyond a window, what a pipe holds does not.
        expect_same(scan_connection(body, boundary, End::kOfInput), scan_by_steps(body, boundary),
                    "socket");
    }
}

TEST(ScanBoundaryKinds, SlowProcessesGiveTheSame) {
    const std::string boundary = "----WebKitFormBoundary7MA4YWxkTrZu0gW";
    const std::string body = qmv_test::pattern(300000) + "\r\n--" + boundary.substr(0, 20) +
                             qmv_test::pattern(9000) + "\r\n--" + boundary + "\r\nnext";
    const Scan expected = scan_by_steps(body, boundary);
    for (const std::size_t piece : {13U, 500U, 4096U, 65536U, 400000U})
        expect_same(scan(qmv_test::InputPipe(body, piece), boundary, kState), expected, "pipe");
}

TEST(ScanBoundaryKinds, TerminalsGiveTheSame) {
    const Terminal terminal;
    if (terminal.fd() < 0)
        GTEST_SKIP() << "there are no terminals on this machine";
    Random random(5);
    for (int i = 0; i < 500 && !::testing::Test::HasFailure(); ++i) {
        const std::string body = make_body(random, "XYZ") + "\r\n--XYZ\r\n";
        if (body.size() > kMaxTyped)
            continue;
        ASSERT_TRUE(terminal.type(body));
        Scan expected = scan_by_steps(body, "XYZ");
        const Scan actual = scan(terminal.fd(), "XYZ", kState);
        std::string rest(expected.rest.size(), '\0');
        if (!rest.empty())
            rest.resize(static_cast<std::size_t>(::read(terminal.fd(), rest.data(), rest.size())));
        EXPECT_EQ(actual.pieces, expected.pieces) << printable(body);
        EXPECT_EQ(actual.result, expected.result) << printable(body);
        EXPECT_EQ(rest, expected.rest) << printable(body);
    }
}

#if QMV_FAKE_DESCRIPTOR
TEST(ScanBoundaryKinds, ALargeFileIsReadInLargePieces) {
    const std::string body = qmv_test::pattern(1024 * 1024) + "\r\n--XYZ--\r\n";
    const qmv_test::InputFile in(body);
    const qmv_test::DescriptorCalls calls(in.fd());
    EXPECT_EQ(scan_boundary(in.fd(), "XYZ", kState, nullptr, nullptr), kState);
    EXPECT_LE(calls.requests().size(), 24U);
}
#endif
