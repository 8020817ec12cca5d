// The content of a part: scan_boundary() on bodies written by hand. What holds for every body is in
// multipart_random_test.cpp, the writers are in multipart_writer_test.cpp.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <climits>
#include <string>
#include <vector>

#include "qmv/cgi.h"
#include "tests/fakes/allocation.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/io.h"
#include "tests/support/scan.h"

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::never_wait;
using qmv_test::pattern;
using qmv_test::Pipe;
using qmv_test::Scan;
using qmv_test::scan;
using qmv_test::text;

namespace {

constexpr int kClosing = 3;

/// A boundary that does not repeat itself.
std::string long_boundary(std::size_t length) {
    std::string boundary;
    for (std::size_t i = 0; boundary.size() < length; ++i)
        boundary += std::to_string(i) + ".";
    boundary.resize(length);
    return boundary;
}

std::vector<std::size_t> sizes(const Scan &result) {
    std::vector<std::size_t> sizes;
    for (const std::string &piece : result.pieces)
        sizes.push_back(piece.size());
    return sizes;
}

}  // namespace

TEST(ScanBoundary, ResultTellsWhatFollowsTheDelimiter) {
    const struct {
        const char *label;
        std::string tail;
        int result;
        const char *rest;
    } rows[] = {
        {"another part", "\r\nContent-A: b\r\n", 0, "Content-A: b\r\n"},
        {"another part, nothing behind", "\r\n", 0, ""},
        {"another part that begins with CR LF", "\r\n\r\nx", 0, "\r\nx"},
        {"closing delimiter", "--\r\n", kClosing, ""},
        {"closing delimiter with an epilogue", "--\r\nepilogue", kClosing, "epilogue"},
        {"closing delimiter, two other bytes are consumed", "--epilogue", kClosing, "ilogue"},
        {"closing delimiter at the end of the input", "--", kClosing, ""},
        {"closing delimiter and one byte", "--\r", kClosing, ""},
        {"any two bytes close", "ab\r\nx", kClosing, "x"},
        {"LF CR closes", "\n\r..x", kClosing, "x"},
        {"CR and another byte closes", "\r-..x", kClosing, "x"},
        {"another byte and LF closes", "-\n..x", kClosing, "x"},
        {"NUL bytes close", text("\0\0..x"), kClosing, "x"},
        {"input ends behind the delimiter", "", 2, ""},
        {"one byte behind the delimiter", "-", 2, ""},
        {"CR behind the delimiter", "\r", 2, ""},
    };
    for (const auto &row : rows) {
        const Scan result = scan("content\r\n--XYZ" + row.tail, "XYZ", kClosing);
        EXPECT_EQ(result.result, row.result) << row.label;
        EXPECT_EQ(result.content(), "content") << row.label;
        EXPECT_EQ(result.rest, row.rest) << row.label;
    }
}

TEST(ScanBoundary, ReturnsTheStateOfTheCaller) {
    for (const unsigned state : {0u, 1u, 2u, 3u, 255u, static_cast<unsigned>(INT_MAX)}) {
        EXPECT_EQ(scan("\r\n--XYZ--\r\n", "XYZ", state).result, static_cast<int>(state));
        EXPECT_EQ(scan("\r\n--XYZ\r\n", "XYZ", state).result, 0) << "state " << state;
        EXPECT_EQ(scan("\r\n--XYZ", "XYZ", state).result, 2) << "state " << state;
    }
}

TEST(ScanBoundary, HandsOverExactlyWhatIsInFrontOfTheDelimiter) {
    const struct {
        const char *label;
        std::string content;
    } rows[] = {
        {"one byte", "a"},
        {"text", "some content"},
        {"CR LF at the end", "content\r\n"},
        {"CR at the end", "content\r"},
        {"CRs at the end", "content\r\r\r"},
        {"LF at the end", "content\n"},
        {"only CR LF", "\r\n"},
        {"only CR", "\r"},
        {"CR LF and a dash", "\r\n-"},
        {"NUL bytes", text("a\0b\0")},
        {"bytes above 0x7F", "\x80\xFF\xC3\xA9"},
        {"boundary without CR LF", "--XYZ"},
        {"boundary behind LF", "a\n--XYZ\nb"},
        {"boundary behind CR", "a\r--XYZ\rb"},
        {"boundary with one dash", "a\r\n-XYZ\r\nb"},
        {"another boundary", "a\r\n--ABC\r\nb"},
        {"a shorter boundary", "a\r\n--XY\r\nb"},
        {"another case", "a\r\n--xyz\r\nb"},
        {"last byte differs", "a\r\n--XYz\r\nb"},
        {"first byte differs", "a\r\n--xYZ\r\nb"},
        {"a blank before the boundary", "a\r\n-- XYZ\r\nb"},
        {"start of a delimiter", "a\r\n--"},
        {"start of a delimiter, twice", "\r\n--\r\n--"},
        {"start of a delimiter and one byte", "a\r\n--X"},
        {"all but the last byte of a delimiter", "a\r\n--XY"},
        {"all but the last byte of a delimiter, twice", "\r\n--XY\r\n--XY"},
        {"too many dashes", "\r\n---XYZ"},
        {"dashes and a delimiter start", "--\r\n--\r\n"},
    };
    for (const auto &row : rows) {
        for (const char *tail : {"\r\nnext", "--\r\nnext"}) {
            const Scan result = scan(row.content + "\r\n--XYZ" + tail, "XYZ", kClosing);
            EXPECT_EQ(result.content(), row.content) << row.label;
            EXPECT_EQ(result.result, tail[0] == '-' ? kClosing : 0) << row.label;
            EXPECT_EQ(result.rest, "next") << row.label;
        }
    }
}

TEST(ScanBoundary, StopsAtTheFirstDelimiter) {
    const Scan result = scan("a\r\n--XYZ\r\nb\r\n--XYZ--\r\n", "XYZ", kClosing);
    EXPECT_EQ(result.result, 0);
    EXPECT_EQ(result.content(), "a");
    EXPECT_EQ(result.rest, "b\r\n--XYZ--\r\n");
}

TEST(ScanBoundary, TakesALongerBoundaryForAClosingDelimiter) {
    const Scan result = scan("a\r\n--XYZabc\r\n", "XYZ", kClosing);
    EXPECT_EQ(result.result, kClosing);
    EXPECT_EQ(result.content(), "a");
    EXPECT_EQ(result.rest, "\n") << "\"ab\" is the tail, two bytes behind it are consumed";
}

TEST(ScanBoundary, CallsTheWriterOnceWithNothingForAnEmptyContent) {
    for (const char *tail : {"\r\n", "--\r\n", ""}) {
        const Scan result = scan(std::string("\r\n--XYZ") + tail, "XYZ", kClosing);
        EXPECT_EQ(result.pieces, std::vector<std::string>{""}) << "tail \"" << tail << '"';
    }
}

TEST(ScanBoundary, ComparesABoundaryWithoutItsTrailingCr) {
    for (const char *boundary : {"XYZ\r", "XYZ\r\n", "XYZ\rabc"}) {
        const Scan result = scan("a\r\n--XYZ\r\nb", boundary, kClosing);
        EXPECT_EQ(result.result, 0);
        EXPECT_EQ(result.content(), "a");
        EXPECT_EQ(result.rest, "b");
    }
}

TEST(ScanBoundary, TakesALineFeedForAPartOfTheBoundary) {
    EXPECT_EQ(scan("a\r\n--XYZ\r\nb", "XYZ\n", kClosing).result, 2);
    EXPECT_EQ(scan("a\r\n--XYZ\n\r\nb", "XYZ\n", kClosing).content(), "a");
}

TEST(ScanBoundary, DropsTheUnconfirmedBytesAtTheEndOfTheInput) {
    // With a boundary of 3 bytes the first reading takes 7, the next ones 3 or what is missing of a
    // delimiter; the last three bytes without a delimiter's start stay unconfirmed.
    const struct {
        const char *label;
        const char *body;
        const char *confirmed;
    } rows[] = {
        {"nothing", "", ""},
        {"fewer bytes than a delimiter's start", "abc", ""},
        {"as many bytes as a delimiter's start", "abcd", "a"},
        {"a part of the first reading", "hello", "he"},
        {"the first reading", "hello12", "hell"},
        {"two readings", "hello12345", "hello12"},
        {"a part of the second reading", "hello1234", "hello1"},
        {"closing CR LF", "hello\r\n", "hell"},
        {"start of a delimiter", "hello\r\n--", "hello"},
        {"start of a boundary", "hello\r\n--XY", "hello"},
        {"only the start of a delimiter", "\r\n--", ""},
        {"only the start of a boundary", "\r\n--XY", ""},
        {"another boundary", "a\r\n--ABC", "a\r"},
        {"another boundary and a byte", "a\r\n--ABCd", "a\r\n--A"},
        {"delimiter of an LF", "hello\n--XYZ", "hello\n--"},
    };
    for (const auto &row : rows) {
        const Scan result = scan(row.body, "XYZ", kClosing);
        EXPECT_EQ(result.result, 2) << row.label;
        EXPECT_EQ(result.content(), row.confirmed) << row.label;
        EXPECT_EQ(result.rest, "") << row.label;
        for (const std::string &piece : result.pieces)
            EXPECT_NE(piece, "") << row.label << ": no call for nothing at the end of the input";
    }
}

TEST(ScanBoundary, SearchesOneReadingForAnEmptyBoundary) {
    const struct {
        const char *label;
        const char *body;
        int result;
        const char *content;
        const char *rest;
    } rows[] = {
        {"delimiter at once", "\r\n--\r\nnext", 0, "", "next"},
        {"closing delimiter at once", "\r\n----\r\nnext", kClosing, "", "next"},
        {"content in front: the next reading asks for nothing", "a\r\n--\r\n", 2, "a", "-\r\n"},
        {"no delimiter", "abcdef", 2, "a", "ef"},
        {"fewer bytes than a delimiter", "abc", 2, "", ""},
        {"nothing", "", 2, "", ""},
    };
    for (const auto &row : rows) {
        for (const char *boundary : {"", "\rXYZ"}) {
            const Scan result = scan(row.body, boundary, kClosing);
            EXPECT_EQ(result.result, row.result) << row.label;
            EXPECT_EQ(result.content(), row.content) << row.label;
            EXPECT_EQ(result.rest, row.rest) << row.label;
        }
    }
}

TEST(ScanBoundary, HandsContentOverInPiecesAtTheThreshold) {
    // Each row counts through the readings: L + 4 bytes first, then L, three of them unconfirmed,
    // until 1024 - (L + 4) bytes are confirmed.
    const struct {
        std::size_t boundary;
        std::size_t content;
        std::vector<std::size_t> pieces;
    } rows[] = {
        {1, 1018, {1018}},
        {1, 1019, {1019, 0}},
        {1, 3000, {1019, 1019, 962}},
        {70, 949, {949}},
        {70, 980, {980, 0}},
        {70, 981, {981, 0}},
        {70, 982, {981, 1}},
        {70, 3000, {981, 980, 980, 59}},
        {1016, 0, {0}},
        {1016, 3, {3}},
        {1016, 4, {4, 0}},
        {1016, 3000, {1017, 1016, 967, 0}},
        {1020, 0, {0}},
        {1020, 1, {1, 0}},
        {1020, 3000, {1021, 1020, 959, 0}},
        {1021, 3000, {1022, 1021, 957, 0}},
        {5000, 0, {0}},
        {5000, 1, {1, 0}},
        {5000, 1024, {1024, 0}},
        {5000, 3000, {1024, 1024, 952, 0}},
    };
    for (const auto &row : rows) {
        const std::string boundary = long_boundary(row.boundary);
        const std::string content(row.content, 'a');
        const Scan result = scan(content + "\r\n--" + boundary + "\r\nnext", boundary, kClosing);
        EXPECT_EQ(sizes(result), row.pieces)
            << "boundary of " << row.boundary << ", content of " << row.content;
        EXPECT_TRUE(result.content() == content)
            << "boundary of " << row.boundary << ", content of " << row.content;
        EXPECT_EQ(result.result, 0);
        EXPECT_EQ(result.rest, "next");
    }
}

TEST(ScanBoundary, PassesContentsOfAllSizesAtEveryPlaceOfTheBuffer) {
    // Every size moves the delimiter by one place against the readings and the buffer.
    const struct {
        std::size_t boundary;
        std::size_t ranges[4][2];
    } rows[] = {
        {1, {{0, 40}, {1000, 1040}, {2020, 2060}, {2990, 3000}}},
        {70, {{0, 300}, {880, 1120}, {1900, 2100}, {2800, 3000}}},
        {1016, {{0, 3000}, {0, 0}, {0, 0}, {0, 0}}},
        {1020, {{0, 3000}, {0, 0}, {0, 0}, {0, 0}}},
        {5000, {{0, 3000}, {0, 0}, {0, 0}, {0, 0}}},
    };
    for (const auto &row : rows) {
        const std::string boundary = long_boundary(row.boundary);
        for (const auto &range : row.ranges) {
            for (std::size_t size = range[0]; size <= range[1]; ++size) {
                const std::string content = pattern(size);
                const bool closing = size % 2 != 0;
                const Scan result =
                    scan(content + "\r\n--" + boundary + (closing ? "--\r\nnext" : "\r\nnext"),
                         boundary, kClosing);
                ASSERT_TRUE(result.content() == content) << row.boundary << ", " << size;
                ASSERT_EQ(result.result, closing ? kClosing : 0) << row.boundary << ", " << size;
                ASSERT_EQ(result.rest, "next") << row.boundary << ", " << size;
                for (const std::string &piece : result.pieces)
                    ASSERT_LE(piece.size(), 1024u) << row.boundary << ", " << size;
            }
        }
    }
}

TEST(ScanBoundary, ComparesLongBoundariesToTheirLastByte) {
    for (const std::size_t length : {1u, 70u, 1016u, 1020u, 5000u}) {
        const std::string boundary = long_boundary(length);
        for (const std::size_t place : {std::size_t{0}, length / 2, length - 1}) {
            std::string other = boundary;
            other[place] = '!';
            const std::string content = "a\r\n--" + other + "\r\nb";
            const Scan result =
                scan(content + "\r\n--" + boundary + "--\r\nnext", boundary, kClosing);
            EXPECT_TRUE(result.content() == content) << length << ", differs at " << place;
            EXPECT_EQ(result.result, kClosing) << length << ", differs at " << place;
            EXPECT_EQ(result.rest, "next") << length << ", differs at " << place;
        }
    }
}

TEST(ScanBoundary, FindsADelimiterThatArrivesInPieces) {
    const std::string content = "a\r\n--XY\r\r\n\r\n--" + pattern(1500);
    for (const std::size_t piece : {1u, 2u, 3u, 5u, 7u, 1024u}) {
        const InputPipe in(content + "\r\n--XYZ\r\nnext", piece);
        const Scan result = scan(in, "XYZ", kClosing);
        EXPECT_TRUE(result.content() == content) << "pieces of " << piece;
        EXPECT_EQ(result.result, 0) << "pieces of " << piece;
        EXPECT_EQ(result.rest, "next") << "pieces of " << piece;
    }
}

TEST(ScanBoundary, DiscardsContentWithoutAWriter) {
    for (const std::size_t size : {0u, 1u, 1000u, 3000u, 10000u}) {
        const InputFile in(pattern(size) + "\r\n--XYZ\r\nnext");
        EXPECT_EQ(scan_boundary(in.fd(), "XYZ", kClosing, nullptr, nullptr), 0) << size;
        EXPECT_EQ(in.rest(), "next") << size;
    }
    const InputFile in("hello");
    EXPECT_EQ(scan_boundary(in.fd(), "XYZ", kClosing, nullptr, nullptr), 2);
    const InputFile huge(pattern(8000) + "\r\n--" + long_boundary(5000) + "--\r\nnext");
    EXPECT_EQ(scan_boundary(huge.fd(), long_boundary(5000).c_str(), kClosing, nullptr, nullptr),
              kClosing);
    EXPECT_EQ(huge.rest(), "next");
}

TEST(ScanBoundary, IgnoresTheResultOfTheWriter) {
    for (const int answer : {-1, 0, 1, 3}) {
        struct Calls {
            int answer;
            std::string content;
        } calls{answer, ""};
        const auto append = [](void *ctx, const void *bytes, int len) {
            auto *seen = static_cast<Calls *>(ctx);
            seen->content.append(static_cast<const char *>(bytes), static_cast<std::size_t>(len));
            return seen->answer;
        };
        const InputFile in(pattern(3000) + "\r\n--XYZ\r\nnext");
        EXPECT_EQ(scan_boundary(in.fd(), "XYZ", kClosing, append, &calls), 0) << answer;
        EXPECT_TRUE(calls.content == pattern(3000)) << "answer " << answer;
    }
}

TEST(ScanBoundary, Returns2WhenAReadFails) {
    EXPECT_EQ(scan_boundary(-1, "XYZ", kClosing, nullptr, nullptr), 2) << "no descriptor";
    // A pipe that has no more to give yet.
    const struct {
        const char *label;
        const char *body;
        const char *confirmed;
    } rows[] = {
        {"in the first reading", "hello", ""},
        {"behind the first reading", "hello12", "hell"},
        {"in the second reading", "hello1234", "hell"},
        {"in the boundary", "hello\r\n--XY", "hello"},
        {"behind the delimiter", "hello\r\n--XYZ", "hello"},
        {"in the tail", "hello\r\n--XYZ-", "hello"},
    };
    for (const auto &row : rows) {
        const Pipe pipe(row.body);
        never_wait(pipe.reader());
        const Scan result = scan(pipe.reader(), "XYZ", kClosing);
        EXPECT_EQ(result.result, 2) << row.label;
        EXPECT_EQ(result.content(), row.confirmed) << row.label;
    }
}

TEST(ScanBoundary, ClosesWhenTheBytesBehindTheTailCannotBeRead) {
    const Pipe pipe("a\r\n--XYZ--");
    never_wait(pipe.reader());
    EXPECT_EQ(scan(pipe.reader(), "XYZ", kClosing).result, kClosing);
}

TEST(ScanBoundary, KeepsWhatWasHandedOverBeforeAFailure) {
    const Pipe pipe(pattern(2000));
    never_wait(pipe.reader());
    const Scan result = scan(pipe.reader(), "X", kClosing);
    EXPECT_EQ(result.result, 2);
    EXPECT_EQ(sizes(result), (std::vector<std::size_t>{1019, 978})) << "all but three bytes";
    EXPECT_TRUE(result.content() == pattern(1997));
}

TEST(ScanBoundary, Returns2WithoutABoundary) {
    const InputFile in("a\r\n--\r\n");
    EXPECT_EQ(scan_boundary(in.fd(), nullptr, kClosing, nullptr, nullptr), 2);
    EXPECT_EQ(in.rest(), "a\r\n--\r\n") << "nothing is read";
}

#if QMV_FAKE_ALLOCATION
TEST(ScanBoundary, Returns2WithoutMemoryForALongBoundary) {
    const std::string boundary = long_boundary(5000);
    const std::string body = "a\r\n--" + boundary + "\r\nnext";
    const InputFile in(body);
    int result = 0;
    {
        const qmv_test::AllocationFailure no_memory(0);
        result = scan_boundary(in.fd(), boundary.c_str(), kClosing, nullptr, nullptr);
        EXPECT_EQ(no_memory.failed(), 1);
    }
    EXPECT_EQ(result, 2);
    EXPECT_TRUE(in.rest() == body) << "nothing is read";
}

TEST(ScanBoundary, NeedsNoMemoryForABoundaryOfAForm) {
    const std::string boundary = long_boundary(1020);
    const InputFile in("a\r\n--" + boundary + "\r\nnext");
    const qmv_test::AllocationFailure no_memory(0);
    EXPECT_EQ(scan_boundary(in.fd(), boundary.c_str(), kClosing, nullptr, nullptr), 0);
}
#endif

#if QMV_FAKE_DESCRIPTOR
TEST(ScanBoundary, AsksForNoMoreThanADelimiterCanHold) {
    const struct {
        const char *label;
        const char *body;
        std::vector<std::size_t> requests;
    } rows[] = {
        {"delimiter at once", "\r\n--XYZ\r\nnext", {7, 2}},
        {"closing delimiter", "\r\n--XYZ--\r\nnext", {7, 2, 2}},
        {"no delimiter in the first reading, two bytes of it are missing in the second",
         "hello\r\n--XYZ\r\nnext",
         {7, 3, 2, 2}},
        {"three bytes are missing", "abc\r\n--XYZ\r\nnext", {7, 3, 2}},
        {"one byte behind another boundary", "a\r\n--ABC\r\n--XYZ\r\nnext", {7, 1, 1, 3, 3, 2}},
        // A reading that falls short asks once more for what is missing of it.
        {"the boundary's length while a delimiter cannot be seen", "abc", {7, 4, 3}},
    };
    for (const auto &row : rows) {
        const InputFile in(row.body);
        const qmv_test::DescriptorCalls calls(in.fd());
        scan_boundary(in.fd(), "XYZ", kClosing, nullptr, nullptr);
        EXPECT_EQ(calls.requests(), row.requests) << row.label;
    }
}
#endif
