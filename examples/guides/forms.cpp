// A form of four widgets: a text box, a number, a check box and a password. Each is bound to the
// item of its name in the directory QMV_ITEMS.
#include <qmv.h>

#include <cstdlib>
#include <cstring>

namespace {

struct Form {
    const char *items = nullptr;
    const char *labels[4] = {};
    int results[4] = {};  // what the writers returned
    unsigned saved = 0;

    void wrote(const char *label, int result) {
        labels[saved] = label;
        results[saved++] = result;
    }
};

const char *posted(const cgivar *vars, unsigned count, const char *name) {
    for (unsigned i = 0; i < count; ++i) {
        if (std::strcmp(vars[i].name, name) == 0)
            return vars[i].value;
    }
    return nullptr;
}

void save_text(Form &form, const char *value) {
    form.wrote("Label", update_textbox_item(form.items, "label", value, 8, nullptr));
}

void save_number(Form &form, const char *value) {
    unsigned mtu = 0;
    scan_number(value, &mtu, 576, 1500, 1500);
    form.wrote("MTU", wr_numberbox_item(form.items, "mtu", mtu));
}

void save_check_box(Form &form, const char *value) {
    const unsigned flags = value != nullptr ? PRINT_CHECKED : 0;
    form.wrote("Guests", wr_checkbox_item(form.items, "guests", flags));
}

void save_password(Form &form, const char *value) {
    unsigned rejected = 0;
    const int written = update_password_item(form.items, "password", value, 63,
                                             textbox_filter_ascii_printable, &rejected);
    form.wrote("Password", rejected > 0 ? -1 : written);
}

int save(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    Form &form = *static_cast<Form *>(ctx);
    if (mode != CGI_MODE_URLENCODED)  // variables of an address change nothing
        return 0;
    save_text(form, posted(vars, count, "label"));
    save_number(form, posted(vars, count, "mtu"));
    save_check_box(form, posted(vars, count, "guests"));
    save_password(form, posted(vars, count, "password"));
    return 0;
}

void print_outcome(const Form &form) {
    for (unsigned i = 0; i < form.saved; ++i) {
        const int result = form.results[i];
        html_printf(1, "<p>%s: %s</p>\n", form.labels[i],
                    result > 0    ? "changed"
                    : result == 0 ? "unchanged"
                                  : "not stored");
    }
}

void print_boxes(const char *items) {
    gen_xtextbox_item(items, "label", 8, 0, " name=\"%s\"", "label");
    print_str("\n");

    unsigned mtu = 0;
    const unsigned mtu_flags = rd_numberbox_item(items, "mtu", &mtu, 1500);
    gen_xnumberbox(4, mtu, mtu_flags, " name=\"mtu\"");
    print_str("\n");

    const unsigned guests_flags = rd_checkbox_item(items, "guests", 0);
    gen_xcheckbox(guests_flags, " name=\"guests\" value=\"1\"");
    print_str("\n");

    gen_xtextbox_item(items, "password", 63, PRINT_PASSWORD, " name=\"password\"");
    print_str("\n");
}

}  // namespace

int main() {
    Form form;
    form.items = std::getenv("QMV_ITEMS");
    getcgivars(&form, save, nullptr);
    print_head_p1("Content-Type: text/html; charset=utf-8\r\n", "\r\n<!DOCTYPE html>\r\n", nullptr);
    print_head_p2("Settings", nullptr);
    print_outcome(form);
    print_str("<form method=\"post\">\n");
    print_boxes(form.items);
    print_str("<button type=\"submit\">Save</button>\n</form>\n");
    print_foot();
    return 0;
}
