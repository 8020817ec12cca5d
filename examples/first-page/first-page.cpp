// A settings page: boxes bound to items, a password box, and the upload of files.
//
// The web server sets QMV_STATE to a directory that holds the items device_name, user_name and
// password, and the directory uploads. This file is the page itself; see settings.cpp for the
// boxes and upload.cpp for the files.
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "page.h"

namespace {

constexpr const char *kContentType = "Content-Type: text/html; charset=utf-8\r\n";

// The last header line is followed by an empty line and the document type.
constexpr const char *kSecurityHeaders =
    "Content-Security-Policy: default-src 'none'; style-src 'self'; script-src 'self'; "
    "connect-src 'self'; img-src 'self'; form-action 'self'; base-uri 'none'; "
    "frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n"
    "\r\n"
    "<!DOCTYPE html>\r\n";

constexpr const char *kHead = R"(<meta name="viewport" content="width=device-width">
<link rel="icon" href="icon.svg">
<link rel="stylesheet" href="page.css">
<script src="upload.js" defer></script>
)";

constexpr const char *kUploadForm =
    R"(<form id="upload" method="post" action="first-page.cgi" enctype="multipart/form-data">
<h2>Files</h2>
<label for="files">Files to store on the device</label>
<input type="file" id="files" name="files" multiple required>
<div id="progress" hidden>
<progress max="100" value="0" aria-label="Upload"></progress>
<output></output>
<button type="button">Cancel</button>
</div>
<button type="submit">Upload</button>
</form>
)";

void print_messages(const Page &page) {
    print_str("<div id=\"messages\" role=\"status\">\n");
    for (const Message &message : page.messages) {
        std::printf("<p class=\"%s\">", message.kind);
        html_print_text(message.text.c_str());
        print_str("</p>\n");
    }
    print_str("</div>\n");
}

void print_page(const Page &page) {
    print_head_p1(kContentType, kSecurityHeaders, kHead);
    print_head_p2("Device settings", " lang=\"en\"");
    print_str("<main>\n<h1>Device settings</h1>\n");
    print_messages(page);
    print_str("<form method=\"post\" action=\"first-page.cgi\">\n<h2>General</h2>\n");
    print_fields(page);
    print_str("<button type=\"submit\">Save</button>\n</form>\n");
    print_str(kUploadForm);
    print_str("</main>\n");
    print_foot();
}

// Takes one batch of variables. Those of a GET request change nothing.
int receive(void *ctx, cgivar *vars, unsigned count, unsigned mode) {
    Page &page = *static_cast<Page *>(ctx);
    if (mode == CGI_MODE_URLENCODED)
        save_fields(page, vars, count);
    if (mode == CGI_MODE_MULTIPART && count > 1)
        return receive_part(page, vars, count);
    if (mode == CGI_MODE_MULTIPART && count == 0 && page.messages.empty())
        page.say("bad", "No file arrived.");
    return 0;
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

int refuse(const char *status, const char *reason) {
    std::printf("Status: %s\r\nContent-Type: text/plain\r\n\r\n%s\r\n", status, reason);
    return 1;
}

}  // namespace

int main() {
    const char *state = std::getenv("QMV_STATE");
    if (state == nullptr)
        return refuse("500 Internal Server Error", "QMV_STATE is not set.");
    if (is_from_other_site())
        return refuse("403 Forbidden", "The request comes from another site.");
    // A server that gives up a request also closes its input, and then the upload cleans up.
    std::signal(SIGTERM, SIG_IGN);
    Page page{state, std::string(state) + "/uploads", {}};
    remove_leftovers(page);
    getcgivars(&page, receive, nullptr);
    print_page(page);
    return 0;
}
