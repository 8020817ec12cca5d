#include "tests/fakes/device.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

namespace {

using qmv_test::Device;

struct Step {
    unsigned long request;
    Device::Driver driver;
};

struct Script {
    std::vector<Step> steps;
    std::vector<Device::Call> calls;
};

struct Replacement {
    std::string path;
    std::string instead;
    int times;
    int flags;
};

Script *script = nullptr;
Replacement *replacement = nullptr;

std::string number(unsigned long request) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%lX", request);
    return text;
}

std::string bytes(const void *block, std::size_t size) {
    std::string text;
    for (std::size_t i = 0; i < size; ++i) {
        char byte[8];
        std::snprintf(byte, sizeof byte, i % 4 == 0 ? " %02x" : "%02x",
                      static_cast<const unsigned char *>(block)[i]);
        text += byte;
    }
    return text;
}

/// Requests that never reach the kernel unless a script says so.
bool of_a_driver(unsigned long request) {
    const auto type = _IOC_TYPE(request);
    return type == 'r' || type == 'g' || type == 'M' ||
           (request >= SIOCGMIIPHY && request <= SIOCSMIIREG);
}

bool scripted(unsigned long request) {
    return script != nullptr &&
           std::any_of(script->steps.begin(), script->steps.end(),
                       [request](const Step &step) { return step.request == request; });
}

int refuse(unsigned long request) {
    const bool more = script != nullptr && script->calls.size() < script->steps.size();
    ADD_FAILURE() << "the request " << number(request) << " was not expected, but "
                  << (more ? number(script->steps[script->calls.size()].request) : "none");
    errno = ENOTTY;
    return -1;
}

int kernel_ioctl(int fd, unsigned long request, void *block) {
    return static_cast<int>(::syscall(SYS_ioctl, fd, request, block));
}

// Allocates nothing while all goes as expected: memory may be short at that moment.
int answer(int fd, unsigned long request, void *block) {
    if (!of_a_driver(request) && !scripted(request))
        return kernel_ioctl(fd, request, block);
    const std::size_t next = script != nullptr ? script->calls.size() : 0;
    if (script == nullptr || next == script->steps.size() || script->steps[next].request != request)
        return refuse(request);
    script->calls.push_back({fd, request, block});
    return script->steps[next].driver(fd, block);
}

int open_file(const char *path, int flags, mode_t mode) {
    if (replacement != nullptr && replacement->path == path) {
        ++replacement->times;
        replacement->flags = flags;
        path = replacement->instead.c_str();
    }
    return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

bool takes_mode(int flags) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

}  // namespace

extern "C" int ioctl(int fd, unsigned long request, ...) noexcept {
    va_list args;
    va_start(args, request);
    void *const block = va_arg(args, void *);
    va_end(args);
    return answer(fd, request, block);
}

extern "C" int open(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = takes_mode(flags) ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_file(path, flags, mode);
}

// What a call of open() becomes in code that is built for large files.
extern "C" int open64(const char *path, int flags, ...) {
    va_list args;
    va_start(args, flags);
    const mode_t mode = takes_mode(flags) ? va_arg(args, mode_t) : 0;
    va_end(args);
    return open_file(path, flags | O_LARGEFILE, mode);
}

namespace qmv_test {

Device::Device() {
    script = new Script;
}

Device::~Device() {
    if (unused() > 0) {
        ADD_FAILURE() << unused() << " requests were not made, the first of them "
                      << number(script->steps[script->calls.size()].request);
    }
    delete script;
    script = nullptr;
}

Device &Device::expects(unsigned long request, Driver driver) {
    script->steps.push_back({request, std::move(driver)});
    script->calls.reserve(script->steps.size());
    return *this;
}

Device &Device::expects(unsigned long request, std::string before, std::string after, int result) {
    EXPECT_EQ(_IOC_SIZE(request), before.size()) << "size of the block of " << number(request);
    EXPECT_EQ(before.size(), after.size()) << "sizes of the blocks of " << number(request);
    return expects(request, [=](int, void *block) {
        if (std::memcmp(block, before.data(), before.size()) != 0) {
            ADD_FAILURE() << "the block of " << number(request) << " holds\n"
                          << bytes(block, before.size()) << "\ninstead of\n"
                          << bytes(before.data(), before.size());
        }
        std::memcpy(block, after.data(), after.size());
        return result;
    });
}

Device &Device::fails(unsigned long request, int error) {
    return expects(request, [error](int, void *) {
        errno = error;
        return -1;
    });
}

Device &Device::reaches_kernel(unsigned long request) {
    return expects(request,
                   [request](int fd, void *block) { return kernel_ioctl(fd, request, block); });
}

const std::vector<Device::Call> &Device::calls() const {
    return script->calls;
}

std::size_t Device::unused() const {
    return script->steps.size() - script->calls.size();
}

OpenInstead::OpenInstead(std::string path, std::string instead) {
    replacement = new Replacement{std::move(path), std::move(instead), 0, 0};
}

OpenInstead::~OpenInstead() {
    if (replacement->times == 0)
        ADD_FAILURE() << replacement->path << " was never opened";
    delete replacement;
    replacement = nullptr;
}

int OpenInstead::times() const {
    return replacement->times;
}

int OpenInstead::flags() const {
    return replacement->flags;
}

}  // namespace qmv_test
