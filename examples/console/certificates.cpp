// Certificates and their keys: a list that openssl explains, upload, deletion.
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "frame/upload.h"
#include "pages.h"

namespace {

constexpr Field kFile = {"file", "Certificate or key (PEM)", "A file that ends in .pem or .key, up to 64 KiB."};
constexpr Field kDelete = {"delete", "Delete"};

constexpr unsigned kMaxName = 64;
constexpr uint32_t kHasKey = 1;

constexpr cert_tool kCertificateTool = {nullptr, "openssl x509", "-subject -issuer -enddate 2>&1"};

// What the listing's callbacks, which have no context, print with.
Console *page;
std::string open_row;  // name of the file whose row is not finished
bool has_key;

// A listing of the certificates, and of the keys that belong to them.
struct Listing {
    explicit Listing(const Console &console)
        : certificates(console.path("certificates/")), keys(console.path("keys/")) {
        related[0] = {keys.c_str(), ".key", nullptr, "openssl pkey", "-check 2>&1", 0, kHasKey};
        cert_dir_setup(&listing, certificates.c_str(), &kCertificateTool, related);
    }
    Listing(const Listing &) = delete;
    Listing &operator=(const Listing &) = delete;
    ~Listing() { cert_dir_free(&listing); }

    // Place of a name in the listing, or -1: what a request names must be there.
    [[nodiscard]] int find(const char *name) const {
        for (int i = 0; i < listing.count; ++i) {
            if (std::strcmp(listing.entries[i]->d_name, name) == 0)
                return i;
        }
        return -1;
    }

    std::string certificates;
    std::string keys;
    cert_related related[2] = {};
    cert_dir listing{};
};

int is_file_char(unsigned pos, unsigned ch) {
    return textbox_filter_alnum(pos, ch) != 0 || ch == '_' ||
           (pos > 0 && (ch == '-' || ch == '.'));
}

// ---- Uploading ----

bool ends_in(const std::string &name, const char *ending) {
    const size_t length = std::strlen(ending);
    return name.size() > length && name.compare(name.size() - length, length, ending) == 0;
}

// Asks openssl about a file. The path holds nothing that a client chose.
bool is_readable_by(const char *command, const std::string &path) {
    setenv("QMV_FILE", path.c_str(), 1);
    return run_shell(PRINT_QUIET, "%s -in \"$QMV_FILE\" -noout >/dev/null 2>&1", command) == 0;
}

void store(Console &console, Upload &upload) {
    const std::string &name = upload.name();
    const bool is_key = ends_in(name, ".key");
    char kept[kMaxName + 1] = "";
    scan_textbox(name.c_str(), kMaxName, 1, kept, kMaxName, is_file_char);
    if (upload.outcome() != Upload::kWhole)
        return console.refuse(kFile, upload.reason());
    if (name != kept)
        return console.refuse(kFile, "Use a file name of up to 64 letters, digits and the marks _ - .");
    if (!is_key && !ends_in(name, ".pem"))
        return console.refuse(kFile, "A certificate's name ends in .pem, a key's in .key.");
    if (!is_readable_by(is_key ? "openssl pkey" : "openssl x509", upload.temporary()))
        return console.refuse(kFile, std::string("This file holds no ") +
                                         (is_key ? "key" : "certificate") + " in PEM format.");
    const std::string certificate = name.substr(0, name.size() - 4) + ".pem";
    if (is_key && stat_item(console.path("certificates").c_str(), certificate.c_str()) != 0)
        return console.refuse(kFile, "Upload its certificate first: " + certificate + ".");
    const std::string folder = is_key ? "keys/" : "certificates/";
    if (!upload.keep(console.path(folder + name)))
        return console.refuse(kFile, "The file could not be stored: the device may be full.");
    console.say("good", "Stored: " + name + ".");
    console.log("stored " + name);
}

// ---- Deleting ----

void delete_file(Console &console) {
    const char *posted = console.value(kDelete.name);
    const std::string name = posted != nullptr ? posted : "";
    Listing files(console);
    const int index = files.find(name.c_str());
    if (index < 0)
        return console.say("bad", "This certificate is not there any more.");
    if (name == console.item("vpn", "certificate"))
        return console.say("bad", name + " was not deleted: the VPN uses it.");
    if (delete_certificate(&files.listing, index) < 0)
        return console.say("bad", name + " could not be deleted.");
    console.say("good", "Deleted: " + name + ", and its key if it had one.");
    console.log("deleted " + name);
}

// ---- Printing ----

// What openssl says is a title attribute, whose text is escaped for any place in a page: people who
// cannot point at it read it as well.
void print_title_text(const char *tooltip) {
    const char *begin = tooltip != nullptr ? std::strchr(tooltip, '"') : nullptr;
    const char *end = begin != nullptr ? std::strrchr(tooltip, '"') : nullptr;
    if (begin == end)
        print_str("Cannot be read.");
    else
        print_mem(begin + 1, static_cast<unsigned>(end - begin - 1));
}

void print_deletion(const char *name) {
    html_printf(1, "<details>\n<summary>Delete<span class=\"for\"> %s</span></summary>\n", name);
    std::printf("<form method=\"post\" action=\"%s.cgi\">\n", kCertificates.name);
    page->print_token();
    print_str("<input type=\"hidden\" name=\"form\" value=\"delete\">\n");
    html_printf(1, "<input type=\"hidden\" name=\"delete\" value=\"%s\">\n", name);
    html_printf(1, "<p>Delete %s and its key? This cannot be undone.</p>\n", name);
    gen_xbutton("Delete now", nullptr, PRINT_SUBMIT, " class=\"danger\"");
    print_str("\n</form>\n</details>\n");
}

void finish_row() {
    if (open_row.empty())
        return;
    if (!has_key)
        print_str("<p class=\"facts\">No key.</p>\n");
    if (page->may_post())
        print_deletion(open_row.c_str());
    print_str("</li>\n");
    open_row.clear();
}

uint32_t show_file(uint32_t /*arg*/, const char *name, int /*index*/, const char *tooltip) {
    finish_row();
    open_row = name;
    has_key = false;
    html_printf(1, "<li>\n<h3>%s</h3>\n", name);
    std::printf("<p class=\"facts\"%s>", tooltip != nullptr ? tooltip : "");
    print_title_text(tooltip);
    print_str("</p>\n");
    return kHasKey;
}

void show_key(uint32_t /*arg*/, uint32_t /*number*/, uint32_t /*mask*/, const char *tooltip) {
    has_key = true;
    std::printf("<p class=\"facts\"%s>Key: ", tooltip != nullptr ? tooltip : "");
    print_title_text(tooltip);
    print_str("</p>\n");
}

void print_list(Console &console) {
    Listing files(console);
    page = &console;
    print_str("<section class=\"card\">\n<h2>Stored certificates</h2>\n");
    if (files.listing.count > 0) {
        print_str("<ul class=\"certificates\">\n");
        show_certificates(&files.listing, 0, show_file, show_key);
        finish_row();
        print_str("</ul>\n");
    } else {
        print_str("<p>There is none yet.</p>\n");
    }
    print_str("</section>\n");
}

void print_upload(Console &console) {
    console.open_form("upload", "Add a certificate or key",
                      " enctype=\"multipart/form-data\" data-upload=\"\"");
    console.field(kFile, [](const char *attributes) {
        gen_upload(0, " accept=\".pem,.key\" required%s", attributes);
    });
    console.close_form("Upload");
}

}  // namespace

int main() {
    const char *state = std::getenv("QMV_STATE");
    Upload upload(std::string(state != nullptr ? state : "") + "/uploads", kMaxCertificate);
    Console console(kCertificates, &upload);
    if (console.is_form("upload"))
        store(console, upload);
    if (console.is_form("delete"))
        delete_file(console);
    console.open_page();
    print_list(console);
    print_upload(console);
    console.close_page();
    return 0;
}
