#include <algorithm>
#include <array>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "qmv/html.h"
#include "qmv/util.h"
#include "util/ascii.h"
#include "util/owners.h"

namespace {

constexpr unsigned kFirstNamed = 160;

// Entity names of the code points 160 to 255. A name that fills its slot would lack its terminator,
// so none does.
constexpr char kNames[][8] = {
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
    "uacute", "ucirc",  "uuml",   "yacute", "thorn",  "yuml",
};
static_assert(std::size(kNames) == 256 - kFirstNamed);

constexpr size_t kLongestEntity = 8;  // "&#65535;"

/// Where html_asprint_text() grows its string: in steps, as soon as fewer bytes than this are free.
constexpr size_t kGrowth = 4096;
constexpr size_t kReserve = 16;

/// The name of a markup character, or an empty text.
constexpr std::string_view markup_name(unsigned cp) {
    switch (cp) {
        case '"':
            return "quot";
        case '&':
            return "amp";
        case '<':
            return "lt";
        case '>':
            return "gt";
        default:
            return {};
    }
}

/// Tells whether a byte is a whole character that prints as itself.
constexpr bool is_plain(char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte != 0 && byte < 127 && markup_name(byte).empty();
}

/// Length of the run of plain characters that a text begins with, at most `limit`.
size_t plain_run(const char *text, size_t limit) {
    size_t length = 0;
    while (length < limit && is_plain(text[length]))
        ++length;
    return length;
}

/// Prints a run of plain characters, each on its own account: one that fails does not keep the
/// following ones from being tried. Returns how many were printed.
unsigned print_plain(const char *text, size_t length) {
    size_t tried = 0;
    unsigned printed = 0;
    while (tried < length) {
        const auto done =
            static_cast<unsigned>(print_mem(text + tried, static_cast<unsigned>(length - tried)));
        printed += done;
        tried += done + 1;
    }
    return printed;
}

/// Prints the mark that the character behind an ESC selects.
int print_mark(char selector) {
    switch (selector) {
        case 'B':
            return print_str("<b>");
        case 'b':
            return print_str("</b>");
        case 'U':
            return print_str("<u>");
        case 'u':
            return print_str("</u>");
        default:
            return 0;
    }
}

}  // namespace

int html_entity_encode(unsigned char *buf, unsigned cp) {
    if (buf == nullptr)
        return 0;
    cp &= 0xFFFF;
    if (cp == 0)
        return 0;
    std::string_view name = markup_name(cp);
    if (name.empty() && cp < 127) {
        buf[0] = static_cast<unsigned char>(cp);
        return 1;
    }
    char number[kLongestEntity];
    if (cp >= kFirstNamed && cp <= 255) {
        name = kNames[cp - kFirstNamed];
    } else if (name.empty()) {
        const int length = std::snprintf(number, sizeof number, "#%u", cp);
        name = std::string_view(number, static_cast<size_t>(length));
    }
    buf[0] = '&';
    std::copy(name.begin(), name.end(), buf + 1);
    buf[name.size() + 1] = ';';
    return static_cast<int>(name.size() + 2);
}

int html_print_ucs2(unsigned cp) {
    unsigned char entity[24];
    return print_mem(entity, static_cast<unsigned>(html_entity_encode(entity, cp)));
}

int html_print_text(const char *utf8) {
    if (utf8 == nullptr)
        return 0;
    unsigned printed = 0;
    while (*utf8 != '\0') {
        const size_t plain = plain_run(utf8, INT_MAX);
        printed += print_plain(utf8, plain);
        utf8 += plain;
        printed += static_cast<unsigned>(html_print_ucs2(utf8_to_ucs2(&utf8, qmv::kNoLimit)));
    }
    return static_cast<int>(printed);
}

int html_print_text_limit(unsigned max_chars, const char *utf8, unsigned max_bytes) {
    if (utf8 == nullptr)
        return 0;
    unsigned printed = 0;
    while (max_bytes > 0 && max_chars > 0 && *utf8 != '\0') {
        const size_t plain = plain_run(utf8, std::min({max_bytes, max_chars, unsigned{INT_MAX}}));
        if (plain > 0) {
            printed += print_plain(utf8, plain);
            utf8 += plain;
            max_bytes -= max_bytes == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            max_chars -= max_chars == qmv::kNoLimit ? 0 : static_cast<unsigned>(plain);
            continue;
        }
        const char *start = utf8;
        const unsigned cp = utf8_to_ucs2(&utf8, max_bytes);
        if (cp == 0)
            break;
        printed += static_cast<unsigned>(html_print_ucs2(cp));
        max_bytes -= max_bytes == qmv::kNoLimit ? 0 : static_cast<unsigned>(utf8 - start);
        max_chars -= max_chars == qmv::kNoLimit ? 0 : 1;
    }
    return static_cast<int>(printed);
}

int html_asprint_text(char **out, const char *utf8) {
    if (out == nullptr || utf8 == nullptr)
        return -1;
    size_t capacity = kGrowth;
    size_t length = 0;
    auto text = qmv::Block<char>::allocate(capacity);
    if (!text)
        return -1;
    while (*utf8 != '\0') {
        if (capacity - length < kReserve) {
            if (capacity + kGrowth > INT_MAX || !text.resize(capacity + kGrowth))
                break;
            capacity += kGrowth;
        }
        auto *end = reinterpret_cast<unsigned char *>(text.get() + length);
        length += static_cast<size_t>(html_entity_encode(end, utf8_to_ucs2(&utf8, qmv::kNoLimit)));
    }
    text[length] = '\0';
    *out = text.release();
    // Intended: the size of the memory, not the length of the text.
    return static_cast<int>(capacity);
}

int html_print_text_nl(const char *utf8) {
    constexpr char kEscape = 27;
    if (utf8 == nullptr)
        return 0;
    unsigned printed = 0;
    while (*utf8 != '\0') {
        if (*utf8 == '\n') {
            printed += static_cast<unsigned>(print_str("<br>"));
            ++utf8;
        } else if (*utf8 == kEscape) {
            ++utf8;
            printed += static_cast<unsigned>(print_mark(*utf8));
            if (*utf8 != '\0')
                ++utf8;
        } else {
            printed += static_cast<unsigned>(html_print_ucs2(utf8_to_ucs2(&utf8, qmv::kNoLimit)));
        }
    }
    return static_cast<int>(printed);
}
