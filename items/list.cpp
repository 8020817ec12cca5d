#include <cstring>

#include "qmv/items.h"
#include "util/ascii.h"

const char *scan_uint(const char *s, unsigned *out) {
    if (s == nullptr)
        return nullptr;
    s = qmv::skip_blanks(s);
    if (!qmv::is_digit(*s))
        return nullptr;
    const unsigned value = qmv::take_decimal(s);
    if (out != nullptr)
        *out = value;
    return *s == ',' ? s + 1 : nullptr;
}

const char *scan_list_uint(const char *s, unsigned *count, unsigned *array, int capacity) {
    if (s == nullptr || count == nullptr || array == nullptr)
        return s;
    s = qmv::skip_blanks(s);
    if (*s != '(')
        return nullptr;
    ++s;
    while (*s != ')') {
        if (*s == '\0')
            return s;
        s = qmv::skip_blanks(s);
        if (!qmv::is_digit(*s))
            return nullptr;
        const unsigned value = qmv::take_decimal(s);
        if (capacity > 0) {
            array[(*count)++] = value;
            --capacity;
        }
        if (*s == ',')
            ++s;
    }
    return s[1] == ',' ? s + 2 : nullptr;
}

void parse_items_str(int (*callback)(int ctx, char *element), int ctx, char *s, int separator) {
    if (callback == nullptr)
        return;
    const char mark = static_cast<char>(separator);
    while (s != nullptr) {
        s = qmv::skip_blanks(s);
        char *end = mark != '\0' ? std::strchr(s, mark) : nullptr;
        if (end != nullptr)
            *end++ = '\0';
        if (*s != '\0')
            callback(ctx, s);
        s = end;
    }
}
