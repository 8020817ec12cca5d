// Text boxes and password boxes.
#include "page.h"

namespace {

struct TextBox {
    const char *name;
    unsigned flags = 0;
    textbox_filter filter = nullptr;
    unsigned max_chars = 16;
};

constexpr TextBox kBoxes[] = {
    {"text", 0, nullptr, 64},
    {"text_filtered", 0, textbox_filter_dns},
    {"text_sized", PRINT_SIZE},
    {"text_disabled", PRINT_DISABLED},
    {"text_readonly", PRINT_READONLY | PRINT_SIZE},
    {"text_hidden", PRINT_HIDDEN},
    {"text_not_displayed", PRINT_DISPLAY_NONE},
    {"text_autocomplete_off", PRINT_AUTOCOMPLETE_OFF},
    {"text_autocomplete_on", PRINT_AUTOCOMPLETE_ON},
    {"text_autocomplete_default", PRINT_AUTOCOMPLETE_DEFAULT},
    {"text_empty"},
    {"text_missing"},
    {"masked", PRINT_MASKED},
    {"masked_data", PRINT_MASKED | PRINT_DATA_VALUE, nullptr, 64},
    {"password", PRINT_PASSWORD | PRINT_AUTOCOMPLETE_OFF, textbox_filter_ascii_printable},
    {"password_data", PRINT_PASSWORD | PRINT_DATA_VALUE | PRINT_AUTOCOMPLETE_OFF, nullptr, 64},
    {"password_sized", PRINT_PASSWORD | PRINT_SIZE | PRINT_AUTOCOMPLETE_OFF},
    {"password_disabled", PRINT_PASSWORD | PRINT_DISABLED | PRINT_AUTOCOMPLETE_OFF},
    {"password_readonly", PRINT_PASSWORD | PRINT_READONLY | PRINT_AUTOCOMPLETE_OFF},
    {"password_empty", PRINT_PASSWORD | PRINT_AUTOCOMPLETE_OFF},
    {"password_missing", PRINT_PASSWORD | PRINT_AUTOCOMPLETE_OFF},
};

void save_box(const Page &page, const TextBox &box, const char *value) {
    const bool concealed = (box.flags & (PRINT_PASSWORD | PRINT_MASKED)) != 0;
    if (concealed)
        update_password_item(page.dir(), box.name, value, box.max_chars, box.filter, nullptr);
    else
        update_textbox_item(page.dir(), box.name, value, box.max_chars, box.filter);
}

// A box that is not limited.
void print_unlimited(const Page &page) {
    open_row("text_unlimited");
    gen_xtextbox(-1, read_text(page, "text_unlimited").c_str(), 0, kIdAndName, "text_unlimited",
                 "text_unlimited");
    close_row();
}

// A box that always begins without a value.
void print_without_value() {
    open_row("text_without_value");
    gen_xtextbox(16, nullptr, 0, kIdAndName, "text_without_value", "text_without_value");
    close_row();
}

void save_scanned(const Page &page, const char *name, const char *value) {
    char text[kLongestItem + 1];
    if (value != nullptr && scan_textbox(value, kLongestItem, 1, text, kLongestItem, nullptr) == 1)
        update_textbox(page.dir(), name, text, kLongestItem);
}

}  // namespace

void print_texts(const Page &page) {
    for (const TextBox &box : kBoxes) {
        open_row(box.name);
        gen_xtextbox_item(page.dir(), box.name, box.max_chars, box.flags, kIdAndName, box.name,
                          box.name);
        close_row();
    }
    print_unlimited(page);
    print_without_value();
    print_str("<p id=\"text_shown\">");
    gen_text_item(page.dir(), "text_shown");
    print_str("</p>\n");
}

void save_texts(const Page &page, const Posted &posted) {
    for (const TextBox &box : kBoxes) {
        if (const char *value = posted.find(box.name))
            save_box(page, box, value);
    }
    for (const char *name : {"text_unlimited", "text_without_value"})
        save_scanned(page, name, posted.find(name));
}
