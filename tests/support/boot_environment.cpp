#include "tests/support/boot_environment.h"

#include <gtest/gtest.h>
#include <mtd/mtd-user.h>
#include <sys/ioctl.h>

#include <bit>
#include <cstring>

#include "qmv/system.h"
#include "tests/support/block.h"
#include "tests/support/io.h"

namespace qmv_test {
namespace {

/// The CRC-32 of Ethernet and gzip, bit by bit.
uint32_t crc_of(const std::string &bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320 : crc >> 1;
    }
    return ~crc;
}

}  // namespace

Device::Driver geometry(const Partition &partition) {
    // Type, flags, size, sizes of an erase block, a write and the spare area.
    const std::string info = BlockBytes(32)
                                 .u8(0, partition.type)
                                 .u32(4, 0xC00)
                                 .u32(8, partition.size)
                                 .u32(12, 0x2000)
                                 .u32(16, 1)
                                 .u32(20, 7)
                                 .str();
    return [info](int, void *block) {
        std::memcpy(block, info.data(), info.size());
        return 0;
    };
}

std::string image_with_crc(uint32_t crc, const std::string &area) {
    return BlockBytes(4).u32(0, crc).str() + area;
}

std::string image(const std::string &area) {
    return image_with_crc(crc_of(area), area);
}

std::string environment_image(const std::string &lines, unsigned size, const std::string &filler,
                              ByteOrder order) {
    const TempDir dir;
    const bool big = (std::endian::native == std::endian::big) == (order == ByteOrder::kOwn);
    const std::string command =
        "mkenvimage " + std::string(big ? "-b " : "") + "-s " + std::to_string(size) + " -p " +
        filler + " -o " + dir.file("image") + " " + dir.write("lines", lines) + " >/dev/null 2>&1";
    return std::system(command.c_str()) == 0 ? dir.read("image") : "";
}

int BootEnvironment::read(const std::string &image, Partition partition) {
    const InputFile file(image);
    if (partition.size == Partition().size)
        partition.size = static_cast<uint32_t>(image.size());
    return read_path("/proc/self/fd/" + std::to_string(file.fd()), partition);
}

int BootEnvironment::read_path(const std::string &path, const Partition &partition) {
    Device device;
    device.expects(MEMGETINFO, geometry(partition));
    const int before = open_descriptors();
    const int result = take(read_uboot_env(path.c_str()));
    EXPECT_EQ(open_descriptors(), before) << "descriptors";
    EXPECT_EQ(device.unused(), 0u);
    return result;
}

int BootEnvironment::take(int result) {
    stored_ = stored_ || result == 0 || result == 3 || result == 5;
    return result;
}

void BootEnvironment::free() {
    if (stored_)
        free_uboot_env();
    stored_ = false;
}

BootEnvironment::Block BootEnvironment::disown(const char *area) {
    stored_ = false;
    return Block(const_cast<char *>(area) - 4);
}

}  // namespace qmv_test
