// What belongs to the whole process, changed for the length of a scope.
#ifndef QMV_TESTS_SUPPORT_PROCESS_STATE_H
#define QMV_TESTS_SUPPORT_PROCESS_STATE_H

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

namespace qmv_test {

/// While it lives, no descriptor can be opened.
class NoDescriptors {
  public:
    NoDescriptors() {
        if (::getrlimit(RLIMIT_NOFILE, &before_) != 0)
            std::abort();
        const rlimit none{0, before_.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &none);
    }
    NoDescriptors(const NoDescriptors &) = delete;
    NoDescriptors &operator=(const NoDescriptors &) = delete;
    ~NoDescriptors() { ::setrlimit(RLIMIT_NOFILE, &before_); }

  private:
    rlimit before_{};
};

/// The umask of the process.
class UmaskScope {
  public:
    explicit UmaskScope(mode_t mask) : before_(::umask(mask)) {}
    UmaskScope(const UmaskScope &) = delete;
    UmaskScope &operator=(const UmaskScope &) = delete;
    ~UmaskScope() { ::umask(before_); }

    /// The umask as it is now.
    static mode_t now() {
        const mode_t mask = ::umask(0);
        ::umask(mask);
        return mask;
    }

  private:
    mode_t before_;
};

/// The working directory of the process.
class WorkingDirectory {
  public:
    explicit WorkingDirectory(const char *path)
        : before_(::open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        if (before_ < 0 || ::chdir(path) != 0)
            std::abort();
    }
    WorkingDirectory(const WorkingDirectory &) = delete;
    WorkingDirectory &operator=(const WorkingDirectory &) = delete;
    ~WorkingDirectory() {
        if (::fchdir(before_) != 0)
            std::abort();
        ::close(before_);
    }

  private:
    int before_;
};

/// A variable of the environment; null: it is not set.
class EnvironmentVariable {
  public:
    EnvironmentVariable(const char *name, const char *value) : name_(name) {
        if (const char *before = std::getenv(name); before != nullptr) {
            was_set_ = true;
            before_ = before;
        }
        set(value);
    }
    EnvironmentVariable(const EnvironmentVariable &) = delete;
    EnvironmentVariable &operator=(const EnvironmentVariable &) = delete;
    ~EnvironmentVariable() { set(was_set_ ? before_.c_str() : nullptr); }

  private:
    void set(const char *value) {
        if (value != nullptr)
            ::setenv(name_, value, 1);
        else
            ::unsetenv(name_);
    }

    const char *name_;
    bool was_set_ = false;
    std::string before_;
};

}  // namespace qmv_test

#endif
