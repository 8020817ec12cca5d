#include <cstdio>
#include <cstring>
#include <iterator>

#include "qmv/html.h"
#include "util/owners.h"

namespace {

struct FlagText {
    unsigned flag;
    char text[32];
};

// In the order in which they are printed.
constexpr FlagText kFlagTexts[] = {
    {PRINT_CHECKED, " checked"},
    {PRINT_DISABLED, " disabled"},
    {PRINT_READONLY, " readonly"},
    {PRINT_SELECTED, " selected"},
    {PRINT_DISPLAY_NONE, " style=\"display: none;\""},
    {PRINT_HIDDEN, " style=\"visibility: hidden;\""},
};

// By the value of the autocomplete field.
constexpr char kAutocomplete[][8] = {"", "off", "on", "default"};

constexpr char kAttributes[][10] = {"", " disabled", " checked", " readonly", " selected"};

}  // namespace

int print_flags(unsigned flags) {
    int printed = 0;
    for (const FlagText &entry : kFlagTexts) {
        if ((flags & entry.flag) != 0)
            printed += print_str(entry.text);
    }
    const unsigned autocomplete = (flags & PRINT_AUTOCOMPLETE_DEFAULT) / PRINT_AUTOCOMPLETE_OFF;
    if (autocomplete != 0)
        printed += html_printf(1, " autocomplete=\"%s\"", kAutocomplete[autocomplete]);
    return printed;
}

const char *html_attr(unsigned index) {
    return kAttributes[index < std::size(kAttributes) ? index : 0];
}

unsigned get_print_flags(unsigned flags, const char *user_agent) {
    const bool windows = user_agent != nullptr && std::strstr(user_agent, "Windows") != nullptr;
    return windows ? flags | PRINT_WINDOWS_CLIENT : flags;
}

int print_json_flags(unsigned flags) {
    return (flags & PRINT_JSON_COMMA) != 0 ? print_str(", ") : 0;
}

int asprint_title(char **out, const char *text) {
    char *raw = nullptr;
    if (out == nullptr || html_asprint_text(&raw, text) < 0)
        return -1;
    const qmv::Block<char> escaped(raw);
    if (escaped[0] == '\0')
        return -1;
    char *title = nullptr;
    const int length = ::asprintf(&title, " title=\"%s\"", escaped.get());
    if (length >= 0)
        *out = title;
    return length;
}
