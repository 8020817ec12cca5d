// A page with one box: it shows the item device_name, and stores what is typed.
#include <qmv.h>

#include <cstdlib>
#include <cstring>

static const char *items;         // the directory of the items
static const char *message = "";  // what came of a save

static void save_name(const char *typed) {
    char name[33];
    scan_textbox(typed, 32, 1, name, 32, textbox_filter_dns);
    if (name[0] == '\0' || std::strcmp(name, typed) != 0)
        message = "Use 1 to 32 letters, digits, hyphens and dots.";
    else if (update_item(items, "device_name", name, 32) < 0)
        message = "The name could not be stored.";
    else
        message = "The name is stored.";
}

static int save(void *, cgivar *vars, unsigned count, unsigned mode) {
    for (unsigned i = 0; i < count; ++i) {
        if (mode == CGI_MODE_URLENCODED && std::strcmp(vars[i].name, "device_name") == 0)
            save_name(vars[i].value);
    }
    return 0;
}

int main() {
    items = std::getenv("QMV_ITEMS");
    getcgivars(nullptr, save, nullptr);
    print_head_p1("Content-Type: text/html; charset=utf-8\r\n", "\r\n<!DOCTYPE html>\r\n", nullptr);
    print_head_p2("Name", " lang=\"en\"");
    html_printf(1, "<p>%s</p>\n<form method=\"post\" action=\"name.cgi\">\n", message);
    print_str("<label for=\"name\">Device name</label>\n");
    gen_xtextbox_item(items, "device_name", 32, 0, " id=\"name\" name=\"device_name\"");
    print_str("\n<button type=\"submit\">Save</button>\n</form>\n");
    print_foot();
    return 0;
}
