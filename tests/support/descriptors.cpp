#include "tests/support/descriptors.h"

#include <fcntl.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace qmv_test {
namespace {

void (*volatile interruption)(int number) = nullptr;
volatile sig_atomic_t interruptions = 0;

void interrupted(int) {
    const int kept = errno;
    interruptions = interruptions + 1;
    interruption(interruptions);
    errno = kept;
}

void arm_timer(suseconds_t interval) {
    const itimerval timer{{0, interval}, {0, interval}};
    ::setitimer(ITIMER_REAL, &timer, nullptr);
}

}  // namespace

Pipe::Pipe(std::string_view content) {
    if (::pipe2(ends_, O_CLOEXEC) != 0 ||
        ::write(ends_[1], content.data(), content.size()) != static_cast<ssize_t>(content.size()))
        std::abort();
}

Pipe::~Pipe() {
    close_reader();
    close_writer();
}

void Pipe::close_end(int end) {
    if (ends_[end] >= 0)
        ::close(ends_[end]);
    ends_[end] = -1;
}

std::string Pipe::take() const {
    const int flags = ::fcntl(reader(), F_GETFL);
    never_wait(reader());
    std::string content;
    char buffer[4096];
    for (ssize_t n = 0; (n = ::read(reader(), buffer, sizeof buffer)) > 0;)
        content.append(buffer, static_cast<std::size_t>(n));
    ::fcntl(reader(), F_SETFL, flags);
    return content;
}

void never_wait(int fd) {
    ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
}

Interruptions::Interruptions(void (*action)(int number)) {
    interruption = action;
    interruptions = 0;
    struct sigaction handling {};
    handling.sa_handler = interrupted;  // without SA_RESTART: the system call fails with EINTR
    ::sigaction(SIGALRM, &handling, &before_);
    arm_timer(1000);
}

Interruptions::~Interruptions() {
    arm_timer(0);
    ::sigaction(SIGALRM, &before_, nullptr);
}

std::string pattern(std::size_t size) {
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 251);
    return bytes;
}

}  // namespace qmv_test
