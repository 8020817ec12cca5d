#include "tests/support/item_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>

namespace qmv_test {
namespace {

constexpr time_t kLongAgo = 1000000000;

struct stat state_of(const std::string &path) {
    struct stat state;
    if (::stat(path.c_str(), &state) != 0)
        std::abort();
    return state;
}

}  // namespace

ItemFile::ItemFile(std::string_view content) : inode_(0) {
    const std::string path = dir_.write(name(), content);
    const timespec times[2] = {{kLongAgo, 0}, {kLongAgo, 0}};
    if (::utimensat(AT_FDCWD, path.c_str(), times, 0) != 0)
        std::abort();
    inode_ = state_of(path).st_ino;
}

bool ItemFile::touched() const {
    return state_of(dir_.file(name())).st_mtime != kLongAgo;
}

bool ItemFile::same_file() const {
    return state_of(dir_.file(name())).st_ino == inode_;
}

}  // namespace qmv_test
