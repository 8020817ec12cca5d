// The page around it all: header lines, navigation, messages.
#include <cstdlib>
#include <ctime>

#include "frame/token.h"
#include "pages.h"

namespace {

constexpr const char *kProtection =
    "Content-Security-Policy: default-src 'none'; style-src 'self'; script-src 'self'; "
    "connect-src 'self'; img-src 'self'; form-action 'self'; base-uri 'none'; "
    "frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "X-Frame-Options: DENY\r\n"
    "Referrer-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

constexpr const char *kHead =
    "\r\n"
    "<!DOCTYPE html>\n"
    "<html lang=\"en\">\n<head>\n"
    "<meta name=\"viewport\" content=\"width=device-width\">\n"
    "<meta name=\"color-scheme\" content=\"light dark\">\n"
    "<link rel=\"icon\" href=\"icon.svg\">\n"
    "<link rel=\"stylesheet\" href=\"console.css\">\n"
    "<script src=\"console.js\" defer></script>\n";

constexpr long kMaxLog = 64 * 1024;

bool is_simulated() {
    const char *simulator = std::getenv("QMV_SIMULATOR");
    return simulator != nullptr && *simulator != '\0';
}

}  // namespace

std::string html_text(const std::string &text) {
    std::string escaped;
    for (const char c : text) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

void Console::open_page() const {
    print_str("Content-Type: text/html; charset=utf-8\r\n");
    print_str(kProtection);
    print_str(kHead);
    for (const char *script : page_.scripts) {
        if (script != nullptr)
            std::printf("<script src=\"%s\" defer></script>\n", script);
    }
    const std::string title = std::string(page_.title) + " - " + item("lan", "device_name");
    print_head_p2(title.c_str(), nullptr);
    print_str("<a class=\"skip\" href=\"#main\">Skip to the content</a>\n<header>\n");
    html_printf(1, "<p class=\"device\">%s</p>\n", item("lan", "device_name").c_str());
    if (is_simulated())
        print_str("<p class=\"badge\">Simulated device</p>\n");
    html_printf(1, "<p class=\"user\">%s <span class=\"role\">%s</span></p>\n</header>\n",
                user_.c_str(), is_administrator() ? "administrator" : "read-only");
    print_navigation();
    html_printf(1, "<main id=\"main\">\n<h1>%s</h1>\n", page_.title);
    print_messages();
}

void Console::close_page() const {
    print_str("</main>\n");
    print_foot();
}

void Console::print_navigation() const {
    print_str("<nav aria-label=\"Pages\">\n<ul>\n");
    for (const Page *page : kPages) {
        std::printf(
            "<li><a href=\"%s.cgi\"%s><svg aria-hidden=\"true\"><use href=\"icons.svg#%s\"/>"
            "</svg>%s</a></li>\n",
            page->name, page->name == std::string_view(page_.name) ? " aria-current=\"page\"" : "",
            page->name, page->title);
    }
    print_str("</ul>\n</nav>\n");
}

void Console::print_messages() const {
    print_str("<div id=\"messages\" role=\"status\">");
    if (is_post_ && messages_.empty())
        print_str("<p class=\"bad\">This form is none of this page. Nothing was changed.</p>\n");
    for (const Message &message : messages_)
        html_printf(1, "<p class=\"%s\">%s</p>\n", message.kind, message.text.c_str());
    print_str("</div>\n");
}

void Console::print_token() {
    if (token_.empty())
        token_ = make_token(state_, user_);
    html_printf(1, "<input type=\"hidden\" name=\"token\" value=\"%s\">\n", token_.c_str());
}

void Console::stop(const char *status, const std::string &why) {
    std::printf("Status: %s\r\n", status);
    messages_ = {{"bad", why}};
    if (level_ != kNobody && !state_.empty()) {
        open_page();
        std::printf("<p><a href=\"%s.cgi\">Open the page again</a></p>\n", page_.name);
        close_page();
    } else {
        std::printf("Content-Type: text/plain; charset=utf-8\r\n%s\r\n%s\r\n", kProtection,
                    why.c_str());
    }
    std::exit(0);
}

void Console::log(const std::string &what) const {
    const std::string file = path("log");
    FILE *log = std::fopen(file.c_str(), "ae");
    if (log == nullptr)  // a setting that was stored is not undone for the want of a line
        return;
    char now[32];
    const std::time_t seconds = std::time(nullptr);
    std::strftime(now, sizeof now, "%Y-%m-%d %H:%M:%S", std::localtime(&seconds));
    std::fprintf(log, "%s %s: %s (%s)\n", now, page_.title, what.c_str(), user_.c_str());
    const bool is_full = std::ftell(log) > kMaxLog;
    std::fclose(log);
    if (is_full)
        std::rename(file.c_str(), (file + ".old").c_str());
}
