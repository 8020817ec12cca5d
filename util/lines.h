// Lines: of a stream, of any length; of another input, ended by CR LF.
#ifndef QMV_UTIL_LINES_H
#define QMV_UTIL_LINES_H

#include <algorithm>
#include <cstdio>

#include "util/ascii.h"
#include "util/owners.h"

namespace qmv {

/// A buffer for lines, of 4096 bytes until a longer one comes. False when there was no memory.
class [[nodiscard]] LineBuffer {
  public:
    LineBuffer() : line_(static_cast<char *>(std::malloc(kSize))) {}
    LineBuffer(const LineBuffer &) = delete;
    LineBuffer &operator=(const LineBuffer &) = delete;
    ~LineBuffer() { std::free(line_); }

    explicit operator bool() const { return line_ != nullptr; }

    /// Reads the next line, with its newline. Null at the end of the stream.
    char *next(std::FILE *stream) {
        return ::getline(&line_, &size_, stream) > 0 ? line_ : nullptr;
    }

  private:
    static constexpr std::size_t kSize = 4096;
    char *line_;
    std::size_t size_ = kSize;
};

/// What full_line_read_fd() does, from an input that `read` reads as full_read_fd() would.
template <typename Read>
int read_crlf_line(Read read, char *buf, unsigned size) {
    if (buf == nullptr || size < 2)
        return -1;
    const int first = read(buf, 2);
    if (first < 1)
        return first;
    unsigned held = static_cast<unsigned>(first);
    for (;;) {
        // Intended: once a byte was overwritten (held > size) the end of the line can no longer be
        // seen, and it is read to the end of the input.
        if (held >= 2 && held <= size && buf[held - 2] == '\r' && buf[held - 1] == '\n') {
            buf[held - 2] = '\0';
            return clamp_to_int(held - 2);
        }
        const int n = read(buf + std::min(held, size - 1), 1);
        if (n < 1)
            return n;
        if (held <= size)
            ++held;
    }
}

}  // namespace qmv

#endif
