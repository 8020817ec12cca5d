// Real files, pipes and processes for the tests, and what was printed or left open.
#ifndef QMV_TESTS_SUPPORT_IO_H
#define QMV_TESTS_SUPPORT_IO_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace qmv_test {

/// A text that may hold NUL bytes: text("a\0b").
template <std::size_t N>
std::string text(const char (&literal)[N]) {
    return std::string(literal, N - 1);
}

/// Calls a function and returns what it printed to stdout.
std::string printed(const std::function<void()> &call);

/// Calls a function and returns what it wrote to stderr.
std::string printed_error(const std::function<void()> &call);

/// Number of descriptors that this process has open.
int open_descriptors();

/// A directory of its own, removed with all in it at the end of the scope.
class TempDir {
  public:
    TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;
    ~TempDir();

    /// The directory, without "/" at the end.
    const char *path() const { return path_.c_str(); }
    /// The path of a file in it.
    std::string file(std::string_view name) const;
    /// Creates or replaces a file; returns its path.
    std::string write(std::string_view name, std::string_view content) const;
    /// Content of a file; fails the test when there is none.
    std::string read(std::string_view name) const;
    bool exists(std::string_view name) const;

  private:
    std::string path_;
};

/// A descriptor open at the beginning of a nameless file that holds the content.
class InputFile {
  public:
    explicit InputFile(std::string_view content);
    InputFile(const InputFile &) = delete;
    InputFile &operator=(const InputFile &) = delete;
    ~InputFile();

    int fd() const { return fd_; }
    /// All that was not read yet.
    std::string rest() const;

  private:
    int fd_;
};

/// The reading end of a pipe that a process fills, `piece` bytes a write, and then closes.
class InputPipe {
  public:
    explicit InputPipe(std::string_view content, std::size_t piece = 4096);
    InputPipe(const InputPipe &) = delete;
    InputPipe &operator=(const InputPipe &) = delete;
    ~InputPipe();

    int fd() const { return fd_; }
    std::string rest() const;

  private:
    int fd_;
    int pid_;
};

/// What a process that ran a function left behind.
struct ChildResult {
    int status;          ///< exit status, or -1 when a signal ended it
    std::string output;  ///< what it wrote to stdout
};

/// Runs a function in a process of its own, with `input` as its standard input, and exits there
/// with the function's result. exit() in the function ends the process, too.
ChildResult run_child(std::string_view input, const std::function<int()> &call);

}  // namespace qmv_test

#endif
