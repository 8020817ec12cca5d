// Images of a boot loader environment, and the one that is loaded in this process.
#ifndef QMV_TESTS_SUPPORT_BOOT_ENVIRONMENT_H
#define QMV_TESTS_SUPPORT_BOOT_ENVIRONMENT_H

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "tests/fakes/device.h"

namespace qmv_test {

inline constexpr uint8_t kNorFlash = 3;
inline constexpr uint8_t kDataFlash = 6;

/// What an MTD driver tells of a partition. The size 0xEEEEEEEE stands for that of the image.
struct Partition {
    uint8_t type = kNorFlash;
    uint32_t size = 0xEEEEEEEE;
};

/// Answers MEMGETINFO.
Device::Driver geometry(const Partition &partition);

/// An image of a variable area, with the CRC given or its own, in the machine's byte order.
std::string image_with_crc(uint32_t crc, const std::string &area);
std::string image(const std::string &area);

enum class ByteOrder { kOwn, kOther };

/// An image made by mkenvimage from lines "name=value", for a machine of this or the other byte
/// order. Empty when that tool is missing or refuses.
std::string environment_image(const std::string &lines, unsigned size, const std::string &filler,
                              ByteOrder order = ByteOrder::kOwn);

/// Reads the environment from files that pose as MTD devices, and frees it in the end.
class BootEnvironment {
  public:
    struct Free {
        void operator()(char *block) const { std::free(block); }
    };
    using Block = std::unique_ptr<char, Free>;

    BootEnvironment() = default;
    BootEnvironment(const BootEnvironment &) = delete;
    BootEnvironment &operator=(const BootEnvironment &) = delete;
    ~BootEnvironment() { free(); }

    /// Reads an image. Returns what read_uboot_env() returns, and checks that nothing stays open.
    int read(const std::string &image, Partition partition = {});
    int read_path(const std::string &path, const Partition &partition);
    /// Notes whether a result of read_uboot_env() means that a block is stored; returns it.
    int take(int result);
    /// Frees what is stored.
    void free();
    /// Makes the stored block, whose area begins here, the test's own.
    Block disown(const char *area);

  private:
    bool stored_ = false;
};

}  // namespace qmv_test

#endif
