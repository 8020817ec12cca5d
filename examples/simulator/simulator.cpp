// A device to try pages on: preloaded in front of the C library, it answers what a workstation's
// kernel cannot, a DSL modem, the flash partition of the boot loader, and four Ethernet PHYs.
//
// Figures drift with the clock, so that all programs see the same ones. What a program changes, the
// power state of the PHYs, is kept in the file that QMV_SIMULATOR names; without that name
// everything passes through to the C library.
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <mtd/mtd-user.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dsl_modem.h"
#include "phy.h"

namespace {

constexpr const char *kDslDevice = "/dev/dsl_cpe_api";
constexpr const char *kFlashDevice = "/dev/mtd1";
constexpr uint32_t kFlashSize = 8192;

// The next definition of a function behind this library: the C library's, or a sanitizer's.
template <typename Function>
Function *next(const char *name) {
    return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

bool is_on() {
    const char *file = std::getenv("QMV_SIMULATOR");
    return file != nullptr && *file != '\0';
}

// Which of the simulated devices a descriptor stands for: they are files in memory with these names.
bool is_device(int fd, const char *name) {
    char link[32];
    char target[64] = "";
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    const ssize_t length = ::readlink(link, target, sizeof target - 1);
    return length > 0 && std::strncmp(target, "/memfd:", 7) == 0 &&
           std::strncmp(target + 7, name, std::strlen(name)) == 0;
}

uint32_t crc_of(const unsigned char *bytes, size_t count) {
    uint32_t crc = 0xFFFFFFFF;
    for (size_t i = 0; i < count; ++i) {
        crc ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

// The image of a boot loader's environment: a CRC in the machine's own byte order, then texts.
void write_flash(int fd) {
    static constexpr char kVariables[] =
        "bootcmd=run flashboot\0bootdelay=2\0baudrate=115200\0ethaddr=02:00:5E:10:00:01\0"
        "board=QMV-200\0serial#=Q2A7-004217\0ver=U-Boot 2022.04 (simulated)\0flashsize=16M\0";
    unsigned char image[kFlashSize];
    std::memset(image, 0xFF, sizeof image);
    std::memcpy(image + 4, kVariables, sizeof kVariables);
    const uint32_t crc = crc_of(image + 4, sizeof image - 4);
    std::memcpy(image, &crc, sizeof crc);
    if (::write(fd, image, sizeof image) < 0)
        std::abort();
    ::lseek(fd, 0, SEEK_SET);
}

// Opens a simulated device, or returns -1 for every other path.
int open_device(const char *path) {
    if (!is_on())
        return -1;
    if (std::strcmp(path, kDslDevice) == 0)
        return ::memfd_create("dsl", MFD_CLOEXEC);
    if (std::strcmp(path, kFlashDevice) != 0)
        return -1;
    const int fd = ::memfd_create("mtd", MFD_CLOEXEC);
    if (fd >= 0)
        write_flash(fd);
    return fd;
}

int answer_flash(unsigned long request, void *block) {
    if (request != MEMGETINFO) {
        errno = ENOTTY;
        return -1;
    }
    mtd_info_user info{};
    info.type = MTD_NORFLASH;
    info.size = kFlashSize;
    info.erasesize = kFlashSize;
    info.writesize = 1;
    std::memcpy(block, &info, sizeof info);
    return 0;
}

bool is_phy_request(unsigned long request) {
    return request == SIOCGMIIPHY || request == SIOCGMIIREG || request == SIOCSMIIREG;
}

using Open = int(const char *, int, ...);
using Ioctl = int(int, unsigned long, ...);

int open_anything(const char *path, int flags, mode_t mode) {
    const int device = open_device(path);
    return device >= 0 ? device : next<Open>("open")(path, flags | O_LARGEFILE, mode);
}

}  // namespace

extern "C" {

int open(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_anything(path, flags, mode);
}

int open64(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_anything(path, flags, mode);
}

int ioctl(int fd, unsigned long request, ...) {
    va_list args;
    va_start(args, request);
    void *block = va_arg(args, void *);
    va_end(args);
    if (is_on() && is_phy_request(request))
        return simulator::answer_phy(request, block);
    if (is_on() && simulator::is_dsl_request(request) && is_device(fd, "dsl"))
        return simulator::answer_dsl(request, block);
    if (is_on() && request == MEMGETINFO && is_device(fd, "mtd"))
        return answer_flash(request, block);
    return next<Ioctl>("ioctl")(fd, request, block);
}
}
