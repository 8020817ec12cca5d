#include "widgets/tag.h"

#include <cstdio>

#include "qmv/html.h"

namespace qmv {

int close_tag(unsigned flags, const char *format, va_list args) {
    if (format != nullptr)
        std::vprintf(format, args);
    print_flags(flags);
    return std::putchar('>');
}

}  // namespace qmv
