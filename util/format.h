// Text made from a printf format.
#ifndef QMV_UTIL_FORMAT_H
#define QMV_UTIL_FORMAT_H

#include <cstdarg>
#include <cstdio>

#include "qmv/types.h"
#include "util/owners.h"

namespace qmv {

/// Formats a text into new memory. Null for a null format, and when formatting fails.
Block<char> format_text(const char *format, va_list args) QMV_PRINTF(1, 0);

inline Block<char> format_text(const char *format, va_list args) {
    char *text = nullptr;
    const int length = format != nullptr ? ::vasprintf(&text, format, args) : -1;
    return Block<char>(length >= 0 ? text : nullptr);
}

}  // namespace qmv

#endif
