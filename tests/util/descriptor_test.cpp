// Whole-length reading, writing and copying. Printing and lines have files of their own.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "qmv/util.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/io.h"

using qmv_test::InputFile;
using qmv_test::InputPipe;
using qmv_test::Interruptions;
using qmv_test::never_wait;
using qmv_test::open_descriptors;
using qmv_test::pattern;
using qmv_test::Pipe;
using qmv_test::run_child;
using qmv_test::TempDir;

namespace {

/// What full_read_fd() returned and put into its buffer; the bytes behind its length stay '#'.
struct Reading {
    int result;
    std::string buffer;
};

Reading read_into(int fd, int len, std::size_t room) {
    std::string buffer(room, '#');
    const int result = full_read_fd(fd, buffer.data(), len);
    return {result, buffer};
}

}  // namespace

TEST(FullReadFd, ReturnsZeroWithoutReadingForLengthBelowOne) {
    for (const int len : {0, -1, INT_MIN}) {
        const InputFile in("abc");
        EXPECT_EQ(full_read_fd(in.fd(), nullptr, len), 0) << "length " << len;
        EXPECT_EQ(in.rest(), "abc") << "length " << len;
        EXPECT_EQ(full_read_fd(-1, nullptr, len), 0) << "closed descriptor, length " << len;
    }
}

TEST(FullReadFd, ReadsTheLengthAndNothingBehindIt) {
    const InputFile in("abcdef");
    const Reading reading = read_into(in.fd(), 4, 6);
    EXPECT_EQ(reading.result, 4);
    EXPECT_EQ(reading.buffer, "abcd##");
    EXPECT_EQ(in.rest(), "ef");
}

TEST(FullReadFd, ReturnsShortCountAtEndOfInput) {
    const InputPipe in("abc");
    const Reading reading = read_into(in.fd(), 10, 10);
    EXPECT_EQ(reading.result, 3);
    EXPECT_EQ(reading.buffer, "abc#######");
}

TEST(FullReadFd, ReturnsZeroAtEndOfInput) {
    const InputFile in("");
    EXPECT_EQ(read_into(in.fd(), 10, 10).result, 0);
}

TEST(FullReadFd, JoinsWhatArrivesInPieces) {
    const std::string content = pattern(3000);
    const InputPipe in(content, 7);
    const Reading reading = read_into(in.fd(), 2999, 3000);
    EXPECT_EQ(reading.result, 2999);
    EXPECT_EQ(reading.buffer, content.substr(0, 2999) + "#");
    EXPECT_EQ(in.rest(), content.substr(2999));
}

TEST(FullReadFd, JoinsDatagramsOfASocket) {
    int ends[2];
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    ASSERT_EQ(::send(ends[1], "abc", 3, 0), 3);
    ASSERT_EQ(::send(ends[1], "de", 2, 0), 2);
    const Reading reading = read_into(ends[0], 5, 6);
    EXPECT_EQ(reading.result, 5);
    EXPECT_EQ(reading.buffer, "abcde#");
    ::close(ends[0]);
    ::close(ends[1]);
}

TEST(FullReadFd, JoinsLinesOfATerminal) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    char name[64];
    if (master < 0 || ::grantpt(master) != 0 || ::unlockpt(master) != 0 ||
        ::ptsname_r(master, name, sizeof name) != 0)
        GTEST_SKIP() << "no terminals here";
    const int terminal = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    // A terminal gives at most one line per read.
    ASSERT_EQ(::write(master, "ab\ncd\n", 6), 6);
    const Reading reading = read_into(terminal, 6, 6);
    EXPECT_EQ(reading.result, 6);
    EXPECT_EQ(reading.buffer, "ab\ncd\n");
    ::close(terminal);
    ::close(master);
}

TEST(FullReadFd, FailsOnNegativeAndClosedDescriptors) {
    const Pipe pipe("abc");
    for (const int fd : {-1, -2, INT_MIN, pipe.writer()}) {
        errno = 0;
        EXPECT_EQ(read_into(fd, 3, 3).result, -1) << "descriptor " << fd;
        EXPECT_EQ(errno, EBADF) << "descriptor " << fd;
    }
}

TEST(FullReadFd, FailsOnADirectory) {
    const TempDir directory;
    const int fd = ::open(directory.path(), O_RDONLY | O_CLOEXEC);
    errno = 0;
    EXPECT_EQ(read_into(fd, 3, 3).result, -1);
    EXPECT_EQ(errno, EISDIR);
    ::close(fd);
}

TEST(FullReadFd, FailsWhenNothingIsThereYet) {
    const Pipe pipe;
    never_wait(pipe.reader());
    errno = 0;
    EXPECT_EQ(read_into(pipe.reader(), 3, 3).result, -1);
    EXPECT_EQ(errno, EAGAIN);
}

TEST(FullReadFd, LosesWhatWasReadBeforeAFailure) {
    const Pipe pipe("abc");
    never_wait(pipe.reader());
    errno = 0;
    EXPECT_EQ(read_into(pipe.reader(), 10, 10).result, -1) << "a failure is no short count";
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(pipe.take(), "") << "the three bytes were consumed";
}

TEST(FullReadFd, GoesOnAfterSignals) {
    static int feed;
    Pipe pipe;
    feed = pipe.writer();
    std::string buffer(7, '#');
    int result = 0;
    {
        // The bytes come from the signals, so the reading must outlast them.
        const Interruptions signals([](int number) {
            if (number == 3 || number == 6) [[maybe_unused]]
                const ssize_t n = ::write(feed, number == 3 ? "abc" : "def", 3);
        });
        result = full_read_fd(pipe.reader(), buffer.data(), 6);
    }
    EXPECT_EQ(result, 6);
    EXPECT_EQ(buffer, "abcdef#");
}

TEST(FullWriteFd, ReturnsZeroWithoutWritingForLengthBelowOne) {
    for (const int len : {0, -1, INT_MIN}) {
        const Pipe pipe;
        EXPECT_EQ(full_write_fd(pipe.writer(), "abc", len), 0) << "length " << len;
        EXPECT_EQ(pipe.take(), "") << "length " << len;
        EXPECT_EQ(full_write_fd(-1, nullptr, len), 0) << "closed descriptor, length " << len;
    }
}

TEST(FullWriteFd, WritesTheLength) {
    const Pipe pipe;
    EXPECT_EQ(full_write_fd(pipe.writer(), "abcdef", 4), 4);
    EXPECT_EQ(pipe.take(), "abcd");
}

TEST(FullWriteFd, FailsOnDescriptorsThatCannotBeWritten) {
    const InputFile file("");
    const Pipe pipe;
    for (const int fd : {-1, INT_MIN, pipe.reader()}) {
        errno = 0;
        EXPECT_EQ(full_write_fd(fd, "abc", 3), -1) << "descriptor " << fd;
        EXPECT_EQ(errno, EBADF) << "descriptor " << fd;
    }
}

TEST(FullWriteFd, FailsOnAFullDevice) {
    const int fd = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    errno = 0;
    EXPECT_EQ(full_write_fd(fd, "abc", 3), -1);
    EXPECT_EQ(errno, ENOSPC);
    ::close(fd);
}

TEST(FullWriteFd, FailsWhenNobodyReads) {
    const auto child = run_child("", [] {
        ::signal(SIGPIPE, SIG_IGN);
        Pipe pipe;
        pipe.close_reader();
        return full_write_fd(pipe.writer(), "abc", 3) == -1 && errno == EPIPE ? 0 : 1;
    });
    EXPECT_EQ(child.status, 0);
}

TEST(FullWriteFd, FailsAtTheLimitOfFileSizesAfterAPart) {
    const TempDir directory;
    const auto child = run_child("", [&] {
        ::signal(SIGXFSZ, SIG_IGN);
        const int fd = ::open(directory.file("f").c_str(), O_WRONLY | O_CREAT, 0666);
        const rlimit limit{5000, 5000};
        ::setrlimit(RLIMIT_FSIZE, &limit);
        const std::string content = pattern(8000);
        return full_write_fd(fd, content.data(), 8000) == -1 && errno == EFBIG ? 0 : 1;
    });
    EXPECT_EQ(child.status, 0) << "a part of the bytes is no success";
    EXPECT_EQ(directory.read("f"), pattern(5000));
}

TEST(FullWriteFd, FailsWhenItWouldHaveToWait) {
    const Pipe pipe;
    never_wait(pipe.writer());
    const std::string content = pattern(1 << 20);
    errno = 0;
    EXPECT_EQ(full_write_fd(pipe.writer(), content.data(), 1 << 20), -1);
    EXPECT_EQ(errno, EAGAIN);
    const std::string written = pipe.take();
    EXPECT_EQ(written, content.substr(0, written.size()));
    EXPECT_GT(written.size(), 0u) << "what fits is written";
}

TEST(FullWriteFd, WritesEverythingThroughSignals) {
    constexpr std::size_t kSize = 200000;
    static int drain;
    static char arrived[kSize];
    static std::size_t count;
    Pipe pipe;
    drain = pipe.reader();
    count = 0;
    never_wait(drain);
    const std::string content = pattern(kSize);
    int result = 0;
    {
        // The pipe holds less than the content: only the signals make room in it.
        const Interruptions signals([](int) {
            const std::size_t room = std::min<std::size_t>(kSize - count, 9000);
            const ssize_t n = ::read(drain, arrived + count, room);
            if (n > 0)
                count += static_cast<std::size_t>(n);
        });
        result = full_write_fd(pipe.writer(), content.data(), static_cast<int>(kSize));
    }
    EXPECT_EQ(result, static_cast<int>(kSize));
    EXPECT_TRUE(std::string(arrived, count) + pipe.take() == content)
        << "bytes are lost or doubled";
}

TEST(FullCopyFd, CopiesTheRestOfTheInput) {
    for (const std::size_t size : {0u, 1u, 4095u, 4096u, 4097u, 8192u, 10000u, 100000u}) {
        const std::string content = pattern(size);
        const InputFile in("skipped" + content);
        const InputFile out("");
        ::lseek(in.fd(), 7, SEEK_SET);
        EXPECT_EQ(full_copy_fd(in.fd(), out.fd()), static_cast<int>(size)) << "size " << size;
        ::lseek(out.fd(), 0, SEEK_SET);
        EXPECT_TRUE(out.rest() == content) << "size " << size;
        EXPECT_EQ(in.rest(), "") << "size " << size;
    }
}

TEST(FullCopyFd, CopiesFromAPipeThatIsFilledInPieces) {
    const std::string content = pattern(9000);
    const InputPipe in(content, 1000);
    const InputFile out("");
    EXPECT_EQ(full_copy_fd(in.fd(), out.fd()), 9000);
    ::lseek(out.fd(), 0, SEEK_SET);
    EXPECT_TRUE(out.rest() == content);
}

TEST(FullCopyFd, FailsWhenTheInputCannotBeRead) {
    const InputFile out("");
    EXPECT_EQ(full_copy_fd(-1, out.fd()), -1);
    const Pipe pipe("abc");
    never_wait(pipe.reader());
    errno = 0;
    EXPECT_EQ(full_copy_fd(pipe.reader(), out.fd()), -1);
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_EQ(out.rest(), "") << "what was read before the failure is lost";
}

TEST(FullCopyFd, StopsAtTheFirstFailedWrite) {
    const InputFile in(pattern(10000));
    const Pipe pipe;
    errno = 0;
    EXPECT_EQ(full_copy_fd(in.fd(), pipe.reader()), -1);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(::lseek(in.fd(), 0, SEEK_CUR), 4096) << "one buffer was read";
}

TEST(FullCopyFd, WritesNothingForAnEmptyInput) {
    const InputFile in("");
    EXPECT_EQ(full_copy_fd(in.fd(), -1), 0) << "the output was not touched";
}

TEST(FullCopyFd, LeavesBothDescriptorsOpen) {
    const InputFile in("abc");
    const InputFile out("");
    const int before = open_descriptors();
    EXPECT_EQ(full_copy_fd(in.fd(), out.fd()), 3);
    EXPECT_EQ(open_descriptors(), before);
}

#if QMV_FAKE_DESCRIPTOR

using Requests = std::vector<std::size_t>;

TEST(FullReadFd, AsksForTheMissingBytesAfterPiecesAndSignals) {
    const InputFile in("abcdef");
    qmv_test::DescriptorCalls calls(in.fd());
    calls.fails(EINTR).moves(2).fails(EINTR).fails(EINTR).moves(3);
    const Reading reading = read_into(in.fd(), 6, 6);
    EXPECT_EQ(reading.result, 6);
    EXPECT_EQ(reading.buffer, "abcdef");
    EXPECT_EQ(calls.requests(), (Requests{6, 6, 4, 4, 4, 1}));
}

TEST(FullReadFd, ReadsNoMoreOnceTheLengthIsThere) {
    const InputFile in("abcdef");
    qmv_test::DescriptorCalls calls(in.fd());
    EXPECT_EQ(read_into(in.fd(), 6, 6).result, 6);
    EXPECT_EQ(calls.requests(), Requests{6});
}

TEST(FullReadFd, ReadsNoMoreOnceTheInputEnded) {
    const InputFile in("abcdef");
    qmv_test::DescriptorCalls calls(in.fd());
    calls.moves(2).returns_nothing();
    const Reading reading = read_into(in.fd(), 6, 6);
    EXPECT_EQ(reading.result, 2);
    EXPECT_EQ(reading.buffer, "ab####");
    EXPECT_EQ(calls.requests(), (Requests{6, 4}));
}

TEST(FullReadFd, FailsOnEveryErrorButAnInterruption) {
    for (const int error : {EAGAIN, EIO, EBADF, EINVAL, ECONNRESET}) {
        const InputFile in("abcdef");
        qmv_test::DescriptorCalls calls(in.fd());
        calls.moves(2).fails(error);
        errno = 0;
        EXPECT_EQ(read_into(in.fd(), 6, 6).result, -1) << "errno " << error;
        EXPECT_EQ(errno, error);
        EXPECT_EQ(calls.requests(), (Requests{6, 4})) << "errno " << error << ": not tried again";
    }
}

TEST(FullWriteFd, WritesTheMissingBytesAfterPiecesAndSignals) {
    const Pipe pipe;
    qmv_test::DescriptorCalls calls(pipe.writer());
    calls.fails(EINTR).moves(2).fails(EINTR).fails(EINTR).moves(3);
    EXPECT_EQ(full_write_fd(pipe.writer(), "abcdef", 6), 6);
    EXPECT_EQ(calls.requests(), (Requests{6, 6, 4, 4, 4, 1}));
    EXPECT_EQ(pipe.take(), "abcdef");
}

TEST(FullWriteFd, TriesAgainWhenAWriteAcceptsNothing) {
    const Pipe pipe;
    qmv_test::DescriptorCalls calls(pipe.writer());
    calls.returns_nothing().moves(4).returns_nothing().returns_nothing();
    EXPECT_EQ(full_write_fd(pipe.writer(), "abcdef", 6), 6);
    EXPECT_EQ(calls.requests(), (Requests{6, 6, 2, 2, 2}));
    EXPECT_EQ(pipe.take(), "abcdef");
}

TEST(FullWriteFd, FailsOnEveryErrorButAnInterruption) {
    for (const int error : {EAGAIN, EIO, ENOSPC, EPIPE, EINVAL}) {
        const Pipe pipe;
        qmv_test::DescriptorCalls calls(pipe.writer());
        calls.moves(2).fails(error);
        errno = 0;
        EXPECT_EQ(full_write_fd(pipe.writer(), "abcdef", 6), -1) << "errno " << error;
        EXPECT_EQ(errno, error);
        EXPECT_EQ(calls.requests(), (Requests{6, 4})) << "errno " << error << ": not tried again";
        EXPECT_EQ(pipe.take(), "ab") << "errno " << error << ": what was written stays";
    }
}

TEST(FullCopyFd, ReadsOneBufferAtATime) {
    const InputFile in(pattern(5000));
    const InputFile out("");
    qmv_test::DescriptorCalls calls(in.fd());
    EXPECT_EQ(full_copy_fd(in.fd(), out.fd()), 5000);
    EXPECT_EQ(calls.requests(), (Requests{4096, 4096, 3192, 4096}));
}

TEST(FullCopyFd, WritesWhatWasReadThroughPiecesAndSignals) {
    const InputFile in(pattern(5000));
    const InputFile out("");
    qmv_test::DescriptorCalls calls(out.fd());
    calls.moves(96).fails(EINTR).returns_nothing();
    EXPECT_EQ(full_copy_fd(in.fd(), out.fd()), 5000);
    EXPECT_EQ(calls.requests(), (Requests{4096, 4000, 4000, 4000, 904}));
    ::lseek(out.fd(), 0, SEEK_SET);
    EXPECT_TRUE(out.rest() == pattern(5000));
}

TEST(FullCopyFd, CountsNoFurtherThanTheLargestInt) {
    constexpr long kBuffers = 2147483648L / 4096;
    const InputFile file("");
    const struct {
        const char *label;
        long buffers;
        int expected;
    } rows[] = {{"one buffer below 2 GiB", kBuffers - 1, 2147479552},
                {"2 GiB", kBuffers, 2147483647},
                {"4 GiB and a buffer", 2 * kBuffers + 1, 2147483647}};
    for (const auto &row : rows) {
        // The file is input and output, so that a pretended write follows each pretended read.
        qmv_test::DescriptorCalls calls(file.fd());
        calls.pretends(2 * row.buffers);
        EXPECT_EQ(full_copy_fd(file.fd(), file.fd()), row.expected) << row.label;
        EXPECT_EQ(calls.unused(), 0u) << row.label;
    }
}

#endif
