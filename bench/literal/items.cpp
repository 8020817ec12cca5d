#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "bench/literal/literal.h"

namespace {

int open_item(const char *dir, const char *name, int flags) {
    const std::size_t length = std::strlen(dir);
    auto *const path = static_cast<char *>(std::malloc(length + std::strlen(name) + 2));
    if (path == nullptr)
        return -1;
    std::strcpy(path, dir);
    if (length > 0 && dir[length - 1] == '/' && name[0] == '/')
        path[length - 1] = '\0';
    else if (length > 0 && dir[length - 1] != '/' && name[0] != '/')
        std::strcat(path, "/");
    std::strcat(path, name);
    const int fd = ::open(path, flags);
    std::free(path);
    return fd;
}

/// Up to the first control character.
int read_value(int fd, char *buf, int size) {
    const int count = literal::full_read_fd(fd, buf, size);
    if (count < 0)
        return count;
    buf[count] = '\0';
    for (int i = 0; i < count; ++i) {
        const auto byte = static_cast<unsigned char>(buf[i]);
        if (byte < 0x20 || byte == 0x7F) {
            buf[i] = '\0';
            return i;
        }
    }
    return count;
}

int read_named(const char *dir, const char *name, char *buf, int size) {
    const int fd = open_item(dir, name, O_RDONLY);
    if (fd < 0)
        return fd;
    const int length = read_value(fd, buf, size);
    ::close(fd);
    return length;
}

/// Writes the value and a line feed.
int write_value(int fd, const char *value, int length) {
    auto *const line = static_cast<char *>(std::malloc(static_cast<std::size_t>(length) + 1));
    if (line == nullptr)
        return -1;
    std::memcpy(line, value, static_cast<std::size_t>(length));
    line[length] = '\n';
    const int written = literal::full_write_fd(fd, line, length + 1);
    std::free(line);
    return written;
}

}  // namespace

namespace literal {

int read_item(const char *dir, const char *name, char *buf, int size) {
    buf[0] = '\0';
    return read_named(dir, name, buf, size);
}

int update_item(const char *dir, const char *name, const char *value, int size) {
    auto *const stored = static_cast<char *>(std::malloc(static_cast<std::size_t>(size) + 1));
    if (stored == nullptr)
        return -1;
    const int stored_length = read_named(dir, name, stored, size);
    int length = static_cast<int>(std::strlen(value));
    if (length > size)
        length = size;
    int equal = 0;
    while (equal < length && equal < stored_length && value[equal] == stored[equal])
        ++equal;
    std::free(stored);
    if (stored_length < 0)
        return stored_length;
    if (equal == stored_length && length == stored_length)
        return 0;
    const int fd = open_item(dir, name, O_WRONLY | O_TRUNC);
    if (fd < 0)
        return fd;
    const int written = write_value(fd, value, length);
    ::close(fd);
    return written;
}

}  // namespace literal
