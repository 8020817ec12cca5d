#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "qmv/util.h"
#include "util/ascii.h"
#include "util/lines.h"

namespace {

constexpr int kCopySize = 4096;

/// Calls back for each line. False when there was no memory for the first one.
bool read_lines(std::FILE *file, int (*callback)(void *ctx, char *line), void *ctx) {
    qmv::LineBuffer buffer;
    if (!buffer)
        return false;
    while (char *line = buffer.next(file)) {
        if (callback != nullptr)
            callback(ctx, line);
    }
    return true;
}

}  // namespace

int full_read_fd(int fd, void *buf, int len) {
    auto *bytes = static_cast<char *>(buf);
    int done = 0;
    while (done < len) {
        const ssize_t n = ::read(fd, bytes + done, static_cast<size_t>(len - done));
        if (n == 0)
            break;
        if (n > 0)
            done += static_cast<int>(n);
        else if (errno != EINTR)
            return -1;
    }
    return done;
}

int full_write_fd(int fd, const void *buf, int len) {
    const auto *bytes = static_cast<const char *>(buf);
    int done = 0;
    while (done < len) {
        const ssize_t n = ::write(fd, bytes + done, static_cast<size_t>(len - done));
        // Intended: a write that accepts nothing is tried again.
        if (n >= 0)
            done += static_cast<int>(n);
        else if (errno != EINTR)
            return -1;
    }
    return done;
}

int full_copy_fd(int in_fd, int out_fd) {
    char buffer[kCopySize];
    long long total = 0;
    for (;;) {
        const int n = full_read_fd(in_fd, buffer, kCopySize);
        if (n < 0)
            return -1;
        if (n == 0)
            return qmv::clamp_to_int(total);
        total += n;
        if (full_write_fd(out_fd, buffer, n) < 0)
            return -1;
    }
}

int print_fd(int fd) {
    struct stat info;
    if (::fstat(fd, &info) != 0)
        return -1;
    const long long size = info.st_size;
    const int request = static_cast<int>(std::min<long long>(size, kCopySize));
    char buffer[kCopySize];
    long long total = 0;
    while (total < size) {
        const int n = full_read_fd(fd, buffer, request);
        if (n < 0)
            return -1;
        if (n == 0)
            break;
        if (std::fwrite(buffer, static_cast<size_t>(n), 1, stdout) != 1)
            return -1;
        total += n;
    }
    return qmv::clamp_to_int(total);
}

int print_fsize(long long size) {
    const bool large = size > 1024;
    return std::printf("%lld&nbsp;%s", large ? size >> 10 : size, large ? "KiB" : "Bytes");
}

int full_line_read_fd(int fd, char *buf, unsigned size) {
    return qmv::read_crlf_line([fd](char *to, int len) { return full_read_fd(fd, to, len); }, buf,
                               size);
}

int rd_file_line(const char *path, int (*callback)(void *ctx, char *line), void *ctx) {
    if (path == nullptr)
        return -1;
    std::FILE *file = std::fopen(path, "r");
    if (file == nullptr)
        return -1;
    const bool readable = read_lines(file, callback, ctx);
    const int closed = std::fclose(file);
    return readable ? closed : -1;
}
