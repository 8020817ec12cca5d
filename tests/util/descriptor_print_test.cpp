// Files and file sizes on standard output.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdio.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "qmv/util.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/failing_output.h"
#include "tests/support/io.h"

using qmv_test::InputFile;
using qmv_test::open_descriptors;
using qmv_test::pattern;
using qmv_test::Pipe;
using qmv_test::print_to;
using qmv_test::printed;
using qmv_test::run_child;
using qmv_test::Sink;
using qmv_test::TempDir;

namespace {

/// What print_fd() returned and printed.
struct Printing {
    int result;
    std::string output;
};

Printing print(int fd) {
    Printing printing{-2, ""};
    printing.output = printed([&] { printing.result = print_fd(fd); });
    return printing;
}

constexpr qmv_test::Buffering kUnbuffered{"unbuffered", _IONBF, 0};

}  // namespace

TEST(PrintFd, PrintsTheWholeFileAndReturnsItsSize) {
    for (const std::size_t size : {1u, 100u, 4095u, 4096u, 4097u, 8192u, 10000u, 100000u}) {
        const std::string content = pattern(size);
        const InputFile file(content);
        const Printing printing = print(file.fd());
        EXPECT_EQ(printing.result, static_cast<int>(size)) << "size " << size;
        EXPECT_TRUE(printing.output == content) << "size " << size;
    }
}

TEST(PrintFd, PrintsNothingForAnEmptyFile) {
    const InputFile file("");
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 0);
    EXPECT_EQ(printing.output, "");
}

TEST(PrintFd, PrintsFromTheCurrentPosition) {
    const InputFile file("0123456789");
    ::lseek(file.fd(), 4, SEEK_SET);
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 6) << "what was printed counts, not the size";
    EXPECT_EQ(printing.output, "456789");
}

TEST(PrintFd, PrintsNothingAtTheEndOfAFile) {
    const InputFile file("0123456789");
    ::lseek(file.fd(), 10, SEEK_SET);
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 0);
    EXPECT_EQ(printing.output, "");
}

TEST(PrintFd, ReadsNothingFromAPipe) {
    const Pipe pipe("abc");
    const Printing printing = print(pipe.reader());
    EXPECT_EQ(printing.result, 0) << "a pipe has no size";
    EXPECT_EQ(printing.output, "");
    EXPECT_EQ(pipe.take(), "abc");
}

TEST(PrintFd, FailsOnADescriptorWithoutAFile) {
    errno = 0;
    const Printing printing = print(-1);
    EXPECT_EQ(printing.result, -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(printing.output, "");
}

TEST(PrintFd, TakesNoSizeFromAnotherFileForADescriptorWithoutOne) {
    // What the first call leaves on the stack would be a size for the second.
    const InputFile empty("");
    const auto printing =
        print_to(Sink::kFullDevice, kUnbuffered,
                 {[&] { return print_fd(empty.fd()); }, [] { return print_fd(-1); }});
    EXPECT_EQ(printing.counts, (std::vector<int>{0, -1}));
}

TEST(PrintFd, FailsOnAFileThatCannotBeRead) {
    const TempDir directory;
    const int fd = ::open(directory.write("f", "abc").c_str(), O_WRONLY | O_CLOEXEC);
    const Printing printing = print(fd);
    EXPECT_EQ(printing.result, -1);
    EXPECT_EQ(printing.output, "");
    ::close(fd);
}

TEST(PrintFd, FailsWhenStandardOutputTakesNothing) {
    const InputFile file("abc");
    for (const Sink sink : {Sink::kFullDevice, Sink::kClosedPipe}) {
        ::lseek(file.fd(), 0, SEEK_SET);
        const auto printing = print_to(sink, kUnbuffered, {[&] { return print_fd(file.fd()); }});
        EXPECT_EQ(printing.counts, std::vector<int>{-1});
    }
    const InputFile large(pattern(10000));
    const auto printing =
        print_to(Sink::kLimitedFile, kUnbuffered, {[&] { return print_fd(large.fd()); }});
    EXPECT_EQ(printing.counts, std::vector<int>{-1}) << "a part of the bytes is no success";
    EXPECT_TRUE(pattern(10000).starts_with(printing.written)) << "what fits is printed";
}

TEST(PrintFd, LeavesTheDescriptorOpen) {
    const InputFile file("abc");
    const int before = open_descriptors();
    print(file.fd());
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_DESCRIPTOR

using Requests = std::vector<std::size_t>;

TEST(PrintFd, AsksForTheSizeOfASmallFile) {
    for (const std::size_t size : {1u, 100u, 4096u}) {
        const InputFile file(pattern(size));
        qmv_test::DescriptorCalls calls(file.fd());
        EXPECT_EQ(print(file.fd()).result, static_cast<int>(size));
        EXPECT_EQ(calls.requests(), Requests{size});
    }
}

TEST(PrintFd, AsksForWholeBuffersOfALargeFile) {
    const InputFile file(pattern(10000));
    qmv_test::DescriptorCalls calls(file.fd());
    EXPECT_EQ(print(file.fd()).result, 10000);
    // The third request yields 1808 bytes; the missing 2288 are asked for once more.
    EXPECT_EQ(calls.requests(), (Requests{4096, 4096, 4096, 2288}));
}

TEST(PrintFd, RequestsComeFromTheSizeNotFromTheRemainder) {
    // A file that grows behind its 5000 bytes: the second request takes a whole buffer of it.
    const InputFile file(pattern(5000));
    qmv_test::DescriptorCalls calls(file.fd());
    calls.pretends(2);
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 8192);
    EXPECT_EQ(printing.output, std::string(8192, 'x'));
    EXPECT_EQ(calls.requests(), Requests{}) << "nothing is read once the size is reached";
}

TEST(PrintFd, ReturnsWhatWasPrintedOfAFileThatShrank) {
    const InputFile file(pattern(5000));
    qmv_test::DescriptorCalls calls(file.fd());
    calls.moves(4096).returns_nothing();
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 4096);
    EXPECT_TRUE(printing.output == pattern(4096));
}

TEST(PrintFd, KeepsWhatWasPrintedBeforeAFailure) {
    const InputFile file(pattern(5000));
    qmv_test::DescriptorCalls calls(file.fd());
    calls.moves(4096).moves(10).fails(EIO);
    errno = 0;
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, -1);
    EXPECT_TRUE(printing.output == pattern(4096));
}

TEST(PrintFd, GoesOnAfterSignals) {
    const InputFile file(pattern(5000));
    qmv_test::DescriptorCalls calls(file.fd());
    calls.fails(EINTR).moves(10).fails(EINTR);
    const Printing printing = print(file.fd());
    EXPECT_EQ(printing.result, 5000);
    EXPECT_TRUE(printing.output == pattern(5000));
}

#if defined(__GLIBC__)
TEST(PrintFd, CountsNoFurtherThanTheLargestInt) {
    constexpr long kBuffers = 2147483648L / 4096;
    const auto child = run_child("", [] {
        // A standard output that takes everything and keeps nothing.
        const auto swallow = [](void *, const char *, size_t count) {
            return static_cast<ssize_t>(count);
        };
        stdout = ::fopencookie(nullptr, "w", {nullptr, swallow, nullptr, nullptr});
        for (const long buffers : {kBuffers - 1, kBuffers}) {
            const InputFile file("");
            if (::ftruncate64(file.fd(), off64_t{buffers} * 4096) != 0)
                return 1;
            qmv_test::DescriptorCalls calls(file.fd());
            calls.pretends(buffers);
            const int expected = buffers == kBuffers ? 2147483647 : 2147479552;
            if (print_fd(file.fd()) != expected || calls.unused() != 0)
                return buffers == kBuffers ? 2 : 3;
        }
        return 0;
    });
    EXPECT_EQ(child.status, 0) << "1: no file; 2: 2 GiB; 3: one buffer less";
}
#endif

#endif

TEST(PrintFsize, PrintsBytesUpTo1024AndKibBeyond) {
    const struct {
        const char *label;
        long long size;
        const char *expected;
    } rows[] = {
        {"nothing", 0, "0&nbsp;Bytes"},
        {"one", 1, "1&nbsp;Bytes"},
        {"one below the limit", 1023, "1023&nbsp;Bytes"},
        {"the last in bytes", 1024, "1024&nbsp;Bytes"},
        {"the first in KiB", 1025, "1&nbsp;KiB"},
        {"rounded down", 2047, "1&nbsp;KiB"},
        {"two KiB", 2048, "2&nbsp;KiB"},
        {"no unit above KiB: 1 MiB", 1048576, "1024&nbsp;KiB"},
        {"no unit above KiB: 5 GiB", 5368709120, "5242880&nbsp;KiB"},
        {"largest", LLONG_MAX, "9007199254740991&nbsp;KiB"},
        {"negative", -5, "-5&nbsp;Bytes"},
        {"large and negative", -5368709120, "-5368709120&nbsp;Bytes"},
        {"smallest", LLONG_MIN, "-9223372036854775808&nbsp;Bytes"},
    };
    for (const auto &row : rows) {
        int result = -1;
        EXPECT_EQ(printed([&] { result = print_fsize(row.size); }), row.expected) << row.label;
        EXPECT_EQ(result, static_cast<int>(std::string(row.expected).size())) << row.label;
    }
}

TEST(PrintFsize, IsNegativeWhenStandardOutputFails) {
    const auto printing = print_to(Sink::kFullDevice, kUnbuffered, {[] { return print_fsize(1); }});
    ASSERT_EQ(printing.counts.size(), 1u);
    EXPECT_LT(printing.counts[0], 0);
}
