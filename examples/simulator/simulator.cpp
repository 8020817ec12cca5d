// A device to try pages on: preloaded in front of the C library, it answers what a workstation's
// kernel cannot, a DSL modem, the flash partition of the boot loader, and four Ethernet PHYs.
//
// Programs reach the devices by open() and ioctl(), as the library does; other ways pass through.
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

// The names of the files in memory that stand for them.
constexpr const char *kDsl = "qmv-simulated-dsl";
constexpr const char *kFlash = "qmv-simulated-flash";

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
    char wanted[64];
    const int before = errno;
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
    std::snprintf(wanted, sizeof wanted, "/memfd:%s (deleted)", name);
    const bool is_link = ::readlink(link, target, sizeof target - 1) > 0;
    errno = before;
    return is_link && std::strcmp(target, wanted) == 0;
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
bool write_flash(int fd) {
    static constexpr char kVariables[] =
        "bootcmd=run flashboot\0bootdelay=2\0baudrate=115200\0ethaddr=02:00:5E:10:00:01\0"
        "board=QMV-200\0serial#=Q2A7-004217\0ver=U-Boot 2022.04 (simulated)\0flashsize=16M\0";
    unsigned char image[kFlashSize];
    std::memset(image, 0xFF, sizeof image);
    std::memcpy(image + 4, kVariables, sizeof kVariables);
    const uint32_t crc = crc_of(image + 4, sizeof image - 4);
    std::memcpy(image, &crc, sizeof crc);
    return ::pwrite(fd, image, sizeof image, 0) == sizeof image;
}

// Opens a simulated device, or returns -1 for every other path.
int open_device(const char *path) {
    if (!is_on())
        return -1;
    if (std::strcmp(path, kDslDevice) == 0)
        return ::memfd_create(kDsl, MFD_CLOEXEC);
    if (std::strcmp(path, kFlashDevice) != 0)
        return -1;
    const int fd = ::memfd_create(kFlash, MFD_CLOEXEC);
    if (fd < 0 || write_flash(fd))
        return fd;
    ::close(fd);
    return -1;
}

int answer_flash(void *block) {
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

int open_with(const char *function, const char *path, int flags, va_list args) {
    const bool creates = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = creates ? va_arg(args, mode_t) : 0;
    const int device = open_device(path);
    return device >= 0 ? device : next<Open>(function)(path, flags, mode);
}

}  // namespace

extern "C" {

int open(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const int fd = open_with("open", path, flags, args);
    va_end(args);
    return fd;
}

int open64(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const int fd = open_with("open64", path, flags, args);
    va_end(args);
    return fd;
}

int ioctl(int fd, unsigned long request, ...) {
    va_list args;
    va_start(args, request);
    void *block = va_arg(args, void *);
    va_end(args);
    if (is_on() && is_phy_request(request))
        return simulator::answer_phy(request, block);
    if (is_on() && simulator::is_dsl_request(request) && is_device(fd, kDsl))
        return simulator::answer_dsl(request, block);
    if (is_on() && request == MEMGETINFO && is_device(fd, kFlash))
        return answer_flash(block);
    return next<Ioctl>("ioctl")(fd, request, block);
}
}
