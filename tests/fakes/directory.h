// mkdir() and chmod(), noted and refused as a test says.
#ifndef QMV_TESTS_FAKES_DIRECTORY_H
#define QMV_TESTS_FAKES_DIRECTORY_H

#include <sys/types.h>

#include <ostream>
#include <string>
#include <vector>

namespace qmv_test {

/// A call of mkdir() or chmod().
struct DirectoryCall {
    std::string function;
    std::string path;
    mode_t mode;

    bool operator==(const DirectoryCall &) const = default;
};

/// While it lives, notes each mkdir() and chmod(), which reach the system. One at a time.
class DirectoryCalls {
  public:
    DirectoryCalls();
    DirectoryCalls(const DirectoryCalls &) = delete;
    DirectoryCalls &operator=(const DirectoryCalls &) = delete;
    ~DirectoryCalls();

    /// From now on chmod() fails with EPERM.
    void refuse_chmod() { refuses_chmod_ = true; }
    bool refuses_chmod() const { return refuses_chmod_; }

    void note(const char *function, const char *path, mode_t mode);
    const std::vector<DirectoryCall> &all() const { return calls_; }

  private:
    bool refuses_chmod_ = false;
    std::vector<DirectoryCall> calls_;
};

void PrintTo(const DirectoryCall &call, std::ostream *out);

}  // namespace qmv_test

#endif
