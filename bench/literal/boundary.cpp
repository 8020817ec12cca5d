#include <cstring>

#include "bench/literal/literal.h"

namespace {

constexpr int kBuffer = 1024;

struct Scan {
    const char *boundary;
    int length;  ///< of the boundary
    char buf[kBuffer];
    int held = 0;
    int confirmed = 0;  ///< of these: content, no part of a delimiter
    int request;        ///< bytes to read next
};

bool starts_delimiter(const char *at) {
    return at[0] == '\r' && at[1] == '\n' && at[2] == '-' && at[3] == '-';
}

/// Looks for the delimiter in what is not confirmed; otherwise says what to read next.
bool found(Scan &scan) {
    if (scan.held - scan.confirmed < 4) {
        scan.request = scan.length;
        return false;
    }
    while (scan.confirmed <= scan.held - 4 && !starts_delimiter(scan.buf + scan.confirmed))
        ++scan.confirmed;
    if (scan.confirmed > scan.held - 4) {
        scan.request = scan.length;
        return false;
    }
    const int behind = scan.held - (scan.confirmed + 4);
    if (behind < scan.length) {
        scan.request = scan.length - behind;
        return false;
    }
    if (std::memcmp(scan.buf + scan.confirmed + 4, scan.boundary,
                    static_cast<std::size_t>(scan.length)) == 0)
        return true;
    ++scan.confirmed;
    scan.request = 1;
    return false;
}

}  // namespace

namespace literal {

int scan_boundary(int fd, const char *boundary, unsigned state, qmv_writer writer,
                  void *writer_ctx) {
    Scan scan;
    scan.boundary = boundary;
    scan.length = static_cast<int>(std::strcspn(boundary, "\r"));
    scan.request = scan.length + 4;
    const int threshold = kBuffer - (scan.length + 4);
    for (;;) {
        const int count = full_read_fd(fd, scan.buf + scan.held, scan.request);
        if (count < 1) {
            if (scan.confirmed > 0 && writer != nullptr)
                writer(writer_ctx, scan.buf, scan.confirmed);
            return 2;
        }
        scan.held += count;
        if (found(scan))
            break;
        if (scan.confirmed < threshold)
            continue;
        if (writer != nullptr)
            writer(writer_ctx, scan.buf, scan.confirmed);
        scan.held -= scan.confirmed;
        std::memmove(scan.buf, scan.buf + scan.confirmed, static_cast<std::size_t>(scan.held));
        scan.confirmed = 0;
    }
    if (writer != nullptr)
        writer(writer_ctx, scan.buf, scan.confirmed);
    char tail[2];
    if (full_read_fd(fd, tail, 2) < 2)
        return 2;
    if (tail[0] == '\r' && tail[1] == '\n')
        return 0;
    full_read_fd(fd, tail, 2);
    return static_cast<int>(state);
}

}  // namespace literal
