// Number boxes.
#include "page.h"

namespace {

struct NumberBox {
    const char *name;
    unsigned flags = 0;
};

constexpr unsigned kMin = 1;
constexpr unsigned kMax = 65535;
constexpr unsigned kFallback = 80;
constexpr unsigned kDigits = 5;

constexpr NumberBox kBoxes[] = {
    {"number"},
    {"number_readonly", PRINT_READONLY},
    {"number_disabled", PRINT_DISABLED},
    {"number_hidden", PRINT_HIDDEN},
    {"number_autocomplete_off", PRINT_AUTOCOMPLETE_OFF},
    {"number_empty"},
    {"number_missing"},
};

// These have a name instead of the caller's attributes.
constexpr NumberBox kNamedBoxes[] = {
    {"number_named"},
    {"number_named_readonly", PRINT_READONLY},
    {"number_named_disabled", PRINT_DISABLED},
    {"number_named_missing"},
};

void save_box(const Page &page, const char *name, const char *posted) {
    unsigned value = 0;
    rd_numberbox_item(page.dir(), name, &value, 0);
    if (scan_number(posted, &value, kMin, kMax, kFallback) == 1)
        wr_numberbox_item(page.dir(), name, value);
}

}  // namespace

void print_numbers(const Page &page) {
    for (const NumberBox &box : kBoxes) {
        unsigned value = 0;
        const unsigned flags =
            box.flags | rd_numberbox_item(page.dir(), box.name, &value, kFallback);
        open_row(box.name);
        gen_xnumberbox(kDigits, value, flags, kIdAndName, box.name, box.name);
        close_row();
    }
    for (const NumberBox &box : kNamedBoxes) {
        open_row(box.name);
        gen_numberbox_item(page.dir(), box.name, box.name, kDigits, kFallback, box.flags);
        close_row();
    }
    open_row("number_without_item");
    gen_numberbox("number_without_item", 3, kDigits, 4294967295U, 0);
    close_row();
}

void save_numbers(const Page &page, const Posted &posted) {
    for (const NumberBox &box : kBoxes)
        save_box(page, box.name, posted.find(box.name));
    for (const NumberBox &box : kNamedBoxes)
        save_box(page, box.name, posted.find(box.name));
}
