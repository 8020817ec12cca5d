// Reading the boot loader environment. Look-ups have a file of their own.
#include <errno.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mtd/mtd-user.h>
#include <qmv/system.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "tests/fakes/allocation.h"
#include "tests/fakes/device.h"
#include "tests/support/boot_environment.h"
#include "tests/support/descriptor_limit.h"
#include "tests/support/held_memory.h"
#include "tests/support/io.h"
#include "tests/support/packets.h"

namespace {

using qmv_test::BootEnvironment;
using qmv_test::DescriptorLimit;
using qmv_test::Device;
using qmv_test::environment_image;
using qmv_test::image_with_crc;
using qmv_test::kDataFlash;
using qmv_test::kNorFlash;
using qmv_test::Packets;
using qmv_test::Partition;
using qmv_test::TempDir;
using qmv_test::text;

// Before anything was read: the first calls of the process.
const char *const unread = [] {
    free_uboot_env();
    return uboot_getenv("a");
}();

std::string shown(const char *value) {
    return value != nullptr ? value : "(null)";
}

const std::string kArea = text("a=1\0bb=2\0\0");

/// Expects that a value of kArea is found.
void expect_loaded() {
    EXPECT_EQ(shown(uboot_getenv("a")), "1");
    EXPECT_EQ(shown(uboot_getenv("bb")), "2");
}

void expect_nothing_loaded(const std::string &label) {
    for (const char *const name : {"a", "bb", "", "x", "a="})
        EXPECT_EQ(uboot_getenv(name), nullptr) << label << ", " << name;
}

}  // namespace

TEST(BootEnvironment, HasNoValueBeforeItWasRead) {
    EXPECT_EQ(unread, nullptr);
}

TEST(ReadUbootEnv, LoadsAnAreaWhoseCrcMatches) {
    BootEnvironment environment;
    // The CRC-32 of the area, computed elsewhere.
    EXPECT_EQ(environment.read(image_with_crc(0xC8D6E8A0, kArea)), 0);
    expect_loaded();
    EXPECT_EQ(uboot_getenv("b"), nullptr);
    EXPECT_EQ(uboot_getenv("c"), nullptr);
}

TEST(ReadUbootEnv, AsksForTheGeometryOfADeviceThatIsOpenForReading) {
    const TempDir dir;
    BootEnvironment environment;
    int flags = 0;
    Device device;
    device.expects(MEMGETINFO, [&flags](int fd, void *block) {
        flags = ::fcntl(fd, F_GETFL);
        std::memset(block, 0, sizeof(mtd_info_user));
        return 0;
    });
    EXPECT_EQ(environment.take(read_uboot_env(dir.write("mtd", "").c_str())), 1);
    EXPECT_EQ(flags & O_ACCMODE, O_RDONLY);
    EXPECT_EQ(flags & O_SYNC, O_SYNC);
    EXPECT_EQ(_IOC_TYPE(device.calls().at(0).request), 'M');
    EXPECT_EQ(_IOC_NR(device.calls().at(0).request), 1u);
    EXPECT_EQ(_IOC_SIZE(device.calls().at(0).request), 32u);
}

TEST(ReadUbootEnv, LoadsImagesOfTheBootLoadersOwnTool) {
    struct Row {
        unsigned size;
        const char *filler;
    };
    for (const Row &row : {Row{0x60, "0xff"}, Row{0x1000, "0x00"}, Row{0x2000, "0x61"},
                           Row{0x2001, "0x3d"}, Row{0x10000, "0xff"}}) {
        const std::string image = environment_image(
            "bootdelay=3\n# comment\nethaddr=00:11:22:33:44:55\nempty=\nargs=root=/dev/mtd2\n",
            row.size, row.filler);
        if (image.empty())
            GTEST_SKIP() << "mkenvimage (package u-boot-tools) makes no image";
        ASSERT_EQ(image.size(), row.size);
        BootEnvironment environment;
        EXPECT_EQ(environment.read(image), 0) << row.size << ", " << row.filler;
        EXPECT_EQ(shown(uboot_getenv("bootdelay")), "3") << row.size << ", " << row.filler;
        EXPECT_EQ(shown(uboot_getenv("ethaddr")), "00:11:22:33:44:55") << row.size;
        EXPECT_EQ(shown(uboot_getenv("empty")), "") << row.size << ", " << row.filler;
        EXPECT_EQ(shown(uboot_getenv("args")), "root=/dev/mtd2") << row.size;
        EXPECT_EQ(shown(uboot_getenv("root")), "(null)") << row.size << ", " << row.filler;
    }
}

TEST(ReadUbootEnv, RefusesACrcInTheOtherByteOrder) {
    const std::string image =
        environment_image("a=1\nbb=2\n", 0x1000, "0xff", qmv_test::ByteOrder::kOther);
    if (image.empty())
        GTEST_SKIP() << "mkenvimage (package u-boot-tools) makes no image";
    BootEnvironment environment;
    EXPECT_EQ(environment.read(image), 5);
    expect_nothing_loaded("other byte order");
}

TEST(ReadUbootEnv, RefusesEachWrongBitOfBlockAndCrc) {
    const std::string good = image_with_crc(0xC8D6E8A0, kArea);
    for (std::size_t bit = 0; bit < 8 * good.size(); ++bit) {
        std::string image = good;
        image[bit / 8] = static_cast<char>(image[bit / 8] ^ (1 << (bit % 8)));
        BootEnvironment environment;
        EXPECT_EQ(environment.read(image), 5) << "bit " << bit;
        expect_nothing_loaded("bit " + std::to_string(bit));
    }
}

TEST(ReadUbootEnv, CountsTheFillerIntoTheCrc) {
    const std::string area = text("a=1\0\0") + std::string(100, 'f');
    std::string image = qmv_test::image(area);
    {
        BootEnvironment environment;
        EXPECT_EQ(environment.read(image), 0);
        EXPECT_EQ(shown(uboot_getenv("a")), "1");
    }
    BootEnvironment environment;
    image.back() = 'g';
    EXPECT_EQ(environment.read(image), 5) << "last byte";
}

TEST(ReadUbootEnv, RefusesTheCrcOfTheEntriesAlone) {
    const std::string image = image_with_crc(0xC8D6E8A0, kArea + std::string(20, '\xFF'));
    BootEnvironment environment;
    EXPECT_EQ(environment.read(image), 5);
}

TEST(ReadUbootEnv, RefusesACrcThatIsNotComplemented) {
    BootEnvironment environment;
    EXPECT_EQ(environment.read(image_with_crc(~0xC8D6E8A0, kArea)), 5);
}

TEST(ReadUbootEnv, AcceptsNorFlashAndDataFlashOnly) {
    for (const unsigned type : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 0x13u, 0x83u, 0x86u, 0xFFu}) {
        BootEnvironment environment;
        const bool known = type == kNorFlash || type == kDataFlash;
        EXPECT_EQ(environment.read(qmv_test::image(kArea), {.type = static_cast<uint8_t>(type)}),
                  known ? 0 : 1)
            << "type " << type;
        if (known)
            expect_loaded();
    }
}

TEST(ReadUbootEnv, Accepts5To65536Bytes) {
    struct Row {
        uint32_t size;
        int expected;
    };
    for (const Row &row : {Row{0, 2}, Row{1, 2}, Row{3, 2}, Row{4, 2}, Row{5, 0}, Row{6, 0},
                           Row{65535, 0}, Row{65536, 0}, Row{65537, 2}, Row{0x20000, 2},
                           Row{0x10000005, 2}, Row{0x80000000, 2}, Row{0xFFFFFFFF, 2}}) {
        const std::size_t held = std::min<std::size_t>(row.size, 65537);
        const std::string area(held > 4 ? held - 4 : 0, '\0');
        BootEnvironment environment;
        EXPECT_EQ(environment.read(qmv_test::image(area), {.size = row.size}), row.expected)
            << row.size << " bytes";
    }
}

TEST(ReadUbootEnv, UsesTheWholeOfTheSmallestAndTheLargestPartition) {
    {
        BootEnvironment environment;
        EXPECT_EQ(environment.read(qmv_test::image("x")), 0) << "5 bytes";
        EXPECT_EQ(uboot_getenv("x"), nullptr);
    }
    {
        BootEnvironment environment;
        EXPECT_EQ(environment.read(qmv_test::image(text("=\0"))), 0) << "6 bytes";
        EXPECT_EQ(shown(uboot_getenv("")), "");
    }
    const std::string fill = "fill=" + std::string(65532 - 5 - 1 - 7, 'f') + '\0';
    BootEnvironment environment;
    EXPECT_EQ(environment.read(qmv_test::image(fill + text("z=last\0"))), 0) << "65536 bytes";
    EXPECT_EQ(shown(uboot_getenv("z")), "last");
}

TEST(ReadUbootEnv, ChecksTheTypeBeforeTheSize) {
    BootEnvironment environment;
    EXPECT_EQ(environment.read("", {.type = 4, .size = 0}), 1);
}

TEST(ReadUbootEnv, RefusesADeviceThatIsTooShort) {
    const std::string image = qmv_test::image(kArea);
    const auto size = static_cast<uint32_t>(image.size());
    for (const std::size_t held : {std::size_t{0}, std::size_t{3}, image.size() - 1}) {
        BootEnvironment environment;
        EXPECT_EQ(environment.read(image.substr(0, held), {.size = size}), 3) << held << " bytes";
        expect_nothing_loaded(std::to_string(held) + " bytes");
    }
}

TEST(ReadUbootEnv, ReadsNothingBehindThePartition) {
    const std::string image = qmv_test::image(kArea);
    BootEnvironment environment;
    EXPECT_EQ(environment.read(image + "more", {.size = static_cast<uint32_t>(image.size())}), 0);
    expect_loaded();
}

TEST(ReadUbootEnv, JoinsWhatIsReadInPieces) {
    const std::string image = qmv_test::image(kArea);
    const Packets pieces(image, 3);
    BootEnvironment environment;
    EXPECT_EQ(environment.read_path(pieces.path(), {.size = static_cast<uint32_t>(image.size())}),
              0);
    expect_loaded();
}

TEST(ReadUbootEnv, ReadsThroughDescriptorZeroAsWell) {
    const auto child = qmv_test::run_child("", [] {
        const TempDir dir;
        const std::string image = qmv_test::image(kArea);
        const std::string path = dir.write("mtd", image);
        ::close(STDIN_FILENO);
        BootEnvironment environment;
        EXPECT_EQ(environment.read_path(path, {.size = static_cast<uint32_t>(image.size())}), 0);
        expect_loaded();
        return testing::Test::HasFailure() ? 1 : 0;
    });
    EXPECT_EQ(child.status, 0) << child.output;
}

TEST(ReadUbootEnv, RefusesADeviceThatCannotBeRead) {
    const TempDir directory;
    BootEnvironment environment;
    EXPECT_EQ(environment.read_path(directory.path(), {.size = 100}), 3);
    expect_nothing_loaded("unreadable");
}

TEST(ReadUbootEnv, FailsForAFileThatIsNoMtdDevice) {
    const TempDir dir;
    const std::string path = dir.write("mtd", qmv_test::image(kArea));
    const int before = qmv_test::open_descriptors();
    Device device;
    device.reaches_kernel(MEMGETINFO);
    EXPECT_EQ(read_uboot_env(path.c_str()), -1);
    EXPECT_EQ(device.unused(), 0u);
    EXPECT_EQ(qmv_test::open_descriptors(), before);
}

TEST(ReadUbootEnv, FailsForADeviceThatCannotBeOpened) {
    const TempDir dir;
    const Device no_request;
    EXPECT_EQ(read_uboot_env(dir.file("none").c_str()), -1);
    EXPECT_EQ(read_uboot_env(""), -1);
    EXPECT_EQ(read_uboot_env(nullptr), -1);
    const std::string path = dir.write("mtd", qmv_test::image(kArea));
    const DescriptorLimit none;
    EXPECT_EQ(read_uboot_env(path.c_str()), -1);
}

TEST(ReadUbootEnv, LeavesNoOldValuesOnceABlockWasStored) {
    const std::string good = qmv_test::image(kArea);
    const auto size = static_cast<uint32_t>(good.size());
    const TempDir directory;
    {
        BootEnvironment environment;
        ASSERT_EQ(environment.read(good), 0);
        environment.free();
        EXPECT_EQ(environment.read(good.substr(0, 10), {.size = size}), 3);
        expect_nothing_loaded("too short");
    }
    {
        BootEnvironment environment;
        ASSERT_EQ(environment.read(good), 0);
        environment.free();
        EXPECT_EQ(environment.read(image_with_crc(0, kArea)), 5);
        expect_nothing_loaded("wrong CRC");
        environment.free();
        EXPECT_EQ(environment.read(good), 0) << "and can be read again";
        expect_loaded();
    }
}

TEST(ReadUbootEnv, KeepsOldValuesWhenNoBlockWasStored) {
    BootEnvironment environment;
    ASSERT_EQ(environment.read(qmv_test::image(kArea)), 0);
    const std::string other = qmv_test::image(text("a=9\0\0"));
    EXPECT_EQ(environment.read(other, {.type = 4}), 1);
    expect_loaded();
    EXPECT_EQ(environment.read(other, {.size = 65537}), 2);
    expect_loaded();
    EXPECT_EQ(read_uboot_env("/nowhere/mtd"), -1);
    expect_loaded();
}

TEST(ReadUbootEnv, ReplacesTheFirstEnvironmentWithoutFreeingIt) {
    BootEnvironment environment;
    ASSERT_EQ(environment.read(qmv_test::image(kArea)), 0);
    const char *const old = uboot_getenv("a");
    ASSERT_NE(old, nullptr);
    const BootEnvironment::Block first = environment.disown(old - 2);
    ASSERT_EQ(environment.read(qmv_test::image(text("a=new\0cc=3\0\0"))), 0);
    EXPECT_EQ(shown(uboot_getenv("a")), "new");
    EXPECT_EQ(shown(uboot_getenv("cc")), "3");
    EXPECT_EQ(uboot_getenv("bb"), nullptr);
    EXPECT_STREQ(old, "1") << "the first block stays valid";
    EXPECT_EQ(std::memcmp(first.get() + 4, kArea.data(), kArea.size()), 0);
}

#if QMV_FAKE_ALLOCATION

namespace {

int read_without_memory(const std::string &path, uint32_t size, int &failed) {
    const Partition partition{.size = size};
    Device device;
    device.expects(MEMGETINFO, qmv_test::geometry(partition));
    const qmv_test::AllocationFailure none(0);
    const int result = read_uboot_env(path.c_str());
    failed = none.failed();
    return result;
}

}  // namespace

TEST(ReadUbootEnv, FailsWithoutMemoryAndLeavesNoOldValues) {
    const TempDir dir;
    const std::string image = qmv_test::image(kArea);
    const std::string path = dir.write("mtd", image);
    BootEnvironment environment;
    ASSERT_EQ(environment.read(image), 0);
    environment.free();
    const int before = qmv_test::open_descriptors();
    int failed = 0;
    EXPECT_EQ(read_without_memory(path, static_cast<uint32_t>(image.size()), failed), 4);
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(qmv_test::open_descriptors(), before);
    expect_nothing_loaded("no memory");
    free_uboot_env();  // Nothing is held: it does nothing.
    free_uboot_env();
    EXPECT_EQ(environment.read(image), 0) << "and can be read again";
    expect_loaded();
}

TEST(ReadUbootEnv, HoldsTheBlockAndNothingMore) {
    const std::string image = qmv_test::image(std::string(60000, '\0'));
    BootEnvironment environment;
    const TempDir dir;
    const std::string path = dir.write("mtd", image);
    Device device;
    device.expects(MEMGETINFO, qmv_test::geometry({.size = 60004}));
    const std::size_t before = qmv_test::held_memory();
    ASSERT_EQ(environment.take(read_uboot_env(path.c_str())), 0);
    const std::size_t after = qmv_test::held_memory();
    EXPECT_GT(after, before + 50000);
    EXPECT_LT(after, before + 60004 + 10000);
    environment.free();
    EXPECT_LT(qmv_test::held_memory(), before + 10000);
}

TEST(FreeUbootEnv, FreesABlockWhoseCrcWasWrongOrThatIsTooShort) {
    const TempDir dir;
    const std::string wrong = dir.write("wrong", image_with_crc(0, std::string(60000, 'x')));
    const std::string shorter = dir.write("short", "x");
    Device device;
    device.expects(MEMGETINFO, qmv_test::geometry({.size = 60004}))
        .expects(MEMGETINFO, qmv_test::geometry({.size = 60004}));
    BootEnvironment environment;
    const std::size_t before = qmv_test::held_memory();
    EXPECT_EQ(environment.take(read_uboot_env(wrong.c_str())), 5);
    EXPECT_GT(qmv_test::held_memory(), before + 50000) << "it stays stored";
    environment.free();
    EXPECT_LT(qmv_test::held_memory(), before + 10000);
    EXPECT_EQ(environment.take(read_uboot_env(shorter.c_str())), 3);
    EXPECT_GT(qmv_test::held_memory(), before + 50000) << "it stays stored";
    environment.free();
    EXPECT_LT(qmv_test::held_memory(), before + 10000);
}

TEST(FreeUbootEnv, KeepsPointerAndLength) {
    const std::string image = qmv_test::image(kArea);
    BootEnvironment environment;
    ASSERT_EQ(environment.read(image), 0);
    const char *const block = uboot_getenv("a") - 6;
    environment.free();
    // The next block of that size takes its place in memory and is looked into.
    const BootEnvironment::Block successor(static_cast<char *>(std::malloc(image.size())));
    if (successor.get() != block)
        GTEST_SKIP() << "the allocator took another place";
    const std::string other = text("\0\0\0\0a=7\0zz=8\0\0");
    ASSERT_EQ(other.size(), image.size());
    std::memcpy(successor.get(), other.data(), other.size());
    EXPECT_EQ(shown(uboot_getenv("a")), "7");
    EXPECT_EQ(shown(uboot_getenv("zz")), "8");
}

#endif
