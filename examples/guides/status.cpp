// What the device knows about itself, as JSON for a script of the page, or, with format=xml in the
// address, as XML for other programs. Texts are those of the items in the directory QMV_ITEMS.
#include <arpa/inet.h>
#include <qmv.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/json.h"  // of the console: json_escape()

namespace {

constexpr unsigned kMaxChars = 32;

struct Status {
    char name[3 * kMaxChars + 1] = "";
    unsigned clients = 0;
    bool has_clients = false;
    char address[INET_ADDRSTRLEN] = "";  // of the loopback interface
};

Status read_status(const char *items) {
    Status status;
    rd_textbox_item(items, "device_name", status.name, 3 * kMaxChars, kMaxChars, 0);
    status.has_clients = read_item_uint(items, "clients", &status.clients) > 0;
    interface_addr loopback{};
    if (get_interface("lo", &loopback) == 0)
        inet_ntop(AF_INET, &loopback.addr.v4.sin_addr, status.address, sizeof status.address);
    return status;
}

void print_json(const Status &status, const char *items) {
    print_str("Content-Type: application/json; charset=utf-8\r\n\r\n{");
    unsigned flags = 0;
    flags = gen_json_text(json_escape(status.name).c_str(), "name", flags);
    flags = gen_json_text(status.address, "address", flags);
    gen_json_number_item(items, "clients", "clients", 0, flags);
    print_str("}\n");
}

void print_xml(const Status &status) {
    xml_data xml{};
    xml_data_header(&xml);
    xml_data_tag(&xml, "status", XML_TAG_OPEN);
    if (status.has_clients)
        xml_data_attr_num(&xml, "clients", status.clients);
    xml_data_tag(&xml, nullptr, XML_TAG_START_LINE);
    xml_data_element(&xml, "name", status.name);
    xml_data_element(&xml, "address", status.address);
    xml_data_tag(&xml, "status", XML_TAG_END);
    print_str("Content-Type: text/xml; charset=utf-8\r\n\r\n");
    print_mem(xml.data, xml.length);
    std::free(xml.data);
}

int take_format(void *wants_xml, cgivar *vars, unsigned count, unsigned /*mode*/) {
    for (unsigned i = 0; i < count; ++i) {
        if (std::strcmp(vars[i].name, "format") == 0)
            *static_cast<bool *>(wants_xml) = std::strcmp(vars[i].value, "xml") == 0;
    }
    return 0;
}

}  // namespace

int main() {
    const char *items = std::getenv("QMV_ITEMS");
    bool wants_xml = false;
    getcgivars(&wants_xml, nullptr, take_format);
    const Status status = read_status(items);
    if (wants_xml)
        print_xml(status);
    else
        print_json(status, items);
    return 0;
}
