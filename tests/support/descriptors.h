// Pipes that a test holds at both ends, and system calls that signals interrupt.
#ifndef QMV_TESTS_SUPPORT_DESCRIPTORS_H
#define QMV_TESTS_SUPPORT_DESCRIPTORS_H

#include <signal.h>

#include <string>
#include <string_view>

namespace qmv_test {

/// A pipe whose ends are both in this process. What is put in must fit (64 KiB do).
class Pipe {
  public:
    explicit Pipe(std::string_view content = "");
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;
    ~Pipe();

    int reader() const { return ends_[0]; }
    int writer() const { return ends_[1]; }
    void close_reader() { close_end(0); }
    void close_writer() { close_end(1); }

    /// Takes what is in the pipe now, without waiting for more.
    std::string take() const;

  private:
    void close_end(int end);

    int ends_[2];
};

/// Makes calls on a descriptor fail with EAGAIN instead of waiting.
void never_wait(int fd);

/// While it lives, a signal arrives every millisecond, interrupts the system call that is running,
/// and calls `action`, which may only do what a signal handler may, with the number of the signal:
/// 1, 2, 3 and so on.
class Interruptions {
  public:
    explicit Interruptions(void (*action)(int number));
    Interruptions(const Interruptions &) = delete;
    Interruptions &operator=(const Interruptions &) = delete;
    ~Interruptions();

  private:
    struct sigaction before_ {};
};

/// Bytes that differ along the way, so that a lost or doubled piece shows.
std::string pattern(std::size_t size);

}  // namespace qmv_test

#endif
