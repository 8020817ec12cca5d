#include "tests/fakes/directory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

namespace {

qmv_test::DirectoryCalls *noted = nullptr;

}  // namespace

extern "C" int mkdir(const char *path, mode_t mode) noexcept {
    if (noted != nullptr)
        noted->note("mkdir", path, mode);
    return static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, path, mode));
}

extern "C" int chmod(const char *path, mode_t mode) noexcept {
    if (noted != nullptr)
        noted->note("chmod", path, mode);
    if (noted != nullptr && noted->refuses_chmod()) {
        errno = EPERM;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fchmodat, AT_FDCWD, path, mode));
}

namespace qmv_test {

DirectoryCalls::DirectoryCalls() {
    noted = this;
}

DirectoryCalls::~DirectoryCalls() {
    noted = nullptr;
}

void DirectoryCalls::note(const char *function, const char *path, mode_t mode) {
    calls_.push_back({function, path, mode});
}

void PrintTo(const DirectoryCall &call, std::ostream *out) {
    *out << call.function << "(\"" << call.path << "\", 0" << std::oct << call.mode << std::dec
         << ")";
}

}  // namespace qmv_test
