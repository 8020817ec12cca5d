#include "tests/faults/environment.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>

#include "tests/support/io.h"

namespace qmv_test {
namespace {

constexpr int kFailed = 1;
constexpr int kSkipped = 77;

/// `place` is where the body has its directories.
int run_body(const TempDir &place, const std::function<void()> &body) {
    ::setenv("TMPDIR", place.path(), 1);
    const int before = open_descriptors();
    body();
    EXPECT_EQ(open_descriptors(), before) << "descriptors";
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1) << "processes";
    return testing::Test::HasFailure() ? kFailed : 0;
}

bool write_file(const char *path, const std::string &content) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool written = ::write(fd, content.data(), content.size()) >= 0;
    ::close(fd);
    return written;
}

/// Gets a view of the mounts that nobody else has; for other users than root within a user
/// namespace.
bool leave_mounts() {
    const std::string user = "0 " + std::to_string(::geteuid()) + " 1";
    const std::string group = "0 " + std::to_string(::getegid()) + " 1";
    const bool left =
        ::unshare(CLONE_NEWNS) == 0 ||
        (::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && write_file("/proc/self/uid_map", user) &&
         write_file("/proc/self/setgroups", "deny") && write_file("/proc/self/gid_map", group));
    return left && ::mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0;
}

constexpr const char *kDiskOptions = "size=128k,nr_inodes=20";

bool mount_disk(const char *path) {
    return ::mount("tmpfs", path, "tmpfs", 0, kDiskOptions) == 0;
}

}  // namespace

void in_own_process(const std::function<void()> &body) {
    const TempDir place;
    const ChildResult child = run_child("", [&] { return run_body(place, body); });
    EXPECT_EQ(child.status, 0) << child.output;
}

void with_own_disk(const std::function<void(const OwnDisk &disk)> &body) {
    const TempDir place;
    const ChildResult child = run_child("", [&] {
        if (!leave_mounts() || !mount_disk(place.path())) {
            std::printf("no disk of its own: %s", std::strerror(errno));
            return kSkipped;
        }
        return run_body(place, [&] { body(OwnDisk(place.path())); });
    });
    if (child.status == kSkipped)
        GTEST_SKIP() << child.output;
    EXPECT_EQ(child.status, 0) << child.output;
}

void OwnDisk::write(const std::string &name, const std::string &content) const {
    std::ofstream(file(name), std::ios::binary | std::ios::trunc) << content;
}

std::string OwnDisk::read(const std::string &name) const {
    std::ifstream in(file(name), std::ios::binary);
    if (!in.is_open())
        return "no file";
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

void OwnDisk::fill() const {
    const std::string page(static_cast<std::size_t>(::getpagesize()), 'f');
    const int fd = ::open(file("filler").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
    while (::write(fd, page.data(), page.size()) > 0) {
    }
    EXPECT_EQ(errno, ENOSPC);
    ::close(fd);
}

void OwnDisk::fill_names() const {
    int fd = -1;
    for (int i = 0; (fd = ::open(file("name" + std::to_string(i)).c_str(),
                                 O_WRONLY | O_CREAT | O_CLOEXEC, 0666)) >= 0;
         ++i)
        ::close(fd);
    EXPECT_EQ(errno, ENOSPC);
}

void OwnDisk::make_read_only() const {
    EXPECT_EQ(::mount("none", path_.c_str(), "none", MS_REMOUNT | MS_RDONLY, nullptr), 0);
}

void PrintTo(BrokenOutput::Kind kind, std::ostream *out) {
    *out << (kind == BrokenOutput::Kind::kFull ? "full" : "closed");
}

BrokenOutput::BrokenOutput(Kind kind) {
    std::fflush(stdout);
    // Behind the descriptors that the library would get.
    kept_ = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 100);
    std::setvbuf(stdout, nullptr, _IONBF, 0);
    if (kind == Kind::kClosed) {
        ::close(STDOUT_FILENO);
        return;
    }
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ::dup2(full, STDOUT_FILENO);
    ::close(full);
}

BrokenOutput::~BrokenOutput() {
    ::dup2(kept_, STDOUT_FILENO);
    ::close(kept_);
    std::clearerr(stdout);
}

}  // namespace qmv_test
