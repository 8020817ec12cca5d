// Certificates and their keys: a list that openssl explains, upload, deletion.
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "frame/check.h"
#include "frame/upload.h"
#include "pages.h"

namespace {

constexpr Field kFile = {"file", "Certificate or key (PEM)",
                         "A file that ends in .pem or .key, up to 64 KiB."};

constexpr unsigned kMaxName = 64;
constexpr uint32_t kHasKey = 1;

// An encrypted key has no password here: openssl must not ask for one.
constexpr const char *kReadCertificate = "openssl x509 -inform PEM";
constexpr const char *kReadKey = "openssl pkey -inform PEM -passin pass:";
constexpr cert_tool kCertificateTool = {nullptr, kReadCertificate,
                                        "-subject -issuer -enddate 2>/dev/null"};

// What the listing's callbacks, which have no context, print with.
Console *page;
std::string open_row;  // name of the file whose row is not finished

std::string with_extension(const std::string &name, const char *extension) {
    return name.substr(0, name.rfind('.')) + extension;
}

bool has_file(const Console &console, const char *folder, const std::string &name) {
    return stat_item(console.path(folder).c_str(), name.c_str()) == 0;
}

// A listing of the certificates, and of the keys that belong to them.
struct Listing {
    explicit Listing(const Console &console)
        : certificates(console.path("certificates/")), keys(console.path("keys/")) {
        related[0] = {keys.c_str(), ".key", nullptr, kReadKey, "-check 2>/dev/null", 0, kHasKey};
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
    return textbox_filter_alnum(pos, ch) != 0 || ch == '_' || (pos > 0 && (ch == '-' || ch == '.'));
}

// ---- Uploading ----

bool ends_in(const std::string &name, const char *ending) {
    const size_t length = std::strlen(ending);
    return name.size() > length && name.compare(name.size() - length, length, ending) == 0;
}

// What openssl prints about a file; empty when it cannot read it. The shell takes the path from the
// environment, so that any path will do.
std::string ask_openssl(const char *command, const char *options, const std::string &path) {
    char *output = nullptr;
    setenv("QMV_FILE", path.c_str(), 1);
    const std::string line =
        std::string(command) + " -in \"$QMV_FILE\" " + options + " 2>/dev/null </dev/null";
    asprint_shell(&output, line.c_str());
    const std::string text = output != nullptr ? output : "";
    std::free(output);
    return text;
}

// Why a certificate cannot be stored under a name; empty when it can.
std::string fault_of_certificate(const std::string &file) {
    if (ask_openssl(kReadCertificate, "-noout -subject", file).empty())
        return "This file holds no certificate in PEM format.";
    return "";
}

// Why a key cannot: it must belong to the certificate of the same name.
std::string fault_of_key(const Console &console, const std::string &file, const std::string &name) {
    const std::string certificate = with_extension(name, ".pem");
    const std::string key = ask_openssl(kReadKey, "-pubout", file);
    if (key.empty())
        return "This file holds no key in PEM format, or an encrypted one.";
    if (!has_file(console, "certificates", certificate))
        return "Upload its certificate first: " + certificate + ".";
    if (key != ask_openssl(kReadCertificate, "-noout -pubkey",
                           console.path("certificates/" + certificate)))
        return "This key does not belong to the certificate " + certificate + ".";
    return "";
}

void store_file(Console &console, Upload &upload) {
    const std::string &name = upload.name();
    const bool is_key = ends_in(name, ".key");
    const char *folder = is_key ? "keys" : "certificates";
    char kept[kMaxName + 1] = "";
    scan_textbox(name.c_str(), kMaxName, 1, kept, kMaxName, is_file_char);
    if (upload.outcome() != Upload::kWhole)
        return console.refuse(kFile, upload.reason());
    if (name != kept)
        return console.refuse(kFile,
                              "Use a file name of up to 64 letters, digits and the marks _ - .");
    if (!is_key && !ends_in(name, ".pem"))
        return console.refuse(kFile, "A certificate's name ends in .pem, a key's in .key.");
    const std::string fault = is_key ? fault_of_key(console, upload.temporary(), name)
                                     : fault_of_certificate(upload.temporary());
    if (!fault.empty())
        return console.refuse(kFile, fault);
    const std::string what = (has_file(console, folder, name) ? "Replaced: " : "Stored: ") + name;
    if (!upload.keep(console.path(std::string(folder) + "/" + name)))
        return console.refuse(kFile, "The file could not be stored: the device may be full.");
    console.say("good", what + ".");
    console.log(what);
}

void store(Console &console, Upload &upload) {
    store_file(console, upload);
    if (!console.accepted())
        console.report();
}

// ---- Deleting ----

void delete_file(Console &console) {
    const char *posted = console.value("delete");
    const std::string name = posted != nullptr ? posted : "";
    Listing files(console);
    const int index = files.find(name.c_str());
    if (index < 0)
        return console.say("bad", "This certificate is not there any more.");
    if (name == console.item("vpn", "certificate"))
        return console.say("bad", name + " was not deleted: the VPN uses it.");
    const std::string key = with_extension(name, ".key");
    const bool had_key = has_file(console, "keys", key);
    if (delete_certificate(&files.listing, index) < 0)
        return console.say("bad", name + " could not be deleted.");
    if (has_file(console, "keys", key))
        console.say("bad", "Its key " + key + " could not be deleted.");
    console.say("good", "Deleted: " + name + (had_key ? " and its key." : "."));
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
    html_printf(1, "<details>\n<summary>Delete %s</summary>\n", name);
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
    if (!has_file(*page, "keys", with_extension(open_row, ".key")))
        print_str("<p class=\"facts\">No key.</p>\n");
    if (page->may_post())
        print_deletion(open_row.c_str());
    print_str("</li>\n");
    open_row.clear();
}

uint32_t show_file(uint32_t /*arg*/, const char *name, int /*index*/, const char *tooltip) {
    finish_row();
    open_row = name;
    html_printf(1, "<li>\n<h3>%s</h3>\n", name);
    std::printf("<p class=\"facts\"%s>", tooltip != nullptr ? tooltip : "");
    print_title_text(tooltip);
    print_str("</p>\n");
    return has_file(*page, "keys", with_extension(name, ".key")) ? kHasKey : 0;
}

void show_key(uint32_t /*arg*/, uint32_t /*number*/, uint32_t /*mask*/, const char *tooltip) {
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
    Upload upload(kMaxCertificate);
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
