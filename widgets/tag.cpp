#include "widgets/tag.h"

#include <cstdio>

#include "qmv/html.h"

namespace qmv {

void open_input(const char *type) {
    std::printf("<input type=\"%s\"", type);
}

void print_name(const char *name) {
    if (name != nullptr)
        std::printf(" name=\"%s\"", name);
}

void print_maxlength(unsigned maxlength, unsigned flags) {
    if ((flags & PRINT_READONLY) == 0)
        std::printf(" maxlength=\"%u\"", maxlength);
}

void print_attributes(const char *format, va_list args) {
    if (format != nullptr)
        std::vprintf(format, args);
}

int close_tag(unsigned flags) {
    print_flags(flags);
    return std::putchar('>');
}

int close_tag(unsigned flags, const char *format, va_list args) {
    print_attributes(format, args);
    return close_tag(flags);
}

void print_json_null(const char *name) {
    std::printf("\"%s\": null", name);
}

}  // namespace qmv
