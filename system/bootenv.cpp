#include <fcntl.h>
#include <mtd/mtd-user.h>

#include <cstring>
#include <string_view>

#include "qmv/system.h"
#include "qmv/util.h"
#include "util/ioctl.h"
#include "util/owners.h"

namespace {

static_assert(sizeof(mtd_info_user) == 32, "the kernel's layout");

enum Status {
    kLoaded = 0,
    kWrongType = 1,
    kWrongSize = 2,
    kShortRead = 3,
    kNoMemory = 4,
    kBadCrc = 5
};

constexpr uint32_t kCrcSize = sizeof(uint32_t);
constexpr uint32_t kMaxSize = 65536;

// The one environment of the process: the block as it was read, and the length of its variable
// area, which is 0 unless the CRC was right.
unsigned char *env_block = nullptr;
uint32_t env_length = 0;

/// Reads the block and checks it.
int load(int fd, uint32_t size) {
    env_length = 0;
    // Intended: a block that was loaded before is not freed.
    env_block = static_cast<unsigned char *>(std::malloc(size));
    if (env_block == nullptr)
        return kNoMemory;
    const int bytes = static_cast<int>(size);
    if (full_read_fd(fd, env_block, bytes) != bytes)
        return kShortRead;
    uint32_t stored = 0;
    std::memcpy(&stored, env_block, sizeof stored);
    if (stored != ~crc32(0xFFFFFFFF, env_block + kCrcSize, bytes - static_cast<int>(kCrcSize)))
        return kBadCrc;
    env_length = size - kCrcSize;
    return kLoaded;
}

/// The value of an entry when the name is its own, else null. The comparison stops at the "=".
const char *match(const char *entry, const char *name) {
    for (; *entry != '\0'; ++entry, ++name) {
        const bool same = *entry == *name;
        if (*entry == '=')
            return same || *name == '\0' ? entry + 1 : nullptr;
        if (!same)
            return nullptr;
    }
    return nullptr;
}

}  // namespace

int read_uboot_env(const char *device_path) {
    if (device_path == nullptr)
        return -1;
    const qmv::Descriptor device(::open(device_path, O_RDONLY | O_SYNC));
    if (device.get() < 0)
        return device.get();
    mtd_info_user info{};
    const int result = qmv::ioctl(device.get(), MEMGETINFO, &info);
    if (result < 0)
        return result;
    if (info.type != MTD_NORFLASH && info.type != MTD_DATAFLASH)
        return kWrongType;
    if (info.size <= kCrcSize || info.size > kMaxSize)
        return kWrongSize;
    return load(device.get(), info.size);
}

const char *uboot_getenv(const char *name) {
    if (name == nullptr || env_block == nullptr || env_length == 0)
        return nullptr;
    const std::string_view area(reinterpret_cast<const char *>(env_block + kCrcSize), env_length);
    size_t start = 0;
    while (start < area.size() && area[start] != '\0') {
        const size_t end = area.find('\0', start);
        if (end == area.npos)
            return nullptr;
        const char *value = match(area.data() + start, name);
        if (value != nullptr)
            return value;
        start = end + 1;
    }
    return nullptr;
}

void free_uboot_env() {
    // Intended: pointer and length stay, so that nothing may be looked up afterwards.
    std::free(env_block);
}
