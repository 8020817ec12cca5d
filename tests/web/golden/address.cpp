// IPv4 addresses, networks and netmasks, and MAC addresses.
#include "page.h"

namespace {

struct AddressBox {
    const char *name;
    unsigned flags = 0;
    int size = 0;
};

constexpr AddressBox kAddresses[] = {
    {"ipv4"},
    {"ipv4_wide", 0, 20},
    {"ipv4_unsized", 0, -1},
    {"ipv4_disabled", PRINT_DISABLED},
    {"ipv4_readonly", PRINT_READONLY},
    {"ipv4_hidden", PRINT_HIDDEN},
    {"ipv4_missing"},
};

constexpr AddressBox kNetworks[] = {
    {"cidr"},
    {"cidr_wide", 0, 24},
    {"cidr_unsized", 0, -1},
    {"cidr_disabled", PRINT_DISABLED},
    {"cidr_readonly", PRINT_READONLY},
    {"cidr_missing"},
};

constexpr AddressBox kHardware[] = {
    {"mac"},
    {"mac_wide", 0, 24},
    {"mac_unsized", 0, -1},
    {"mac_disabled", PRINT_DISABLED},
    {"mac_readonly", PRINT_READONLY},
    {"mac_missing"},
};

constexpr unsigned kNoAddress = 0;
constexpr unsigned kMacSize = 18;  // of a MAC address as text, its terminator included

unsigned disabled_if(int failed) {
    return failed != 0 ? PRINT_DISABLED : 0;
}

void print_ipv4(const Page &page) {
    for (const AddressBox &box : kAddresses) {
        uint32_t addr = 0;
        const unsigned flags =
            box.flags | disabled_if(rd_ipv4box_item(page.dir(), box.name, &addr, kNoAddress));
        open_row(box.name);
        gen_xipv4box(box.size, &addr, flags, kIdAndName, box.name, box.name);
        close_row();
    }
    for (const char *name : {"ipv4_named", "netmask"}) {
        uint32_t addr = 0;
        rd_ipv4box_item(page.dir(), name, &addr, kNoAddress);
        open_row(name);
        gen_ipv4box(name, 0, &addr, 0);
        close_row();
    }
    open_row("ipv4_none");
    gen_xipv4box(0, nullptr, 0, " id=\"ipv4_none\"");
    close_row();
}

void print_cidr(const Page &page) {
    ipv4_cidr network{};
    for (const AddressBox &box : kNetworks) {
        const unsigned flags =
            box.flags | disabled_if(rd_ipv4cidr_item(page.dir(), box.name, &network, kNoAddress));
        open_row(box.name);
        gen_xipv4cidr(box.size, &network, flags, kIdAndName, box.name, box.name);
        close_row();
    }
    rd_ipv4cidr_item(page.dir(), "cidr_named", &network, kNoAddress);
    open_row("cidr_named");
    gen_ipv4cidr("cidr_named", 0, &network, 0);
    close_row();
}

sockaddr read_mac(const Page &page, const char *name) {
    sockaddr hw{};
    scan_macaddr(&hw, read_text(page, name).c_str());
    return hw;
}

void print_mac(const Page &page) {
    for (const AddressBox &box : kHardware) {
        const sockaddr hw = read_mac(page, box.name);
        const unsigned flags = box.flags | disabled_if(stat_item(page.dir(), box.name));
        open_row(box.name);
        gen_xmacbox(static_cast<uint32_t>(box.size), &hw, flags, kIdAndName, box.name, box.name);
        close_row();
    }
    open_row("mac_none");
    gen_xmacbox(0, nullptr, 0, " id=\"mac_none\"");
    close_row();
}

void save_address(const Page &page, const char *name, const char *posted) {
    uint32_t addr = 0;
    rd_ipv4box_item(page.dir(), name, &addr, kNoAddress);
    if (scan_ipv4(posted, &addr, kNoAddress) == 1)
        update_ipv4box_item(page.dir(), name, &addr);
}

void save_netmask(const Page &page, const char *posted) {
    uint32_t mask = 0;
    if (scan_ipv4_netmask(posted, &mask, 8, 30) == 1)
        update_ipv4box_item(page.dir(), "netmask", &mask);
}

void save_network(const Page &page, const char *name, const char *posted) {
    ipv4_cidr network{};
    rd_ipv4cidr_item(page.dir(), name, &network, kNoAddress);
    if (scan_ipv4cidr(posted, &network, kNoAddress, 1) == 1)
        update_ipv4cidr_item(page.dir(), name, &network);
}

void save_mac(const Page &page, const char *name, const char *posted) {
    sockaddr hw = read_mac(page, name);
    char text[kMacSize];
    if (posted != nullptr && scan_macaddr(&hw, posted) == 1)
        write_text(page, name, mac_ntop(&hw, '-', text, sizeof text));
}

}  // namespace

void print_addresses(const Page &page) {
    print_ipv4(page);
    print_cidr(page);
    print_mac(page);
}

void save_addresses(const Page &page, const Posted &posted) {
    for (const AddressBox &box : kAddresses)
        save_address(page, box.name, posted.find(box.name));
    save_address(page, "ipv4_named", posted.find("ipv4_named"));
    save_netmask(page, posted.find("netmask"));
    for (const AddressBox &box : kNetworks)
        save_network(page, box.name, posted.find(box.name));
    save_network(page, "cidr_named", posted.find("cidr_named"));
    for (const AddressBox &box : kHardware)
        save_mac(page, box.name, posted.find(box.name));
}
