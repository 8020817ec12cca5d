#include "frame/check.h"

#include <string_view>

namespace {

constexpr unsigned kMaxBytes = 4096;  // of the longest text

bool is_digit(char c) {
    return c >= '0' && c <= '9';
}

// Number of digits that a text begins with.
size_t digits(std::string_view text) {
    size_t count = 0;
    while (count < text.size() && is_digit(text[count]))
        ++count;
    return count;
}

int is_one_line(unsigned /*pos*/, unsigned ch) {
    return ch >= ' ' && ch != 0x7F;
}

std::string range_text(unsigned min, unsigned max, const char *unit) {
    return std::to_string(min) + " to " + std::to_string(max) + " " + unit;
}

}  // namespace

std::string posted_text(Console &console, const Field &field) {
    const char *value = console.value(field.name);
    if (value == nullptr) {
        console.refuse(field, "This field did not arrive. Open the page again.");
        return "";
    }
    const std::string_view text(value);
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return "";
    return std::string(text.substr(first, text.find_last_not_of(" \t") - first + 1));
}

std::string check_text(Console &console, const Field &field, unsigned min, unsigned max,
                       textbox_filter filter, const char *allowed) {
    const std::string text = posted_text(console, field);
    if (!console.has(field.name) || (text.empty() && min == 0))
        return "";
    // The library leaves out what it cannot keep; here all of it must have been kept.
    char kept[kMaxBytes + 1];
    scan_textbox(text.c_str(), kMaxBytes, 0, kept, kMaxBytes,
                 filter != nullptr ? filter : is_one_line);
    const unsigned length = utf8_length(kept, kMaxBytes, nullptr);
    if (text.size() > kMaxBytes)
        console.refuse(field, "Use at most " + std::to_string(max) + " characters.");
    else if (text.empty())
        console.refuse(field, "Enter " + range_text(min, max, "characters."));
    else if (text != kept)
        console.refuse(field, std::string("Use ") + allowed + " only.");
    else if (length < min || length > max)
        console.refuse(field, "Use " + range_text(min, max, "characters; these are ") +
                                  std::to_string(length) + ".");
    return text;
}

bool parse_number(const std::string &text, unsigned *number) {
    scan_number(text.c_str(), number, 0, 0xFFFFFFFF, 0);
    return !text.empty() && text.size() < 10 && digits(text) == text.size();
}

unsigned check_number(Console &console, const Field &field, unsigned min, unsigned max) {
    unsigned number = 0;
    if (!parse_number(posted_text(console, field), &number) || number < min || number > max)
        console.refuse(field, "Enter a number from " + range_text(min, max, "in digits."));
    return number;
}

bool parse_ipv4(const char *text, uint32_t *addr) {
    std::string_view rest(text);
    for (int part = 0; part < 4; ++part) {
        const size_t count = digits(rest);
        // A leading zero would make it octal.
        if (count < 1 || count > 3 || (count > 1 && rest[0] == '0'))
            return false;
        rest.remove_prefix(count);
        if (part < 3 && (rest.empty() || rest[0] != '.'))
            return false;
        rest.remove_prefix(part < 3 ? 1 : 0);
    }
    *addr = 0;
    scan_ipv4(text, addr, 0xFFFFFFFF);
    return rest.empty() && *addr != 0xFFFFFFFF;
}

uint32_t check_ipv4(Console &console, const Field &field, bool may_be_empty) {
    const std::string text = posted_text(console, field);
    uint32_t addr = 0;
    if (!console.has(field.name) || (text.empty() && may_be_empty))
        return 0;
    if (!parse_ipv4(text.c_str(), &addr) || addr == 0)
        console.refuse(field, "Enter an address of four numbers, such as 192.168.1.1.");
    return addr;
}

ipv4_cidr check_cidr(Console &console, const Field &field, bool may_be_empty) {
    const std::string text = posted_text(console, field);
    ipv4_cidr network{};
    if (!console.has(field.name) || (text.empty() && may_be_empty))
        return network;
    const size_t slash = text.find('/');
    const std::string prefix = slash == std::string::npos ? "" : text.substr(slash + 1);
    const bool has_prefix = !prefix.empty() && prefix.size() < 3 &&
                            digits(prefix) == prefix.size() && str_to_uint(prefix.c_str()) <= 32;
    if (!has_prefix || !parse_ipv4(text.substr(0, slash).c_str(), &network.addr)) {
        console.refuse(field, "Enter a network and its length, such as 10.1.0.0/16.");
        return network;
    }
    if (network.addr == 0)
        console.refuse(field, "Enter a network: the way to all others is the provider's.");
    scan_ipv4cidr(text.c_str(), &network, 0, 0);
    if ((network.addr & gen_netmask(network.prefix)) != network.addr)
        console.refuse(field, "The address has bits behind its length: a network ends in zeros.");
    return network;
}

uint32_t check_netmask(Console &console, const Field &field) {
    const uint32_t mask = check_ipv4(console, field, false);
    const auto prefix = static_cast<uint32_t>(gen_prefix(mask));
    if (mask != 0 && (mask != gen_netmask(prefix) || prefix < 8 || prefix > 30))
        console.refuse(field, "A netmask is ones, then zeros: 255.255.255.0 for most networks.");
    return mask;
}

std::string check_mac(Console &console, const Field &field) {
    std::string text = posted_text(console, field);
    if (text.empty())
        return "";
    for (char &c : text) {
        if (c >= 'a' && c <= 'f')
            c = static_cast<char>(c - 'a' + 'A');
        else if (c == ':')
            c = '-';
    }
    sockaddr hardware{};
    char normal[18] = "";
    scan_macaddr(&hardware, text.c_str());
    mac_ntop(&hardware, '-', normal, sizeof normal);
    if (text != normal || mac_isvalid(&hardware) == 0)
        console.refuse(field, "Enter six pairs of hexadecimal digits, such as 02-00-5E-10-00-01.");
    else if ((hardware.sa_data[0] & 1) != 0)
        console.refuse(field, "This is an address of a group: its second digit must be even.");
    return normal;
}

const char *check_option(Console &console, const Field &field, selectbox_text_fn options) {
    const std::string text = posted_text(console, field);
    selectbox_state state{};
    scan_select_text(text.c_str(), &state, options, 0);
    if (console.has(field.name) && state.value.text == nullptr)
        console.refuse(field, "Choose one of the options.");
    return state.value.text;
}

int update_optional_ipv4(const std::string &items, const Field &field, uint32_t addr) {
    return addr == 0 ? update_textbox(items.c_str(), field.name, "", 15)
                     : update_ipv4box_item(items.c_str(), field.name, &addr);
}
