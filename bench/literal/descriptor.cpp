#include <unistd.h>

#include <cerrno>

#include "bench/literal/literal.h"

namespace literal {

int full_read_fd(int fd, void *buf, int len) {
    int held = 0;
    while (held < len) {
        const ssize_t count =
            ::read(fd, static_cast<char *>(buf) + held, static_cast<std::size_t>(len - held));
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return -1;
        if (count == 0)
            break;
        held += static_cast<int>(count);
    }
    return held;
}

int full_write_fd(int fd, const void *buf, int len) {
    int done = 0;
    while (done < len) {
        const ssize_t count = ::write(fd, static_cast<const char *>(buf) + done,
                                      static_cast<std::size_t>(len - done));
        if (count < 0 && errno != EINTR)
            return -1;
        if (count > 0)
            done += static_cast<int>(count);
    }
    return done;
}

int full_line_read_fd(int fd, char *buf, unsigned size) {
    if (buf == nullptr || size < 2)
        return -1;
    int count = full_read_fd(fd, buf, 2);
    if (count < 1)
        return count;
    unsigned held = 2;
    while (buf[held - 2] != '\r' || buf[held - 1] != '\n') {
        if (held == size) {  // too long: nothing but the end of the input ends it
            do
                count = full_read_fd(fd, &buf[size - 1], 1);
            while (count > 0);
            return count;
        }
        count = full_read_fd(fd, &buf[held], 1);
        if (count < 1)
            return count;
        ++held;
    }
    buf[held - 2] = '\0';
    return static_cast<int>(held - 2);
}

}  // namespace literal
