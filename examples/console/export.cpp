// The configuration as an XML document: every item in its group, the hosts and the port forwards;
// no passwords and no keys.
#include <dirent.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "forwards.h"
#include "pages.h"

namespace {

constexpr const char *kGroups[] = {"device", "lan", "internet", "vpn", "schedules", "maintenance"};
constexpr const char *kSecret = "ppp_password";

std::vector<std::string> item_names(const std::string &dir) {
    std::vector<std::string> names;
    dirent **entries = nullptr;
    const int count = scandir(dir.c_str(), &entries, nullptr, alphasort);
    for (int i = 0; i < count; ++i) {
        if (*entries[i]->d_name != '.' && std::strcmp(entries[i]->d_name, kSecret) != 0)
            names.emplace_back(entries[i]->d_name);
        std::free(entries[i]);
    }
    std::free(entries);
    return names;
}

void append_group(xml_data *xml, const Console &console, const char *group) {
    xml_data_tag(xml, group, XML_TAG_START_LINE);
    for (const std::string &name : item_names(console.items(group)))
        xml_data_element(xml, name.c_str(), console.item(group, name.c_str()).c_str());
    xml_data_tag(xml, group, XML_TAG_END);
}

void append_forwards(xml_data *xml, const Forwards &table) {
    xml_data_tag(xml, "forwards", XML_TAG_START_LINE);
    for (const Forward *row = table.first(); row != nullptr; row = row->next()) {
        xml_data_tag(xml, "forward", XML_TAG_OPEN);
        xml_data_attr_num(xml, "number", row->links.number);
        xml_data_attr_str(xml, "on", row->on ? "yes" : "no");
        xml_data_attr_str(xml, "protocol", row->protocol);
        xml_data_attr_str(xml, "ports", row->ports().c_str());
        xml_data_attr_str(xml, "to", row->destination().c_str());
        xml_data_tag(xml, nullptr, XML_TAG_START);
        xml_data_txt(xml, row->name, static_cast<int>(std::strlen(row->name)));
        xml_data_tag(xml, "forward", XML_TAG_END);
    }
    xml_data_tag(xml, "forwards", XML_TAG_END);
}

void append_hosts(xml_data *xml, const Console &console) {
    xml_data_tag(xml, "hosts", XML_TAG_START);
    const int fd = open_path_name(console.path("files").c_str(), "hosts", 0, 0);
    if (fd >= 0)
        xml_data_txt_fd(xml, fd);
    xml_data_tag(xml, "hosts", XML_TAG_END);
}

}  // namespace

int main() {
    Console console(kMaintenance);
    if (!console.is_administrator())
        console.stop("403 Forbidden", "Only the administrator may export the configuration.");
    xml_data xml{};
    xml_data_header(&xml);
    xml_data_tag(&xml, "configuration", XML_TAG_OPEN);
    xml_data_attr_num(&xml, "version", 1);
    xml_data_tag(&xml, nullptr, XML_TAG_START_LINE);
    for (const char *group : kGroups)
        append_group(&xml, console, group);
    append_forwards(&xml, Forwards(console.path("forwards.db")));
    append_hosts(&xml, console);
    xml_data_tag(&xml, "configuration", XML_TAG_END);
    print_str(
        "Content-Type: application/xml; charset=utf-8\r\n"
        "Content-Disposition: attachment; filename=\"configuration.xml\"\r\n"
        "X-Content-Type-Options: nosniff\r\n"
        "Cache-Control: no-store\r\n\r\n");
    print_mem(xml.data, xml.length);
    std::free(xml.data);
    return 0;
}
