// scan_boundary() against two plain ways to do the same, on thousands of bodies full of pieces of
// delimiters.
#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <vector>

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

/// Reads a body as a descriptor is read: no more than is asked for.
class Body {
  public:
    explicit Body(const std::string &body) : body_(body) {}

    std::string read(std::size_t count) {
        const std::string bytes = body_.substr(at_, count);
        at_ += bytes.size();
        return bytes;
    }
    std::string rest() const { return body_.substr(at_); }

  private:
    std::string body_;
    std::size_t at_ = 0;
};

void hand_over(Scan &scan, std::string bytes) {
    for (; bytes.size() > 1024; bytes.erase(0, 1024))
        scan.pieces.push_back(bytes.substr(0, 1024));
    scan.pieces.push_back(bytes);
}

/// Step by step with a buffer that holds, counts as confirmed, and hands over.
Scan scan_by_steps(const std::string &text, const std::string &whole_boundary) {
    const std::string boundary = up_to_cr(whole_boundary);
    const std::size_t length = boundary.size();
    Body body(text);
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
