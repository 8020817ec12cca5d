// <input type="text" maxlength="18" size="18" value="00-1A-2B-3C-4D-5E"FORMAT FLAGS>
#include <net/if.h>
#include <net/if_arp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "qmv/util.h"
#include "qmv/widgets.h"
#include "util/ascii.h"
#include "util/owners.h"
#include "widgets/tag.h"

namespace {

constexpr size_t kBytes = 6;
constexpr size_t kTextLength = 3 * kBytes - 1;
constexpr unsigned kBoxLength = 18;

using Address = std::array<unsigned char, kBytes>;

Address bytes_of(const sockaddr &hw) {
    Address bytes;
    std::memcpy(bytes.data(), hw.sa_data, bytes.size());
    return bytes;
}

/// The value of a hexadecimal digit, or -1.
constexpr int hex_value(char c) {
    if (qmv::is_digit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Reads one byte and the separator behind it; 0 when there is none.
unsigned char take_byte(const char *&cursor) {
    if (*cursor == '\0')
        return 0;
    const int high = hex_value(*cursor++);
    if (high < 0)
        return 0;
    int value = high;
    const int low = hex_value(*cursor);
    if (low >= 0) {
        value = high * 16 + low;
        ++cursor;
    }
    if (*cursor != '\0' && hex_value(*cursor) < 0)
        ++cursor;
    return static_cast<unsigned char>(value);
}

}  // namespace

int mac_isvalid(const struct sockaddr *hw) {
    if (hw == nullptr)
        return 0;
    const Address bytes = bytes_of(*hw);
    const auto all = [&bytes](unsigned char value) {
        return std::all_of(bytes.begin(), bytes.end(),
                           [value](unsigned char byte) { return byte == value; });
    };
    return all(0x00) || all(0xFF) ? 0 : 1;
}

char *mac_ntop(const struct sockaddr *hw, int separator, char *buf, uint32_t size) {
    constexpr char kDigits[] = "0123456789ABCDEF";
    if (buf == nullptr || size == 0)
        return buf;
    const size_t length = hw != nullptr ? std::min<size_t>(size - 1, kTextLength) : 0;
    const Address bytes = hw != nullptr ? bytes_of(*hw) : Address{};
    for (size_t i = 0; i < length; ++i) {
        const unsigned byte = bytes[i / 3];
        const char text[3] = {kDigits[byte >> 4], kDigits[byte & 0xF],
                              static_cast<char>(separator)};
        buf[i] = text[i % 3];
    }
    buf[length] = '\0';
    return buf;
}

char *if_hwaddr_ntop(const char *ifname, int separator, char *buf, uint32_t size) {
    if (buf == nullptr || size == 0)
        return buf;
    buf[0] = '\0';
    const qmv::Descriptor socket(::socket(AF_INET, SOCK_DGRAM, 0));
    if (ifname == nullptr || socket.get() < 0)
        return buf;
    ifreq request{};
    strsncpy(request.ifr_name, sizeof request.ifr_name, ifname);
    if (::ioctl(socket.get(), SIOCGIFHWADDR, &request) >= 0)
        mac_ntop(&request.ifr_hwaddr, separator, buf, size);
    return buf;
}

int scan_macaddr(struct sockaddr *hw, const char *text) {
    if (hw == nullptr)
        return 0;
    hw->sa_family = ARPHRD_ETHER;
    const char *cursor = text != nullptr ? text : "";
    Address posted;
    for (unsigned char &byte : posted)
        byte = take_byte(cursor);
    if (posted == bytes_of(*hw))
        return 0;
    std::memcpy(hw->sa_data, posted.data(), posted.size());
    return 1;
}

int gen_xmacbox(uint32_t size, const struct sockaddr *hw, uint32_t flags, const char *format, ...) {
    char text[kTextLength + 1];
    qmv::open_input("text");
    // Intended: one more than the text has.
    qmv::print_maxlength(kBoxLength, flags);
    const int shown = static_cast<int>(size != 0 ? size : kBoxLength);
    if (shown > 0)
        std::printf(" size=\"%d\"", shown);
    std::printf(" value=\"%s\"", mac_ntop(hw, '-', text, sizeof text));
    va_list args;
    va_start(args, format);
    const int result = qmv::close_tag(flags, format, args);
    va_end(args);
    return result;
}
