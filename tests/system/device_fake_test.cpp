// The fakes themselves: what they replace, and that a test cannot miss a request.
#include <fcntl.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "tests/fakes/device.h"
#include "tests/support/io.h"

namespace {

using qmv_test::Device;
using qmv_test::InputFile;
using qmv_test::OpenInstead;
using qmv_test::TempDir;

constexpr unsigned long kModemState = 0xC0087205;
constexpr unsigned long kPowerState = 0xC008670D;

std::string content(const char *path) {
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    char bytes[64];
    const ssize_t n = ::read(fd, bytes, sizeof bytes);
    ::close(fd);
    return n < 0 ? "unreadable" : std::string(bytes, static_cast<std::size_t>(n));
}

}  // namespace

TEST(DeviceFake, FailsTheTestForARequestWithoutScript) {
    int result = 0;
    for (const unsigned long request : {kModemState, kPowerState, 0x80204D01UL, 0x8948UL}) {
        result = 0;
        EXPECT_NONFATAL_FAILURE(result = ::ioctl(0, request, nullptr), "was not expected");
        EXPECT_EQ(result, -1);
    }
}

TEST(DeviceFake, FailsTheTestForAnotherRequestThanTheNext) {
    std::string block(8, '\0');
    Device device;
    device.expects(kModemState, block, block);
    EXPECT_NONFATAL_FAILURE(::ioctl(0, kPowerState, block.data()), "but 0xC0087205");
    EXPECT_EQ(::ioctl(0, kModemState, block.data()), 0);
    EXPECT_NONFATAL_FAILURE(::ioctl(0, kModemState, block.data()), "but none");
}

TEST(DeviceFake, FailsTheTestForARequestThatWasNotMade) {
    EXPECT_NONFATAL_FAILURE(Device().fails(kModemState, 0), "1 requests were not made");
}

TEST(DeviceFake, FailsTheTestForOtherBytesInTheBlock) {
    EXPECT_NONFATAL_FAILURE(
        {
            std::string block(8, '\0');
            Device device;
            device.expects(kModemState, std::string(7, '\0') + "x", block);
            ::ioctl(0, kModemState, block.data());
        },
        "00000000 00000078");
}

TEST(DeviceFake, LeavesOtherRequestsToTheKernel) {
    const InputFile file("abc");
    const Device device;
    int left = 0;
    EXPECT_EQ(::ioctl(file.fd(), FIONREAD, &left), 0);
    EXPECT_EQ(left, 3);
}

TEST(OpenInstead, ReplacesOnePathOnly) {
    const TempDir dir;
    const std::string path = dir.write("a", "first");
    const std::string other = dir.write("ab", "second");
    const OpenInstead replaced(path, dir.write("c", "instead"));
    EXPECT_EQ(content(path.c_str()), "instead");
    EXPECT_EQ(content(other.c_str()), "second");
    EXPECT_EQ(content(dir.path()), "unreadable");
    EXPECT_EQ(replaced.times(), 1);
}

TEST(OpenInstead, FailsTheTestWhenThePathWasNotOpened) {
    EXPECT_NONFATAL_FAILURE(OpenInstead("/nowhere", "/nowhere"), "never opened");
}

TEST(OpenInstead, PassesTheModeOn) {
    const TempDir dir;
    const mode_t kept = ::umask(0);
    ::close(::open(dir.file("new").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0640));
    ::umask(kept);
    struct stat info {};
    ASSERT_EQ(::stat(dir.file("new").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);
}
