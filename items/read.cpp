#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

#include "qmv/items.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/lookahead.h"
#include "util/owners.h"

namespace {

/// Ends a text at its first control character. Returns its length.
int end_value(char *buf, int length) {
    char *end = std::find_if(buf, buf + length, qmv::is_control);
    *end = '\0';
    return static_cast<int>(end - buf);
}

/// Reads a value from an item of the library's own: up to the first piece with a control character,
/// which is all of a file, without asking once more for its end.
int read_value(int fd, char *buf, int size) {
    if (fd < 0)
        return fd;
    int length = 0;
    int value = 0;
    while (length < size && value == length) {
        const int n = qmv::read_once(fd, buf + length, static_cast<size_t>(size - length));
        if (n < 0)
            value = n;
        if (n < 1)
            break;
        value += end_value(buf + length, n);
        length += n;
    }
    buf[std::max(value, 0)] = '\0';
    return value;
}

}  // namespace

int read_item_fd(int fd, char *buf, int size) {
    if (fd < 0)
        return fd;
    if (buf == nullptr)
        return -1;
    const int length = full_read_fd(fd, buf, size);
    buf[length < 0 ? 0 : length] = '\0';
    return length < 0 ? length : end_value(buf, length);
}

int read_item(const char *dir, const char *name, char *buf, int size) {
    if (buf == nullptr)
        return -1;
    buf[0] = '\0';
    const qmv::Descriptor item(open_path_name(dir, name, O_RDONLY, 0));
    return read_value(item.get(), buf, size);
}

int read_item_alloc_fd(int fd, char **out, int min_size) {
    if (fd < 0)
        return fd;
    struct stat info;
    if (out == nullptr || ::fstat(fd, &info) != 0)
        return -1;
    const long long least = min_size < 0 ? ::sysconf(_SC_PAGESIZE) - 1 : min_size;
    const int size = qmv::clamp_to_int(std::max<long long>(least, info.st_size) + 1);
    auto value = qmv::Block<char>::allocate(static_cast<size_t>(size) + 1);
    if (!value)
        return -1;
    value[0] = '\0';
    const int length = read_item_fd(fd, value.get(), size);
    *out = value.release();
    return length;
}

int read_item_alloc(const char *dir, const char *name, char **out) {
    const qmv::Descriptor item(open_path_name(dir, name, O_RDONLY, 0));
    return read_item_alloc_fd(item.get(), out, -1);
}

int read_items_str(int (*callback)(int ctx, char *element), int ctx, const char *dir,
                   const char *name, int separator) {
    if (callback == nullptr)
        return -1;
    char *text = nullptr;
    const int length = read_item_alloc(dir, name, &text);
    const qmv::Block<char> value(text);
    if (length >= 0)
        parse_items_str(callback, ctx, text, separator);
    return length;
}
