// <textareaFORMAT FLAGS>TEXT</textarea>
#include <fcntl.h>

#include <algorithm>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/util.h"
#include "qmv/widgets.h"
#include "util/ascii.h"
#include "util/owners.h"
#include "widgets/tag.h"
#include "widgets/text.h"

namespace {

/// Reads a file of text into a block that holds byte_limit() bytes and a terminator.
void read_text(int fd, char *text, unsigned maxchars) {
    const int length = full_read_fd(fd, text, qmv::byte_limit(maxchars));
    text[length > 0 ? length : 0] = '\0';
}

qmv::Block<char> allocate_text(unsigned maxchars) {
    auto text = qmv::Block<char>::allocate(static_cast<size_t>(qmv::byte_limit(maxchars)) + 1);
    if (text)
        text[0] = '\0';
    return text;
}

}  // namespace

int gen_textarea(const char *text, unsigned flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    print_str("<textarea");
    qmv::close_tag(flags, format, args);
    va_end(args);
    html_print_text(text);
    return print_str("</textarea>");
}

char *textarea_to_unix(char *dst, const char *src) {
    if (dst == nullptr || src == nullptr)
        return nullptr;
    char *out = dst;
    for (; *src != '\0'; ++src) {
        if (*src != '\r')
            *out++ = *src;
    }
    *out = '\0';
    return dst;
}

int get_textarea_file(char **out, const char *dir, const char *name, unsigned maxchars) {
    if (out == nullptr || dir == nullptr || name == nullptr)
        return -1;
    auto text = allocate_text(maxchars);
    if (!text)
        return -1;
    const qmv::Descriptor file(open_path_name(dir, name, O_RDONLY, 0));
    const bool opened = file.get() >= 0;
    if (opened)
        read_text(file.get(), text.get(), maxchars);
    qmv::cut_text(text.get(), maxchars);
    *out = text.release();
    return opened ? qmv::byte_limit(maxchars) + 1 : 0;
}

int update_textarea_file(const char *dir, const char *name, const char *text, unsigned maxchars) {
    if (text == nullptr)
        return -1;
    qmv::Descriptor file(open_path_name(dir, name, O_RDONLY, 0));
    if (file.get() < 0)
        return file.get();
    const auto stored = allocate_text(maxchars);
    if (!stored) {
        // Intended: the descriptor stays open here.
        file.release();
        return -2;
    }
    read_text(file.get(), stored.get(), maxchars);
    file.close_now();
    unsigned length = 0;
    const bool same_count =
        utf8_length(text, maxchars, &length) == utf8_length(stored.get(), maxchars, nullptr);
    // Intended: the whole text is compared, so that one that is cut below is written each time.
    if (same_count && std::strcmp(stored.get(), text) == 0)
        return 0;
    const qmv::Descriptor out(open_path_name(dir, name, O_WRONLY | O_TRUNC, 0));
    if (out.get() < 0)
        return out.get();
    const int written =
        full_write_fd(out.get(), text, std::min(qmv::clamp_to_int(length), INT_MAX - 1));
    // One more, so that an empty text is told apart from an unchanged one.
    return written < 0 ? written : written + 1;
}
