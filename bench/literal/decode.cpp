#include <cstdlib>
#include <cstring>

#include "bench/literal/literal.h"

namespace {

unsigned digit(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte < 'A' ? byte - '0' : (byte & ~0x20U) - 55;
}

void unescape(char *s) {
    char *to = s;
    for (; *s != '\0'; ++s) {
        if (*s != '%') {
            *to++ = *s;
        } else if (s[1] == '\0' || s[2] == '\0') {
            break;
        } else {
            *to++ = static_cast<char>(digit(s[1]) * 16 + digit(s[2]));
            s += 2;
        }
    }
    *to = '\0';
}

cgivar split(char *piece) {
    cgivar var = {nullptr, piece, piece + std::strlen(piece)};
    char *const equals = std::strchr(piece, '=');
    if (equals != nullptr) {
        *equals = '\0';
        var.value = equals + 1;
    }
    unescape(var.value);
    unescape(var.name);
    return var;
}

}  // namespace

namespace literal {

int cgidecode(void *ctx, char *text, cgivars_callback cb, unsigned mode) {
    if (text == nullptr || *text == '\0')
        return 0;
    unsigned count = 1;
    for (char *s = text; *s != '\0'; ++s) {
        if (*s == '+') {
            *s = ' ';
        } else if (*s == ';' || *s == '&') {
            *s = '\0';
            ++count;
        }
    }
    auto *vars =
        cb == nullptr ? nullptr : static_cast<cgivar *>(std::malloc(count * sizeof(cgivar)));
    if (vars == nullptr)
        return static_cast<int>(count);
    for (unsigned i = 0; i < count; ++i) {
        char *const next = text + std::strlen(text) + 1;
        vars[i] = split(text);
        text = next;
    }
    const int result = cb(ctx, vars, count, mode);
    std::free(vars);
    return result;
}

}  // namespace literal
