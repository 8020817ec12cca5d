// The Ethernet ports, each a PHY of the switch that can be powered down, and the hardware addresses.
#include <net/if.h>

#include "frame/check.h"
#include "lan.h"

namespace {

constexpr Field kPorts[] = {
    {"port1", "Port 1"}, {"port2", "Port 2"}, {"port3", "Port 3"}, {"port4", "Port 4"}};
constexpr Field kCloned = {"cloned_mac", "Hardware address that the provider sees",
                           "Empty: the device's own."};

const char *link_text(const std::string &interface, uint32_t phy) {
    switch (get_link_status(interface.c_str(), phy)) {
        case 1:
            return "connected";
        case 0:
            return "not connected";
        default:
            return "unknown";
    }
}

// Powers a port as its check box says, and keeps that for the next start.
void switch_port(Console &console, const std::string &interface, uint32_t phy) {
    const Field &field = kPorts[phy];
    const bool on = console.has(field.name);
    const std::string items = console.items("lan");
    const bool is_known = stat_item(items.c_str(), field.name) == 0;
    const int wanted = on ? 0 : 1;
    if (!is_known || set_link_pwrdown(interface.c_str(), phy, wanted) != wanted)
        console.wrote(field.label, -1);
    else
        console.wrote(field.label,
                      wr_checkbox_item(items.c_str(), field.name, checkbox_flags(on ? 1 : 0, 0)));
}

void print_own_address(const std::string &interface) {
    char address[18];
    if_hwaddr_ntop(interface.c_str(), '-', address, sizeof address);
    html_printf(1, "<p class=\"hint\">Address of %s itself: %s</p>\n", interface.c_str(),
                *address != '\0' ? address : "unknown");
}

}  // namespace

void save_ports(Console &console) {
    const std::string mac = check_mac(console, kCloned);
    const std::string items = console.items("lan");
    const std::string interface = console.item("device", "switch");
    if (console.accepted()) {
        for (uint32_t phy = 0; phy < std::size(kPorts); ++phy)
            switch_port(console, interface, phy);
        console.wrote(kCloned.label, update_textbox(items.c_str(), kCloned.name, mac.c_str(), 17));
    }
    console.report();
}

void print_ports(Console &console) {
    const std::string items = console.items("lan");
    const std::string interface = console.item("device", "switch");
    console.open_form("ports", "Ethernet ports");
    print_str("<div class=\"ports\">\n");
    for (uint32_t phy = 0; phy < std::size(kPorts); ++phy) {
        const unsigned flags = rd_checkbox_item(items.c_str(), kPorts[phy].name, 0);
        console.check_field({kPorts[phy].name, kPorts[phy].label, link_text(interface, phy)},
                            flags);
    }
    print_str("</div>\n");
    console.next_section("Hardware addresses");
    console.text_field(kCloned, 17, [&](const char *attributes) {
        const std::string stored = console.item("lan", kCloned.name);
        sockaddr hardware{};
        scan_macaddr(&hardware, stored.c_str());
        gen_xmacbox(0xFFFFFFFF, mac_isvalid(&hardware) != 0 ? &hardware : nullptr, 0, "%s",
                    attributes);
    });
    print_own_address(interface);
    console.close_form("Save ports");
}
