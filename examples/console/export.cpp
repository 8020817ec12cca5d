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

// What XML allows of a text: whole characters, and of the control characters only TAB and line ends.
// Nothing else gets into the items, unless somebody writes them by hand.
std::string xml_text(const std::string &text) {
    std::string allowed;
    for (const char *cursor = text.c_str(); *cursor != '\0';) {
        const unsigned ch = utf8_to_ucs2(&cursor, 0xFFFFFFFF);
        char bytes[4];
        const char *end = ucs2_to_utf8(bytes, sizeof bytes, ch);
        const bool is_control = ch < 0x20 && ch != '\t' && ch != '\n' && ch != '\r';
        if (!is_control && (ch < 0xD800 || ch > 0xDFFF) && ch < 0xFFFE)
            allowed.append(bytes, static_cast<size_t>(end - bytes));
    }
    return allowed;
}

void append_text(xml_data *xml, const std::string &text) {
    const std::string allowed = xml_text(text);
    xml_data_txt(xml, allowed.c_str(), static_cast<int>(allowed.size()));
}

void append_group(xml_data *xml, const Console &console, const char *group) {
    xml_data_tag(xml, group, XML_TAG_START_LINE);
    for (const std::string &name : item_names(console.items(group)))
        xml_data_element(xml, name.c_str(), xml_text(console.item(group, name.c_str())).c_str());
    xml_data_tag(xml, group, XML_TAG_END);
}

void append_forwards(xml_data *xml, const Forwards &table) {
    xml_data_tag(xml, "forwards", XML_TAG_START_LINE);
    for (const Forward *row = table.first(); row != nullptr; row = row->next()) {
        xml_data_tag(xml, "forward", XML_TAG_OPEN);
        xml_data_attr_num(xml, "number", row->links.number);
        xml_data_attr_str(xml, "on", row->on ? "yes" : "no");
        xml_data_attr_str(xml, "protocol", html_text(xml_text(row->protocol)).c_str());
        xml_data_attr_str(xml, "ports", row->ports().c_str());
        xml_data_attr_str(xml, "to", row->destination().c_str());
        xml_data_tag(xml, nullptr, XML_TAG_START);
        append_text(xml, row->name);
        xml_data_tag(xml, "forward", XML_TAG_END);
    }
    xml_data_tag(xml, "forwards", XML_TAG_END);
}

void append_hosts(xml_data *xml, const Console &console) {
    char *text = nullptr;
    get_textarea_file(&text, console.path("files").c_str(), "hosts", kMaxHosts);
    xml_data_tag(xml, "hosts", XML_TAG_START);
    append_text(xml, text != nullptr ? text : "");
    xml_data_tag(xml, "hosts", XML_TAG_END);
    std::free(text);
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
    if (xml.capacity == 0)
        console.stop("500 Internal Server Error", "There is no memory for the document.");
    print_str(
        "Content-Type: application/xml; charset=utf-8\r\n"
        "Content-Disposition: attachment; filename=\"configuration.xml\"\r\n"
        "X-Content-Type-Options: nosniff\r\n"
        "Cache-Control: no-store\r\n\r\n");
    print_mem(xml.data, xml.length);
    std::free(xml.data);
    return 0;
}
