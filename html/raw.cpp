#include <stdio_ext.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "util/ascii.h"

namespace {

/// Bytes that fit in the buffer of stdout without completing it: copying them there is what writing
/// them one by one would do. None when the stream is not fully buffered, and none as long as the
/// buffer is empty, since what comes first may pass it by.
size_t room_in_buffer() {
    if (__flbf(stdout) != 0)
        return 0;
    const size_t size = __fbufsize(stdout);
    const size_t used = __fpending(stdout);
    return used > 0 && size > used ? size - used - 1 : 0;
}

/// Prints bytes up to the first that fails. Returns how many were printed.
size_t put_bytes(const char *bytes, size_t len) {
    size_t done = 0;
    while (done < len) {
        const size_t run = std::min(len - done, room_in_buffer());
        if (run > 0)
            done += ::fwrite_unlocked(bytes + done, 1, run, stdout);
        else if (::putc_unlocked(static_cast<unsigned char>(bytes[done]), stdout) != EOF)
            ++done;
        else
            break;
    }
    return done;
}

}  // namespace

int print_mem(const void *buf, unsigned len) {
    if (buf == nullptr)
        return 0;
    return qmv::clamp_to_int(put_bytes(static_cast<const char *>(buf), len));
}

int print_str(const char *s) {
    if (s == nullptr)
        return 0;
    return qmv::clamp_to_int(put_bytes(s, std::strlen(s)));
}

int print_str_xcrlf(const char *s) {
    if (s == nullptr)
        return 0;
    size_t printed = 0;
    while (*s != '\0') {
        const size_t line = std::strcspn(s, "\n");
        const size_t done = put_bytes(s, line);
        printed += done;
        if (done < line)
            break;
        s += line;
        // Intended: a CR goes in front of every LF, also of one that has a CR already.
        if (*s == '\n') {
            const size_t end = put_bytes("\r\n", 2);
            printed += end;
            if (end < 2)
                break;
            ++s;
        }
    }
    return qmv::clamp_to_int(printed);
}

int print_xstr(const char *s, unsigned flags) {
    if ((flags & PRINT_RAW) == 0)
        return html_print_text(s);
    return (flags & PRINT_WINDOWS_CLIENT) != 0 ? print_str_xcrlf(s) : print_str(s);
}
