// The ready-made writers.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdio.h>
#include <unistd.h>

#include <climits>
#include <string>

#include "qmv/cgi.h"
#include "tests/fakes/descriptor.h"
#include "tests/support/descriptors.h"
#include "tests/support/io.h"

using qmv_test::InputFile;
using qmv_test::open_descriptors;
using qmv_test::pattern;
using qmv_test::Pipe;
using qmv_test::printed;
using qmv_test::run_child;
using qmv_test::TempDir;
using qmv_test::text;

namespace {

std::string written(const InputFile &file) {
    ::lseek(file.fd(), 0, SEEK_SET);
    return file.rest();
}

}  // namespace

TEST(MpartWriteFd, WritesAllBytes) {
    for (const std::size_t size : {1u, 1024u, 5000u}) {
        const InputFile out("");
        int fd = out.fd();
        const std::string content = pattern(size);
        EXPECT_EQ(mpart_write_fd(&fd, content.data(), static_cast<int>(size)), 0) << size;
        EXPECT_TRUE(written(out) == content) << size;
    }
    const InputFile out("");
    int fd = out.fd();
    EXPECT_EQ(mpart_write_fd(&fd, "a\0bc", 3), 0);
    EXPECT_EQ(written(out), text("a\0b"));
}

TEST(MpartWriteFd, WritesToDescriptor1) {
    int fd = 1;
    EXPECT_EQ(printed([&] { EXPECT_EQ(mpart_write_fd(&fd, "abc", 3), 0); }), "abc");
}

TEST(MpartWriteFd, WritesNothingToDescriptorsBelow1) {
    const TempDir directory;
    const auto child = run_child("", [&] {
        const int file = ::open(directory.file("f").c_str(), O_RDWR | O_CREAT, 0666);
        ::dup2(file, 0);
        for (int fd : {0, -1, INT_MIN})
            if (mpart_write_fd(&fd, "abc", 3) != 0)
                return 1;
        return 0;
    });
    EXPECT_EQ(child.status, 0) << "the result is 0";
    EXPECT_EQ(directory.read("f"), "") << "descriptor 0 could have been written";
}

TEST(MpartWriteFd, FailsOnNullOnly) {
    EXPECT_EQ(mpart_write_fd(nullptr, "abc", 3), -1);
}

TEST(MpartWriteFd, WritesNothingForNoBytes) {
    const InputFile out("");
    int fd = out.fd();
    EXPECT_EQ(mpart_write_fd(&fd, "abc", 0), 0);
    EXPECT_EQ(mpart_write_fd(&fd, nullptr, 0), 0);
    EXPECT_EQ(mpart_write_fd(&fd, "abc", -1), 0);
    EXPECT_EQ(written(out), "");
}

TEST(MpartWriteFd, DoesNotReportAFailedWrite) {
    const Pipe pipe;
    int fd = pipe.reader();
    EXPECT_EQ(mpart_write_fd(&fd, "abc", 3), 0) << "not open for writing";
    fd = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(mpart_write_fd(&fd, "abc", 3), 0) << "full";
    ::close(fd);
}

TEST(MpartWriteFd, LeavesTheDescriptorOpen) {
    const InputFile out("");
    int fd = out.fd();
    const int before = open_descriptors();
    mpart_write_fd(&fd, "abc", 3);
    EXPECT_EQ(open_descriptors(), before);
    EXPECT_EQ(fd, out.fd());
}

#if QMV_FAKE_DESCRIPTOR
TEST(MpartWriteFd, WritesOnAfterPiecesAndSignals) {
    const InputFile out("");
    int fd = out.fd();
    {
        qmv_test::DescriptorCalls calls(fd);
        calls.fails(EINTR).moves(2).returns_nothing();
        EXPECT_EQ(mpart_write_fd(&fd, "abcdef", 6), 0);
    }
    EXPECT_EQ(written(out), "abcdef");
}
#endif

TEST(MpartFwrite, WritesAllBytes) {
    const TempDir directory;
    FILE *stream = ::fopen(directory.file("f").c_str(), "w");
    ASSERT_NE(stream, nullptr);
    const std::string content = pattern(5000);
    EXPECT_EQ(mpart_fwrite(stream, "!?", 1), 0);
    EXPECT_EQ(mpart_fwrite(stream, "a\0bc", 3), 0);
    EXPECT_EQ(mpart_fwrite(stream, content.data(), 5000), 0);
    ::fclose(stream);
    EXPECT_TRUE(directory.read("f") == text("!a\0b") + content);
}

TEST(MpartFwrite, FailsOnNullOnly) {
    EXPECT_EQ(mpart_fwrite(nullptr, "abc", 3), -1);
}

TEST(MpartFwrite, WritesNothingForNoBytes) {
    EXPECT_EQ(printed([] {
                  EXPECT_EQ(mpart_fwrite(stdout, "abc", 0), 0);
                  EXPECT_EQ(mpart_fwrite(stdout, nullptr, 0), 0);
              }),
              "");
}

TEST(MpartFwrite, DoesNotReportAFailedWrite) {
    FILE *stream = ::fopen("/dev/full", "w");
    ASSERT_NE(stream, nullptr);
    ::setvbuf(stream, nullptr, _IONBF, 0);
    EXPECT_EQ(mpart_fwrite(stream, "abc", 3), 0);
    EXPECT_NE(::ferror(stream), 0) << "the write did fail";
    ::fclose(stream);
}

TEST(ScanBoundary, StoresAnUploadThroughEitherWriter) {
    const std::string content = pattern(5000) + "\r\n--XY\r\n";
    const std::string body = content + "\r\n--XYZ--\r\n";
    const TempDir directory;

    const InputFile first(body);
    int fd = ::open(directory.file("fd").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    EXPECT_EQ(scan_boundary(first.fd(), "XYZ", 3, mpart_write_fd, &fd), 3);
    ::close(fd);
    EXPECT_TRUE(directory.read("fd") == content);

    const InputFile second(body);
    FILE *stream = ::fopen(directory.file("stream").c_str(), "w");
    EXPECT_EQ(scan_boundary(second.fd(), "XYZ", 3, mpart_fwrite, stream), 3);
    ::fclose(stream);
    EXPECT_TRUE(directory.read("stream") == content);
}

TEST(ScanBoundary, ConsumesAPartWhoseFileCannotBeWritten) {
    const InputFile in(pattern(5000) + "\r\n--XYZ\r\nnext");
    int fd = -1;
    EXPECT_EQ(scan_boundary(in.fd(), "XYZ", 3, mpart_write_fd, &fd), 0);
    EXPECT_EQ(in.rest(), "next");
}
