// <input type="checkbox"FORMAT FLAGS>
// <input type="radio" name="NAME" value="VALUE"ATTRIBUTES FLAGS>
// <button type="button"FORMAT FLAGS>CONTENT LABEL</button>
// <img src="PATHFILE" alt="ALT"FORMAT>
// <input type="file"FORMAT FLAGS>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "qmv/html.h"
#include "qmv/items.h"
#include "qmv/widgets.h"
#include "widgets/tag.h"

namespace {

int close_radio(const char *attributes, bool checked, unsigned flags) {
    print_str(attributes);
    return qmv::close_tag(checked ? flags | PRINT_CHECKED : flags);
}

}  // namespace

unsigned checkbox_flags(unsigned checked, unsigned disabled) {
    const unsigned flags = checked != 0 ? unsigned{PRINT_CHECKED} : 0;
    return disabled != 0 ? flags | PRINT_DISABLED : flags;
}

int gen_xcheckbox(unsigned flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    qmv::open_input("checkbox");
    const int result = qmv::close_tag(flags, format, args);
    va_end(args);
    return result;
}

unsigned rd_checkbox_item(const char *dir, const char *name, unsigned flags) {
    unsigned value = 0;
    if (read_item_uint(dir, name, &value) < 0)
        return flags | PRINT_DISABLED;
    return value != 0 ? flags | PRINT_CHECKED : flags & ~unsigned{PRINT_CHECKED};
}

int wr_checkbox_item(const char *dir, const char *name, unsigned flags) {
    return update_item(dir, name, (flags & PRINT_CHECKED) != 0 ? "1" : "0", 2);
}

int gen_radio(const char *name, unsigned value, int current, const char *attributes,
              unsigned flags) {
    qmv::open_input("radio");
    qmv::print_name(name);
    std::printf(" value=\"%u\"", value);
    return close_radio(attributes, std::cmp_equal(value, current), flags);
}

int gen_radio_string(const char *name, const char *value, const char *current,
                     const char *attributes, unsigned flags) {
    qmv::open_input("radio");
    qmv::print_name(name);
    // Intended: the value is not escaped.
    if (value != nullptr)
        std::printf(" value=\"%s\"", value);
    const bool checked = value != nullptr && current != nullptr && std::strcmp(value, current) == 0;
    return close_radio(attributes, checked, flags);
}

int gen_xbutton(const char *label, void (*content)(unsigned flags), unsigned flags,
                const char *format, ...) {
    std::printf("<button type=\"%s\"", (flags & PRINT_SUBMIT) != 0 ? "submit" : "button");
    va_list args;
    va_start(args, format);
    qmv::close_tag(flags, format, args);
    va_end(args);
    if (content != nullptr)
        content(flags);
    html_print_text(label);
    return print_str("</button>");
}

int gen_image(const char *path, const char *file, const char *alt, const char *format, ...) {
    if (path == nullptr || file == nullptr)
        return 0;
    std::printf("<img src=\"%s%s\"", path, file);
    if (alt != nullptr)
        html_printf(1, " alt=\"%s\"", alt);
    va_list args;
    va_start(args, format);
    qmv::print_attributes(format, args);
    va_end(args);
    return std::putchar('>');
}

int gen_upload(unsigned flags, const char *fmt, ...) {
    va_list args;
    va_start(args, fmt);
    qmv::open_input("file");
    const int result = qmv::close_tag(flags, fmt, args);
    va_end(args);
    return result;
}
