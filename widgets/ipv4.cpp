// <input type="text" size="15" maxlength="15" value="10.0.0.1"FORMAT FLAGS>
// <input type="text" name="NAME" size="18" maxlength="18" value="10.0.0.0/8"FLAGS>
#include <arpa/inet.h>

#include <algorithm>
#include <bit>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/items.h"
#include "qmv/widgets.h"
#include "util/scratch.h"
#include "widgets/posted.h"
#include "widgets/tag.h"

namespace {

// Intended: the text 255.255.255.255 stands for no address, too.
constexpr uint32_t kNoAddress = 0xFFFFFFFF;
constexpr uint32_t kMaxPrefix = 32;
constexpr unsigned kAddressLength = 15;
constexpr unsigned kCidrLength = 18;

uint32_t address_or(const char *text, uint32_t dflt) {
    const uint32_t addr = ::inet_addr(text);
    return addr == kNoAddress ? dflt : addr;
}

/// The text of an address or a network, as a box shows it; empty for none.
class AddressText {
  public:
    explicit AddressText(const uint32_t *addr) {
        if (addr != nullptr)
            put_address(*addr);
    }
    explicit AddressText(const ipv4_cidr *cidr) {
        if (cidr != nullptr)
            put_network(cidr->addr, std::min(cidr->prefix, kMaxPrefix));
    }
    AddressText(uint32_t addr, uint32_t prefix) { put_network(addr, prefix); }

    [[nodiscard]] const char *get() const { return text_; }

  private:
    void put_address(uint32_t addr) { ::inet_ntop(AF_INET, &addr, text_, sizeof text_); }
    void put_network(uint32_t addr, uint32_t prefix) {
        put_address(addr);
        const size_t length = std::strlen(text_);
        std::snprintf(text_ + length, sizeof text_ - length, "/%u", prefix);
    }

    char text_[kCidrLength + 1] = "";
};

int print_xbox(int size, unsigned length, const AddressText &value, unsigned flags,
               const char *format, va_list args) QMV_PRINTF(5, 0);

int print_xbox(int size, unsigned length, const AddressText &value, unsigned flags,
               const char *format, va_list args) {
    qmv::open_input("text");
    if (size >= 0)
        std::printf(" size=\"%d\"", size > 0 ? size : static_cast<int>(length));
    std::printf(" maxlength=\"%u\" value=\"%s\"", length, value.get());
    return qmv::close_tag(flags, format, args);
}

int print_box(const char *name, uint32_t size, unsigned length, const AddressText &value,
              unsigned flags) {
    qmv::open_input("text");
    qmv::print_name(name);
    std::printf(" size=\"%u\" maxlength=\"%u\" value=\"%s\"", size > 0 ? size : length, length,
                value.get());
    return qmv::close_tag(flags);
}

ipv4_cidr parse_cidr(const char *text, uint32_t dflt) {
    const char *slash = std::strrchr(text, '/');
    ipv4_cidr cidr{dflt, kMaxPrefix};
    if (slash == nullptr) {
        cidr.addr = address_or(text, dflt);
    } else {
        const auto length = static_cast<size_t>(slash - text);
        qmv::Scratch address(length + 1);
        if (address) {
            std::memcpy(address.get(), text, length);
            address.get()[length] = '\0';
            cidr.addr = address_or(address.get(), dflt);
        }
        const char *digits = slash + 1;
        cidr.prefix = std::min(qmv::take_decimal(digits), kMaxPrefix);
    }
    if (cidr.addr == 0)
        cidr.prefix = 0;
    return cidr;
}

}  // namespace

int valid_ipv4_addr(uint32_t *out, uint32_t addr, uint32_t mask) {
    if (out == nullptr || addr == 0 || addr == kNoAddress)
        return 0;
    uint32_t host = ntohl(addr);
    const uint32_t bits = ntohl(mask);
    if ((host & ~bits) == 0)
        ++host;
    // Intended: with a /32 mask, and for the even address of a /31, this undoes the first step.
    if ((host | bits) == 0xFFFFFFFF)
        --host;
    *out = htonl(host);
    return 1;
}

uint32_t gen_netmask(uint32_t prefix) {
    if (prefix == 0)
        return 0;
    return htonl(0xFFFFFFFF << (kMaxPrefix - std::min(prefix, kMaxPrefix)));
}

int gen_prefix(uint32_t mask) {
    return std::countl_one(ntohl(mask));
}

int scan_ipv4(const char *text, uint32_t *addr, uint32_t dflt) {
    if (text == nullptr || addr == nullptr)
        return 0;
    return qmv::assign(*addr, address_or(text, dflt));
}

int scan_ipv4_netmask(const char *text, uint32_t *mask, uint32_t min_prefix, uint32_t max_prefix) {
    if (text == nullptr || mask == nullptr)
        return 0;
    const auto prefix = static_cast<uint32_t>(gen_prefix(::inet_addr(text)));
    *mask = gen_netmask(std::min(std::max(prefix, min_prefix), max_prefix));
    // Intended: also when it was this mask before.
    return 1;
}

int gen_xipv4box(int size, const uint32_t *addr, uint32_t flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = print_xbox(size, kAddressLength, AddressText(addr), flags, format, args);
    va_end(args);
    return result;
}

int gen_ipv4box(const char *name, uint32_t size, const uint32_t *addr, uint32_t flags) {
    return print_box(name, size, kAddressLength, AddressText(addr), flags);
}

int update_ipv4box_item(const char *dir, const char *name, const uint32_t *addr) {
    if (addr == nullptr)
        return 0;
    return update_item(dir, name, AddressText(addr).get(), kAddressLength);
}

int rd_ipv4box_item(const char *dir, const char *name, uint32_t *addr, uint32_t dflt) {
    if (addr == nullptr)
        return 0;
    char text[kAddressLength + 1];
    const int length = read_item(dir, name, text, kAddressLength);
    *addr = address_or(text, dflt);
    return length < 0 ? 1 : 0;
}

int scan_ipv4cidr(const char *text, ipv4_cidr *cidr, uint32_t dflt, int mask_host_bits) {
    if (text == nullptr || cidr == nullptr)
        return 0;
    ipv4_cidr posted = parse_cidr(text, dflt);
    if (mask_host_bits != 0)
        posted.addr &= gen_netmask(posted.prefix);
    if (posted.addr == cidr->addr && posted.prefix == cidr->prefix)
        return 0;
    *cidr = posted;
    return 1;
}

int gen_xipv4cidr(int size, const ipv4_cidr *cidr, uint32_t flags, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int result = print_xbox(size, kCidrLength, AddressText(cidr), flags, format, args);
    va_end(args);
    return result;
}

int gen_ipv4cidr(const char *name, uint32_t size, const ipv4_cidr *cidr, uint32_t flags) {
    return print_box(name, size, kCidrLength, AddressText(cidr), flags);
}

int update_ipv4cidr_item(const char *dir, const char *name, const ipv4_cidr *cidr) {
    if (cidr == nullptr)
        return 0;
    // Intended: the prefix is written as it is, also when it is above 32.
    return update_item(dir, name, AddressText(cidr->addr, cidr->prefix).get(), kCidrLength);
}

int rd_ipv4cidr_item(const char *dir, const char *name, ipv4_cidr *cidr, uint32_t dflt) {
    if (cidr == nullptr)
        return 0;
    char text[kCidrLength + 1];
    const int length = read_item(dir, name, text, kCidrLength);
    scan_ipv4cidr(text, cidr, dflt, 0);
    return length < 0 ? 1 : 0;
}
