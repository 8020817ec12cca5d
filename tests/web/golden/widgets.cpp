// A page with every form widget in each of its states. A posted form is written to the items, and
// the page shows them as they are then.
//
// The web server sets QMV_STATE to a directory that holds the directories items and certificates
// and the file records.
#include <cstdio>
#include <cstdlib>

#include "page.h"

namespace {

constexpr char kContentType[] = "Content-Type: text/html; charset=utf-8\r\n";

// The last header line is followed by an empty line and the document type.
constexpr char kOtherHeaders[] =
    "Cache-Control: no-store\r\n"
    "\r\n"
    "<!DOCTYPE html>\r\n";

constexpr char kHead[] = R"(<link rel="icon" href="icon.svg">
<style>
body { margin: 1rem; font: 0.8rem/1.4 sans-serif; }
form { columns: 3 22rem; }
h2 { margin: 0 0 0.4rem; font-size: 1rem; }
section { margin-bottom: 1rem; }
p { margin: 0 0 0.3rem; break-inside: avoid; }
label { display: flex; gap: 0.5rem; }
label > span { flex: 0 0 11rem; }
input, select, textarea { min-width: 0; max-width: 11rem; }
</style>
)";

struct Group {
    const char *title;
    void (*print)(const Page &page);
    void (*save)(const Page &page, const Posted &posted);
};

constexpr Group kGroups[] = {
    {"Text boxes", print_texts, save_texts},
    {"Text areas", print_areas, save_areas},
    {"Select boxes", print_selects, save_selects},
    {"Records and certificates", print_listings, save_listings},
    {"Check boxes, radio buttons, buttons", print_buttons, save_buttons},
    {"Numbers", print_numbers, save_numbers},
    {"Ranges", print_ranges, save_ranges},
    {"Times and weekdays", print_schedules, save_schedules},
    {"Addresses", print_addresses, save_addresses},
};

void print_page(const Page &page) {
    print_head_p1(kContentType, kOtherHeaders, kHead);
    print_head_p2(read_text(page, "title").c_str(), " lang=\"en\"");
    print_str("<main>\n<h1>Widgets</h1>\n<form id=\"form\" method=\"post\">\n");
    for (const Group &group : kGroups) {
        std::printf("<section>\n<h2>%s</h2>\n", group.title);
        group.print(page);
        print_str("</section>\n");
    }
    print_str("</form>\n</main>\n");
    print_foot();
}

int receive(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    const Page &page = *static_cast<const Page *>(ctx);
    if (mode != CGI_MODE_URLENCODED)
        return 0;
    for (const Group &group : kGroups)
        group.save(page, Posted(vars, count));
    return 0;
}

}  // namespace

void open_row(const std::string &name) {
    std::printf("<p><label><span>%s</span> ", name.c_str());
}

void close_row() {
    print_str("</label></p>\n");
}

std::string id_attribute(const std::string &name) {
    return " id=\"" + name + "\"";
}

std::string read_text(const Page &page, const char *name) {
    char text[kLongestItem + 1];
    read_item(page.dir(), name, text, kLongestItem);
    return text;
}

void write_text(const Page &page, const char *name, const std::string &text) {
    update_item(page.dir(), name, text.c_str(), kLongestItem);
}

int main() {
    const char *state = std::getenv("QMV_STATE");
    if (state == nullptr)
        return 1;
    Page page(state);
    getcgivars(&page, receive, nullptr);
    print_page(page);
    return 0;
}
