// Surroundings in which the system fails by itself: a full disk, a closed output.
#ifndef QMV_TESTS_FAULTS_ENVIRONMENT_H
#define QMV_TESTS_FAULTS_ENVIRONMENT_H

#include <functional>
#include <iosfwd>
#include <string>
#include <utility>

namespace qmv_test {

/// Runs a test's body in a process of its own; failures in it are failures of the test. Checks that
/// it leaves no descriptors and no processes behind.
void in_own_process(const std::function<void()> &body);

/// What can be done with a disk of a test's own, which is there in its process only.
class OwnDisk {
  public:
    explicit OwnDisk(std::string path) : path_(std::move(path)) {}

    /// The directory in which it is mounted, without "/" at the end.
    const char *path() const { return path_.c_str(); }
    std::string file(const std::string &name) const { return path_ + "/" + name; }
    void write(const std::string &name, const std::string &content) const;
    /// The content of a file, or "no file".
    std::string read(const std::string &name) const;
    /// Takes all room that is left. What a file gives up later is free again.
    void fill() const;
    /// Takes all names that are left.
    void fill_names() const;
    void make_read_only() const;

  private:
    std::string path_;
};

/// Runs a test's body as in_own_process() does, with a small disk. To be called last: the test is
/// skipped where nothing can be mounted.
void with_own_disk(const std::function<void(const OwnDisk &disk)> &body);

/// While it lives, stdout, without a buffer, takes nothing or is closed. For processes of a test's
/// own: the buffer stays away.
class BrokenOutput {
  public:
    enum class Kind { kFull, kClosed };

    explicit BrokenOutput(Kind kind);
    BrokenOutput(const BrokenOutput &) = delete;
    BrokenOutput &operator=(const BrokenOutput &) = delete;
    ~BrokenOutput();

  private:
    int kept_;
};

/// For the names of tests.
void PrintTo(BrokenOutput::Kind kind, std::ostream *out);

}  // namespace qmv_test

#endif
