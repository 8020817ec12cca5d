// Lines of a stream, of any length.
#ifndef QMV_UTIL_LINES_H
#define QMV_UTIL_LINES_H

#include <cstdio>

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

}  // namespace qmv

#endif
