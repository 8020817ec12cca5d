#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <string_view>

#include "qmv/items.h"
#include "util/scratch.h"

namespace {

/// Writes directory and name with one "/" between them. Only one is looked at on each side.
void join(char *out, std::string_view dir, std::string_view name) {
    const bool dir_slash = !dir.empty() && dir.back() == '/';
    const bool name_slash = !name.empty() && name.front() == '/';
    if (dir_slash && name_slash)
        dir.remove_suffix(1);
    std::memcpy(out, dir.data(), dir.size());
    out += dir.size();
    if (!dir.empty() && !dir_slash && !name_slash)
        *out++ = '/';
    std::memcpy(out, name.data(), name.size());
    out[name.size()] = '\0';
}

int open_path(const char *path, int flags, unsigned mode) {
    return ::open(path, flags, mode);
}

int stat_path(const char *path, int /*unused*/, unsigned /*unused*/) {
    struct stat discarded;
    return ::stat(path, &discarded);
}

int unlink_path(const char *path, int /*unused*/, unsigned /*unused*/) {
    return ::unlink(path);
}

}  // namespace

int _func_path_name(int (*action)(const char *path, int a, unsigned b), const char *dir,
                    const char *name, int a, unsigned b) {
    if (action == nullptr || dir == nullptr || name == nullptr)
        return -1;
    qmv::Scratch path(std::strlen(dir) + std::strlen(name) + 2);
    if (!path)
        return -1;
    join(path.get(), dir, name);
    return action(path.get(), a, b);
}

int open_path_name(const char *dir, const char *name, int flags, unsigned mode) {
    return _func_path_name(open_path, dir, name, flags, mode);
}

int stat_item(const char *dir, const char *name) {
    return _func_path_name(stat_path, dir, name, 0, 0);
}

int remove_item(const char *dir, const char *name) {
    return _func_path_name(unlink_path, dir, name, 0, 0);
}
