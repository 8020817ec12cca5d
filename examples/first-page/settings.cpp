// The boxes of the page: each one shows an item, and writes it when the form comes back.
#include <cstring>

#include "page.h"

namespace {

struct Field {
    const char *name;  // of the item and of the input
    const char *label;
    unsigned max_chars;
    unsigned flags;
    textbox_filter filter;
    const char *hint;
};

int is_host_char(unsigned pos, unsigned ch) {
    const bool alphanumeric =
        (ch >= '0' && ch <= '9') || (ch >= 'A' && ch <= 'Z') || (ch >= 'a' && ch <= 'z');
    return alphanumeric || (ch == '-' && pos > 0);
}

int is_printable(unsigned, unsigned ch) {
    return ch >= ' ' && ch != 0x7F;
}

int is_password_char(unsigned, unsigned ch) {
    return ch > ' ' && ch < 0x7F;
}

int is_not_bullet(unsigned, unsigned ch) {
    return ch != 0x2022;
}

constexpr Field kFields[] = {
    {"device_name", "Device name", 32, PRINT_AUTOCOMPLETE_OFF, is_host_char,
     "Letters, digits and hyphens, not beginning with a hyphen."},
    {"user_name", "User name", 64, PRINT_AUTOCOMPLETE_OFF, is_printable, "Any text of one line."},
    {"password", "Password", 64, PRINT_AUTOCOMPLETE_OFF | PRINT_PASSWORD, is_password_char,
     "ASCII characters without blanks. To change it, replace all bullets."},
};
constexpr unsigned kMaxBytes = 3 * 64;  // of the longest field

// The characters of a posted value that a filter accepts.
struct Accepted {
    Accepted(const Field &field, const char *value, textbox_filter filter) {
        scan_textbox(value, field.max_chars, 0, text, kMaxBytes, filter);
        whole = std::strcmp(text, value) == 0;
    }

    char text[kMaxBytes + 1];
    bool whole;
};

void save_text(Page &page, const Field &field, const char *value) {
    const std::string label = field.label;
    const Accepted accepted(field, value, field.filter);
    if (accepted.text[0] == '\0')
        return page.say("bad", label + " was not changed. " + field.hint);
    const int written =
        update_textbox_item(page.items.c_str(), field.name, value, field.max_chars, field.filter);
    const std::string outcome = label + (written > 0 ? " was changed." : " stays as it was.");
    if (written < 0)
        page.say("bad", label + " could not be written.");
    else if (!accepted.whole)
        page.say("bad", outcome + " Some characters were left out. " + field.hint);
    else
        page.say(written > 0 ? "good" : "same", outcome);
}

void save_password(Page &page, const Field &field, const char *value) {
    const std::string label = field.label;
    unsigned rejected = 0;
    const int written = update_password_item(page.items.c_str(), field.name, value, field.max_chars,
                                             field.filter, &rejected);
    // Only bullets: the box came back as it was shown. Bullets and more: it was edited by halves.
    const Accepted typed(field, value, is_not_bullet);
    if (written < 0)
        page.say("bad", label + " could not be written.");
    else if (written > 0)
        page.say("good", label + " was changed.");
    else if (rejected > 0 || (typed.text[0] != '\0' && !typed.whole))
        page.say("bad", label + " was not changed. " + field.hint);
    else
        page.say("same", label + " stays as it was.");
}

void save_field(Page &page, const Field &field, const char *value) {
    // Too long, malformed, or a character above U+FFFF: the library would leave something out.
    const bool storable = Accepted(field, value, nullptr).whole && *value != '\0';
    if (!storable)
        page.say("bad", std::string(field.label) + " was not changed. Use 1 to " +
                            std::to_string(field.max_chars) + " characters, no emoji.");
    else if ((field.flags & PRINT_PASSWORD) != 0)
        save_password(page, field, value);
    else
        save_text(page, field, value);
}

}  // namespace

void save_fields(Page &page, const cgivar *vars, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        for (const Field &field : kFields) {
            if (std::strcmp(vars[i].name, field.name) == 0)
                save_field(page, field, vars[i].value);
        }
    }
}

void print_fields(const Page &page) {
    for (const Field &field : kFields) {
        std::printf("<label for=\"%s\">%s</label>\n", field.name, field.label);
        // The attributes are printed unescaped: nothing that a client sent may stand in them.
        gen_xtextbox_item(page.items.c_str(), field.name, field.max_chars, field.flags,
                          " id=\"%s\" name=\"%s\" aria-describedby=\"%s_hint\" required",
                          field.name, field.name, field.name);
        std::printf("\n<p class=\"hint\" id=\"%s_hint\">%s</p>\n", field.name, field.hint);
    }
}
