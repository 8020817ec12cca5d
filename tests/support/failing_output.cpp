#include "tests/support/failing_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

namespace qmv_test {
namespace {

constexpr rlim_t kFileLimit = 1000;

/// Makes stdout as new as in a program that has not printed yet: a used stream must not change its
/// buffer.
void open_stdout(Sink sink, int file) {
    int ends[2] = {-1, -1};
    std::string path = "/dev/full";
    if (sink == Sink::kLimitedFile)
        path = "/proc/self/fd/" + std::to_string(file);
    else if (sink == Sink::kClosedPipe && ::pipe(ends) == 0)
        path = "/proc/self/fd/" + std::to_string(ends[1]);
    if (std::freopen(path.c_str(), "w", stdout) == nullptr)
        ::_exit(1);
    ::close(ends[0]);
    ::close(ends[1]);
}

/// The life of the process that prints.
[[noreturn]] void run_printers(Sink sink, int file, int results, const Buffering &buffering,
                               const std::vector<std::function<int()>> &printers) {
    static char buffer[8192];
    open_stdout(sink, file);
    if (buffering.mode != kUntouched)
        std::setvbuf(stdout, buffering.mode == _IONBF ? nullptr : buffer, buffering.mode,
                     buffering.size);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{kFileLimit, kFileLimit};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    for (const auto &print : printers) {
        const int count = print();
        if (::write(results, &count, sizeof count) != sizeof count)
            ::_exit(1);
    }
    std::fflush(stdout);
    ::_exit(0);
}

std::string content_of(int fd) {
    char content[kFileLimit];
    const ssize_t length = ::pread(fd, content, sizeof content, 0);
    return length > 0 ? std::string(content, static_cast<std::size_t>(length)) : std::string();
}

}  // namespace

std::ostream &operator<<(std::ostream &out, const FailedOutput &output) {
    for (const int count : output.counts)
        out << count << ' ';
    return out << '"' << output.written << '"';
}

FailedOutput print_to(Sink sink, const Buffering &buffering,
                      const std::vector<std::function<int()>> &printers) {
    const int file = ::memfd_create("qmv-test", MFD_CLOEXEC);
    int results[2];
    if (file < 0 || ::pipe2(results, O_CLOEXEC) != 0)
        std::abort();
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid == 0)
        run_printers(sink, file, results[1], buffering, printers);
    ::close(results[1]);
    FailedOutput output;
    for (int count = 0; ::read(results[0], &count, sizeof count) == sizeof count;)
        output.counts.push_back(count);
    ::close(results[0]);
    ::waitpid(pid, nullptr, 0);
    output.written = content_of(file);
    ::close(file);
    return output;
}

}  // namespace qmv_test
