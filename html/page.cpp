#include <fcntl.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/format.h"
#include "util/scratch.h"

namespace {

/// Opens a file to copy into the page. A missing file copies nothing, but only descriptor 0, which
/// is standard input unless that was closed, counts as a failure. Intended: so the tags around a
/// missing file are printed.
qmv::Descriptor open_file(const char *path) {
    return qmv::Descriptor(::open(path, O_RDONLY));
}

int print_script_tag(unsigned how) {
    const unsigned tags = how & (HEAD_SCRIPT_OPEN | HEAD_SCRIPT_CLOSE);
    if (tags == HEAD_SCRIPT_OPEN)
        return print_str("<script>\r\n");
    return (tags & HEAD_SCRIPT_CLOSE) != 0 ? print_str("</script>\r\n") : 0;
}

}  // namespace

int print_head_p1(const char *header1, const char *header2, const char *extra) {
    print_str(header1);
    print_str(header2);
    print_str("<html>\r\n<head>\r\n");
    return print_str(extra);
}

int print_head_p2(const char *title, const char *body_attrs) {
    if (title != nullptr) {
        print_str("<title>");
        html_print_text(title);
        print_str("</title>\r\n");
    }
    print_str("</head>\r\n<body");
    print_str(body_attrs);
    return print_str(">\r\n");
}

int print_head_script(unsigned how, const char *script) {
    const bool from_file = script != nullptr && (how & HEAD_SCRIPT_FILE) != 0;
    const qmv::Descriptor file = from_file ? open_file(script) : qmv::Descriptor(-1);
    if (script == nullptr || file.get() == 0)
        return print_script_tag(how);
    int printed = (how & HEAD_SCRIPT_OPEN) != 0 ? print_str("<script>\r\n") : 0;
    if (from_file)
        print_fd(file.get());
    else
        printed = print_str(script);
    return (how & HEAD_SCRIPT_CLOSE) != 0 ? print_str("</script>\r\n") : printed;
}

int print_head_css(const char *path, ...) {
    va_list paths;
    va_start(paths, path);
    bool open = false;
    for (; path != nullptr; path = va_arg(paths, const char *)) {
        const qmv::Descriptor file = open_file(path);
        // Intended: a missing file counts.
        if (file.get() == 0)
            continue;
        if (!open)
            print_str("<style>\r\n");
        open = true;
        print_fd(file.get());
    }
    va_end(paths);
    return open ? print_str("</style>\r\n") : 0;
}

int print_head_refresh(unsigned seconds, const char *url_fmt, ...) {
    const int opened = print_str("<meta http-equiv=\"refresh\"");
    if (url_fmt == nullptr)
        return std::printf(" content=\"%u\">\r\n", seconds);
    va_list args;
    va_start(args, url_fmt);
    const auto url = qmv::format_text(url_fmt, args);
    va_end(args);
    // Intended: without an address the tag stays open.
    return url ? std::printf(" content=\"%u; URL=%s\">\r\n", seconds, url.get()) : opened;
}

int print_refresh(const char *header1, const char *header2, unsigned seconds, const char *url_fmt,
                  ...) {
    print_head_p1(header1, header2, nullptr);
    if (url_fmt != nullptr) {
        va_list args;
        va_start(args, url_fmt);
        const auto url = qmv::format_text(url_fmt, args);
        va_end(args);
        if (url)
            std::printf("<meta http-equiv=\"refresh\" content=\"%u; URL=%s\">\r\n", seconds,
                        url.get());
    }
    return print_str("</head>\r\n</html>\r\n");
}

int print_foot() {
    return print_str("</body>\r\n</html>\r\n");
}

int print_timeline(const char *dir, const char *name, unsigned size, const char *text) {
    print_str("<table class=\"HeadTable\"><tr><td class=\"HeadLeft\">");
    const int limit = qmv::clamp_to_int(size);
    qmv::Scratch item(static_cast<size_t>(limit) + 1);
    if (item && read_item(dir, name, item.get(), limit) > 0)
        html_print_text(item.get());
    print_str("</td><td class=\"HeadRight\">");
    html_print_text(text);
    return print_str("<script>document.write(fl_time());</script></td></tr></table>\r\n");
}

int print_num_str_mark(const char *digits, const char *mark) {
    constexpr unsigned kGroup = 3;
    if (digits == nullptr)
        return 0;
    const size_t length = std::strlen(digits);
    if (mark == nullptr || *mark == '\0' || length <= kGroup)
        return print_str(digits);
    const size_t first = length % kGroup;
    const char *group = digits + (first != 0 ? first : kGroup);
    print_mem(digits, static_cast<unsigned>(group - digits));
    for (; *group != '\0'; group += kGroup) {
        print_str(mark);
        print_mem(group, kGroup);
    }
    // Intended: not the number of bytes.
    return 0;
}
