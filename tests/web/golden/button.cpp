// Check boxes, radio buttons, buttons, images and file inputs.
#include "page.h"

namespace {

struct Field {
    const char *name;
    unsigned flags = 0;
};

constexpr Field kCheckBoxes[] = {
    {"check_on"},      {"check_off"},   {"check_disabled", PRINT_DISABLED},
    {"check_missing"}, {"check_empty"}, {"check_hidden", PRINT_HIDDEN},
};

void print_check_boxes(const Page &page) {
    for (const Field &box : kCheckBoxes) {
        open_row(box.name);
        gen_xcheckbox(rd_checkbox_item(page.dir(), box.name, box.flags),
                      " id=\"%s\" name=\"%s\" value=\"1\"", box.name, box.name);
        close_row();
    }
}

// A box that is not checked is not posted, and neither is one that is disabled.
void save_check_boxes(const Page &page, const Posted &posted) {
    for (const Field &box : kCheckBoxes) {
        const bool checked = posted.find(box.name) != nullptr;
        if ((box.flags & PRINT_DISABLED) == 0)
            wr_checkbox_item(page.dir(), box.name, checkbox_flags(checked ? 1 : 0, 0));
    }
}

constexpr Field kRadioNumbers[] = {
    {"radio"}, {"radio_disabled", PRINT_DISABLED}, {"radio_empty"}, {"radio_hidden", PRINT_HIDDEN}};
constexpr unsigned kRadioCount = 3;
constexpr const char *kRadioTexts[] = {"lan", "wan", "off"};

void print_radio_buttons(const Page &page) {
    for (const Field &radio : kRadioNumbers) {
        int current = -1;
        read_item_sint(page.dir(), radio.name, &current);
        for (unsigned value = 0; value < kRadioCount; ++value) {
            const std::string id = radio.name + std::string("_") + std::to_string(value);
            open_row(id);
            gen_radio(radio.name, value, current, id_attribute(id).c_str(), radio.flags);
            close_row();
        }
    }
    const std::string current = read_text(page, "radio_text");
    for (const char *value : kRadioTexts) {
        const std::string id = std::string("radio_text_") + value;
        open_row(id);
        gen_radio_string("radio_text", value, current.c_str(), id_attribute(id).c_str(), 0);
        close_row();
    }
}

void save_radio_buttons(const Page &page, const Posted &posted) {
    for (const Field &radio : kRadioNumbers) {
        unsigned value = kRadioCount;
        if (scan_select_num(posted.find(radio.name), &value, kRadioCount, 0) == 1)
            wr_numberbox_item(page.dir(), radio.name, value);
    }
    const char *text = posted.find("radio_text");
    for (const char *known : kRadioTexts) {
        if (text != nullptr && std::strcmp(text, known) == 0)
            write_text(page, "radio_text", text);
    }
}

void print_icon(unsigned) {
    gen_image("", "icon.svg", "", " width=\"12\" height=\"12\"");
}

constexpr Field kButtons[] = {
    {"button"},
    {"button_disabled", PRINT_DISABLED},
    {"button_hidden", PRINT_HIDDEN},
    {"button_not_displayed", PRINT_DISPLAY_NONE},
    {"submit_disabled", PRINT_SUBMIT | PRINT_DISABLED},
    {"submit", PRINT_SUBMIT},
};

void print_actions(const std::string &label) {
    print_str("<p>\n");
    for (const Field &button : kButtons) {
        gen_xbutton(label.c_str(), button.flags == 0 ? print_icon : nullptr, button.flags,
                    " id=\"%s\"", button.name);
        print_str("\n");
    }
    print_str("</p>\n");
}

void print_image(const std::string &alt) {
    print_str("<p>");
    gen_image("/", "icon.svg", alt.c_str(), " id=\"image\" width=\"24\" height=\"24\"");
    gen_image(nullptr, "icon.svg", "not printed", nullptr);
    print_str("</p>\n");
}

void print_uploads() {
    constexpr Field kUploads[] = {
        {"upload"}, {"upload_disabled", PRINT_DISABLED}, {"upload_hidden", PRINT_HIDDEN}};
    for (const Field &upload : kUploads) {
        open_row(upload.name);
        gen_upload(upload.flags, " id=\"%s\"", upload.name);
        close_row();
    }
}

}  // namespace

void print_buttons(const Page &page) {
    print_check_boxes(page);
    print_radio_buttons(page);
    print_uploads();
    print_image(read_text(page, "image"));
    print_actions(read_text(page, "button"));
}

void save_buttons(const Page &page, const Posted &posted) {
    save_check_boxes(page, posted);
    save_radio_buttons(page, posted);
}
