// Select boxes of numbers and of texts.
#include "page.h"

namespace {

constexpr const char *kSpeeds[] = {"Off", "10 & up", nullptr, "<100>", "\"Auto\""};

// Options of the numbered boxes. The third one is left out.
int answer_speed(unsigned op, unsigned index, int) {
    if (index >= std::size(kSpeeds))
        return -1;
    if (op == SELECTBOX_LABEL)
        html_print_text(kSpeeds[index]);
    return kSpeeds[index] != nullptr ? 1 : 0;
}

struct NumberBox {
    const char *name;
    unsigned flags = 0;
};

constexpr NumberBox kNumberBoxes[] = {
    {"select_number"},
    {"select_number_disabled", PRINT_DISABLED},
    {"select_number_hidden", PRINT_HIDDEN},
    {"select_number_missing"},
};

selectbox_state read_number(const Page &page, const NumberBox &box) {
    selectbox_state state{box.flags, {0}};
    state.flags |= rd_numberbox_item(page.dir(), box.name, &state.value.number, 0);
    return state;
}

void print_number_boxes(const Page &page) {
    for (const NumberBox &box : kNumberBoxes) {
        selectbox_state state = read_number(page, box);
        open_row(box.name);
        gen_selectbox_num(&state, box.name, answer_speed, 0, id_attribute(box.name).c_str());
        close_row();
    }
    open_row("select_number_without_state");
    gen_selectbox_num(nullptr, nullptr, answer_speed, 0, " id=\"select_number_without_state\"");
    close_row();
    selectbox_state state = read_number(page, {"select_number_format"});
    open_row("select_number_format");
    gen_xselectbox_num(&state, answer_speed, 0, kIdAndName, "select_number_format",
                       "select_number_format");
    close_row();
}

void save_number(const Page &page, const char *name, const char *posted) {
    unsigned value = 0;
    rd_numberbox_item(page.dir(), name, &value, 0);
    if (scan_select_num(posted, &value, std::size(kSpeeds), 0) == 1)
        wr_numberbox_item(page.dir(), name, value);
}

constexpr selectbox_text kModes[] = {
    {"dhcp", "Automatic"}, {"fixed", "Fixed"}, {"a&b <\"c\">", "PPP & <Co.>"}};

// Options of the text boxes.
int answer_mode(unsigned index, int, selectbox_text *pair) {
    if (index >= std::size(kModes))
        return -1;
    *pair = kModes[index];
    return 1;
}

// The same labels, printed by the program.
int print_mode(unsigned op, unsigned index, int) {
    if (op == SELECTBOX_LABEL && index < std::size(kModes))
        html_printf(1, "%u: %s", index + 1, kModes[index].label);
    return index < std::size(kModes) ? 1 : -1;
}

// The same options, and in front of them one without a value.
int answer_mode_or_none(unsigned index, int arg, selectbox_text *pair) {
    if (index > 0)
        return answer_mode(index - 1, arg, pair);
    pair->label = "None";
    return 1;
}

std::string own_option;  // what answer_own_option() offers

int answer_own_option(unsigned index, int, selectbox_text *pair) {
    if (index == 0)
        *pair = {own_option.c_str(), own_option.c_str()};
    else if (index == 1)
        *pair = {"other", "Other"};
    return index < 2 ? 1 : -1;
}

struct TextBox {
    const char *name;
    selectbox_text_fn options;
    selectbox_num_fn printer;
};

constexpr TextBox kTextBoxes[] = {
    {"select_text", answer_mode, nullptr},
    {"select_text_printer", answer_mode, print_mode},
    {"select_text_empty", answer_mode, nullptr},
    {"select_text_missing", answer_mode, nullptr},
    {"select_text_none", answer_mode_or_none, nullptr},
    {"select_text_own", answer_own_option, nullptr},
};

selectbox_state read_state(const Page &page, const TextBox &box) {
    selectbox_state state{};
    rd_selectbox_text_item(page.dir(), box.name, &state, box.options, 0, "fixed");
    return state;
}

void print_text_boxes(const Page &page) {
    for (const TextBox &box : kTextBoxes) {
        selectbox_state state = read_state(page, box);
        open_row(box.name);
        gen_selectbox_text(&state, box.name, box.options, box.printer, 0,
                           id_attribute(box.name).c_str());
        close_row();
    }
}

void save_text(const Page &page, const TextBox &box, const char *posted) {
    selectbox_state state = read_state(page, box);
    if (scan_select_text(posted, &state, box.options, 0) == 1)
        write_text(page, box.name, state.value.text);
}

}  // namespace

void print_selects(const Page &page) {
    own_option = read_text(page, "option");
    print_number_boxes(page);
    print_text_boxes(page);
    open_row("select_without_options");
    gen_selectbox_class(nullptr, "select_without_options", nullptr, 0, 8, PRINT_DISABLED);
    close_row();
}

void save_selects(const Page &page, const Posted &posted) {
    own_option = read_text(page, "option");
    for (const NumberBox &box : kNumberBoxes)
        save_number(page, box.name, posted.find(box.name));
    save_number(page, "select_number_format", posted.find("select_number_format"));
    for (const TextBox &box : kTextBoxes)
        save_text(page, box, posted.find(box.name));
}
