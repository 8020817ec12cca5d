// The boot loader environment, with a device that answers as the input says, against a plain
// look-up.
#include <mtd/mtd-user.h>
#include <qmv/system.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

constexpr const char *kDevice = "/dev/environment";

/// What poses as the device.
struct Device {
    std::string content;
    mtd_info_user info{};
    bool has_info = true;
};

Device *device = nullptr;

uint32_t crc_of(const std::string &bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<unsigned char>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320 : crc >> 1;
    }
    return ~crc;
}

/// The value of a variable in the area; null when there is none.
const char *look_up(const std::string &area, const std::string &name) {
    const std::string wanted = name.substr(0, name.find('='));
    for (std::size_t at = 0; at < area.size() && area[at] != '\0';) {
        const std::size_t end = area.find('\0', at);
        if (end == area.npos)
            break;
        const std::string entry = area.substr(at, end - at);
        const std::size_t equals = entry.find('=');
        if (equals != entry.npos && entry.substr(0, equals) == wanted)
            return area.data() + at + equals + 1;
        at = end + 1;
    }
    return nullptr;
}

void check_value(const std::string &area, const std::string &name) {
    const char *expected = look_up(area, name);
    const char *value = uboot_getenv(name.c_str());
    CHECK((value == nullptr) == (expected == nullptr));
    CHECK(value == nullptr || std::strcmp(value, expected) == 0);
}

int expected_result() {
    const uint32_t size = device->info.size;
    if (!device->has_info)
        return -1;
    if (device->info.type != MTD_NORFLASH && device->info.type != MTD_DATAFLASH)
        return 1;
    if (size < 5 || size > 65536)
        return 2;
    if (device->content.size() < size)
        return 3;
    uint32_t stored = 0;
    std::memcpy(&stored, device->content.data(), sizeof stored);
    return stored == crc_of(device->content.substr(4, size - 4)) ? 0 : 5;
}

}  // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list args;
    va_start(args, request);
    void *const block = va_arg(args, void *);
    va_end(args);
    if (device == nullptr || request != MEMGETINFO)
        return static_cast<int>(::syscall(SYS_ioctl, fd, request, block));
    if (!device->has_info) {
        errno = ENOTTY;
        return -1;
    }
    std::memcpy(block, &device->info, sizeof device->info);
    return 0;
}

void fuzz::run(Input &input) {
    const unsigned options = input.byte();
    Device fake;
    fake.info.type =
        (options & 1) != 0 ? static_cast<uint8_t>(input.byte()) : uint8_t{MTD_NORFLASH};
    const uint32_t size = (options & 2) != 0 ? input.number() : 0;
    const uint32_t crc = (options & 4) != 0 ? input.number() : 0;
    const std::string name = input.text();
    const std::string area = input.rest();
    const uint32_t stored = (options & 4) != 0 ? crc : crc_of(area);
    fake.content = std::string(reinterpret_cast<const char *>(&stored), 4) + area;
    fake.info.size = (options & 2) != 0 ? size : static_cast<uint32_t>(fake.content.size());
    fake.has_info = (options & 8) == 0;
    device = &fake;

    const OpenInstead file(kDevice, fake.content);
    const int result = read_uboot_env(kDevice);
    CHECK(result == expected_result());
    const bool loaded = result == 0;
    if (result == 0 || result == 3 || result == 5) {
        const std::string known = loaded ? area.substr(0, fake.info.size - 4) : "";
        check_value(known, name);
        for (std::size_t at = 0; at < area.size(); at += std::strlen(area.c_str() + at) + 1)
            check_value(known, area.c_str() + at);
        free_uboot_env();
    }
    device = nullptr;
}
