#include <cstdio>
#include <cstring>

#include "bench/literal/literal.h"

namespace {

// The characters 160 to 255.
constexpr char kNames[96][8] = {
    "nbsp",   "iexcl",  "cent",   "pound",  "curren", "yen",    "brvbar", "sect",   "uml",
    "copy",   "ordf",   "laquo",  "not",    "shy",    "reg",    "macr",   "deg",    "plusmn",
    "sup2",   "sup3",   "acute",  "micro",  "para",   "middot", "cedil",  "sup1",   "ordm",
    "raquo",  "frac14", "frac12", "frac34", "iquest", "Agrave", "Aacute", "Acirc",  "Atilde",
    "Auml",   "Aring",  "AElig",  "Ccedil", "Egrave", "Eacute", "Ecirc",  "Euml",   "Igrave",
    "Iacute", "Icirc",  "Iuml",   "ETH",    "Ntilde", "Ograve", "Oacute", "Ocirc",  "Otilde",
    "Ouml",   "times",  "Oslash", "Ugrave", "Uacute", "Ucirc",  "Uuml",   "Yacute", "THORN",
    "szlig",  "agrave", "aacute", "acirc",  "atilde", "auml",   "aring",  "aelig",  "ccedil",
    "egrave", "eacute", "ecirc",  "euml",   "igrave", "iacute", "icirc",  "iuml",   "eth",
    "ntilde", "ograve", "oacute", "ocirc",  "otilde", "ouml",   "divide", "oslash", "ugrave",
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml"};

int write_entity(char *buf, const char *name) {
    buf[0] = '&';
    int length = 1;
    for (; *name != '\0'; ++name)
        buf[length++] = *name;
    buf[length++] = ';';
    return length;
}

int encode(char *buf, unsigned cp) {
    switch (cp) {
        case 0:
            return 0;
        case '&':
            return write_entity(buf, "amp");
        case '"':
            return write_entity(buf, "quot");
        case '<':
            return write_entity(buf, "lt");
        case '>':
            return write_entity(buf, "gt");
        default:
            break;
    }
    if (cp < 127) {
        buf[0] = static_cast<char>(cp);
        return 1;
    }
    if (cp >= 160 && cp <= 255)
        return write_entity(buf, kNames[cp - 160]);
    char number[16];
    std::snprintf(number, sizeof number, "#%u", cp);
    return write_entity(buf, number);
}

int print_mem(const char *buf, int len) {
    for (int i = 0; i < len; ++i) {
        if (::putc_unlocked(buf[i], stdout) == EOF)
            return i;
    }
    return len;
}

}  // namespace

namespace literal {

int html_print_text(const char *utf8) {
    int printed = 0;
    if (utf8 == nullptr)
        return 0;
    while (*utf8 != '\0') {
        char buf[24];
        printed += print_mem(buf, encode(buf, utf8_to_ucs2(&utf8, 0xFFFFFFFF)));
    }
    return printed;
}

}  // namespace literal
