// Ways to handle what a client sends: each one wrong, and right. Runs one of them on a text.
// Usage: security right|wrong TOPIC TEXT
#include <fcntl.h>
#include <qmv.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/console.h"  // of the console: html_text()
#include "frame/json.h"     // of the console: json_escape()

namespace {

// ---- Text in a page ----

void wrong_text(const char *name) {
    std::printf("<p>Hello, %s!</p>\n", name);
}

void right_text(const char *name) {
    html_printf(1, "<p>Hello, %s!</p>\n", name);
}

// ---- Attributes ----

void wrong_attribute(const char *hint) {
    gen_xtextbox(8, "", 0, " title=\"%s\"", hint);
    print_str("\n");
}

void right_attribute(const char *hint) {
    gen_xtextbox(8, "", 0, " title=\"%s\"", html_text(hint).c_str());
    print_str("\n");
}

// ---- Addresses ----

void wrong_address(const char *back) {
    html_printf(1, "<a href=\"%s\">Back</a>\n", back);
}

void right_address(const char *back) {
    const char *page = std::strcmp(back, "lan.cgi") == 0 ? "lan.cgi" : "overview.cgi";
    html_printf(1, "<a href=\"%s\">Back</a>\n", page);
}

// ---- JSON ----

void wrong_json(const char *name) {
    print_str("{");
    gen_json_text(name, "name", 0);
    print_str("}\n");
}

void right_json(const char *name) {
    print_str("{");
    gen_json_text(json_escape(name).c_str(), "name", 0);
    print_str("}\n");
}

// ---- XML ----

void print_and_free(xml_data &xml) {
    print_mem(xml.data, xml.length);
    std::free(xml.data);
}

void wrong_xml(const char *name) {
    xml_data xml{};
    xml_data_tag(&xml, "device", XML_TAG_OPEN);
    xml_data_attr_str(&xml, "name", name);
    xml_data_tag(&xml, nullptr, XML_TAG_EMPTY);
    print_and_free(xml);
}

void right_xml(const char *name) {
    xml_data xml{};
    xml_data_element(&xml, "name", name);
    print_and_free(xml);
}

// ---- Names in a request ----

void wrong_name(const char *name) {
    char value[65];
    read_item("items", name, value, 64);
    html_printf(1, "<p>%s</p>\n", value);
}

void right_name(const char *name) {
    char value[65] = "";
    for (const char *known : {"label", "mtu"}) {
        if (std::strcmp(name, known) == 0)
            read_item("items", known, value, 64);
    }
    html_printf(1, "<p>%s</p>\n", value);
}

// ---- Commands ----

void wrong_command(const char *host) {
    run_shell(0, "echo Asking for %s", host);
}

void right_command(const char *host) {
    setenv("QMV_HOST", host, 1);
    run_shell(0, "echo Asking for \"$QMV_HOST\"");
}

void checked_command(const char *host) {
    char kept[65];
    scan_textbox(host, 64, 1, kept, 64, textbox_filter_dns);
    if (kept[0] == '\0' || kept[0] == '-' || std::strcmp(kept, host) != 0)
        print_str("This is no name of a host.\n");
    else
        run_shell(0, "echo Asking for %s", kept);
}

// ---- Names of uploaded files ----

void store(const std::string &path) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    full_write_fd(fd, "content\n", 8);
    ::close(fd);
}

void wrong_upload(const char *file_name) {
    store("uploads/" + std::string(file_name));
}

int is_file_char(unsigned pos, unsigned ch) {
    return textbox_filter_alnum(pos, ch) != 0 || (pos > 0 && (ch == '-' || ch == '.'));
}

void right_upload(const char *file_name) {
    const char *name = valid_filename(file_name);
    char kept[65];
    scan_textbox(name, 64, 1, kept, 64, is_file_char);
    if (kept[0] == '\0' || std::strcmp(kept, name) != 0)
        print_str("Use a name of letters, digits, hyphens and dots.\n");
    else
        store("uploads/" + std::string(kept));
}

// ---- Forms of other sites ----

// What only this device and this user can know: the secret never leaves the device.
std::string secret_of_user() {
    char secret[65];
    const char *user = std::getenv("REMOTE_USER");
    if (read_item("items", "secret", secret, 64) < 32 || user == nullptr)
        return "";
    return std::string(secret) + ":" + user;
}

void make_token() {
    char *token = crypt_encode(CRYPT_MD5, secret_of_user().c_str(), 0);
    html_printf(1, "%s\n", token);
    std::free(token);
}

void wrong_form(const char * /*token*/) {
    print_str("Restarting.\n");
}

void right_form(const char *token) {
    const std::string secret = secret_of_user();
    const int length = static_cast<int>(std::strlen(token));
    if (secret.empty() || crypt_detect(token, length) != CRYPT_MD5 ||
        crypt_cmp(CRYPT_MD5, token, secret.c_str()) != 0)
        print_str("This form is not from this page.\n");
    else
        print_str("Restarting.\n");
}

// ---- Sizes ----

int skip(void * /*ctx*/, cgivar * /*vars*/, unsigned count, unsigned /*mode*/) {
    html_printf(1, "Took %u variables.\n", count);
    return 0;
}

void wrong_size(const char * /*text*/) {
    getcgivars(nullptr, skip, nullptr);
}

void right_size(const char * /*text*/) {
    const char *length = std::getenv("CONTENT_LENGTH");
    if (length != nullptr && (std::strlen(length) > 9 || str_to_uint(length) > 4096))
        print_str("Status: 413 Content Too Large\r\nContent-Type: text/plain\r\n\r\nToo large.\n");
    else
        getcgivars(nullptr, skip, nullptr);
}

struct Topic {
    const char *name;
    void (*wrong)(const char *);
    void (*right)(const char *);
};

constexpr Topic kTopics[] = {
    {"text", wrong_text, right_text},
    {"attribute", wrong_attribute, right_attribute},
    {"address", wrong_address, right_address},
    {"json", wrong_json, right_json},
    {"xml", wrong_xml, right_xml},
    {"name", wrong_name, right_name},
    {"command", wrong_command, right_command},
    {"checked-command", wrong_command, checked_command},
    {"upload", wrong_upload, right_upload},
    {"form", wrong_form, right_form},
    {"size", wrong_size, right_size},
};

}  // namespace

int main(int argc, char **argv) {
    if (argc == 2 && std::strcmp(argv[1], "token") == 0) {
        make_token();
        return 0;
    }
    if (argc != 4)
        return 1;
    const bool is_right = std::strcmp(argv[1], "right") == 0;
    for (const Topic &topic : kTopics) {
        if (std::strcmp(argv[2], topic.name) == 0) {
            (is_right ? topic.right : topic.wrong)(argv[3]);
            return 0;
        }
    }
    return 1;
}
