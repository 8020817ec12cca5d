// Lines: of a multipart body, a byte at a time, and of a text file.
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "qmv/util.h"
#include "tests/fakes/allocation.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::never_wait;
using qmv_test::open_descriptors;
using qmv_test::Pipe;
using qmv_test::TempDir;
using qmv_test::text;

namespace {

/// One call of full_line_read_fd() with a buffer that has guards around it.
struct LineRead {
    int result;
    std::string line;  ///< the `result` bytes of the line; "?" when no NUL follows them
    bool guarded;      ///< nothing outside the buffer was written
};

LineRead read_line(int fd, unsigned size) {
    // An LF directly behind the buffer must not end a line whose CR is its last byte.
    const std::string front(16, '#');
    const std::string behind(16, '\n');
    std::string room = front + std::string(size, '#') + behind;
    char *buffer = room.data() + front.size();
    const int result = full_line_read_fd(fd, buffer, size);
    LineRead read{result, "?", true};
    if (result >= 0 && buffer[result] == '\0')
        read.line.assign(buffer, static_cast<std::size_t>(result));
    read.guarded = room.starts_with(front) && room.substr(front.size() + size) == behind;
    return read;
}

std::vector<std::string> lines_of(const std::string &path, int &result) {
    std::vector<std::string> lines;
    const auto keep = [](void *ctx, char *line) {
        static_cast<std::vector<std::string> *>(ctx)->emplace_back(line);
        return -1;
    };
    result = rd_file_line(path.c_str(), keep, &lines);
    return lines;
}

}  // namespace

TEST(FullLineReadFd, ReturnsLinesThatEndInCrLf) {
    const struct {
        const char *label;
        std::string input;
        int result;
        std::string line;
        const char *rest;
    } rows[] = {
        {"rest stays unread", "ab\r\nrest", 2, "ab", "rest"},
        {"one byte", "a\r\nrest", 1, "a", "rest"},
        {"only one line is taken", "ab\r\ncd\r\n", 2, "ab", "cd\r\n"},
        {"empty line", "\r\nrest", 0, "", "rest"},
        {"empty line at the end", "\r\n", 0, "", ""},
        {"LF inside", "a\nb\r\nrest", 3, "a\nb", "rest"},
        {"CR inside", "a\rb\r\nrest", 3, "a\rb", "rest"},
        {"LF CR is no end", "a\n\rb\r\nrest", 4, "a\n\rb", "rest"},
        {"CR in front of the end", "\r\r\nrest", 1, "\r", "rest"},
        {"LF in front of the end", "\n\r\nrest", 1, "\n", "rest"},
        {"NUL inside", text("a\0b\r\nrest"), 3, text("a\0b"), "rest"},
        {"bytes above 0x7F", "\xC3\xA9\xFF\r\nrest", 3, "\xC3\xA9\xFF", "rest"},
    };
    for (const auto &row : rows) {
        const InputFile in(row.input);
        const LineRead read = read_line(in.fd(), 1024);
        EXPECT_EQ(read.result, row.result) << row.label;
        EXPECT_EQ(read.line, row.line) << row.label;
        EXPECT_EQ(in.rest(), row.rest) << row.label;
        EXPECT_TRUE(read.guarded) << row.label;
    }
}

TEST(FullLineReadFd, ReturnsZeroWhenTheInputEndsInsideALine) {
    for (const char *input : {"", "a", "\r", "ab", "abc", "ab\r", "ab\n", "ab\n\r", "a\rb"}) {
        const InputFile in(input);
        const LineRead read = read_line(in.fd(), 1024);
        EXPECT_EQ(read.result, 0) << "input of " << std::string(input).size();
        EXPECT_TRUE(read.guarded);
        EXPECT_EQ(in.rest(), "") << "the partial line is lost";
    }
}

TEST(FullLineReadFd, RefusesBuffersBelowTwoBytes) {
    for (const unsigned size : {0u, 1u}) {
        const InputFile in("\r\nrest");
        const LineRead read = read_line(in.fd(), size);
        EXPECT_EQ(read.result, -1) << "size " << size;
        EXPECT_TRUE(read.guarded) << "size " << size;
        EXPECT_EQ(in.rest(), "\r\nrest") << "size " << size << ": nothing is read";
    }
    EXPECT_EQ(full_line_read_fd(-1, nullptr, 1024), -1) << "null buffer";
}

TEST(FullLineReadFd, ReturnsLinesUpToTwoBytesBelowTheSize) {
    const struct {
        unsigned size;
        std::size_t length;
    } rows[] = {{2, 0}, {3, 0}, {3, 1}, {4, 2}, {16, 14}, {1024, 1021}, {1024, 1022}};
    for (const auto &row : rows) {
        const InputFile in(std::string(row.length, 'a') + "\r\nrest");
        const LineRead read = read_line(in.fd(), row.size);
        EXPECT_EQ(read.result, static_cast<int>(row.length)) << "size " << row.size;
        EXPECT_EQ(read.line, std::string(row.length, 'a')) << "size " << row.size;
        EXPECT_EQ(in.rest(), "rest") << "size " << row.size;
        EXPECT_TRUE(read.guarded) << "size " << row.size;
    }
}

TEST(FullLineReadFd, ReadsLongerLinesToTheEndOfTheInputAndNotBehindTheBuffer) {
    const struct {
        unsigned size;
        std::size_t length;
    } rows[] = {{2, 1}, {2, 2}, {3, 2}, {4, 3}, {16, 15}, {1024, 1023}, {1024, 1024}, {1024, 9000}};
    for (const auto &row : rows) {
        const InputFile in(std::string(row.length, 'a') + "\r\nb\r\n\r\nc");
        const LineRead read = read_line(in.fd(), row.size);
        EXPECT_EQ(read.result, 0) << "size " << row.size << ", line of " << row.length;
        EXPECT_EQ(in.rest(), "") << "size " << row.size << ", line of " << row.length;
        EXPECT_TRUE(read.guarded) << "size " << row.size << ", line of " << row.length;
    }
}

TEST(FullLineReadFd, DoesNotTakeAnOverwrittenByteForTheEndOfALine) {
    // The CR stays in the last but one place, and LFs come later into the last one.
    const struct {
        unsigned size;
        const char *input;
    } rows[] = {{2, "\ra\nb\r\n"}, {2, "\ra\n"}, {4, "ab\rc\n\n\nd\r\n"}, {4, "ab\rc\r\n"}};
    for (const auto &row : rows) {
        const InputFile in(row.input);
        const LineRead read = read_line(in.fd(), row.size);
        EXPECT_EQ(read.result, 0) << "size " << row.size;
        EXPECT_EQ(in.rest(), "") << "size " << row.size;
        EXPECT_TRUE(read.guarded) << "size " << row.size;
    }
}

TEST(FullLineReadFd, FailsWhenAReadFails) {
    EXPECT_EQ(read_line(-1, 1024).result, -1) << "no descriptor";
    // A pipe that has no more to give yet, at each step of a line.
    for (const char *input : {"", "a", "ab", "abc", "ab\r"}) {
        const Pipe pipe(input);
        never_wait(pipe.reader());
        errno = 0;
        EXPECT_EQ(read_line(pipe.reader(), 1024).result, -1) << "after \"" << input << '"';
        EXPECT_EQ(errno, EAGAIN) << "after \"" << input << '"';
    }
    const Pipe pipe("a line above the size");
    never_wait(pipe.reader());
    EXPECT_EQ(read_line(pipe.reader(), 8).result, -1) << "in a line that is too long";
    EXPECT_EQ(pipe.take(), "");
}

TEST(FullLineReadFd, ReadsLineByLineFromAPipe) {
    const InputPipe in("one\r\n\r\nthree\r\nrest", 1);
    EXPECT_EQ(read_line(in.fd(), 1024).line, "one");
    EXPECT_EQ(read_line(in.fd(), 1024).line, "");
    EXPECT_EQ(read_line(in.fd(), 1024).line, "three");
    EXPECT_EQ(in.rest(), "rest");
}

#if QMV_FAKE_DESCRIPTOR
TEST(FullLineReadFd, AsksForTwoBytesAndThenForOneAtATime) {
    using Requests = std::vector<std::size_t>;
    const InputFile in("abc\r\nrest");
    qmv_test::DescriptorCalls calls(in.fd());
    EXPECT_EQ(read_line(in.fd(), 1024).line, "abc");
    EXPECT_EQ(calls.requests(), (Requests{2, 1, 1, 1}));
}

TEST(FullLineReadFd, GoesOnAfterSignals) {
    const InputFile in("abc\r\nrest");
    qmv_test::DescriptorCalls calls(in.fd());
    calls.fails(EINTR).moves(1).fails(EINTR).moves(1).fails(EINTR).fails(EINTR);
    EXPECT_EQ(read_line(in.fd(), 1024).line, "abc");
    EXPECT_EQ(calls.unused(), 0u);
}
#endif

TEST(RdFileLine, CallsBackForEachLineWithItsNewline) {
    const struct {
        const char *label;
        std::string content;
        std::vector<std::string> lines;
    } rows[] = {
        {"empty file", "", {}},
        {"one line", "a\n", {"a\n"}},
        {"last line without newline", "a\nbc", {"a\n", "bc"}},
        {"empty lines", "\n\na\n\n", {"\n", "\n", "a\n", "\n"}},
        {"CR stays", "a\r\nb\rc\n", {"a\r\n", "b\rc\n"}},
        {"NUL inside: the string ends there, the line does not", text("a\0b\nc\n"), {"a", "c\n"}},
        {"as long as the first buffer",
         std::string(4095, 'a') + "\nb\n",
         {std::string(4095, 'a') + "\n", "b\n"}},
        {"far longer than the first buffer",
         std::string(100000, 'a') + "\nb",
         {std::string(100000, 'a') + "\n", "b"}},
    };
    const TempDir directory;
    for (const auto &row : rows) {
        int result = -2;
        const auto lines = lines_of(directory.write("f", row.content), result);
        EXPECT_TRUE(lines == row.lines) << row.label << ": " << lines.size() << " lines";
        EXPECT_EQ(result, 0) << row.label;
    }
}

TEST(RdFileLine, DropsLinesWithoutACallback) {
    const TempDir directory;
    EXPECT_EQ(rd_file_line(directory.write("f", "a\nb\n").c_str(), nullptr, nullptr), 0);
}

TEST(RdFileLine, IgnoresTheResultOfTheCallback) {
    const TempDir directory;
    const std::string path = directory.write("f", "a\nb\nc\n");
    for (const int answer : {-1, 0, 1}) {
        struct Calls {
            int answer;
            int count;
        } calls{answer, 0};
        const auto count = [](void *ctx, char *) {
            auto *counted = static_cast<Calls *>(ctx);
            ++counted->count;
            return counted->answer;
        };
        EXPECT_EQ(rd_file_line(path.c_str(), count, &calls), 0) << "answer " << answer;
        EXPECT_EQ(calls.count, 3) << "answer " << answer;
    }
}

TEST(RdFileLine, LetsTheCallbackChangeTheLine) {
    const TempDir directory;
    const std::string path = directory.write("f", "abc\nde\n");
    std::string seen;
    const auto change = [](void *ctx, char *line) {
        *static_cast<std::string *>(ctx) += line;
        line[0] = '\0';
        line[1] = '!';
        return 0;
    };
    EXPECT_EQ(rd_file_line(path.c_str(), change, &seen), 0);
    EXPECT_EQ(seen, "abc\nde\n");
    EXPECT_EQ(directory.read("f"), "abc\nde\n") << "the file is only read";
}

TEST(RdFileLine, FailsWithoutACallOnAMissingFile) {
    const TempDir directory;
    int result = 0;
    errno = 0;
    EXPECT_TRUE(lines_of(directory.file("none"), result).empty());
    EXPECT_EQ(result, -1);
    EXPECT_EQ(errno, ENOENT);
}

TEST(RdFileLine, FailsWithoutAPath) {
    int calls = 0;
    const auto count = [](void *ctx, char *) { return ++*static_cast<int *>(ctx); };
    EXPECT_EQ(rd_file_line(nullptr, count, &calls), -1);
    EXPECT_EQ(calls, 0);
}

TEST(RdFileLine, ClosesTheFile) {
    const TempDir directory;
    const std::string path = directory.write("f", "a\nb\n");
    const int before = open_descriptors();
    int result = -2;
    lines_of(path, result);
    lines_of(directory.file("none"), result);
    EXPECT_EQ(open_descriptors(), before);
}

TEST(RdFileLine, FreesItsBuffer) {
    const TempDir directory;
    const std::string path = directory.write("f", std::string(100000, 'x'));
    const std::size_t before = qmv_test::held_memory();
    EXPECT_EQ(rd_file_line(path.c_str(), nullptr, nullptr), 0);
    EXPECT_LT(qmv_test::held_memory(), before + 20000);
}

#if QMV_FAKE_ALLOCATION
TEST(RdFileLine, ReadsNoLineWithoutMemory) {
    const TempDir directory;
    const std::string path = directory.write("f", "a\nb\n");
    const int before = open_descriptors();
    // First the stream is allocated, then the buffer of the lines.
    for (const int succeed : {0, 1}) {
        int calls = 0;
        int result = 0;
        {
            const qmv_test::AllocationFailure no_memory(succeed);
            const auto count = [](void *ctx, char *) { return ++*static_cast<int *>(ctx); };
            result = rd_file_line(path.c_str(), count, &calls);
            EXPECT_EQ(no_memory.failed(), 1);
        }
        EXPECT_EQ(result, -1) << succeed << " allocations succeed";
        EXPECT_EQ(calls, 0) << succeed << " allocations succeed";
        EXPECT_EQ(open_descriptors(), before) << succeed << " allocations succeed";
    }
}
#endif
