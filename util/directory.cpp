#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "qmv/util.h"
#include "util/format.h"

namespace {

constexpr unsigned kRecursive = 0x4;
constexpr mode_t kNewDirectory = 0777;
constexpr mode_t kOwnerAccess = 0300;

/// The umask of the process, restored at the end of the scope.
class Umask {
  public:
    Umask() : entry_(::umask(0)) { restore(); }
    Umask(const Umask &) = delete;
    Umask &operator=(const Umask &) = delete;
    ~Umask() { restore(); }

    /// Lets directories be created that their owner can enter and write to.
    void allow_owner() { ::umask(entry_ & ~kOwnerAccess); }
    void restore() { ::umask(entry_); }

  private:
    mode_t entry_;
};

bool is_directory(const char *path) {
    struct stat info;
    return ::stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

/// What became of one directory of a path.
enum class Made { created, existed, failed };

Made make_one(const char *path) {
    if (::mkdir(path, kNewDirectory) == 0)
        return Made::created;
    const bool taken = errno == EEXIST || errno == EISDIR;
    return taken && is_directory(path) ? Made::existed : Made::failed;
}

/// Creates the parents of a path: it is cut behind each run of "/" that more text follows.
bool make_parents(char *path) {
    char *cursor = path;
    while ((cursor = std::strchr(cursor, '/')) != nullptr) {
        cursor += std::strspn(cursor, "/");
        if (*cursor == '\0')
            break;
        const char cut = *cursor;
        *cursor = '\0';
        const Made made = make_one(path);
        *cursor = cut;
        if (made == Made::failed)
            return false;
    }
    return true;
}

Made make_path(char *path, bool recursive) {
    if (!recursive)
        return ::mkdir(path, kNewDirectory) == 0 ? Made::created : Made::failed;
    Umask mask;
    mask.allow_owner();
    if (!make_parents(path))
        return Made::failed;
    mask.restore();
    return make_one(path);
}

int report(const char *action, const char *path) {
    const int kept = errno;
    std::fprintf(stderr, "can't %s directory '%s'", action, path);
    errno = kept;
    return -1;
}

/// Calls back for the name of each entry of a directory. Returns the number of entries, or -1.
template <typename Callback>
int for_each_entry(const char *path, Callback callback) {
    dirent **entries = nullptr;
    const int count = ::scandir(path, &entries, nullptr, nullptr);
    for (int i = 0; i < count; ++i) {
        callback(entries[i]->d_name);
        std::free(entries[i]);
    }
    std::free(entries);
    return count;
}

}  // namespace

int remove_filef(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const auto path = qmv::format_text(format, args);
    va_end(args);
    return path ? ::unlink(path.get()) : -1;
}

int remove_dir_leaf(const char *dir) {
    if (dir == nullptr)
        return -1;
    for_each_entry(dir, [dir](const char *name) {
        if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
            remove_filef("%s/%s", dir, name);
    });
    return ::rmdir(dir);
}

int check_dir(const char *path) {
    if (path == nullptr)
        return -1;
    int visible = 0;
    const int count =
        for_each_entry(path, [&visible](const char *name) { visible += name[0] != '.' ? 1 : 0; });
    return count < 0 ? -1 : visible;
}

int make_directory(char *path, int mode, unsigned flags) {
    if (path == nullptr)
        return -1;
    if (std::strcmp(path, ".") == 0)
        return 0;
    switch (make_path(path, (flags & kRecursive) != 0)) {
        case Made::failed:
            return report("create", path);
        case Made::existed:
            return 0;
        case Made::created:
            break;
    }
    if (mode != -1 && ::chmod(path, static_cast<mode_t>(mode)) != 0)
        return report("set permissions of", path);
    return 0;
}

const char *valid_filename(const char *path) {
    if (path == nullptr)
        return nullptr;
    for (const char separator : {'\\', '/'}) {
        const char *last = std::strrchr(path, separator);
        path = last != nullptr ? last + 1 : path;
    }
    return path;
}

char *str_replace_chr(char *s, int from, int to) {
    for (char *cursor = s; cursor != nullptr && *cursor != '\0'; ++cursor) {
        // Intended: a byte above 0x7F is a negative number here, on every machine.
        if (static_cast<signed char>(*cursor) == from)
            *cursor = static_cast<char>(to);
    }
    return s;
}
