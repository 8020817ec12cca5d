/* The page of examples/hello without any library. */
#include <ctype.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static void print_escaped(const char *s) {
    for (; *s != '\0'; ++s) {
        switch (*s) {
            case '&':
                fputs("&amp;", stdout);
                break;
            case '"':
                fputs("&quot;", stdout);
                break;
            case '<':
                fputs("&lt;", stdout);
                break;
            case '>':
                fputs("&gt;", stdout);
                break;
            default:
                putchar(*s);
                break;
        }
    }
}

/* Takes the value in front of the next "&". */
static void take(char *name, size_t size, const char *value) {
    size_t length = 0;
    while (*value != '\0' && *value != '&' && length + 1 < size) {
        char hex[3] = "";
        if (*value == '%' && isxdigit((unsigned char)value[1]) &&
            isxdigit((unsigned char)value[2])) {
            memcpy(hex, value + 1, 2);
            name[length++] = (char)strtoul(hex, NULL, 16);
            value += 3;
        } else {
            name[length++] = *value == '+' ? ' ' : *value;
            ++value;
        }
    }
    name[length] = '\0';
}

int main(void) {
    char name[61] = "world";
    const char *const query = getenv("QUERY_STRING");
    if (query != NULL && strncmp(query, "name=", 5) == 0)
        take(name, sizeof name, query + 5);
    fputs(
        "Content-Type: text/html; charset=utf-8\r\n\r\n<!DOCTYPE html>\r\n<html>\r\n<head>\r\n"
        "<title>Hello</title>\r\n</head>\r\n<body>\r\n<p>Hello, ",
        stdout);
    print_escaped(name);
    fputs("!</p>\r\n</body>\r\n</html>\r\n", stdout);
    return 0;
}
