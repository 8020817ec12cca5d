#include "tests/support/own_network.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "tests/support/io.h"

namespace qmv_test {
namespace {

constexpr int kFailed = 1;
constexpr int kSkipped = 77;

bool write_file(const char *path, const std::string &content) {
    const int fd = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool written = ::write(fd, content.data(), content.size()) >= 0;
    ::close(fd);
    return written;
}

/// Becomes root in a network of its own; for other users than root within a user namespace.
bool leave_network() {
    if (::unshare(CLONE_NEWNET) == 0)
        return true;
    const std::string user = "0 " + std::to_string(::geteuid()) + " 1";
    const std::string group = "0 " + std::to_string(::getegid()) + " 1";
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write_file("/proc/self/uid_map", user) &&
           write_file("/proc/self/setgroups", "deny") && write_file("/proc/self/gid_map", group);
}

/// What it complains about goes to `errors`.
bool ip(const std::string &commands, const char *errors) {
    const std::string command = std::string("PATH=$PATH:/sbin:/usr/sbin ip -batch - 2>") + errors;
    std::FILE *const input = ::popen(command.c_str(), "w");
    std::fputs(commands.c_str(), input);
    return ::pclose(input) == 0;
}

std::string with_lone(std::string commands) {
    constexpr std::string_view kPlace = "type lone";
    if (commands.find(kPlace) == commands.npos)
        return commands;
    const bool dummy = ip("link add lone0 type dummy\nlink delete lone0\n", "/dev/null");
    const std::string kind = dummy ? "type dummy" : "type bridge";
    for (std::size_t at = 0; (at = commands.find(kPlace, at)) != commands.npos;)
        commands.replace(at, kPlace.size(), kind);
    return commands;
}

int run(const std::string &commands, const std::function<void()> &body) {
    if (!leave_network()) {
        std::printf("no network of its own: %s", std::strerror(errno));
        return kSkipped;
    }
    if (!ip(with_lone(commands), "&1")) {
        std::printf("ip (package iproute2) cannot set up the interfaces");
        return kSkipped;
    }
    body();
    return testing::Test::HasFailure() ? kFailed : 0;
}

}  // namespace

void in_own_network(const std::string &commands, const std::function<void()> &body) {
    const ChildResult child = run_child("", [&] { return run(commands, body); });
    if (child.status == kSkipped)
        GTEST_SKIP() << child.output;
    EXPECT_EQ(child.status, 0) << child.output;
}

}  // namespace qmv_test
