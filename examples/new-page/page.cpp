// A form with one box, bound to the item device_name in the directory QMV_ITEMS, which the web
// server puts into the environment.
#include <qmv.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

namespace {

constexpr const char *kItem = "device_name";  // of the item and of the input
constexpr unsigned kMaxChars = 32;
constexpr unsigned kMaxBytes = 3 * kMaxChars;
constexpr unsigned kMaxForm = 4096;  // bytes
constexpr const char *kRule = "Use 1 to 32 letters, digits, hyphens and dots.";

struct Page {
    const char *items = nullptr;
    std::string message;
    bool is_refused = false;
    std::string typed;  // shown again when it is refused
};

// Reads the request before it answers: a web server may lose the answer to one that was not read.
[[noreturn]] void refuse(const char *status, const char *reason) {
    char unread[4096];
    while (std::getenv("CONTENT_LENGTH") != nullptr &&
           full_read_fd(STDIN_FILENO, unread, sizeof unread) > 0) {
    }
    html_printf(1, "Status: %s\r\nContent-Type: text/plain\r\n\r\n%s\r\n", status, reason);
    std::exit(1);
}

// Browsers say which site a form was sent from; one of another site must change nothing.
bool is_from_other_site() {
    const char *origin = std::getenv("HTTP_ORIGIN");
    const char *host = std::getenv("HTTP_HOST");
    if (origin == nullptr)
        return false;
    const char *authority = std::strstr(origin, "://");
    return authority == nullptr || host == nullptr || std::strcmp(authority + 3, host) != 0;
}

bool is_too_large() {
    const char *length = std::getenv("CONTENT_LENGTH");
    return length != nullptr && (std::strlen(length) > 9 || str_to_uint(length) > kMaxForm);
}

void save(Page &page, const char *value) {
    char kept[kMaxBytes + 1];
    scan_textbox(value, kMaxChars, 1, kept, kMaxBytes, textbox_filter_dns);
    if (kept[0] == '\0' || std::strcmp(kept, value) != 0) {
        page.is_refused = true;
        page.typed = value;
        page.message = "Nothing was changed.";
        return;
    }
    const int written = update_textbox_item(page.items, kItem, kept, kMaxChars, nullptr);
    page.message = written > 0    ? "The name was changed."
                   : written == 0 ? "The name stays as it was."
                                  : "The name could not be stored.";
}

// Takes the variables of a form. Those of an address change nothing.
int receive(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    for (unsigned i = 0; i < count; ++i) {
        if (mode == CGI_MODE_URLENCODED && std::strcmp(vars[i].name, kItem) == 0)
            save(*static_cast<Page *>(ctx), vars[i].value);
    }
    return 0;
}

void print_box(const Page &page) {
    print_str("<label for=\"name\">Device name</label>\n");
    if (page.is_refused)
        gen_xtextbox(kMaxChars, page.typed.c_str(), 0,
                     " id=\"name\" name=\"%s\" aria-invalid=\"true\" aria-describedby=\"rule\"",
                     kItem);
    else
        gen_xtextbox_item(page.items, kItem, kMaxChars, 0, " id=\"name\" name=\"%s\"", kItem);
    if (page.is_refused)
        html_printf(1, "\n<span id=\"rule\">%s</span>", kRule);
    print_str("\n");
}

}  // namespace

int main() {
    Page page;
    page.items = std::getenv("QMV_ITEMS");
    if (page.items == nullptr)
        refuse("500 Internal Server Error", "QMV_ITEMS is not set.");
    if (is_from_other_site())
        refuse("403 Forbidden", "The request comes from another site.");
    if (is_too_large())
        refuse("413 Content Too Large", "The form is too large.");
    getcgivars(&page, receive, nullptr);
    print_head_p1("Content-Type: text/html; charset=utf-8\r\n",
                  "X-Content-Type-Options: nosniff\r\nCache-Control: no-store\r\n\r\n"
                  "<!DOCTYPE html>\r\n",
                  nullptr);
    print_head_p2("new-page", " lang=\"en\"");
    html_printf(1, "<main>\n<h1>new-page</h1>\n<p role=\"status\">%s</p>\n", page.message.c_str());
    print_str("<form method=\"post\" action=\"new-page.cgi\">\n");
    print_box(page);
    print_str("<button type=\"submit\">Save</button>\n</form>\n</main>\n");
    print_foot();
    return 0;
}
