#include "frame/json.h"

#include <qmv.h>

void open_json() {
    print_str(
        "Content-Type: application/json; charset=utf-8\r\n"
        "X-Content-Type-Options: nosniff\r\n"
        "Cache-Control: no-store\r\n"
        "\r\n{");
}

void close_json() {
    print_str("}\n");
}

// Only whole characters that JSON knows go out; what UTF-8 does not allow is left out.
std::string json_escape(const std::string &text) {
    std::string escaped;
    const char *cursor = text.c_str();
    while (*cursor != '\0') {
        const unsigned ch = utf8_to_ucs2(&cursor, 0xFFFFFFFF);
        const bool is_surrogate = ch >= 0xD800 && ch <= 0xDFFF;
        char bytes[8];
        if (ch == 0 || is_surrogate)
            continue;
        if (ch == '"' || ch == '\\')
            std::snprintf(bytes, sizeof bytes, "\\%c", static_cast<char>(ch));
        else if (ch < 0x20 || ch == '<' || ch == 0x7F)
            std::snprintf(bytes, sizeof bytes, "\\u%04X", ch);
        else
            *ucs2_to_utf8(bytes, sizeof bytes, ch) = '\0';
        escaped += bytes;
    }
    return escaped;
}

unsigned json_text(const std::string &value, const char *name, unsigned flags) {
    return gen_json_text(json_escape(value).c_str(), name, flags);
}

unsigned json_number(unsigned value, const char *name, unsigned flags) {
    print_json_flags(flags);
    std::printf("\"%s\": %u", name, value);
    return flags | PRINT_JSON_COMMA;
}

unsigned json_open(const char *name, unsigned flags) {
    print_json_flags(flags);
    std::printf("\"%s\": {", name);
    return 0;
}

unsigned json_close() {
    print_str("}");
    return PRINT_JSON_COMMA;
}
