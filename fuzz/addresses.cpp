// Posted IPv4 addresses, netmasks, networks and hardware addresses: the result is one, and what is
// printed of it reads the same.
#include <arpa/inet.h>
#include <net/if_arp.h>
#include <qmv/widgets.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "fuzz/support.h"

using fuzz::Input;

namespace {

uint32_t address_or(const std::string &text, uint32_t dflt) {
    const uint32_t addr = ::inet_addr(text.c_str());
    return addr == 0xFFFFFFFF ? dflt : addr;
}

/// A netmask in network byte order, one bit after the other.
uint32_t netmask(uint32_t prefix) {
    uint32_t mask = 0;
    for (uint32_t bit = 0; bit < std::min(prefix, 32u); ++bit)
        mask |= 0x80000000 >> bit;
    return htonl(mask);
}

void check_address(const std::string &text, uint32_t dflt) {
    uint32_t addr = ~dflt;
    scan_ipv4(text.c_str(), &addr, dflt);
    CHECK(addr == address_or(text, dflt));
    const std::string again = fuzz::value_shown([&] { gen_xipv4box(0, &addr, 0, nullptr); });
    CHECK(scan_ipv4(again.c_str(), &addr, dflt) == 0 || addr == dflt);
    uint32_t host = 0;
    for (uint32_t prefix = 1; prefix <= 30; ++prefix) {
        const uint32_t mask = netmask(prefix);
        if (valid_ipv4_addr(&host, addr, mask) == 0)
            continue;
        CHECK(((host ^ addr) & mask) == 0);
        CHECK((host & ~mask) != 0 && (host | mask) != 0xFFFFFFFF);
    }
}

void check_netmask(const std::string &text, uint32_t min_prefix, uint32_t max_prefix) {
    uint32_t mask = 0;
    CHECK(scan_ipv4_netmask(text.c_str(), &mask, min_prefix, max_prefix) == 1);
    const auto prefix = static_cast<uint32_t>(gen_prefix(mask));
    CHECK(mask == netmask(prefix) && mask == gen_netmask(prefix));
    CHECK(prefix >= std::min({min_prefix, max_prefix, 32u}) && prefix <= max_prefix);
    const std::string again = fuzz::value_shown([&] { gen_ipv4box(nullptr, 0, &mask, 0); });
    uint32_t mask2 = 0;
    scan_ipv4_netmask(again.c_str(), &mask2, min_prefix, max_prefix);
    CHECK(mask2 == mask);
}

void check_network(const std::string &text, uint32_t dflt, bool mask_host_bits) {
    ipv4_cidr cidr{~dflt, 99};
    CHECK(scan_ipv4cidr(text.c_str(), &cidr, dflt, mask_host_bits ? 1 : 0) == 1);
    const std::size_t slash = text.rfind('/');
    const uint32_t posted = address_or(text.substr(0, slash), dflt);
    const std::string digits = slash != text.npos ? text.substr(slash + 1) : "32";
    uint32_t prefix = 0;
    for (std::size_t i = 0; i < digits.size() && digits[i] >= '0' && digits[i] <= '9'; ++i)
        prefix = prefix * 10 + static_cast<uint32_t>(digits[i] - '0');
    CHECK(cidr.prefix == (posted == 0 ? 0 : std::min(prefix, 32u)));
    CHECK(cidr.addr == (posted & (mask_host_bits ? netmask(cidr.prefix) : 0xFFFFFFFF)));
    const std::string again = fuzz::value_shown([&] { gen_xipv4cidr(0, &cidr, 0, nullptr); });
    // An address that its prefix empties reads as the address 0, which has no prefix.
    if (cidr.addr != 0)
        CHECK(scan_ipv4cidr(again.c_str(), &cidr, dflt, mask_host_bits ? 1 : 0) == 0 ||
              cidr.addr == dflt);
}

int hex_value(char c) {
    const std::string_view digits = "0123456789abcdef";
    const std::size_t place = digits.find(static_cast<char>(c | 0x20));
    return c != '\0' && place != digits.npos && (c < 0x10 || c > 0x1F) ? static_cast<int>(place)
                                                                       : -1;
}

/// The six bytes of a text in which pairs of digits stand with one character between them, or
/// null when it has another form.
bool plain_hardware_address(const std::string &text, std::string &bytes) {
    for (std::size_t i = 0; i + 1 < text.size() && bytes.size() < 6; i += 3) {
        const int high = hex_value(text[i]);
        const int low = hex_value(text[i + 1]);
        if (high < 0 || low < 0 || (i + 2 < text.size() && hex_value(text[i + 2]) >= 0))
            return false;
        bytes += static_cast<char>(high * 16 + low);
    }
    return bytes.size() == 6;
}

void check_hardware_address(const std::string &text, char separator, unsigned size) {
    sockaddr hw{};
    const int changed = scan_macaddr(&hw, text.c_str());
    CHECK(hw.sa_family == ARPHRD_ETHER);
    CHECK(changed == mac_isvalid(&hw) ||
          std::memcmp(hw.sa_data, "\xFF\xFF\xFF\xFF\xFF\xFF", 6) == 0);
    std::string bytes;
    if (plain_hardware_address(text, bytes))
        CHECK(std::memcmp(hw.sa_data, bytes.data(), 6) == 0);
    char whole[18];
    mac_ntop(&hw, hex_value(separator) < 0 && separator != '\0' ? separator : '-', whole, 18);
    CHECK(std::strlen(whole) == 17);
    CHECK(scan_macaddr(&hw, whole) == 0);
    const std::string again = fuzz::value_shown([&] { gen_xmacbox(0, &hw, 0, nullptr); });
    CHECK(scan_macaddr(&hw, again.c_str()) == 0);
    const std::unique_ptr<char[]> part(new char[size]);
    CHECK(mac_ntop(&hw, '-', part.get(), size) == part.get());
    CHECK(size == 0 || again.substr(0, size - 1) == part.get());
}

}  // namespace

void fuzz::run(Input &input) {
    const unsigned options = input.byte();
    const uint32_t dflt = input.number();
    const uint32_t min_prefix = input.byte();
    const uint32_t max_prefix = input.byte();
    const std::string text = c_string(input.rest());
    check_address(text, dflt);
    check_netmask(text, min_prefix, max_prefix);
    check_network(text, dflt, (options & 1) != 0);
    check_hardware_address(text, static_cast<char>(options), options % 20);
}
