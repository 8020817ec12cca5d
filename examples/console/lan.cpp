// The local network: the router's names and address, and the addresses that it gives out. Static
// routes and the Ethernet ports are forms of their own.
#include "lan.h"

#include <arpa/inet.h>

#include "frame/check.h"
#include "pages.h"

namespace {

constexpr Field kDeviceName = {"device_name", "Device name", "Letters, digits and hyphens."};
constexpr Field kDomainName = {"domain_name", "Domain name", "Such as home.example; may be empty."};
constexpr Field kAddress = {"address", "IPv4 address"};
constexpr Field kNetmask = {"netmask", "Netmask", "From 255.0.0.0 to 255.255.255.252."};
constexpr Field kDhcp = {"dhcp", "Give addresses to devices of this network"};
constexpr Field kRange = {"dhcp_range", "Addresses that are given", "Their last numbers: 100-199."};
constexpr Field kLease = {"dhcp_lease", "Hours until an address expires"};

constexpr unsigned kNameChars = 32;
constexpr unsigned kDomainChars = 64;
constexpr unsigned kMaxLease = 720;

struct Range {
    unsigned low = 0;
    unsigned high = 0;
};

struct Network {
    std::string device_name;
    std::string domain_name;
    uint32_t address;
    uint32_t netmask;
    Range range;
    unsigned lease;
};

int is_host_char(unsigned pos, unsigned ch) {
    return textbox_filter_alnum(pos, ch) != 0 || (ch == '-' && pos > 0) ? 1 : 0;
}

Range check_range(Console &console) {
    Range range;
    const std::string text = posted_text(console, kRange);
    scan_range(text.c_str(), &range.low, &range.high, 0, 0xFFFF, 0);
    const std::string normal = std::to_string(range.low) + "-" + std::to_string(range.high);
    if (text != normal || range.low < 1 || range.high > 254)
        console.refuse(kRange, "Enter two numbers from 1 to 254, the smaller one first: 100-199.");
    return range;
}

// Neither the first or last address of its network nor one of a special range is a router's.
void check_is_host(Console &console, const Network &network) {
    const uint32_t first_byte = ntohl(network.address) >> 24;
    uint32_t usable = network.address;
    valid_ipv4_addr(&usable, network.address, network.netmask);
    if (!console.accepted())
        return;
    if (first_byte == 0 || first_byte == 127 || first_byte > 223)
        console.refuse(kAddress, "This address has a special meaning: no device can have it.");
    else if (usable != network.address)
        console.refuse(kAddress, "With this netmask, no device can have this address.");
}

// In a network of less than 256 addresses, not every last number exists.
void check_is_inside(Console &console, const Network &network) {
    const uint32_t lowest = ntohl(network.address & network.netmask);
    const uint32_t highest = lowest | ~ntohl(network.netmask);
    if (!console.accepted() || highest - lowest > 255)
        return;
    if (network.range.low <= (lowest & 255) || network.range.high >= (highest & 255))
        console.refuse(kRange, "With this netmask, the numbers go from " +
                                   std::to_string((lowest & 255) + 1) + " to " +
                                   std::to_string((highest & 255) - 1) + ".");
}

void write(Console &console, const Network &network) {
    const std::string items = console.items("lan");
    const char *dir = items.c_str();
    console.wrote(kDeviceName.label,
                  update_textbox(dir, kDeviceName.name, network.device_name.c_str(), kNameChars));
    console.wrote(kDomainName.label,
                  update_textbox(dir, kDomainName.name, network.domain_name.c_str(), kDomainChars));
    console.wrote(kAddress.label, update_ipv4box_item(dir, kAddress.name, &network.address));
    console.wrote(kNetmask.label, update_ipv4box_item(dir, kNetmask.name, &network.netmask));
    const unsigned dhcp = checkbox_flags(console.has(kDhcp.name) ? 1 : 0, 0);
    console.wrote("DHCP", wr_checkbox_item(dir, kDhcp.name, dhcp));
    console.wrote("First address", wr_numberbox_item(dir, "dhcp_low", network.range.low));
    console.wrote("Last address", wr_numberbox_item(dir, "dhcp_high", network.range.high));
    console.wrote(kLease.label, wr_numberbox_item(dir, kLease.name, network.lease));
}

}  // namespace

void save_network(Console &console) {
    Network network{};
    network.device_name = check_text(console, kDeviceName, 1, kNameChars, is_host_char,
                                     "letters, digits and, not in front, hyphens");
    network.domain_name = check_text(console, kDomainName, 0, kDomainChars, textbox_filter_dns,
                                     "letters, digits, hyphens and dots");
    network.address = check_ipv4(console, kAddress, false);
    network.netmask = check_netmask(console, kNetmask);
    check_is_host(console, network);
    network.range = check_range(console);
    check_is_inside(console, network);
    network.lease = check_number(console, kLease, 1, kMaxLease);
    if (console.accepted())
        write(console, network);
    console.report();
}

void print_network(Console &console) {
    const std::string items = console.items("lan");
    const char *dir = items.c_str();
    const auto print_address = [&](const Field &field) {
        console.text_field(field, 15, [&](const char *attributes) {
            uint32_t addr = 0;
            const int missing = rd_ipv4box_item(dir, field.name, &addr, 0);
            gen_xipv4box(-1, &addr, missing != 0 ? PRINT_DISABLED : 0, "%s", attributes);
        });
    };
    console.open_form("network", "This router");
    console.text_field(kDeviceName, kNameChars, [&](const char *attributes) {
        gen_xtextbox_item(dir, kDeviceName.name, kNameChars, 0, "%s", attributes);
    });
    console.text_field(kDomainName, kDomainChars, [&](const char *attributes) {
        gen_xtextbox_item(dir, kDomainName.name, kDomainChars, 0, "%s", attributes);
    });
    print_address(kAddress);
    print_address(kNetmask);
    console.next_section("Addresses for other devices (DHCP)");
    console.check_field(kDhcp, rd_checkbox_item(dir, kDhcp.name, 0));
    console.text_field(kRange, 7, [&](const char *attributes) {
        Range range;
        read_item_uint(dir, "dhcp_low", &range.low);
        read_item_uint(dir, "dhcp_high", &range.high);
        gen_xrangebox(7, &range.low, &range.high, nullptr, 0, "%s", attributes);
    });
    console.text_field(kLease, 3, [&](const char *attributes) {
        unsigned hours = 0;
        const unsigned flags = rd_numberbox_item(dir, kLease.name, &hours, 24);
        gen_xnumberbox(3, hours, flags, " inputmode=\"numeric\"%s", attributes);
    });
    console.close_form("Save");
}

int main() {
    Console console(kLan);
    if (console.is_form("network"))
        save_network(console);
    if (console.is_form("routes"))
        save_routes(console);
    if (console.is_form("ports"))
        save_ports(console);
    console.open_page();
    print_network(console);
    print_routes(console);
    print_ports(console);
    console.close_page();
    return 0;
}
